// The commands of mirrors. Called through the table of executors.
#include "execute.h"
#include "mirrors.h"

namespace softnp {

namespace {

bool is_mirror(u32 number) { return number >= 1 && number < MIRROR_SLOTS; }

// The mirror of a command, or null and the error number.
Mirror* find_mirror(State& state, const vf_cmd& command, int& error)
{
    const u32 number = command.args[0];
    error = SOFTNP_OK;
    if (!is_mirror(number))
        error = SOFTNP_ERR_BAD_VALUE;
    else if (state.mirrors.mirror[number].exists == 0)
        error = SOFTNP_ERR_NO_MIRROR;
    return error == SOFTNP_OK ? &state.mirrors.mirror[number] : nullptr;
}

// Source and destination do not change under an enabled mirror.
Mirror* find_settable_mirror(State& state, const vf_cmd& command, int& error)
{
    Mirror* mirror = find_mirror(state, command, error);
    if (mirror && mirror->record.enabled != 0) error = SOFTNP_ERR_MIRROR_ENABLED;
    return error == SOFTNP_OK ? mirror : nullptr;
}

int refused_source(u32 kind, u32 port_id, u32 VID)
{
    if (kind > MIRROR_VLAN) return SOFTNP_ERR_BAD_VALUE;
    if (names_port(kind) && softnp_np_port(port_id) == SOFTNP_NO_PORT) return SOFTNP_ERR_UNMAPPED_PORT;
    if (names_vlan(kind) && (VID == 0 || VID > SOFTNP_VLANS)) return SOFTNP_ERR_BAD_VALUE;
    return SOFTNP_OK;
}

int refused_enabling(const softnp_mirror& record)
{
    if (record.enabled != 0) return SOFTNP_ERR_MIRROR_ENABLED;
    if (record.kind == MIRROR_NO_SOURCE || record.dest_port_id == 0) return SOFTNP_ERR_MIRROR_INCOMPLETE;
    const bool feeds_itself = is_egress(record.kind) && record.source_port_id == record.dest_port_id;
    return feeds_itself ? SOFTNP_ERR_MIRROR_FEEDS_ITSELF : SOFTNP_OK;
}

}  // namespace

int execute_create_mirror(State& state, vf_cmd& command)
{
    const u32 number = command.args[0];
    if (!is_mirror(number)) return SOFTNP_ERR_BAD_VALUE;
    Mirror& mirror = state.mirrors.mirror[number];
    if (mirror.exists != 0) return SOFTNP_ERR_MIRROR_EXISTS;
    mirror = {};
    mirror.record.mirror = number;
    mirror.exists = 1;
    return SOFTNP_OK;
}

int execute_delete_mirror(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_settable_mirror(state, command, error);
    if (mirror) mirror->exists = 0;
    return error;
}

int execute_enable_mirror(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_mirror(state, command, error);
    if (!mirror) return error;
    error = refused_enabling(mirror->record);
    if (error == SOFTNP_OK) mirror->record.enabled = 1;
    return error;
}

int execute_disable_mirror(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_mirror(state, command, error);
    if (!mirror) return error;
    if (mirror->record.enabled == 0) return SOFTNP_ERR_MIRROR_DISABLED;
    mirror->record.enabled = 0;
    return SOFTNP_OK;
}

// The ports of a mirror are the database's numbers, here and below. They need not be there yet.
int execute_set_mirror_source(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_settable_mirror(state, command, error);
    if (!mirror) return error;
    error = refused_source(command.args[1], command.args[2], command.args[3]);
    if (error != SOFTNP_OK) return error;
    mirror->record.kind = command.args[1];
    mirror->record.source_port_id = command.args[2];
    mirror->record.source_VID = command.args[3];
    return SOFTNP_OK;
}

int execute_set_mirror_dest(State& state, vf_cmd& command)
{
    const u32 port_id = command.args[1];
    int error = SOFTNP_OK;
    Mirror* mirror = find_settable_mirror(state, command, error);
    if (!mirror) return error;
    if (port_id != 0 && softnp_np_port(port_id) == SOFTNP_NO_PORT) return SOFTNP_ERR_UNMAPPED_PORT;
    mirror->record.dest_port_id = port_id;
    return SOFTNP_OK;
}

int execute_set_mirror_classify(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_mirror(state, command, error);
    if (!mirror) return error;
    mirror->record.class_no = command.args[1];
    mirror->record.second = command.args[2];
    mirror->record.colour = command.args[3];
    return SOFTNP_OK;
}

int execute_set_mirror_tag(State& state, vf_cmd& command)
{
    int error = SOFTNP_OK;
    Mirror* mirror = find_mirror(state, command, error);
    if (!mirror) return error;
    if (command.args[2] > UINT16_MAX || command.args[3] > UINT16_MAX) return SOFTNP_ERR_BAD_VALUE;
    mirror->record.tag_on = command.args[1];
    mirror->record.tagtype = command.args[2];
    mirror->record.tag_VID = command.args[3];
    return SOFTNP_OK;
}

}  // namespace softnp
