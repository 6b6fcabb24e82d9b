// The port commands. Called through the table of executors.
#include "execute.h"
#include "queueing.h"

namespace softnp {

namespace {

constexpr u32 MASK_CREATE = 0x800000FF;
constexpr u32 MASK_TAGTYPE = 0x10;
constexpr u32 MASK_PVID = 0x20;

bool is_member_somewhere(const State& state, u32 np_port)
{
    for (const Vlan& vlan : state.vlan)
        if (contains(vlan.members, np_port)) return true;
    return false;
}

int create_port(State& state, u32 np_port, const vf_cmd& command)
{
    if (np_port == SOFTNP_NO_PORT) return SOFTNP_ERR_UNMAPPED_PORT;
    if (np_port == 0 || np_port >= PORT_SLOTS) return SOFTNP_ERR_NO_PORT;
    if (state.port[np_port].exists != 0) return SOFTNP_ERR_PORT_EXISTS;
    const u32 FID = command.args[8];
    if (FID >= FID_COUNT) return SOFTNP_ERR_BAD_VALUE;
    if (state.fid[FID].np_port != 0 || state.fid[FID].vlans != 0) return SOFTNP_ERR_FID_IN_USE;

    Port& port = state.port[np_port];
    port.settings = {};
    port.settings.p_flag = static_cast<u16>(command.args[2]);
    port.settings.p_type = static_cast<u8>(command.args[3]);
    port.settings.pri = static_cast<u8>(command.args[4]);
    port.settings.phport = static_cast<u8>(command.args[5]);
    port.settings.tagtype = static_cast<u16>(command.args[6]);
    port.settings.PVID = static_cast<u16>(command.args[7]);
    port.settings.FID = static_cast<u16>(FID);
    port.exists = 1;
    state.fid[FID].np_port = static_cast<u16>(np_port);
    state.counters.port[np_port] = {};
    return SOFTNP_OK;
}

int set_state(State& state, u32 np_port, softnp_port_state wanted)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, np_port, error);
    if (port) port->settings.state = wanted;
    return error;
}

}  // namespace

Port* find_port(State& state, u32 np_port, int& error)
{
    error = SOFTNP_OK;
    if (np_port == SOFTNP_NO_PORT)
        error = SOFTNP_ERR_UNMAPPED_PORT;
    else if (np_port >= PORT_SLOTS || state.port[np_port].exists == 0)
        error = SOFTNP_ERR_NO_PORT;
    return error == SOFTNP_OK ? &state.port[np_port] : nullptr;
}

int execute_set_port_param(State& state, vf_cmd& command)
{
    const u32 mask = command.args[1];
    if (mask == MASK_CREATE) return create_port(state, command.args[0], command);

    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    if (mask == 0 || (mask & ~(MASK_TAGTYPE | MASK_PVID)) != 0) return SOFTNP_ERR_BAD_VALUE;
    if ((mask & MASK_TAGTYPE) != 0) port->settings.tagtype = static_cast<u16>(command.args[6]);
    if ((mask & MASK_PVID) != 0) port->settings.PVID = static_cast<u16>(command.args[7]);
    return SOFTNP_OK;
}

// The port's MAC entries stay: who made them removes them, also after the port.
int execute_delete_port(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    if (is_member_somewhere(state, command.args[0])) return SOFTNP_ERR_PORT_IN_USE;
    port->exists = 0;
    state.fid[port->settings.FID].np_port = 0;
    return SOFTNP_OK;
}

int execute_enable_port(State& state, vf_cmd& command)
{
    return set_state(state, command.args[0], SOFTNP_PORT_ENABLED);
}

int execute_disable_port(State& state, vf_cmd& command)
{
    return set_state(state, command.args[0], SOFTNP_PORT_DISABLED);
}

int execute_set_port_flags(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    const u32 mask = command.args[2];
    port->settings.p_flag = static_cast<u16>((port->settings.p_flag & ~mask) | (command.args[1] & mask));
    return SOFTNP_OK;
}

int execute_set_class_policing(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    if (command.args[1] >= SOFTNP_CLASSES) return SOFTNP_ERR_BAD_VALUE;
    port->settings.policing[command.args[1]] = {command.args[2], command.args[3], command.args[4]};
    return SOFTNP_OK;
}

int execute_set_cosmap(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    port->settings.valbit = command.args[1];
    for (u32 index = 0; index < SOFTNP_CLASSES; index++) port->settings.cosmap[index] = command.words[index];
    return SOFTNP_OK;
}

int execute_set_bandwidth_calc_mode(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    settle_streams(state);
    port->settings.bandwidth_calc_mode = command.args[1];
    return SOFTNP_OK;
}

int execute_set_def_class(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Port* port = find_port(state, command.args[0], error);
    if (!port) return error;
    port->settings.def_spno = command.args[1];
    port->settings.def_pri = command.args[2];
    port->settings.def_color = command.args[3];
    return SOFTNP_OK;
}

int execute_set_ph_shaping(State& state, vf_cmd& command)
{
    const u32 phport = command.args[0];
    if (phport == 0 || phport >= PHPORT_SLOTS) return SOFTNP_ERR_NO_PHPORT;
    settle_streams(state);
    state.phport[phport] = {command.args[1], command.args[2]};
    return SOFTNP_OK;
}

}  // namespace softnp
