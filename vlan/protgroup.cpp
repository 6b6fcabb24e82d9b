// Protocol groups: numbered sets of protocol values in one fixed table. Unlike most setters these hand back what the NP
// answered, while the database keeps the change.
#include <algorithm>
#include <cstring>

#include "core/call.h"
#include "core/order.h"
#include "np/vlan_commands.h"

namespace zelfdb {
namespace {

constexpr u32 groups_max = std::size(ProtGroupTable{}.group);
constexpr u32 protocols_max = std::size(ProtGroup{}.prot);

u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }

ProtGroup* find_group(ProtGroupTable& table, u16 group)
{
    for (u32 i = 0; i < table.count && i < groups_max; ++i) {
        if (table.group[i].group == group) return &table.group[i];
    }
    return nullptr;
}

bool holds(const ProtGroup& group, u16 protocol)
{
    for (u32 i = 0; i < group.nprot && i < protocols_max; ++i) {
        if (group.prot[i] == protocol) return true;
    }
    return false;
}

bool some_port_uses(const Call& call, u16 group)
{
    for (const Port& port : walk(all_ports, call.base(), call.header())) {
        for (u32 i = 0; i < port.npg && i < prot_bindings_per_port; ++i) {
            if (port.prot[i].group == group) return true;
        }
    }
    return false;
}

// Closes the gap. At each moment every other protocol stands in some place, for a process may die at any.
void remove_protocol(ProtGroup& group, u16 protocol)
{
    const u32 count = std::min<u32>(group.nprot, protocols_max);
    u32 kept = 0;
    for (u32 i = 0; i < count; ++i) {
        if (group.prot[i] == protocol) continue;
        group.prot[kept++] = group.prot[i];
        keep_order();
    }
    group.nprot = static_cast<u16>(kept);
    keep_order();
    std::fill(group.prot + kept, group.prot + protocols_max, u16{0});
}

// Closes the gap, so that the groups behind it keep their order.
void remove_group(ProtGroupTable& table, ProtGroup& gone)
{
    ProtGroup* const last = table.group + std::min(table.count, groups_max) - 1;
    for (ProtGroup* to = &gone; to < last; ++to) *to = to[1];
    --table.count;
    *last = {};
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_protgroup(uint32_t group_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    ProtGroupTable& table = call.header().prot_groups;

    if (table.count >= groups_max) return call.fail(ZELFDB_PROTGROUPS_FULL);
    if (find_group(table, low_half(group_id))) return call.fail(ZELFDB_PROTGROUP_EXISTS);

    ProtGroup& entry = table.group[table.count];
    entry = {};
    entry.group = low_half(group_id);
    ++table.count;
    return create_protgroup_to_NP(call.descriptor(), low_half(group_id));
}

int zelfdb_delete_protgroup(uint32_t group_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    ProtGroupTable& table = call.header().prot_groups;

    ProtGroup* const entry = find_group(table, low_half(group_id));
    if (!entry) return call.fail(ZELFDB_NO_PROTGROUP);
    if (some_port_uses(call, low_half(group_id))) return call.fail(ZELFDB_PROTGROUP_USED);

    remove_group(table, *entry);
    return delete_protgroup_to_NP(call.descriptor(), low_half(group_id));
}

int zelfdb_add_prot_to_group(uint32_t protocol, uint32_t group_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    ProtGroupTable& table = call.header().prot_groups;

    // A protocol belongs to one group at most, so where it stands comes before whether the group asked for exists.
    for (u32 i = 0; i < table.count && i < groups_max; ++i) {
        if (!holds(table.group[i], low_half(protocol))) continue;
        const bool same = table.group[i].group == low_half(group_id);
        return call.fail(same ? ZELFDB_PROTOCOL_IN_GROUP : ZELFDB_PROTOCOL_ELSEWHERE);
    }
    ProtGroup* const entry = find_group(table, low_half(group_id));
    if (!entry) return call.fail(ZELFDB_NO_PROTGROUP);
    if (entry->nprot >= protocols_max) return call.fail(ZELFDB_PROTGROUP_FULL);

    entry->prot[entry->nprot] = low_half(protocol);
    keep_order();  // a process that dies here must not leave a protocol that nobody asked for
    ++entry->nprot;
    return add_prot_to_group_to_NP(call.descriptor(), low_half(protocol), low_half(group_id));
}

int zelfdb_remove_prot_from_group(uint32_t protocol, uint32_t group_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    ProtGroup* const entry = find_group(call.header().prot_groups, low_half(group_id));
    if (!entry) return call.fail(ZELFDB_NO_PROTGROUP);
    if (!holds(*entry, low_half(protocol))) return call.fail(ZELFDB_PROTOCOL_NOT_IN_GROUP);

    remove_protocol(*entry, low_half(protocol));
    return remove_prot_from_group_to_NP(call.descriptor(), low_half(protocol), low_half(group_id));
}

int zelfdb_get_protgroup_info(zelfdb_protgroup_info* info, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    static_assert(sizeof *info == sizeof(ProtGroupTable));
    std::memcpy(info, &call.header().prot_groups, sizeof *info);
    return 0;
}
