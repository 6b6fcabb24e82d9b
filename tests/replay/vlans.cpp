// Replay of protocol groups, and of VLANs with their members.
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

class ReplayedVlans : public ReplayTest {
protected:
    Lines vlans() { return lines_of(zelfdb_reconfig_vlan); }
    Lines groups() { return lines_of(zelfdb_reconfig_protgroup); }
};

TEST_F(ReplayedVlans, NoGroupNoLine)
{
    EXPECT_EQ(groups(), Lines{});
    // Entries beyond the count are left-overs.
    given_group(5, {0x0800});
    header().prot_groups.count = 0;
    EXPECT_EQ(groups(), Lines{});
    expect_damage();
}

TEST_F(ReplayedVlans, GroupsInTheirOrderOfCreationWithTheirProtocolsInFourDigits)
{
    given_group(9, {});
    given_group(1, {0x0800, 0x86DD});
    given_group(65535, {0x6, 0xABCD, 0, 0xFFFF, 1, 2, 3, 4});
    EXPECT_EQ(groups(), (Lines{"create protgroup 9", "create protgroup 1", "add protocol 0800 to protgroup 1",
                               "add protocol 86dd to protgroup 1", "create protgroup 65535",
                               "add protocol 0006 to protgroup 65535", "add protocol abcd to protgroup 65535",
                               "add protocol 0000 to protgroup 65535", "add protocol ffff to protgroup 65535",
                               "add protocol 0001 to protgroup 65535", "add protocol 0002 to protgroup 65535",
                               "add protocol 0003 to protgroup 65535", "add protocol 0004 to protgroup 65535"}));
}

TEST_F(ReplayedVlans, EightGroups)
{
    Lines expected;
    for (u16 group = 10; group > 2; --group) {
        given_group(group, {});
        expected.push_back("create protgroup " + std::to_string(group));
    }
    EXPECT_EQ(groups(), expected);
}

// Counts that say more than there is room for are a damage, and lead nowhere.
TEST_F(ReplayedVlans, WhatStandsBehindTheEightGroupsHasNoLine)
{
    Lines expected;
    for (u16 group = 11; group <= 18; ++group) {
        given_group(group, {});
        expected.push_back("create protgroup " + std::to_string(group));
    }
    given_ninth_group(99, {0x0800});
    EXPECT_EQ(groups(), expected);
}

TEST_F(ReplayedVlans, WhatStandsBehindTheEightProtocolsOfAGroupHasNoLine)
{
    given_group(7, {1, 2, 3, 4, 5, 6, 7, 8});
    given_group(8, {});
    const Lines expected = groups();
    ASSERT_EQ(expected.size(), 10u);
    for (const u16 count : {u16{9}, u16{0xFFFF}}) {
        header().prot_groups.group[0].nprot = count;
        EXPECT_EQ(groups(), expected);
    }
    expect_damage();
}

TEST_F(ReplayedVlans, NoVLANNoLine) { EXPECT_EQ(vlans(), Lines{}); }

TEST_F(ReplayedVlans, UntouchedVLANsAscendByVID)
{
    given_vlan(4094, "last");
    given_vlan(1, "a");
    given_vlan(20, "a name of 30 characters......");
    // A blank ends a word of a command, so that no command names such a VLAN.
    EXPECT_EQ(lines_that_are_no_commands(zelfdb_reconfig_vlan),
              (Lines{"create vlan a vid 1", "create vlan a name of 30 characters...... vid 20",
                     "create vlan last vid 4094"}));
}

TEST_F(ReplayedVlans, EachFlagAloneAndAllOfThem)
{
    Vlan& vlan = given_vlan(10, "ten");
    struct Row {
        u16 flags;
        Lines lines;
    };
    const Row rows[] = {
        {0x0000, {"create vlan ten vid 10"}},
        {0x0002, {"create vlan ten vid 10", "set vlan ten simple_loop_detection on"}},
        {0x0004, {"create vlan ten vid 10", "set vlan ten ignorefdb on"}},
        {0x0008, {"create vlan ten vid 10", "set vlan ten learning off"}},
        {0xFFF1, {"create vlan ten vid 10"}},
        {0x000E,
         {"create vlan ten vid 10", "set vlan ten simple_loop_detection on", "set vlan ten ignorefdb on",
          "set vlan ten learning off"}},
    };
    for (const Row& row : rows) {
        vlan.vlan_flag = row.flags;
        EXPECT_EQ(vlans(), row.lines) << row.flags;
    }
}

TEST_F(ReplayedVlans, TheLearningLimitAndTheEntriesAreNotPrinted)
{
    given_port(1);
    given_vlan(10, "ten").fdb.learnlimit = 77;
    given_static(10, mac(0xB1), 1);
    given_learned(10, mac(0xA1), 1);
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10"}));
}

TEST_F(ReplayedVlans, MembersAscendByPortTaggedOnesWithTheirTagType)
{
    given_vlan(10, "ten");
    for (const u32 port_id : {101u, 7u, 3u}) given_port(port_id);
    given_member(10, 101, true, 0x88A8);
    given_member(10, 7);
    given_member(10, 3, true);
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10", "add port 3 to vlan ten tag on tagtype 8100",
                              "add port 7 to vlan ten tag off", "add port 101 to vlan ten tag on tagtype 88a8"}));
}

TEST_F(ReplayedVlans, AMemberByProtocolHasALineForEachOfItsGroupsOfThatVLAN)
{
    given_group(5, {0x0800});
    given_group(6, {0x86DD});
    given_group(7, {0x0806});
    given_port(3);
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    given_protocol_member(20, 3, 5);
    given_protocol_member(10, 3, 6);
    given_protocol_member(10, 3, 7);
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10", "add port 3 to vlan ten tag off protgroup 6",
                              "add port 3 to vlan ten tag off protgroup 7", "create vlan twenty vid 20",
                              "add port 3 to vlan twenty tag off protgroup 5"}));
}

// The protocol bit comes before the tagged bit, and its lines always say off.
TEST_F(ReplayedVlans, ATaggedMemberByProtocolIsPrintedAsByProtocol)
{
    given_group(5, {0x0800});
    given_port(3);
    given_vlan(10, "ten");
    given_protocol_member(10, 3, 5, true);
    EXPECT_EQ(membership(10, 3)->pv_flag, pv_protocol | pv_tagged);
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10", "add port 3 to vlan ten tag off protgroup 5"}));
}

TEST_F(ReplayedVlans, AMemberByProtocolWhosePortIsGoneHasNoLineAndOthersKeepTheirs)
{
    given_group(5, {0x0800});
    given_vlan(10, "ten");
    for (const u32 port_id : {3u, 4u, 5u}) given_port(port_id);
    given_protocol_member(10, 3, 5);
    given_member(10, 4);
    given_member(10, 5, true);
    for (const u32 port_id : {3u, 4u, 5u}) header().port_index[port_id - 1] = none;
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10", "add port 4 to vlan ten tag off",
                              "add port 5 to vlan ten tag on tagtype 8100"}));
    expect_damage();
}

TEST_F(ReplayedVlans, AMemberByProtocolWithoutABindingHasNoLine)
{
    given_group(5, {0x0800});
    given_vlan(10, "ten");
    given_port(3);
    given_protocol_member(10, 3, 5);
    port(3)->prot[0].VID = 11;
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10"}));
    port(3)->prot[0].VID = 10;
}

TEST_F(ReplayedVlans, EightBindingsOfOnePort)
{
    given_vlan(10, "ten");
    Port& port = given_port(3);
    linked_member(*vlan(10), port, pv_protocol);
    Lines expected{"create vlan ten vid 10"};
    port.npg = 8;
    for (u16 i = 0; i < 8; ++i) {
        port.prot[i] = {static_cast<u16>(50 + i), static_cast<u16>(i % 2 == 0 ? 10 : 20)};
        if (i % 2 == 0) expected.push_back("add port 3 to vlan ten tag off protgroup " + std::to_string(50 + i));
    }
    EXPECT_EQ(vlans(), expected);
    expect_damage();
}

TEST_F(ReplayedVlans, WhatStandsBehindTheEightBindingsOfAPortHasNoLine)
{
    given_vlan(10, "ten");
    Port& port = given_port(3);
    Pv& pv = linked_member(*vlan(10), port, pv_protocol);
    pv.VID = given_ninth_binding(port).VID;
    ASSERT_NE(pv.VID, 0u);
    EXPECT_EQ(vlans(), (Lines{"create vlan ten vid 10"}));
}

}  // namespace
}  // namespace zelfdb
