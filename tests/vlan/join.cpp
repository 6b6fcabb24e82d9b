// Ports join VLANs, tagged and untagged.
#include <climits>

#include "vlan/joining.h"

namespace zelfdb {
namespace {

class Join : public Membership {
protected:
    Join() : Membership(16, 6, 16) {}
    void SetUp() override
    {
        Membership::SetUp();
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
    }
};

TEST_F(Join, UntaggedMakesTheVlanThePortsPVIDAndTellsTheNPThatFirst)
{
    Port& port = given_port(3, ZELFDB_PORT_ETHER, 1);
    given_port(5);
    std::memset(static_cast<void*>(&record_at<Pv>(base(), vlan(10)->pv_free).pv_flag), 0xEE, sizeof(Pv) - 32);
    Expected after = now();
    joined(after, *vlan(10), port, 0, 0x9100);
    EXPECT_EQ(join(10, 3, 0, 0x9100), done_preset({"set_port_param(3, 0x20, 0x173, 1, 0, 1, 0x8100, 0xa, 0xc003)",
                                                   "add_port_vlan(0xa, 3, 0, 0x9100, 0, 0)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_EQ(ports_with_pvid(10), std::vector<u32>{3});
    EXPECT_EQ(ports_with_pvid(0), std::vector<u32>{5});
    EXPECT_EQ(membership(10, 3)->classify, 0u);
}

TEST_F(Join, TaggedLeavesThePVIDAlone)
{
    Port& port = given_port(101);
    for (const u32 tagged : {1u, 2u, 0x80000000u}) {
        const Expected before = now();
        Expected after = now();
        joined(after, *vlan(10), port, pv_tagged, 0x88A8);
        EXPECT_EQ(join(10, 101, tagged, 0x88A8), done_preset({"add_port_vlan(0xa, 0xb, 1, 0x88a8, 0, 0)"})) << tagged;
        EXPECT_TRUE(after.is_now());
        EXPECT_EQ(port.upv, 0u);
        before.restore();
    }
}

TEST_F(Join, TheVidIsTheLowHalfAndATagTypeIsStoredAsOne)
{
    given_port(3);
    EXPECT_EQ(call(zelfdb_add_port_to_vlan, 0xABCD000Au, 3, 1, 0x1234, 0, 0).result, 0);
    EXPECT_EQ(membership(10, 3)->tagtype, 0x1234u);
    EXPECT_EQ(call(zelfdb_add_port_to_vlan, 20, 3, 1, 0xFFFF8100u, 0, 0).result, 0);
    EXPECT_EQ(membership(20, 3)->tagtype, 0x8100u);
}

// The group is neither looked up nor recorded then, but the NP is handed it all the same.
TEST_F(Join, AMembershipThatIsNotByProtocolNeedsNoGroupAndHandsItOn)
{
    given_port(3);
    EXPECT_EQ(call(zelfdb_add_port_to_vlan, 10, 3, 1, 0x8100, 0, 77),
              done_preset({"add_port_vlan(0xa, 3, 1, 0x8100, 0, 0x4d)"}));
    EXPECT_EQ(call(zelfdb_add_port_to_vlan, 20, 3, 0, 0x8100, 0, 78),
              done_preset({"set_port_param(3, 0x20, 0, 0, 0, 0, 0x8100, 0x14, 0xc003)",
                           "add_port_vlan(0x14, 3, 0, 0x8100, 0, 0x4e)"}));
    EXPECT_EQ(port(3)->npg, 0u);
    for (const ProtBinding& binding : port(3)->prot) EXPECT_EQ(binding.group | binding.VID, 0);
    EXPECT_EQ(membership(10, 3)->pv_flag, pv_tagged);
    EXPECT_EQ(membership(20, 3)->pv_flag, 0u);
}

TEST_F(Join, MembersStandByAscendingPortAndMembershipsByAscendingVid)
{
    for (const u32 id : {5u, 101u, 1u}) {
        given_port(id);
        EXPECT_EQ(join(10, id, 1).result, 0);
    }
    given_vlan(5, "five");
    EXPECT_EQ(join(20, 5, 1).result, 0);
    EXPECT_EQ(join(5, 5, 0).result, 0);
    EXPECT_EQ(ids(pvs_of_vlan, *vlan(10)), (std::vector<u32>{1, 5, 101}));
    EXPECT_EQ(ids(pvs_of_port, *port(5)), (std::vector<u32>{5, 10, 20}));
    EXPECT_EQ(port(5)->npv, 3u);
    EXPECT_EQ(port(5)->upv, 1u);
    EXPECT_EQ(vlan(10)->npv, 3u);
    EXPECT_EQ(vlan(10)->upv, 0u);
    EXPECT_EQ(header().history[ports_added_to_vlans], 5u);
}

// Whoever has a PVID, by whatever way, gets no second one.
TEST_F(Join, ASecondUntaggedMembershipIsRefusedAndATaggedOneIsNot)
{
    given_port(3);
    EXPECT_EQ(join(10, 3, 0).result, 0);
    EXPECT_TRUE(refuses_join(1614, 20, 3, 0));
    EXPECT_TRUE(refuses_join(1614, 10, 3, 0));  // of the same VLAN too
    EXPECT_EQ(join(20, 3, 1).result, 0);

    given_port(4);
    const zelfdb_port_param param{0, 0, 0, 0, 0, 0, 99};
    EXPECT_EQ(call(zelfdb_set_param_to_port, 4, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
    EXPECT_TRUE(refuses_join(1614, 10, 4, 0));
    EXPECT_EQ(join(10, 4, 1).result, 0);
}

TEST_F(Join, AVlanHasEightMembersAtMostWhateverOthersHave)
{
    for (u32 id = 1; id <= 9; ++id) given_port(id);
    for (u32 id = 1; id <= 8; ++id) EXPECT_EQ(join(10, id, id % 2).result, 0);
    EXPECT_EQ(vlan(10)->pv_free, none);
    EXPECT_TRUE(refuses_join(1605, 10, 9, 0));
    EXPECT_TRUE(refuses_join(1605, 10, 9, 1));
    EXPECT_EQ(port(9)->PVID, 0u);
    EXPECT_EQ(join(20, 9, 0).result, 0);
    EXPECT_EQ(leave(10, 4).result, 0);
    EXPECT_EQ(join(10, 9, 1).result, 0);
}

TEST_F(Join, ATaggedMembershipNeedsAVidOfOneTo4094)
{
    given_port(3);
    const struct {
        u16 vid;
        bool allowed;
    } rows[] = {{0, false}, {1, true}, {4094, true}, {4095, false}, {8191, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.vid);
        const Expected healthy = now();
        Vlan& odd = *vlan(20);  // no creation gives such a VID
        unindex_vlan(header(), odd);
        odd.VID = row.vid;
        index_vlan(base(), header(), odd);
        if (row.allowed) {
            EXPECT_EQ(join(row.vid, 3, 1).result, 0);
        } else {
            EXPECT_TRUE(refuses_join(1604, row.vid, 3, 1));
            EXPECT_EQ(join(row.vid, 3, 0).result, 0);
        }
        healthy.restore();
    }
}

TEST_F(Join, AVlanHoldsOneVirtualInterface)
{
    given_port(1, ZELFDB_PORT_VIF);
    given_port(2, ZELFDB_PORT_VIF);
    given_port(3, ZELFDB_PORT_ETHER, 1);
    EXPECT_EQ(join(10, 3, 1).result, 0);
    EXPECT_EQ(join(10, 1, 1).result, 0);
    EXPECT_TRUE(refuses_join(1612, 10, 2, 1));
    EXPECT_TRUE(refuses_join(1612, 10, 2, 0));
    EXPECT_TRUE(refuses_join(1612, 10, 1, 1));  // it is itself the one
    EXPECT_EQ(join(20, 1, 1).result, 0);
    EXPECT_EQ(leave(10, 1).result, 0);
    EXPECT_EQ(join(10, 2, 0).result, 0);
}

TEST_F(Join, AVirtualInterfaceWithAPVIDJoinsNothingMore)
{
    given_port(1, ZELFDB_PORT_VIF);
    EXPECT_EQ(join(10, 1, 0).result, 0);
    EXPECT_TRUE(refuses_join(1613, 20, 1, 1));
    EXPECT_TRUE(refuses_join(1613, 10, 1, 1));
    EXPECT_TRUE(refuses_join(1614, 20, 1, 0));
}

// A membership may name a port that is gone: it is passed over in the search for virtual interfaces.
TEST_F(Join, AMemberThatDoesNotExistIsNoVirtualInterface)
{
    given_port(1, ZELFDB_PORT_VIF);
    given_port(2, ZELFDB_PORT_VIF);
    EXPECT_EQ(join(10, 1, 1).result, 0);
    unindex_port(header(), *port(1));
    EXPECT_EQ(join(10, 2, 1).result, 0);
    expect_damage();
}

TEST_F(Join, APortThatIsAMemberAlreadyIsRefusedUnlessBothWaysAreByProtocol)
{
    given_group(7, {0x0800});
    given_group(8, {0x86DD});
    given_port(3);
    enum Way { untagged, tagged, protocol, protocol_tagged };
    const struct {
        Way present;
        Way wanted;
        u32 code;
    } rows[] = {
        {untagged, untagged, 1614},        {untagged, tagged, 1603},
        {untagged, protocol, 1603},        {untagged, protocol_tagged, 1603},
        {tagged, untagged, 1603},          {tagged, tagged, 1603},
        {tagged, protocol, 1603},          {tagged, protocol_tagged, 1603},
        {protocol, untagged, 1603},        {protocol, tagged, 1603},
        {protocol, protocol, 0},           {protocol, protocol_tagged, 0},
        {protocol_tagged, untagged, 1603}, {protocol_tagged, tagged, 1603},
        {protocol_tagged, protocol, 0},    {protocol_tagged, protocol_tagged, 0},
    };
    const auto ask = [](Way way, u32 group) {
        const bool by_protocol = way == protocol || way == protocol_tagged;
        const bool is_tagged = way == tagged || way == protocol_tagged;
        return by_protocol ? join_by(group, 10, 3, is_tagged) : join(10, 3, is_tagged);
    };
    const Expected outside = now();
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.present << " then " << row.wanted);
        outside.restore();
        ASSERT_EQ(ask(row.present, 7).result, 0);
        const Expected member = now();
        const Outcome outcome = ask(row.wanted, 8);
        EXPECT_EQ(outcome.err, row.code == 0 ? 1u : row.code);
        EXPECT_EQ(outcome.result, row.code == 0 ? 0 : -1);
        if (row.code != 0) {
            EXPECT_EQ(outcome.commands, Commands{});
            EXPECT_TRUE(member.is_now());
        }
    }
    outside.restore();
}

TEST_F(Join, TheFirstCheckThatFailsGivesTheCode)
{
    given_group(7, {0x0800});
    given_group(8, {0x86DD});
    given_port(1, ZELFDB_PORT_VIF);
    given_port(2, ZELFDB_PORT_VIF);
    for (u32 id = 11; id <= 19; ++id) given_port(id);
    given_port(3);
    const Expected fresh = now();

    const auto fill_ten = [this] {
        for (u32 id = 11; id <= 18 && vlan(10)->pv_free != none; ++id) given_member(10, id, true);
    };
    // No VLAN before no port.
    EXPECT_TRUE(refuses_join(103, 99, 99, 1));
    EXPECT_TRUE(refuses_join_by(9, 103, 99, 99));
    // No port before anything about the request.
    fill_ten();
    EXPECT_TRUE(refuses_join(102, 10, 99, 1));
    EXPECT_TRUE(refuses_join_by(9, 102, 10, 99));

    // A tagged one's VID before a group that does not exist and before a virtual interface's PVID.
    fresh.restore();
    given_member(10, 1);
    Vlan& odd = *vlan(20);
    unindex_vlan(header(), odd);
    odd.VID = 4095;
    index_vlan(base(), header(), odd);
    EXPECT_TRUE(refuses_join_by(9, 1604, 4095, 1, 1));
    EXPECT_TRUE(refuses_join(1604, 4095, 1, 1));

    // A PVID before the rules of virtual interfaces, membership and room.
    fresh.restore();
    given_member(10, 1);
    EXPECT_TRUE(refuses_join(1614, 10, 1, 0));
    fresh.restore();
    given_member(20, 1);
    given_member(10, 2);
    fill_ten();
    EXPECT_TRUE(refuses_join(1614, 10, 1, 0));
    // A group that does not exist before those.
    EXPECT_TRUE(refuses_join_by(9, 2803, 10, 1));
    EXPECT_TRUE(refuses_join_by(9, 2803, 20, 1));
    // A virtual interface's PVID before the VLAN's virtual interface, membership and room.
    EXPECT_TRUE(refuses_join(1613, 10, 1, 1));
    EXPECT_TRUE(refuses_join_by(7, 1613, 10, 1));
    EXPECT_TRUE(refuses_join(1613, 20, 1, 1));

    // The VLAN's virtual interface before membership and room.
    fresh.restore();
    given_member(10, 1, true);
    fill_ten();
    EXPECT_TRUE(refuses_join(1612, 10, 1, 1));
    EXPECT_TRUE(refuses_join(1612, 10, 1, 0));
    EXPECT_TRUE(refuses_join(1612, 10, 2, 1));
    EXPECT_TRUE(refuses_join_by(7, 1612, 10, 2));

    // Membership before room, a joined group before a full table, and a full table before room.
    fresh.restore();
    given_protocol_member(10, 3, 7);
    fill_ten();
    EXPECT_TRUE(refuses_join(1603, 10, 3, 1));
    EXPECT_TRUE(refuses_join_by(7, 1615, 10, 3));
    port(3)->npg = 8;
    EXPECT_TRUE(refuses_join_by(7, 1615, 10, 3));
    EXPECT_TRUE(refuses_join_by(8, 1616, 10, 3));
    port(3)->npg = 1;
    EXPECT_EQ(join_by(8, 10, 3), done_preset({"add_port_vlan(0xa, 3, 0, 0x8100, 1, 8)"}));  // needs no record

    fresh.restore();
    fill_ten();
    EXPECT_TRUE(refuses_join(1605, 10, 19, 1));
    EXPECT_TRUE(refuses_join_by(7, 1605, 10, 19));
    fresh.restore();
}

TEST_F(Join, UnknownVlansAndPortsAreRefused)
{
    given_port(3);
    for (const u32 vid : {0u, 11u, 4095u, 8191u, 8192u, 0xFFFFu, 0x10000u}) {
        EXPECT_TRUE(refuses_join(103, vid, 3, 0)) << vid;
        EXPECT_TRUE(refuses_leave(103, vid, 3)) << vid;
        EXPECT_TRUE(refuses_leave(103, vid, 0)) << vid;
    }
    for (const u32 id : {0u, 4u, 200u, 201u, 0x10003u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses_join(102, 10, id, 0)) << id;
        EXPECT_TRUE(refuses_leave(102, 10, id)) << id;
    }
}

}  // namespace
}  // namespace zelfdb
