// Ports join VLANs for the frames of one protocol group.
#include "vlan/joining.h"

namespace zelfdb {
namespace {

class JoinByProtocol : public Membership {
protected:
    JoinByProtocol() : Membership(6, 12, 8) {}
    void SetUp() override
    {
        Membership::SetUp();
        for (u16 group = 1; group <= 8; ++group) given_group(group, {static_cast<u16>(0x0800 + group)});
        for (u16 vid = 10; vid <= 20; ++vid) given_vlan(vid, "v" + std::to_string(vid));
        port_ = &given_port(3, ZELFDB_PORT_ETHER, 1);
    }
    Port& port() { return *port_; }

private:
    Port* port_ = nullptr;
};

TEST_F(JoinByProtocol, RecordsTheBindingCountsAsUntaggedAndOwnsNoPVID)
{
    Expected after = now();
    joined(after, *vlan(10), port(), pv_protocol, 0x8100);
    after.of(port()).npg = 1;
    after.of(port()).prot[0] = {7, 10};
    EXPECT_EQ(join_by(7, 10, 3), done_preset({"add_port_vlan(0xa, 3, 0, 0x8100, 1, 7)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(port().upv, 1u);
    EXPECT_EQ(vlan(10)->upv, 1u);
    EXPECT_EQ(port().PVID, 0u);
    EXPECT_EQ(join(11, 3, 0).result, 0);  // a PVID is still to be had
}

TEST_F(JoinByProtocol, TaggedCountsAsTagged)
{
    Expected after = now();
    joined(after, *vlan(10), port(), pv_protocol | pv_tagged, 0x8100);
    after.of(port()).npg = 1;
    after.of(port()).prot[0] = {8, 10};
    EXPECT_EQ(join_by(8, 10, 3, 5), done_preset({"add_port_vlan(0xa, 3, 1, 0x8100, 1, 8)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(JoinByProtocol, APortWithAPVIDMayJoin)
{
    EXPECT_EQ(join(10, 3, 0).result, 0);
    EXPECT_EQ(join_by(1, 11, 3).result, 0);
    EXPECT_EQ(port().PVID, 10u);
}

TEST_F(JoinByProtocol, AGroupIsKnownByItsLowHalf)
{
    EXPECT_TRUE(refuses_join_by(9, 2803, 10, 3));
    EXPECT_TRUE(refuses_join_by(0, 2803, 10, 3));
    EXPECT_TRUE(refuses_join_by(0xFFFFFFFF, 2803, 10, 3));
    EXPECT_EQ(join_by(0x50002, 10, 3), done_preset({"add_port_vlan(0xa, 3, 0, 0x8100, 1, 2)"}));
    EXPECT_EQ(port().prot[0].group, 2u);
}

// No new record, and no counter changes but that of the history.
TEST_F(JoinByProtocol, AFurtherGroupOfTheSameVlanExtendsTheMembership)
{
    EXPECT_EQ(join_by(1, 10, 3).result, 0);
    Expected after = now();
    after.of(port()).npg = 2;
    after.of(port()).prot[1] = {2, 10};
    ++after.header().history[ports_added_to_vlans];
    EXPECT_EQ(call(zelfdb_add_port_to_vlan, 10, 3, 1, 0x9999, 1, 2),
              done_preset({"add_port_vlan(0xa, 3, 1, 0x9999, 1, 2)"}));
    EXPECT_TRUE(after.is_now());
}

// It is itself the virtual interface that the VLAN has already, and that is looked at first.
TEST_F(JoinByProtocol, AVirtualInterfaceGetsNoFurtherGroupOfItsVlan)
{
    given_port(4, ZELFDB_PORT_VIF);
    EXPECT_EQ(join_by(1, 10, 4).result, 0);
    EXPECT_TRUE(refuses_join_by(2, 1612, 10, 4));
    EXPECT_TRUE(refuses_join_by(1, 1612, 10, 4));
    EXPECT_EQ(join_by(2, 11, 4).result, 0);
    EXPECT_EQ(join(12, 4, 0).result, 0);  // which gives it a PVID
    EXPECT_TRUE(refuses_join_by(3, 1613, 10, 4));
    EXPECT_TRUE(refuses_join_by(3, 1613, 13, 4));
}

TEST_F(JoinByProtocol, AGroupAlreadyJoinedIsRefusedForAMembershipThatExistsWhateverVlanItIsFor)
{
    EXPECT_EQ(join_by(1, 10, 3).result, 0);
    EXPECT_EQ(join_by(2, 11, 3).result, 0);
    EXPECT_TRUE(refuses_join_by(1, 1615, 10, 3));
    EXPECT_TRUE(refuses_join_by(2, 1615, 10, 3));
    EXPECT_TRUE(refuses_join_by(1, 1615, 11, 3));
}

// Only the extension of a membership looks at the table.
TEST_F(JoinByProtocol, ANewMembershipMayUseAGroupAgain)
{
    EXPECT_EQ(join_by(1, 10, 3).result, 0);
    EXPECT_EQ(join_by(1, 11, 3).result, 0);
    EXPECT_EQ(port().npg, 2u);
    EXPECT_EQ(port().prot[0].group, 1u);
    EXPECT_EQ(port().prot[0].VID, 10u);
    EXPECT_EQ(port().prot[1].group, 1u);
    EXPECT_EQ(port().prot[1].VID, 11u);
}

TEST_F(JoinByProtocol, TheNinthGroupIsRefusedForAMembershipThatExists)
{
    for (u32 group = 1; group <= 8; ++group) EXPECT_EQ(join_by(group, 10, 3).result, 0);
    EXPECT_EQ(port().npg, 8u);
    EXPECT_EQ(call(zelfdb_get_vid_from_portID2, &d(), 1, 3, &port().reserved212).result, 1);
    port().reserved212 = 0;
    EXPECT_TRUE(refuses_join_by(8, 1615, 10, 3));

    header().prot_groups.group[0].group = 100;  // a ninth group, in the place of one that is joined
    EXPECT_TRUE(refuses_join_by(100, 1616, 10, 3));
    header().prot_groups.group[0].group = 1;
}

// Keeping within the table is then the caller's business: the membership is made and the NP told, without a binding. What
// stands behind the table are the port's links.
TEST_F(JoinByProtocol, TheNinthBindingOfANewMembershipIsMadeWithoutAPlaceInTheTable)
{
    for (u16 i = 0; i < 8; ++i) EXPECT_EQ(join_by(1, 10u + i, 3).result, 0);
    ASSERT_EQ(port().npg, 8u);
    for (const u16 vid : {u16{18}, u16{19}, u16{20}}) {
        Expected after = now();
        joined(after, *vlan(vid), port(), pv_protocol, 0x8100);
        char command[64];
        std::snprintf(command, sizeof command, "add_port_vlan(0x%x, 3, 0, 0x8100, 1, 2)", unsigned{vid});
        EXPECT_EQ(join_by(2, vid, 3), done_preset({command}));
        EXPECT_TRUE(after.is_now());
    }
    EXPECT_TRUE(refuses_join_by(2, 1616, 20, 3));
    EXPECT_EQ(port().npv, 11u);
    EXPECT_EQ(leave(20, 3).result, 0);
    EXPECT_EQ(port().npg, 8u);
}

// Counts that say more than there is room for are a damage, and lead nowhere.
TEST_F(JoinByProtocol, WhatStandsBehindTheEightGroupsIsNone)
{
    given_ninth_group(99, {});
    EXPECT_TRUE(refuses_join_by(99, 2803, 10, 3));
    EXPECT_EQ(join_by(8, 10, 3).result, 0);
}

TEST_F(JoinByProtocol, WhatStandsBehindTheEightBindingsOfAPortIsNone)
{
    EXPECT_EQ(join_by(1, 10, 3).result, 0);
    const ProtBinding behind = given_ninth_binding(port());
    header().prot_groups.group[7].group = behind.group;
    EXPECT_TRUE(refuses_join_by(behind.group, 1616, 10, 3));
}

TEST_F(JoinByProtocol, AVlanWithoutRoomTakesNoBindingEither)
{
    for (u32 id = 11; id <= 15; ++id) given_port(id);
    for (u32 id = 11; id <= 15; ++id) given_member(10, id, true);
    const Offset kept = vlan(10)->pv_free;
    vlan(10)->pv_free = none;
    EXPECT_TRUE(refuses_join_by(1, 1605, 10, 3));
    EXPECT_EQ(port().npg, 0u);
    vlan(10)->pv_free = kept;
}

}  // namespace
}  // namespace zelfdb
