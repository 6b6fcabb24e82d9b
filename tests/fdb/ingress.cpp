// The ingress rules: which VLAN a frame belongs to, by its port's flags, its tag and the protocol groups.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

class Ingress : public Fdb {
protected:
    // Port 3 is an untagged member of VLAN 10, its PVID, and a tagged one of VLAN 20. It is not in VLAN 30; there is no 40.
    void SetUp() override
    {
        Fdb::SetUp();
        given_open_port(3);
        given_vlan(10, "pvid");
        given_vlan(20, "member");
        given_vlan(30, "other");
        given_member(10, 3);
        given_member(20, 3, true);
        environment::reset();
    }
    [[nodiscard]] u32 vid_of(const FrameBytes& frame, u32 port_id = 3) const
    {
        return ingress_rules(d(), *reinterpret_cast<const FrameHeader*>(frame.byte), indication(port_id));
    }
    // The VID for every combination of 0x10 (untagged admitted), 0x20 (ingress filtering) and 0x40 (tags recognised).
    [[nodiscard]] std::array<u32, 8> vids_by_flags(const FrameBytes& frame) const
    {
        std::array<u32, 8> vids{};
        for (u32 bits = 0; bits < 8; ++bits) {
            port(3)->p_flag = static_cast<u16>(bits << 4);
            vids[bits] = vid_of(frame);
        }
        return vids;
    }
    // Without the membership that goes with it, so that order and content can be anything.
    void given_binding(u16 group, u16 vid)
    {
        expect_damage();
        port(3)->prot[port(3)->npg++] = {group, vid};
    }

    const Mac a = mac(0x001122334455);
};

TEST_F(Ingress, EveryCombinationOfFlagsAndTagsHasItsVlan)
{
    struct Row {
        const char* frame;
        FrameBytes bytes;
        // flags:  none 0x10 0x20 0x30  0x40 0x50 0x60 0x70
        std::array<u32, 8> vids;
    };
    const Row rows[] = {
        {"untagged", untagged_frame(a), {0, 10, 0, 10, 0, 10, 0, 10}},
        {"tagged, member", tagged_frame(a, 20), {0, 10, 0, 10, 20, 20, 20, 20}},
        {"tagged, the PVID", tagged_frame(a, 10), {0, 10, 0, 10, 10, 10, 10, 10}},
        {"tagged, not a member", tagged_frame(a, 30), {0, 10, 0, 10, 30, 30, 0, 0}},
        {"tagged, no such VLAN", tagged_frame(a, 40), {0, 10, 0, 10, 40, 40, 0, 0}},
        {"tagged 4095", tagged_frame(a, 4095), {0, 10, 0, 10, 4095, 4095, 0, 0}},
        {"priority tag", tagged_frame(a, 0), {0, 10, 0, 10, 0, 10, 0, 10}},
        {"tagged, with priority and drop bits", tagged_frame(a, 0xF014), {0, 10, 0, 10, 20, 20, 20, 20}},
        {"priority tag, with priority and drop bits", tagged_frame(a, 0xF000), {0, 10, 0, 10, 0, 10, 0, 10}},
        {"another tag type", tagged_frame(a, 20, 0x88A8), {0, 10, 0, 10, 0, 10, 0, 10}},
        {"tag type with its bytes swapped", tagged_frame(a, 20, 0x0081), {0, 10, 0, 10, 0, 10, 0, 10}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.frame);
        EXPECT_EQ(row.vids, vids_by_flags(row.bytes));
    }
}

TEST_F(Ingress, NoOtherFlagOfThePortMatters)
{
    for (const u32 others : {0x0000u, 0xFF8Fu, 0x0001u, 0x0100u, 0x8000u}) {
        SCOPED_TRACE(others);
        port(3)->p_flag = static_cast<u16>(others);
        EXPECT_EQ(0u, vid_of(untagged_frame(a)));
        EXPECT_EQ(0u, vid_of(tagged_frame(a, 20)));
        port(3)->p_flag = static_cast<u16>(others | 0x70);
        EXPECT_EQ(10u, vid_of(untagged_frame(a)));
        EXPECT_EQ(20u, vid_of(tagged_frame(a, 20)));
    }
}

TEST_F(Ingress, TagsAreKnownByThePortsOwnTagType)
{
    port(3)->tagtype = 0x88A8;
    EXPECT_EQ(20u, vid_of(tagged_frame(a, 20, 0x88A8)));
    EXPECT_EQ(10u, vid_of(tagged_frame(a, 20, 0x8100)));
}

TEST_F(Ingress, AnUnknownPortAdmitsNothing)
{
    for (const u32 port_id : {0u, 1u, 4u, 199u, 200u, 201u, 65535u}) {
        EXPECT_EQ(0u, vid_of(untagged_frame(a), port_id)) << port_id;
        EXPECT_EQ(0u, vid_of(tagged_frame(a, 20), port_id)) << port_id;
    }
}

TEST_F(Ingress, APvidOfNoVlanPassesOnlyWithoutFiltering)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_rem_port_from_vlan(10, 3, &err));
    EXPECT_EQ((std::array<u32, 8>{0, 0, 0, 0, 0, 0, 0, 0}), vids_by_flags(untagged_frame(a))) << "PVID 0";
    for (const u16 pvid : {u16{30}, u16{40}, u16{0xFFFF}}) {
        SCOPED_TRACE(pvid);
        port(3)->PVID = pvid;
        EXPECT_EQ((std::array<u32, 8>{0, pvid, 0, 0, 0, pvid, 0, 0}), vids_by_flags(untagged_frame(a)));
    }
    port(3)->PVID = 0;
}

TEST_F(Ingress, MembershipUntaggedTaggedOrByProtocolPassesTheFilter)
{
    given_group(7, {0x0806});
    given_protocol_member(30, 3, 7);
    port(3)->p_flag = 0x70;
    EXPECT_EQ(10u, vid_of(tagged_frame(a, 10)));
    EXPECT_EQ(20u, vid_of(tagged_frame(a, 20)));
    EXPECT_EQ(30u, vid_of(tagged_frame(a, 30)));
    EXPECT_EQ(30u, vid_of(untagged_frame(a, 0x0806)));
}

// ---- Protocol groups -------------------------------------------------------------------------------------------------

TEST_F(Ingress, AnEthertypeOfABoundGroupGivesTheBindingsVlan)
{
    given_group(7, {0x0806, 0x86DD});
    given_binding(7, 20);
    EXPECT_EQ((std::array<u32, 8>{0, 20, 0, 20, 0, 20, 0, 20}), vids_by_flags(untagged_frame(a, 0x0806)));
    EXPECT_EQ((std::array<u32, 8>{0, 20, 0, 20, 0, 20, 0, 20}), vids_by_flags(untagged_frame(a, 0x86DD)));
    EXPECT_EQ((std::array<u32, 8>{0, 10, 0, 10, 0, 10, 0, 10}), vids_by_flags(untagged_frame(a, 0x0800)));
}

TEST_F(Ingress, TheBindingsVlanIsFilteredLikeAnyOther)
{
    given_group(7, {0x0806});
    given_binding(7, 30);
    EXPECT_EQ((std::array<u32, 8>{0, 30, 0, 0, 0, 30, 0, 0}), vids_by_flags(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, GroupsAreTriedInTableOrderNotInTheOrderOfTheBindings)
{
    given_group(9, {0x0800, 0x0806});
    given_group(2, {0x0806, 0x86DD});
    given_binding(2, 20);
    given_binding(9, 30);
    port(3)->p_flag = 0x10;
    EXPECT_EQ(30u, vid_of(untagged_frame(a, 0x0800)));
    EXPECT_EQ(30u, vid_of(untagged_frame(a, 0x0806))) << "in both groups: group 9 stands first in the table";
    EXPECT_EQ(20u, vid_of(untagged_frame(a, 0x86DD)));
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x0801))) << "in neither: the PVID";
}

TEST_F(Ingress, AMatchWithoutABindingDoesNotEndTheSearch)
{
    given_group(9, {0x0806});
    given_group(4, {0x0806});
    given_group(2, {0x0806});
    given_binding(2, 20);
    port(3)->p_flag = 0x10;
    EXPECT_EQ(20u, vid_of(untagged_frame(a, 0x0806)));
    port(3)->npg = 0;
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, OfTwoBindingsOfOneGroupTheFirstCounts)
{
    given_group(9, {0x0806});
    given_binding(8, 40);
    given_binding(9, 30);
    given_binding(9, 20);
    port(3)->p_flag = 0x10;
    EXPECT_EQ(30u, vid_of(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, ABindingToVid0EndsTheSearchAndAdmitsNothing)
{
    given_group(9, {0x0806});
    given_group(2, {0x0806});
    given_binding(9, 0);
    given_binding(2, 20);
    EXPECT_EQ((std::array<u32, 8>{}), vids_by_flags(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, TheLastOfEightGroupsEthertypesAndBindingsCounts)
{
    for (u16 group = 1; group <= 8; ++group) {
        const auto first = static_cast<u16>(0x1000 * group);
        given_group(group, {first, u16(first + 1), u16(first + 2), u16(first + 3), u16(first + 4), u16(first + 5),
                            u16(first + 6), u16(first + 7)});
        given_binding(group, static_cast<u16>(100 + group));
    }
    port(3)->p_flag = 0x10;
    EXPECT_EQ(108u, vid_of(untagged_frame(a, 0x8007)));
    EXPECT_EQ(101u, vid_of(untagged_frame(a, 0x1000)));
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x8008)));
    header().prot_groups.count = 7;
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x8007))) << "the eighth is not in use";
    header().prot_groups.count = 8;
    header().prot_groups.group[7].nprot = 7;
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x8007)));
}

// Counts that say more than there is room for are a damage, and lead nowhere.
TEST_F(Ingress, WhatStandsBehindTheEthertypesOfAGroupIsNone)
{
    given_group(7, {1, 2, 3, 4, 5, 6, 7, 8});
    given_group(0x0806, {});  // its number stands there
    given_binding(7, 20);
    port(3)->p_flag = 0x10;
    for (const u16 count : {u16{9}, u16{0xFFFF}}) {
        header().prot_groups.group[0].nprot = count;
        EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x0806)));
        EXPECT_EQ(20u, vid_of(untagged_frame(a, 8)));
    }
}

TEST_F(Ingress, WhatStandsBehindTheGroupsIsNone)
{
    given_binding(99, 20);
    given_ninth_group(99, {0x0806});
    port(3)->p_flag = 0x10;
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, WhatStandsBehindTheBindingsOfAPortIsNone)
{
    const ProtBinding behind = given_ninth_binding(*port(3));
    given_group(behind.group, {0x0806});
    port(3)->p_flag = 0x10;
    ASSERT_NE(10u, behind.VID);
    EXPECT_EQ(10u, vid_of(untagged_frame(a, 0x0806)));
}

TEST_F(Ingress, AnUnrecognisedTagIsClassifiedByItsTagTypeAsAProtocol)
{
    given_group(9, {0x8100});
    given_binding(9, 20);
    EXPECT_EQ((std::array<u32, 8>{0, 20, 0, 20, 30, 30, 0, 0}), vids_by_flags(tagged_frame(a, 30)));
}

TEST_F(Ingress, APriorityTaggedFrameIsNotClassifiedByProtocol)
{
    given_group(9, {0x8100, 0x0800});
    given_binding(9, 20);
    port(3)->p_flag = 0x50;
    EXPECT_EQ(10u, vid_of(tagged_frame(a, 0)));
}

// ---- What becomes of the frame ---------------------------------------------------------------------------------------

TEST_F(Ingress, AStationIsLearnedInTheVlanOfItsFrame)
{
    given_group(7, {0x0806});
    given_binding(7, 20);
    port(3)->p_flag = 0x71;
    EXPECT_EQ(0, learn_frame(untagged_frame(mac(2)), indication(3)));
    EXPECT_EQ(0, learn_frame(tagged_frame(mac(4), 20), indication(3)));
    EXPECT_EQ(0, learn_frame(tagged_frame(mac(6), 0), indication(3)));
    EXPECT_EQ(0, learn_frame(untagged_frame(mac(8), 0x0806), indication(3)));
    EXPECT_EQ((std::vector<std::string>{add_line(10, mac(2), 3, 31 * 44), add_line(20, mac(4), 3, 30 * 44),
                                        add_line(10, mac(6), 3, 29 * 44), add_line(20, mac(8), 3, 28 * 44)}),
              sent());
}

TEST_F(Ingress, AFrameThatIsNotAdmittedIsNotLearned)
{
    const auto learned_with = [&](u32 flags, const FrameBytes& frame) {
        port(3)->p_flag = static_cast<u16>(flags);
        const Snapshot before = snapshot();
        EXPECT_EQ(0, learn_frame(frame, indication(3)));
        return before != snapshot();
    };
    EXPECT_FALSE(learned_with(0x41, tagged_frame(a, 0))) << "a priority tag where untagged frames are not admitted";
    EXPECT_FALSE(learned_with(0x71, tagged_frame(a, 30))) << "not a member";
    EXPECT_FALSE(learned_with(0x71, tagged_frame(a, 40))) << "no such VLAN, filtered";
    EXPECT_FALSE(learned_with(0x51, tagged_frame(a, 40))) << "no such VLAN, not filtered";
    EXPECT_FALSE(learned_with(0x41, untagged_frame(a)));
    EXPECT_TRUE(learned_with(0x51, tagged_frame(a, 30))) << "not a member, not filtered";
}

}  // namespace
}  // namespace zelfdb
