// Execution of commands. One function per modelled kind, in the file of its subject; execute.cpp has the table.
#pragma once

#include "state.h"

namespace softnp {

// Changes the state and fills the command's answer. Returns the error number; any but 0 leaves the state unchanged.
using Executor = int (*)(State& state, vf_cmd& command);

// Executes a command and all joined to it under the lock. Returns what vf_call returns.
// late_ms receives the time by which the answer is to be held back.
int execute_chain(State& state, vf_cmd& chain, u32& late_ms);

int execute_set_port_param(State& state, vf_cmd& command);
int execute_delete_port(State& state, vf_cmd& command);
int execute_enable_port(State& state, vf_cmd& command);
int execute_disable_port(State& state, vf_cmd& command);
int execute_set_port_flags(State& state, vf_cmd& command);
int execute_set_class_policing(State& state, vf_cmd& command);
int execute_set_cosmap(State& state, vf_cmd& command);
int execute_set_bandwidth_calc_mode(State& state, vf_cmd& command);
int execute_set_def_class(State& state, vf_cmd& command);
int execute_set_ph_shaping(State& state, vf_cmd& command);

int execute_addFDB(State& state, vf_cmd& command);
int execute_removeFDB(State& state, vf_cmd& command);
int execute_findFDB(State& state, vf_cmd& command);

int execute_add_classify_act(State& state, vf_cmd& command);
int execute_rem_classify_act(State& state, vf_cmd& command);
int execute_add_classify_prof(State& state, vf_cmd& command);
int execute_rem_classify_prof(State& state, vf_cmd& command);
int execute_add_prefilter_act(State& state, vf_cmd& command);
int execute_rem_prefilter_act(State& state, vf_cmd& command);
int execute_add_loc_act(State& state, vf_cmd& command);
int execute_rem_loc_act(State& state, vf_cmd& command);
int execute_add_prefilter_prof(State& state, vf_cmd& command);
int execute_rem_prefilter_prof(State& state, vf_cmd& command);
int execute_add_loc_prof(State& state, vf_cmd& command);
int execute_rem_loc_prof(State& state, vf_cmd& command);

int execute_create_queue(State& state, vf_cmd& command);
int execute_delete_queue(State& state, vf_cmd& command);
int execute_add_queue(State& state, vf_cmd& command);
int execute_set_esparam(State& state, vf_cmd& command);
int execute_set_qmax(State& state, vf_cmd& command);

int execute_create_stream(State& state, vf_cmd& command);
int execute_delete_stream(State& state, vf_cmd& command);
int execute_set_red(State& state, vf_cmd& command);
int execute_set_stream_shaping(State& state, vf_cmd& command);
int execute_set_stream_actual_rate(State& state, vf_cmd& command);
int execute_set_qostype(State& state, vf_cmd& command);
int execute_set_stream_priority(State& state, vf_cmd& command);
int execute_set_stream_tosmap(State& state, vf_cmd& command);
int execute_get_stream_info(State& state, vf_cmd& command);
int execute_get_stream_busy_info(State& state, vf_cmd& command);

int execute_create_vlan(State& state, vf_cmd& command);
int execute_delete_vlan(State& state, vf_cmd& command);
int execute_set_vl_flag(State& state, vf_cmd& command);
int execute_add_port_vlan(State& state, vf_cmd& command);
int execute_remove_port_vlan(State& state, vf_cmd& command);

int execute_create_protgroup(State& state, vf_cmd& command);
int execute_delete_protgroup(State& state, vf_cmd& command);
int execute_add_prot_to_group(State& state, vf_cmd& command);
int execute_remove_prot_from_group(State& state, vf_cmd& command);

int execute_create_mirror(State& state, vf_cmd& command);
int execute_delete_mirror(State& state, vf_cmd& command);
int execute_enable_mirror(State& state, vf_cmd& command);
int execute_disable_mirror(State& state, vf_cmd& command);
int execute_set_mirror_source(State& state, vf_cmd& command);
int execute_set_mirror_dest(State& state, vf_cmd& command);
int execute_set_mirror_classify(State& state, vf_cmd& command);
int execute_set_mirror_tag(State& state, vf_cmd& command);

// What several subjects look up.

// The port of that number, or null and the error number: unmapped, or not there.
Port* find_port(State& state, u32 np_port, int& error);
Vlan* find_vlan(State& state, u32 VID);
softnp_group* find_group(State& state, u32 group);

}  // namespace softnp
