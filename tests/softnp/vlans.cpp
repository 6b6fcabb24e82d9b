// The commands of VLANs, memberships and protocol groups: what they store, and when they are refused.
#include "np_device.h"

using namespace softnp_test;

namespace {

std::vector<u32> groups()
{
    std::vector<u32> found;
    softnp_group group{};
    for (u32 index = 0; softnp_get_group(index, &group) == 1; index++) found.push_back(group.group);
    return found;
}

std::vector<u32> protocols(u32 index)
{
    softnp_group group{};
    EXPECT_EQ(1, softnp_get_group(index, &group));
    return {group.protocols, group.protocols + group.count};
}

std::vector<std::pair<u32, u32>> bindings(u32 np_port)
{
    std::vector<std::pair<u32, u32>> found;
    softnp_binding binding{};
    for (u32 index = 0; softnp_get_binding(np_port, index, &binding) == 1; index++)
        found.emplace_back(binding.group, binding.VID);
    return found;
}

}  // namespace

using Vlans = NpDevice;
using Memberships = NpDevice;
using Groups = NpDevice;

TEST_F(Vlans, CreationIsRefused)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, create_vlan(10));
    const struct {
        u32 VID;
        u32 FID;
        int error;
    } rows[] = {
        {0, 1, SOFTNP_ERR_BAD_VALUE},        {4095, 1, SOFTNP_ERR_BAD_VALUE},  {65546, 1, SOFTNP_ERR_BAD_VALUE},
        {11, 0x10000, SOFTNP_ERR_BAD_VALUE}, {10, 10, SOFTNP_ERR_VLAN_EXISTS}, {10, 0xC001, SOFTNP_ERR_VLAN_EXISTS},
        {11, 0xC001, SOFTNP_ERR_FID_IN_USE},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.error, tell(vf_mk_create_vlan(row.VID, row.FID))) << row.VID << " " << row.FID;
    EXPECT_EQ(1u, device_counters().vlans);
}

TEST_F(Vlans, AllVidsCanBeCreatedAndDeleted)
{
    for (u32 VID = 1; VID <= SOFTNP_VLANS; VID++) ASSERT_EQ(0, create_vlan(VID));
    EXPECT_EQ(SOFTNP_VLANS, device_counters().vlans);
    for (u32 VID = 1; VID <= SOFTNP_VLANS; VID++) ASSERT_EQ(0, tell(vf_mk_delete_vlan(VID)));
    EXPECT_EQ(0u, device_counters().vlans);
}

TEST_F(Vlans, TwoMayShareAFid)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_create_vlan(10, 10)));
    ASSERT_EQ(0, tell(vf_mk_create_vlan(20, 10)));
    EXPECT_EQ(0, tell(vf_mk_delete_vlan(10)));
    EXPECT_EQ(0, add_mac(10, HOST_A, 1, 1));
    EXPECT_EQ(0, tell(vf_mk_delete_vlan(20)));
    EXPECT_EQ(SOFTNP_ERR_NO_FID, add_mac(10, HOST_A, 1, 1));
}

TEST_F(Vlans, DeletionIsRefusedWithMembersOrTwice)
{
    given_three_ports_in_a_vlan();
    EXPECT_EQ(SOFTNP_ERR_VLAN_IN_USE, tell(vf_mk_delete_vlan(10)));
    for (u32 np_port = 1; np_port <= 3; np_port++) EXPECT_EQ(0, leave(10, np_port));
    EXPECT_EQ(0, tell(vf_mk_delete_vlan(10)));
    for (const u32 VID : {10u, 0u, 4095u, 0xFFFFFFFFu})
        EXPECT_EQ(SOFTNP_ERR_NO_VLAN, tell(vf_mk_delete_vlan(VID))) << VID;
}

TEST_F(Vlans, FlagsAreSetBySelector)
{
    ASSERT_EQ(0, create_vlan(10));
    EXPECT_EQ(0, tell(vf_mk_set_vl_flag(10, 1, 254)));
    EXPECT_EQ(1, vlan(10).ignore_fdb);
    EXPECT_EQ(0, vlan(10).learning_off);
    EXPECT_EQ(0, tell(vf_mk_set_vl_flag(10, 2, 253)));
    EXPECT_EQ(1, vlan(10).learning_off);
    EXPECT_EQ(0, tell(vf_mk_set_vl_flag(10, 0, 254)));
    EXPECT_EQ(0, tell(vf_mk_set_vl_flag(10, 0, 253)));
    EXPECT_EQ(0, vlan(10).ignore_fdb);
    EXPECT_EQ(0, vlan(10).learning_off);
}

TEST_F(Vlans, FlagsOfOtherSelectorsAndValuesAreRefused)
{
    ASSERT_EQ(0, create_vlan(10));
    EXPECT_EQ(SOFTNP_ERR_NO_VLAN, tell(vf_mk_set_vl_flag(11, 1, 254)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_vl_flag(10, 2, 254)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_vl_flag(10, 1, 253)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_vl_flag(10, 1, 252)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_vl_flag(10, 0, 0)));
    EXPECT_EQ(0, vlan(10).ignore_fdb);
    EXPECT_EQ(0, vlan(10).learning_off);
}

TEST_F(Memberships, AreStoredWithTheirTagging)
{
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, create_port(40));
    ASSERT_EQ(0, tell(vf_mk_add_port_vlan(10, 1, 0, 0x8100, 0, 0)));
    ASSERT_EQ(0, tell(vf_mk_add_port_vlan(10, 40, 1, 0x9100, 0, 0)));
    EXPECT_EQ(2, vlan(10).member_count);
    EXPECT_EQ(1u << 1, vlan(10).members[0]);
    EXPECT_EQ(1u << 8, vlan(10).members[1]);
    softnp_member member{};
    ASSERT_EQ(1, softnp_get_member(10, 1, &member));
    EXPECT_EQ(0, member.tagged);
    EXPECT_EQ(0x8100, member.tagtype);
    ASSERT_EQ(1, softnp_get_member(10, 40, &member));
    EXPECT_EQ(1, member.tagged);
    EXPECT_EQ(0, member.protocol_based);
    EXPECT_EQ(0x9100, member.tagtype);
    EXPECT_EQ(0, softnp_get_member(10, 2, &member));
    EXPECT_EQ(0, softnp_get_member(10, 99, &member));
    EXPECT_EQ(0, softnp_get_member(11, 1, &member));
}

TEST_F(Memberships, AreRefused)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, create_port(4));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    const struct {
        u32 VID, np_port, tagged, protocol_based, group;
        int error;
    } rows[] = {
        {11, 4, 0, 0, 0, SOFTNP_ERR_NO_VLAN},
        {0, 4, 0, 0, 0, SOFTNP_ERR_NO_VLAN},
        {11, 99, 0, 0, 0, SOFTNP_ERR_NO_VLAN},  // the VLAN counts first
        {10, 5, 0, 0, 0, SOFTNP_ERR_NO_PORT},
        {10, 4, 2, 0, 0, SOFTNP_ERR_BAD_VALUE},
        {10, 4, 0, 2, 0, SOFTNP_ERR_BAD_VALUE},
        {10, 1, 0, 0, 0, SOFTNP_ERR_MEMBER_EXISTS},
        {10, 1, 1, 0, 0, SOFTNP_ERR_MEMBER_EXISTS},
        {10, 1, 0, 1, 1, SOFTNP_ERR_MEMBER_EXISTS},  // a member, but not by protocol
        {10, 4, 0, 1, 2, SOFTNP_ERR_NO_GROUP},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.error,
                  tell(vf_mk_add_port_vlan(row.VID, row.np_port, row.tagged, 0x8100, row.protocol_based, row.group)))
            << row.VID << " " << row.np_port;
    EXPECT_EQ(3, vlan(10).member_count);
    EXPECT_EQ(0u, port(4).binding_count);
}

TEST_F(Memberships, ByProtocolTakeMoreGroups)
{
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, create_port(1));
    for (u32 group = 1; group <= 3; group++) ASSERT_EQ(0, tell(vf_mk_create_protgroup(group)));
    EXPECT_EQ(0, join_by_protocol(10, 1, 1, 1));
    EXPECT_EQ(0, join_by_protocol(10, 1, 2, 0));  // another group of the membership, which stays tagged
    EXPECT_EQ(0, join_by_protocol(20, 1, 1));     // the same group, another VLAN
    EXPECT_EQ(SOFTNP_ERR_MEMBER_EXISTS, join_by_protocol(10, 1, 2));
    EXPECT_EQ(SOFTNP_ERR_MEMBER_EXISTS, join(10, 1));
    EXPECT_EQ(SOFTNP_ERR_NO_GROUP, join_by_protocol(10, 1, 4));
    EXPECT_EQ((std::vector<std::pair<u32, u32>>{{1, 10}, {2, 10}, {1, 20}}), bindings(1));
    softnp_member member{};
    ASSERT_EQ(1, softnp_get_member(10, 1, &member));
    EXPECT_EQ(1, member.tagged);
    EXPECT_EQ(1, member.protocol_based);
    EXPECT_EQ(1, vlan(10).member_count);
}

TEST_F(Memberships, RemovalTakesTheBindingsOfTheVlanAndKeepsTheOrderOfTheRest)
{
    for (const u32 VID : {10u, 20u, 30u}) ASSERT_EQ(0, create_vlan(VID));
    ASSERT_EQ(0, create_port(1));
    for (u32 group = 1; group <= 4; group++) ASSERT_EQ(0, tell(vf_mk_create_protgroup(group)));
    ASSERT_EQ(0, join_by_protocol(30, 1, 4));
    ASSERT_EQ(0, join_by_protocol(10, 1, 1));
    ASSERT_EQ(0, join_by_protocol(20, 1, 2));
    ASSERT_EQ(0, join_by_protocol(10, 1, 3));
    EXPECT_EQ(0, leave(10, 1));
    EXPECT_EQ((std::vector<std::pair<u32, u32>>{{4, 30}, {2, 20}}), bindings(1));
    EXPECT_EQ(0, join(10, 1));
    softnp_member member{};
    ASSERT_EQ(1, softnp_get_member(10, 1, &member));
    EXPECT_EQ(0, member.protocol_based);
}

TEST_F(Memberships, RemovalIsRefused)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, create_port(4));
    EXPECT_EQ(SOFTNP_ERR_NO_VLAN, leave(11, 1));
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, leave(10, 5));
    EXPECT_EQ(SOFTNP_ERR_NO_MEMBER, leave(10, 4));
    EXPECT_EQ(SOFTNP_ERR_NO_MEMBER, leave(20, 1));
    EXPECT_EQ(0, leave(10, 1));
    EXPECT_EQ(SOFTNP_ERR_NO_MEMBER, leave(10, 1));
    EXPECT_EQ(0, join(10, 1));
}

TEST_F(Memberships, BindingsOfAPortAreBounded)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    for (u32 VID = 1; VID <= SOFTNP_BINDINGS + 1; VID++) ASSERT_EQ(0, create_vlan(VID));
    for (u32 VID = 1; VID <= SOFTNP_BINDINGS; VID++) ASSERT_EQ(0, join_by_protocol(VID, 1, 1));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, join_by_protocol(SOFTNP_BINDINGS + 1, 1, 1));
    EXPECT_EQ(0, vlan(SOFTNP_BINDINGS + 1).member_count);
    EXPECT_EQ(0, leave(7, 1));
    EXPECT_EQ(0, join_by_protocol(SOFTNP_BINDINGS + 1, 1, 1));
}

TEST_F(Groups, AreEightInTheOrderOfTheirCreation)
{
    for (u32 group = 0; group < SOFTNP_GROUPS; group++) EXPECT_EQ(0, tell(vf_mk_create_protgroup(100 - group)));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_create_protgroup(1)));
    EXPECT_EQ(SOFTNP_ERR_GROUP_EXISTS, tell(vf_mk_create_protgroup(97)));
    EXPECT_EQ(0, tell(vf_mk_delete_protgroup(98)));
    EXPECT_EQ(SOFTNP_ERR_NO_GROUP, tell(vf_mk_delete_protgroup(98)));
    EXPECT_EQ(0, tell(vf_mk_create_protgroup(1)));
    EXPECT_EQ((std::vector<u32>{100, 99, 97, 96, 95, 94, 93, 1}), groups());
    EXPECT_EQ(8u, device_counters().groups);
}

TEST_F(Groups, HoldEightProtocolsEachInOneGroup)
{
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(2)));
    EXPECT_EQ(SOFTNP_ERR_NO_GROUP, tell(vf_mk_add_prot_to_group(0x800, 3)));
    for (u32 index = 0; index < SOFTNP_GROUP_PROTOCOLS; index++)
        EXPECT_EQ(0, tell(vf_mk_add_prot_to_group(0x800 + index, 1)));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, tell(vf_mk_add_prot_to_group(0x900, 1)));
    EXPECT_EQ(SOFTNP_ERR_PROTOCOL_EXISTS, tell(vf_mk_add_prot_to_group(0x803, 1)));
    EXPECT_EQ(SOFTNP_ERR_PROTOCOL_EXISTS, tell(vf_mk_add_prot_to_group(0x803, 2)));
    EXPECT_EQ(0, tell(vf_mk_remove_prot_from_group(0x803, 1)));
    EXPECT_EQ(0, tell(vf_mk_add_prot_to_group(0x803, 2)));
    EXPECT_EQ((std::vector<u32>{0x800, 0x801, 0x802, 0x804, 0x805, 0x806, 0x807}), protocols(0));
    EXPECT_EQ((std::vector<u32>{0x803}), protocols(1));
}

TEST_F(Groups, RemovalOfProtocolsIsRefused)
{
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(2)));
    ASSERT_EQ(0, tell(vf_mk_add_prot_to_group(0x800, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_GROUP, tell(vf_mk_remove_prot_from_group(0x800, 3)));
    EXPECT_EQ(SOFTNP_ERR_NO_PROTOCOL, tell(vf_mk_remove_prot_from_group(0x800, 2)));
    EXPECT_EQ(SOFTNP_ERR_NO_PROTOCOL, tell(vf_mk_remove_prot_from_group(0x801, 1)));
    EXPECT_EQ(0, tell(vf_mk_remove_prot_from_group(0x800, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_PROTOCOL, tell(vf_mk_remove_prot_from_group(0x800, 1)));
}

TEST_F(Groups, InUseByAPortAreNotDeleted)
{
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(1)));
    ASSERT_EQ(0, join_by_protocol(10, 1, 1));
    EXPECT_EQ(SOFTNP_ERR_GROUP_IN_USE, tell(vf_mk_delete_protgroup(1)));
    ASSERT_EQ(0, leave(10, 1));
    EXPECT_EQ(0, tell(vf_mk_delete_protgroup(1)));
}

TEST_F(Groups, AndProtocolsAreSixteenBitsWide)
{
    ASSERT_EQ(0, tell(vf_mk_create_protgroup(0x10001)));
    EXPECT_EQ(SOFTNP_ERR_GROUP_EXISTS, tell(vf_mk_create_protgroup(1)));
    EXPECT_EQ(0, tell(vf_mk_add_prot_to_group(0x10800, 0x20001)));
    EXPECT_EQ(SOFTNP_ERR_PROTOCOL_EXISTS, tell(vf_mk_add_prot_to_group(0x800, 1)));
    EXPECT_EQ((std::vector<u32>{0x800}), protocols(0));
}
