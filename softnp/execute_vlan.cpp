// The commands of VLANs and memberships. Called through the table of executors.
#include "execute.h"
#include "lists.h"

namespace softnp {

namespace {

constexpr u32 SELECT_LEARNING_OFF = 253;
constexpr u32 SELECT_IGNORE_FDB = 254;

struct Join {
    u32 VID;
    u32 np_port;
    u32 tagged;
    u32 tagtype;
    u32 protocol_based;
    u32 group;
};

bool has_binding(const Port& port, const softnp_binding& binding)
{
    for (u32 index = 0; index < port.settings.binding_count; index++)
        if (port.bindings[index].group == binding.group && port.bindings[index].VID == binding.VID) return true;
    return false;
}

int add_binding(State& state, Port& port, const Join& join)
{
    const softnp_binding binding{static_cast<u16>(join.group), static_cast<u16>(join.VID)};
    if (!find_group(state, join.group)) return SOFTNP_ERR_NO_GROUP;
    if (has_binding(port, binding)) return SOFTNP_ERR_MEMBER_EXISTS;
    if (port.settings.binding_count == SOFTNP_BINDINGS) return SOFTNP_ERR_TABLE_FULL;
    port.bindings[port.settings.binding_count] = binding;
    port.settings.binding_count++;
    return SOFTNP_OK;
}

void drop_bindings(Port& port, u32 VID)
{
    u32 kept = 0;
    for (u32 index = 0; index < port.settings.binding_count; index++)
        if (port.bindings[index].VID != VID) port.bindings[kept++] = port.bindings[index];
    port.settings.binding_count = kept;
}

void add_member(State& state, Vlan& vlan, const Join& join)
{
    state.member_tagtype[join.VID][join.np_port] = static_cast<u16>(join.tagtype);
    if (join.tagged != 0) insert(vlan.tagged, join.np_port);
    if (join.protocol_based != 0) insert(vlan.protocol_based, join.np_port);
    insert(vlan.members, join.np_port);
}

}  // namespace

Vlan* find_vlan(State& state, u32 VID)
{
    return VID < VLAN_SLOTS && state.vlan[VID].exists != 0 ? &state.vlan[VID] : nullptr;
}

int execute_create_vlan(State& state, vf_cmd& command)
{
    const u32 VID = command.args[0];
    const u32 FID = command.args[1];
    if (VID == 0 || VID >= VLAN_SLOTS || FID >= FID_COUNT) return SOFTNP_ERR_BAD_VALUE;
    if (state.vlan[VID].exists != 0) return SOFTNP_ERR_VLAN_EXISTS;
    if (state.fid[FID].np_port != 0) return SOFTNP_ERR_FID_IN_USE;
    state.vlan[VID] = {};
    state.vlan[VID].FID = static_cast<u16>(FID);
    state.vlan[VID].exists = 1;
    state.fid[FID].vlans++;
    return SOFTNP_OK;
}

// The VLAN's MAC entries stay: who made them removes them, also after the VLAN.
int execute_delete_vlan(State& state, vf_cmd& command)
{
    Vlan* vlan = find_vlan(state, command.args[0]);
    if (!vlan) return SOFTNP_ERR_NO_VLAN;
    if (!is_empty(vlan->members)) return SOFTNP_ERR_VLAN_IN_USE;
    vlan->exists = 0;
    state.fid[vlan->FID].vlans--;
    return SOFTNP_OK;
}

int execute_set_vl_flag(State& state, vf_cmd& command)
{
    Vlan* vlan = find_vlan(state, command.args[0]);
    if (!vlan) return SOFTNP_ERR_NO_VLAN;
    const u32 value = command.args[1];
    const u32 selector = command.args[2];
    if (selector == SELECT_IGNORE_FDB && value <= 1)
        vlan->ignore_fdb = value != 0;
    else if (selector == SELECT_LEARNING_OFF && (value == 0 || value == 2))
        vlan->learning_off = value != 0;
    else
        return SOFTNP_ERR_BAD_VALUE;
    return SOFTNP_OK;
}

// A protocol-based member may be added again for another group: that is one more binding of the membership, which
// keeps its tagging.
int execute_add_port_vlan(State& state, vf_cmd& command)
{
    const Join join{command.args[0], command.args[1], command.args[2],
                    command.args[3], command.args[4], command.args[5]};
    Vlan* vlan = find_vlan(state, join.VID);
    if (!vlan) return SOFTNP_ERR_NO_VLAN;
    int error = SOFTNP_OK;
    Port* port = find_port(state, join.np_port, error);
    if (!port) return error;
    if (join.tagged > 1 || join.protocol_based > 1) return SOFTNP_ERR_BAD_VALUE;

    const bool is_member = contains(vlan->members, join.np_port);
    if (is_member && !(join.protocol_based != 0 && contains(vlan->protocol_based, join.np_port)))
        return SOFTNP_ERR_MEMBER_EXISTS;
    if (join.protocol_based != 0) error = add_binding(state, *port, join);
    if (error == SOFTNP_OK && !is_member) add_member(state, *vlan, join);
    return error;
}

int execute_remove_port_vlan(State& state, vf_cmd& command)
{
    const u32 VID = command.args[0];
    const u32 np_port = command.args[1];
    Vlan* vlan = find_vlan(state, VID);
    if (!vlan) return SOFTNP_ERR_NO_VLAN;
    int error = SOFTNP_OK;
    Port* port = find_port(state, np_port, error);
    if (!port) return error;
    if (!contains(vlan->members, np_port)) return SOFTNP_ERR_NO_MEMBER;
    erase(vlan->members, np_port);
    erase(vlan->tagged, np_port);
    erase(vlan->protocol_based, np_port);
    drop_bindings(*port, VID);
    unbind_lists(state, VID, np_port);
    return SOFTNP_OK;
}

}  // namespace softnp
