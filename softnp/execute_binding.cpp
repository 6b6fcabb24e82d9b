// The commands that give a list to a membership, and take it. Called through the table of executors.
#include "execute.h"
#include "lists.h"

#include <algorithm>

namespace softnp {

namespace {

int refused_membership(State& state, u32 VID, u32 np_port)
{
    int error = SOFTNP_OK;
    if (!find_port(state, np_port, error)) return error;
    const Vlan* vlan = find_vlan(state, VID);
    if (!vlan) return SOFTNP_ERR_NO_VLAN;
    return contains(vlan->members, np_port) ? SOFTNP_OK : SOFTNP_ERR_NO_MEMBER;
}

int bind(State& state, softnp_list_kind kind, u32 np_port, const vf_cmd& command)
{
    const u32 VID = command.args[2];
    softnp_list_binding record{command.args[0], {}};
    std::copy(command.words, command.words + 4, record.words);
    const int refused = refused_membership(state, VID, np_port);
    return refused != SOFTNP_OK ? refused : bind_list(state, kind, VID, np_port, record);
}

int unbind(State& state, softnp_list_kind kind, u32 np_port, u32 VID)
{
    const int refused = refused_membership(state, VID, np_port);
    return refused != SOFTNP_OK ? refused : unbind_list(state, kind, VID, np_port);
}

}  // namespace

// A profile needs no lines to be bound.
int execute_add_classify_prof(State& state, vf_cmd& command)
{
    const u32 profile = command.args[0];
    if (profile == 0 || profile > SOFTNP_PROFILES) return SOFTNP_ERR_BAD_VALUE;
    return bind(state, SOFTNP_CLASSIFY, command.args[1], command);
}

int execute_rem_classify_prof(State& state, vf_cmd& command)
{
    return unbind(state, SOFTNP_CLASSIFY, command.args[0], command.args[1]);
}

// These name the port by the database's number.
int execute_add_prefilter_prof(State& state, vf_cmd& command)
{
    return bind(state, SOFTNP_PREFILTER, softnp_np_port(command.args[1]), command);
}

int execute_rem_prefilter_prof(State& state, vf_cmd& command)
{
    return unbind(state, SOFTNP_PREFILTER, softnp_np_port(command.args[0]), command.args[1]);
}

int execute_add_loc_prof(State& state, vf_cmd& command)
{
    return bind(state, SOFTNP_LOC, softnp_np_port(command.args[1]), command);
}

int execute_rem_loc_prof(State& state, vf_cmd& command)
{
    return unbind(state, SOFTNP_LOC, softnp_np_port(command.args[0]), command.args[1]);
}

}  // namespace softnp
