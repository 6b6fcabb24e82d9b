// The commands of protocol groups. Called through the table of executors. Group and protocol are 16 bits wide; the
// upper half of an argument is not looked at.
#include "execute.h"

#include <algorithm>

namespace softnp {

namespace {

constexpr u32 VALUE_BITS = 0xFFFF;

bool holds(const softnp_group& group, u32 protocol)
{
    return std::find(group.protocols, group.protocols + group.count, protocol & VALUE_BITS) !=
           group.protocols + group.count;
}

bool is_in_any_group(const State& state, u32 protocol)
{
    for (u32 index = 0; index < state.groups.count; index++)
        if (holds(state.groups.group[index], protocol)) return true;
    return false;
}

bool is_bound(const Port& port, u32 group)
{
    for (u32 index = 0; index < port.settings.binding_count; index++)
        if (port.bindings[index].group == (group & VALUE_BITS)) return true;
    return false;
}

bool is_bound_on_a_port(const State& state, u32 group)
{
    for (const Port& port : state.port)
        if (port.exists != 0 && is_bound(port, group)) return true;
    return false;
}

}  // namespace

softnp_group* find_group(State& state, u32 group)
{
    softnp_group* const end = state.groups.group + state.groups.count;
    softnp_group* const found = std::find_if(
        state.groups.group, end, [group](const softnp_group& each) { return each.group == (group & VALUE_BITS); });
    return found != end ? found : nullptr;
}

int execute_create_protgroup(State& state, vf_cmd& command)
{
    if (find_group(state, command.args[0])) return SOFTNP_ERR_GROUP_EXISTS;
    if (state.groups.count == SOFTNP_GROUPS) return SOFTNP_ERR_TABLE_FULL;
    softnp_group& group = state.groups.group[state.groups.count];
    group = {};
    group.group = static_cast<u16>(command.args[0]);
    state.groups.count++;
    return SOFTNP_OK;
}

// The groups behind it close the gap: their order decides which VLAN a frame belongs to.
int execute_delete_protgroup(State& state, vf_cmd& command)
{
    softnp_group* group = find_group(state, command.args[0]);
    if (!group) return SOFTNP_ERR_NO_GROUP;
    if (is_bound_on_a_port(state, command.args[0])) return SOFTNP_ERR_GROUP_IN_USE;
    std::copy(group + 1, state.groups.group + state.groups.count, group);
    state.groups.count--;
    return SOFTNP_OK;
}

int execute_add_prot_to_group(State& state, vf_cmd& command)
{
    softnp_group* group = find_group(state, command.args[1]);
    if (!group) return SOFTNP_ERR_NO_GROUP;
    if (is_in_any_group(state, command.args[0])) return SOFTNP_ERR_PROTOCOL_EXISTS;
    if (group->count == SOFTNP_GROUP_PROTOCOLS) return SOFTNP_ERR_TABLE_FULL;
    group->protocols[group->count] = static_cast<u16>(command.args[0]);
    group->count++;
    return SOFTNP_OK;
}

int execute_remove_prot_from_group(State& state, vf_cmd& command)
{
    softnp_group* group = find_group(state, command.args[1]);
    if (!group) return SOFTNP_ERR_NO_GROUP;
    u16* const end = group->protocols + group->count;
    u16* const kept = std::remove(group->protocols, end, static_cast<u16>(command.args[0]));
    if (kept == end) return SOFTNP_ERR_NO_PROTOCOL;
    group->count = static_cast<u16>(kept - group->protocols);
    return SOFTNP_OK;
}

}  // namespace softnp
