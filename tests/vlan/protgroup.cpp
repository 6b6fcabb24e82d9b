// Protocol groups.
#include "support/exported.h"

namespace zelfdb {
namespace {

class ProtGroups : public Exported {
protected:
    ProtGroupTable& table() { return header().prot_groups; }
    std::vector<u16> groups()
    {
        std::vector<u16> all;
        for (u32 i = 0; i < table().count; ++i) all.push_back(table().group[i].group);
        return all;
    }
    std::vector<u16> protocols(u32 index)
    {
        const ProtGroup& group = table().group[index];
        return {group.prot, group.prot + group.nprot};
    }
    static Outcome refused_by_NP(const std::string& command) { return {-1, 1, {command, command}}; }
};

TEST_F(ProtGroups, ANewGroupStandsBehindTheOthersWithoutProtocols)
{
    given_group(7, {0x0800});
    std::memset(static_cast<void*>(&table().group[1]), 0xEE, sizeof(ProtGroup));  // what deletion once left there
    Expected after = now();
    after.header().prot_groups.count = 2;
    after.header().prot_groups.group[1] = {5, 0, {}};
    EXPECT_EQ(call(zelfdb_create_protgroup, 5), done_preset({"create_protgroup(5)"}));
    EXPECT_TRUE(after.is_now());
    EXPECT_TRUE(refuses(2802, zelfdb_create_protgroup, 5));
    EXPECT_TRUE(refuses(2802, zelfdb_create_protgroup, 7));
}

TEST_F(ProtGroups, IdsAreSixteenBitsWide)
{
    EXPECT_EQ(call(zelfdb_create_protgroup, 0x90005u), done_preset({"create_protgroup(5)"}));
    EXPECT_TRUE(refuses(2802, zelfdb_create_protgroup, 0xFFFF0005u));
    EXPECT_EQ(call(zelfdb_create_protgroup, 0), done_preset({"create_protgroup(0)"}));
    EXPECT_EQ(call(zelfdb_create_protgroup, 0xFFFF), done_preset({"create_protgroup(0xffff)"}));
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 0x70800u, 0x10005u), done_preset({"add_prot_to_group(0x800, 5)"}));
    EXPECT_EQ(protocols(0), std::vector<u16>{0x0800});
    EXPECT_TRUE(refuses(2805, zelfdb_add_prot_to_group, 0x0800, 5));
    EXPECT_EQ(call(zelfdb_remove_prot_from_group, 0xFFFF0800u, 0x20005u),
              done_preset({"remove_prot_from_group(0x800, 5)"}));
    EXPECT_EQ(call(zelfdb_delete_protgroup, 0xABCD0005u), done_preset({"delete_protgroup(5)"}));
    EXPECT_EQ(groups(), (std::vector<u16>{0, 0xFFFF}));
}

TEST_F(ProtGroups, TheNinthGroupIsRefusedBeforeOneThatExists)
{
    for (u32 id = 1; id <= 8; ++id) EXPECT_EQ(call(zelfdb_create_protgroup, id).result, 0);
    EXPECT_TRUE(refuses(2801, zelfdb_create_protgroup, 9));
    EXPECT_TRUE(refuses(2801, zelfdb_create_protgroup, 1));
    EXPECT_EQ(call(zelfdb_delete_protgroup, 8).result, 0);
    EXPECT_TRUE(refuses(2802, zelfdb_create_protgroup, 1));
    EXPECT_EQ(call(zelfdb_create_protgroup, 9).result, 0);
}

TEST_F(ProtGroups, DeletionClosesTheGapAndKeepsTheOrder)
{
    for (u16 id = 1; id <= 8; ++id) given_group(id, {id, static_cast<u16>(100 + id)});
    const Expected full = now();
    const struct {
        u32 gone;
        std::vector<u16> left;
    } rows[] = {{1, {2, 3, 4, 5, 6, 7, 8}}, {4, {1, 2, 3, 5, 6, 7, 8}}, {8, {1, 2, 3, 4, 5, 6, 7}}};
    for (const auto& row : rows) {
        full.restore();
        Expected after = now();
        ProtGroupTable& expected = after.header().prot_groups;
        expected = {};
        for (const u16 id : row.left) expected.group[expected.count++] = {id, 2, {id, static_cast<u16>(100 + id)}};
        EXPECT_EQ(call(zelfdb_delete_protgroup, row.gone),
                  done_preset({"delete_protgroup(" + std::to_string(row.gone) + ")"}));
        EXPECT_TRUE(after.is_now());
    }
    full.restore();
}

TEST_F(ProtGroups, AnUnknownGroupIsNotDeletedNorOneThatAPortUses)
{
    given_port(1);
    given_port(2);
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    EXPECT_TRUE(refuses(2803, zelfdb_delete_protgroup, 7));
    given_group(7, {});
    given_group(8, {});
    given_protocol_member(10, 2, 8);
    given_protocol_member(20, 2, 7);
    EXPECT_TRUE(refuses(2803, zelfdb_delete_protgroup, 9));
    EXPECT_TRUE(refuses(2911, zelfdb_delete_protgroup, 7));
    EXPECT_TRUE(refuses(2911, zelfdb_delete_protgroup, 8));
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 20, 2).result, 0);
    EXPECT_EQ(call(zelfdb_delete_protgroup, 7).result, 0);
    EXPECT_TRUE(refuses(2911, zelfdb_delete_protgroup, 8));
}

TEST_F(ProtGroups, AGroupThatDoesNotExistIsNotFoundEvenIfAPortIsBoundToIt)
{
    Port& port = given_port(1);
    given_group(8, {});
    const Expected healthy = now();
    port.npg = 1;
    port.prot[0] = {7, 10};
    EXPECT_TRUE(refuses(2803, zelfdb_delete_protgroup, 7));
    healthy.restore();
}

TEST_F(ProtGroups, TheLastOfEightBindingsCountsAsUseAndWhatStandsBehindTheTableDoesNot)
{
    given_vlan(10, "ten");
    Port& port = given_port(1);
    for (u16 id = 1; id <= 8; ++id) {
        given_group(id, {});
        given_protocol_member(10, 1, id);
    }
    EXPECT_TRUE(refuses(2911, zelfdb_delete_protgroup, 8));
    const Expected healthy = now();
    port.npg = 7;
    EXPECT_EQ(call(zelfdb_delete_protgroup, 8).result, 0);
    healthy.restore();
}

// Counts that say more than there is room for are a damage, and lead nowhere.
TEST_F(ProtGroups, WhatStandsBehindTheEightGroupsIsNone)
{
    given_ninth_group(99, {0x0800});
    EXPECT_TRUE(refuses(2803, zelfdb_delete_protgroup, 99));
    EXPECT_TRUE(refuses(2803, zelfdb_add_prot_to_group, 0x86DD, 99));
    EXPECT_TRUE(refuses(2803, zelfdb_remove_prot_from_group, 0x0800, 99));
    EXPECT_TRUE(refuses(2801, zelfdb_create_protgroup, 100));
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 0x0800, 8), done_preset({"add_prot_to_group(0x800, 8)"}));
}

TEST_F(ProtGroups, DeletingOneWritesNothingBehindTheEight)
{
    given_ninth_group(99, {0x0800});
    Mirror behind[4];
    std::memcpy(behind, header().mirror, sizeof behind);
    EXPECT_EQ(call(zelfdb_delete_protgroup, 3), done_preset({"delete_protgroup(3)"}));
    EXPECT_EQ(0, std::memcmp(behind, header().mirror, sizeof behind));
    EXPECT_EQ(4u, table().group[2].group);
    EXPECT_EQ(8u, table().group[6].group);
    EXPECT_EQ(0u, table().group[7].group);
}

TEST_F(ProtGroups, WhatStandsBehindTheEightProtocolsOfAGroupIsNone)
{
    given_group(7, {1, 2, 3, 4, 5, 6, 7, 8});
    given_group(0x0806, {});  // its number stands there
    const Expected healthy = now();
    for (const u16 count : {u16{9}, u16{0xFFFF}}) {
        table().group[0].nprot = count;
        EXPECT_TRUE(refuses(2807, zelfdb_remove_prot_from_group, 0x0806, 7));
        EXPECT_TRUE(refuses(2804, zelfdb_add_prot_to_group, 99, 7));
        EXPECT_EQ(call(zelfdb_add_prot_to_group, 0x0806, 0x0806), done_preset({"add_prot_to_group(0x806, 0x806)"}));
        healthy.restore();
    }
}

TEST_F(ProtGroups, WhatStandsBehindTheEightBindingsOfAPortIsNoUse)
{
    const ProtBinding behind = given_ninth_binding(given_port(1));
    given_group(behind.group, {});
    EXPECT_EQ(call(zelfdb_delete_protgroup, behind.group).result, 0);
    EXPECT_EQ(groups(), std::vector<u16>{});
}

TEST_F(ProtGroups, AProtocolStandsBehindTheOthersOfItsGroup)
{
    given_group(7, {0x0800});
    given_group(8, {});
    Expected after = now();
    after.header().prot_groups.group[0].nprot = 2;
    after.header().prot_groups.group[0].prot[1] = 0x86DD;
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 0x86DD, 7), done_preset({"add_prot_to_group(0x86dd, 7)"}));
    EXPECT_TRUE(after.is_now());
}

// The search for the protocol goes through all groups before anything else is looked at.
TEST_F(ProtGroups, WhereAProtocolStandsComesBeforeTheGroupAndItsRoom)
{
    EXPECT_TRUE(refuses(2803, zelfdb_add_prot_to_group, 0x0800, 7));  // there is no group at all
    given_group(7, {1, 2, 3, 4, 5, 6, 7, 8});
    given_group(8, {9, 10, 11, 12, 13, 14, 15});
    const struct {
        u32 protocol;
        u32 group;
        u32 code;
    } rows[] = {{1, 7, 2805},  {8, 7, 2805},   {1, 8, 2806},   {8, 8, 2806},  {9, 7, 2806}, {15, 8, 2805},
                {1, 99, 2806}, {15, 99, 2806}, {99, 99, 2803}, {99, 7, 2804}, {0, 7, 2804}};
    for (const auto& row : rows) {
        EXPECT_TRUE(refuses(row.code, zelfdb_add_prot_to_group, row.protocol, row.group))
            << row.protocol << " to " << row.group;
    }
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 99, 8).result, 0);
    EXPECT_TRUE(refuses(2804, zelfdb_add_prot_to_group, 100, 8));
}

// 0 is a protocol value like any other, and unused places of a group hold none.
TEST_F(ProtGroups, UnusedPlacesOfAGroupHoldNoProtocol)
{
    given_group(7, {0x0800});
    EXPECT_TRUE(refuses(2807, zelfdb_remove_prot_from_group, 0, 7));
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 0, 7).result, 0);
    EXPECT_EQ(protocols(0), (std::vector<u16>{0x0800, 0}));
    EXPECT_EQ(call(zelfdb_remove_prot_from_group, 0, 7).result, 0);
    EXPECT_EQ(protocols(0), std::vector<u16>{0x0800});
}

TEST_F(ProtGroups, RemovalTakesEveryOccurrenceAndKeepsTheOrderOfTheRest)
{
    given_group(6, {5});
    given_group(7, {1, 5, 2, 5, 3, 4, 6, 5});
    Expected after = now();
    after.header().prot_groups.group[1] = {7, 5, {1, 2, 3, 4, 6, 0, 0, 0}};
    EXPECT_EQ(call(zelfdb_remove_prot_from_group, 5, 7), done_preset({"remove_prot_from_group(5, 7)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(ProtGroups, RemovalChecksTheGroupThenTheProtocol)
{
    EXPECT_TRUE(refuses(2803, zelfdb_remove_prot_from_group, 1, 7));
    given_group(7, {1});
    given_group(8, {2});
    EXPECT_TRUE(refuses(2803, zelfdb_remove_prot_from_group, 1, 9));
    EXPECT_TRUE(refuses(2803, zelfdb_remove_prot_from_group, 99, 9));
    EXPECT_TRUE(refuses(2807, zelfdb_remove_prot_from_group, 2, 7));
    EXPECT_EQ(call(zelfdb_remove_prot_from_group, 1, 7).result, 0);
    EXPECT_TRUE(refuses(2807, zelfdb_remove_prot_from_group, 1, 7));
}

// The group stays as changed, and the next call goes by that.
TEST_F(ProtGroups, ARefusalOfTheNPIsTheResult)
{
    recorder::fail_always(recorder::Failure::status);
    EXPECT_EQ(call(zelfdb_create_protgroup, 7), refused_by_NP("create_protgroup(7)"));
    EXPECT_TRUE(refuses(2802, zelfdb_create_protgroup, 7));
    EXPECT_EQ(call(zelfdb_add_prot_to_group, 5, 7), refused_by_NP("add_prot_to_group(5, 7)"));
    EXPECT_TRUE(refuses(2805, zelfdb_add_prot_to_group, 5, 7));
    EXPECT_EQ(call(zelfdb_remove_prot_from_group, 5, 7), refused_by_NP("remove_prot_from_group(5, 7)"));
    EXPECT_TRUE(refuses(2807, zelfdb_remove_prot_from_group, 5, 7));
    EXPECT_EQ(call(zelfdb_delete_protgroup, 7), refused_by_NP("delete_protgroup(7)"));
    EXPECT_TRUE(refuses(2803, zelfdb_delete_protgroup, 7));
}

TEST_F(ProtGroups, TheReaderCopiesTheWholeTableAsItLies)
{
    static_assert(sizeof(zelfdb_protgroup_info) == 164);
    struct {
        zelfdb_protgroup_info info;
        u8 behind[8];
    } out;
    std::memset(&out, 0xA5, sizeof out);
    EXPECT_EQ(call(zelfdb_get_protgroup_info, &out.info), done_preset());
    EXPECT_EQ(out.info.count, 0u);
    EXPECT_EQ(std::memcmp(&out.info, &table(), 164), 0);

    given_group(7, {0x0800, 0x86DD});
    given_group(8, {});
    table().group[5] = {0xEEEE, 0xEEEE, {0xEEEE}};  // not in use, copied all the same
    EXPECT_EQ(call(zelfdb_get_protgroup_info, &out.info), done_preset());
    EXPECT_EQ(out.info.count, 2u);
    EXPECT_EQ(out.info.group[0].group, 7u);
    EXPECT_EQ(out.info.group[0].nprot, 2u);
    EXPECT_EQ(out.info.group[0].prot[1], 0x86DDu);
    EXPECT_EQ(out.info.group[5].group, 0xEEEEu);
    EXPECT_EQ(std::memcmp(&out.info, &table(), 164), 0);
    for (const u8 byte : out.behind) EXPECT_EQ(byte, 0xA5u);
    table().group[5] = {};
}

}  // namespace
}  // namespace zelfdb
