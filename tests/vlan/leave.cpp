// Ports leave VLANs: one membership by its own operation, all of them when a port goes away.
#include "vlan/joining.h"
#include "vlan/membership.h"

namespace zelfdb {
namespace {

class Leave : public Membership {
protected:
    Leave() : Membership(6, 6, 32) {}
    void SetUp() override
    {
        Membership::SetUp();
        for (const u16 vid : {u16{10}, u16{20}, u16{30}}) given_vlan(vid, "v" + std::to_string(vid));
        for (u16 group = 1; group <= 4; ++group) given_group(group, {static_cast<u16>(0x0800 + group)});
        port_ = &given_port(3, ZELFDB_PORT_ETHER, 1);
        given_port(5);
    }
    Port& port() { return *port_; }

private:
    Port* port_ = nullptr;
};

TEST_F(Leave, AnUntaggedMembershipTakesThePVIDAlongAndTwoFromThePortsCountOfThem)
{
    given_member(10, 3);
    given_member(10, 5);
    Expected after = now();
    Port& expected = after.of(port());
    move_to_pvid(after, expected, 0);
    expected.upv -= 2;
    left(after, after.of(*vlan(10)), expected, after.of(*membership(10, 3)));
    EXPECT_EQ(leave(10, 3),
              done_preset({"remove_port_vlan(0xa, 3)", "set_port_param(3, 0x20, 0x173, 1, 0, 1, 0x8100, 0, 0xc003)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(port().upv, 0xFFFFFFFFu);
    EXPECT_EQ(vlan(10)->upv, 2u);
    EXPECT_EQ(vlan(10)->npv, 1u);
    EXPECT_EQ(join(20, 3, 0).result, 0);  // another PVID can be had
    EXPECT_EQ(port().upv, 0u);
}

TEST_F(Leave, ATaggedMembershipLeavesPVIDAndCountsOfUntaggedAlone)
{
    given_member(10, 3);
    given_member(20, 3, true);
    Expected after = now();
    left(after, after.of(*vlan(20)), after.of(port()), after.of(*membership(20, 3)));
    EXPECT_EQ(leave(0xFFFF0014u, 3), done_preset({"remove_port_vlan(0x14, 3)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(port().PVID, 10u);
    EXPECT_EQ(port().upv, 1u);
}

TEST_F(Leave, AMembershipByProtocolDropsItsBindingsAndKeepsTheOrderOfTheRest)
{
    given_protocol_member(10, 3, 1);
    given_protocol_member(20, 3, 2);
    given_protocol_member(10, 3, 3);
    given_protocol_member(20, 3, 4);
    for (u32 i = 4; i < 8; ++i) port().prot[i] = {0xEEEE, 0xEEEE};  // unused pairs, whatever they hold
    const Expected four = now();

    Expected after = now();
    Port& expected = after.of(port());
    expected.npg = 2;
    std::memset(expected.prot, 0, sizeof expected.prot);
    expected.prot[0] = {2, 20};
    expected.prot[1] = {4, 20};
    expected.upv -= 2;
    left(after, after.of(*vlan(10)), expected, after.of(*membership(10, 3)));
    EXPECT_EQ(leave(10, 3), done_preset({"remove_port_vlan(0xa, 3)"}));  // it owned no PVID
    EXPECT_TRUE(after.is_now());

    four.restore();
    EXPECT_EQ(leave(20, 3).result, 0);
    EXPECT_EQ(port().npg, 2u);
    EXPECT_EQ(port().prot[0].group, 1u);
    EXPECT_EQ(port().prot[1].group, 3u);
    EXPECT_EQ(leave(10, 3).result, 0);
    EXPECT_EQ(port().npg, 0u);
    for (const ProtBinding& binding : port().prot) EXPECT_EQ(binding.group | binding.VID, 0);
}

TEST_F(Leave, ATableFromWhichNothingIsDroppedIsNotWrittenBack)
{
    given_protocol_member(10, 3, 1);
    given_member(20, 3, true);
    for (u32 i = 1; i < 8; ++i) port().prot[i] = {0xEEEE, 20};  // of that VID, but not in use
    Expected after = now();
    left(after, after.of(*vlan(20)), after.of(port()), after.of(*membership(20, 3)));
    EXPECT_EQ(leave(20, 3), done_preset({"remove_port_vlan(0x14, 3)"}));
    EXPECT_TRUE(after.is_now());
    for (u32 i = 1; i < 8; ++i) port().prot[i] = {};
}

// A binding goes by its VID alone.
TEST_F(Leave, BindingsOfTheVlanAreDroppedWhateverTheMembershipIs)
{
    given_member(10, 3);
    given_member(20, 3, true);
    const Expected healthy = now();
    for (const u32 vid : {10u, 20u}) {
        healthy.restore();
        const u32 other = 30 - vid;
        port().npg = 3;
        port().prot[0] = {1, static_cast<u16>(vid)};
        port().prot[1] = {2, static_cast<u16>(other)};
        port().prot[2] = {3, static_cast<u16>(vid)};
        EXPECT_EQ(leave(vid, 3).result, 0);
        EXPECT_EQ(port().npg, 1u);
        EXPECT_EQ(port().prot[0].group, 2u);
        EXPECT_EQ(port().prot[0].VID, other);
        for (u32 i = 1; i < 8; ++i) EXPECT_EQ(port().prot[i].group | port().prot[i].VID, 0);
    }
    healthy.restore();
}

TEST_F(Leave, ATaggedMembershipByProtocolKeepsTheCountOfUntagged)
{
    given_protocol_member(10, 3, 1, true);
    given_member(20, 3);
    EXPECT_EQ(port().upv, 1u);
    EXPECT_EQ(leave(10, 3), done_preset({"remove_port_vlan(0xa, 3)"}));
    EXPECT_EQ(port().upv, 1u);
    EXPECT_EQ(port().npg, 0u);
    EXPECT_EQ(port().PVID, 20u);
}

// In all VLANs, not only the one that it leaves; between the command that ends the membership and the one of the PVID.
TEST_F(Leave, WhatWasLearnedOnThePortIsFlushedEverywhere)
{
    given_member(10, 3);
    given_learned(10, mac(0xA1), 3);
    given_learned(20, mac(0xA2), 3);
    given_learned(20, mac(0xA3), 5);
    given_static(20, mac(0xA4), 3);
    EXPECT_EQ(leave(10, 3), done_preset({"remove_port_vlan(0xa, 3)", "removeFDB(0xa, 00:00:00:00:00:a1)",
                                         "removeFDB(0x14, 00:00:00:00:00:a2)",
                                         "set_port_param(3, 0x20, 0x173, 1, 0, 1, 0x8100, 0, 0xc003)"}));
    EXPECT_EQ(vlan(10)->fdb.nfil, 0u);
    EXPECT_EQ(vlan(20)->fdb.nfil, 2u);
    EXPECT_EQ(vlan(20)->fdb.nfil_d, 1u);
}

// The setter may have given the port another PVID since it joined: it leaves the chain that it is on.
TEST_F(Leave, ThePortLeavesTheChainOfItsPresentPVID)
{
    given_member(10, 3);
    const zelfdb_port_param param{0, 0, 0, 0, 0, 0, 99};
    EXPECT_EQ(call(zelfdb_set_param_to_port, 3, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
    EXPECT_EQ(ports_with_pvid(99), std::vector<u32>{3});
    EXPECT_EQ(leave(10, 3).commands.size(), 2u);
    EXPECT_EQ(ports_with_pvid(99), std::vector<u32>{});
    EXPECT_EQ(ports_with_pvid(10), std::vector<u32>{});
    EXPECT_EQ(ports_with_pvid(0), (std::vector<u32>{3, 5}));
}

TEST_F(Leave, TheNPIsToldOfPVIDZeroEvenIfThePortHasItAlready)
{
    given_member(10, 3);
    const zelfdb_port_param param{};
    EXPECT_EQ(call(zelfdb_set_param_to_port, 3, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
    EXPECT_EQ(leave(10, 3),
              done_preset({"remove_port_vlan(0xa, 3)", "set_port_param(3, 0x20, 0x173, 1, 0, 1, 0x8100, 0, 0xc003)"}));
    EXPECT_EQ(ports_with_pvid(0), (std::vector<u32>{3, 5}));
}

TEST_F(Leave, ChecksTheVlanThenThePortThenTheUplinkThenTheMembershipThenItsProfile)
{
    given_member(10, 3);
    port().uplink = 1;
    membership(10, 3)->classify = 9;
    EXPECT_TRUE(refuses_leave(103, 99, 99));
    EXPECT_TRUE(refuses_leave(103, 99, 3));
    EXPECT_TRUE(refuses_leave(102, 10, 99));
    EXPECT_TRUE(refuses_leave(1302, 20, 3));  // no membership either
    EXPECT_TRUE(refuses_leave(1302, 10, 3));  // a profile too
    port().uplink = 0;
    EXPECT_TRUE(refuses_leave(1701, 20, 3));
    EXPECT_TRUE(refuses_leave(1701, 10, 5));
    EXPECT_TRUE(refuses_leave(1702, 10, 3));
    membership(10, 3)->classify = 0;
    port().uplink = 2;  // only a mark of exactly 1 counts
    EXPECT_EQ(leave(10, 3).result, 0);
    EXPECT_TRUE(refuses_leave(1701, 10, 3));
    port().uplink = 0;
}

TEST_F(Leave, TheRecordIsTheNextOneToBeHandedOutAndForgetsItsProfile)
{
    given_member(10, 3);
    given_member(10, 5);
    Pv* const record = membership(10, 3);
    for (u32& word : record->classify_words) word = 0xEE;
    EXPECT_EQ(leave(10, 3).result, 0);
    EXPECT_EQ(join(10, 3, 1).result, 0);
    ASSERT_EQ(membership(10, 3), record);
    for (const u32 word : record->classify_words) EXPECT_EQ(word, 0u);
}

class LeaveAll : public Leave {};

// For a port that goes away: each count by one, nothing sent, and PVID, bindings and learned entries as they were.
TEST_F(LeaveAll, EndsEveryMembershipAndTellsNobody)
{
    given_member(10, 3);
    given_member(20, 3, true);
    given_protocol_member(30, 3, 1);
    given_member(10, 5);
    given_learned(10, mac(0xA1), 3);
    const Expected healthy = now();
    Expected after = now();
    Port& expected = after.of(port());
    for (const u16 vid : {u16{10}, u16{20}, u16{30}}) {
        Vlan& from = after.of(*vlan(vid));
        if (vid != 20) {
            --expected.upv;
            --from.upv;
        }
        left(after, from, expected, after.of(*membership(vid, 3)));
    }
    EXPECT_EQ(expected.npv | expected.upv, 0u);
    EXPECT_EQ(expected.PVID, 10u);
    EXPECT_EQ(expected.npg, 1u);

    delete_all_pv_in_a_port(d(), port());
    EXPECT_EQ(sent(), Commands{});
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(header().history[ports_removed_from_vlans], 3u);
    healthy.restore();
}

TEST_F(LeaveAll, OfAPortWithoutMembershipsDoesNothing)
{
    given_member(10, 5);
    const Expected unchanged = now();
    delete_all_pv_in_a_port(d(), port());
    EXPECT_TRUE(unchanged.is_now());
    EXPECT_EQ(sent(), Commands{});
}

TEST_F(LeaveAll, OneStepEndsOneMembership)
{
    given_member(10, 3);
    given_member(20, 3, true);
    const Expected healthy = now();
    Expected after = now();
    left(after, after.of(*vlan(20)), after.of(port()), after.of(*membership(20, 3)));
    delete_one_pv(d(), port(), *membership(20, 3));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(sent(), Commands{});
    healthy.restore();
}

// A damage: the membership names a VLAN that is not there, and it stays on whatever list it is on.
TEST_F(LeaveAll, AStepForAMembershipOfNoVlanDoesNothing)
{
    given_member(10, 3);
    given_member(20, 3, true);
    const Expected healthy = now();
    membership(20, 3)->VID = 99;
    const Expected unchanged = now();
    delete_one_pv(d(), port(), *membership(20, 3));
    EXPECT_TRUE(unchanged.is_now());
    EXPECT_EQ(sent(), Commands{});
    healthy.restore();
}

}  // namespace
}  // namespace zelfdb
