// The table of executors, and the execution of a chain: refusals on order, then command by command, all logged.
#include "execute.h"
#include "clock.h"
#include "log.h"
#include "script.h"

#include <algorithm>
#include <array>

namespace softnp {

namespace {

struct Row {
    Kind kind;
    Executor execute;
};

constexpr Row rows[] = {
    {Kind::set_port_param, execute_set_port_param},
    {Kind::delete_port, execute_delete_port},
    {Kind::enable_port, execute_enable_port},
    {Kind::disable_port, execute_disable_port},
    {Kind::set_port_flags, execute_set_port_flags},
    {Kind::set_class_policing, execute_set_class_policing},
    {Kind::set_cosmap, execute_set_cosmap},
    {Kind::set_bandwidth_calc_mode, execute_set_bandwidth_calc_mode},
    {Kind::set_def_class, execute_set_def_class},
    {Kind::set_ph_shaping, execute_set_ph_shaping},
    {Kind::addFDB, execute_addFDB},
    {Kind::removeFDB, execute_removeFDB},
    {Kind::findFDB, execute_findFDB},
    {Kind::add_classify_act, execute_add_classify_act},
    {Kind::rem_classify_act, execute_rem_classify_act},
    {Kind::add_classify_prof, execute_add_classify_prof},
    {Kind::rem_classify_prof, execute_rem_classify_prof},
    {Kind::add_prefilter_act, execute_add_prefilter_act},
    {Kind::rem_prefilter_act, execute_rem_prefilter_act},
    {Kind::add_loc_act, execute_add_loc_act},
    {Kind::rem_loc_act, execute_rem_loc_act},
    {Kind::add_prefilter_prof, execute_add_prefilter_prof},
    {Kind::rem_prefilter_prof, execute_rem_prefilter_prof},
    {Kind::add_loc_prof, execute_add_loc_prof},
    {Kind::rem_loc_prof, execute_rem_loc_prof},
    {Kind::create_queue, execute_create_queue},
    {Kind::delete_queue, execute_delete_queue},
    {Kind::add_queue, execute_add_queue},
    {Kind::set_esparam, execute_set_esparam},
    {Kind::set_qmax, execute_set_qmax},
    {Kind::create_stream, execute_create_stream},
    {Kind::delete_stream, execute_delete_stream},
    {Kind::set_red, execute_set_red},
    {Kind::set_stream_shaping, execute_set_stream_shaping},
    {Kind::set_stream_actual_rate, execute_set_stream_actual_rate},
    {Kind::set_qostype, execute_set_qostype},
    {Kind::set_stream_priority, execute_set_stream_priority},
    {Kind::set_stream_tosmap, execute_set_stream_tosmap},
    {Kind::get_stream_info, execute_get_stream_info},
    {Kind::get_stream_busy_info, execute_get_stream_busy_info},
    {Kind::create_vlan, execute_create_vlan},
    {Kind::delete_vlan, execute_delete_vlan},
    {Kind::set_vl_flag, execute_set_vl_flag},
    {Kind::add_port_vlan, execute_add_port_vlan},
    {Kind::remove_port_vlan, execute_remove_port_vlan},
    {Kind::create_protgroup, execute_create_protgroup},
    {Kind::delete_protgroup, execute_delete_protgroup},
    {Kind::add_prot_to_group, execute_add_prot_to_group},
    {Kind::remove_prot_from_group, execute_remove_prot_from_group},
    {Kind::create_mirror, execute_create_mirror},
    {Kind::delete_mirror, execute_delete_mirror},
    {Kind::enable_mirror, execute_enable_mirror},
    {Kind::disable_mirror, execute_disable_mirror},
    {Kind::set_mirror_source, execute_set_mirror_source},
    {Kind::set_mirror_dest, execute_set_mirror_dest},
    {Kind::set_mirror_classify, execute_set_mirror_classify},
    {Kind::set_mirror_tag, execute_set_mirror_tag},
};

constexpr std::array<Executor, KIND_COUNT> by_kind()
{
    std::array<Executor, KIND_COUNT> table{};
    for (const Row& row : rows) table[static_cast<u32>(row.kind)] = row.execute;
    return table;
}
constexpr std::array<Executor, KIND_COUNT> executors = by_kind();

constexpr bool has_a_row_for_each_kind()
{
    std::array<bool, KIND_COUNT> found{};
    for (const Row& row : rows) found[static_cast<u32>(row.kind)] = true;
    return std::find(found.begin(), found.end(), false) == found.end();
}
static_assert(has_a_row_for_each_kind());

int execute_by_kind(State& state, vf_cmd& command) { return executors[static_cast<u32>(command.kind)](state, command); }

void prepare(vf_cmd& command)
{
    command.delivery = Delivery::not_sent;
    command.status = 0;
    command.error = 0;
    command.answer_error = 0;
    std::fill(command.answer, command.answer + MAX_ANSWER, 0u);
}

void settle(State& state, vf_cmd& command, int error)
{
    command.delivery = Delivery::answered;
    command.error = error;
    command.status = static_cast<i16>(error);
    state.counters.commands++;
    state.counters.commands_refused += error != 0 ? 1 : 0;
    state.counters.kind[static_cast<u32>(command.kind)].refused += error != 0 ? 1 : 0;
}

// A refusal in the answer alone leaves the status 0, as if the NP had taken the command.
void settle_in_answer(State& state, vf_cmd& command, int error)
{
    settle(state, command, error);
    command.status = 0;
    command.error = 0;
    command.answer_error = static_cast<u16>(error);
}

void execute_one(State& state, vf_cmd& command, const Ruling& ruling, u32 tick_ms, u32 chain_index)
{
    int error = ruling.value;
    if (ruling.how == SOFTNP_REFUSE_STATUS)
        settle(state, command, error);
    else if (ruling.how == SOFTNP_REFUSE_ANSWER)
        settle_in_answer(state, command, error);
    else {
        error = execute_by_kind(state, command);
        settle(state, command, error);
    }
    log_command(state, command, tick_ms, chain_index, error);
}

void fail_delivery(State& state, vf_cmd& chain, u32 tick_ms)
{
    u32 chain_index = 0;
    for (vf_cmd* command = &chain; command; command = command->next) {
        command->delivery = Delivery::failed;
        state.counters.commands_lost++;
        state.counters.kind[static_cast<u32>(command->kind)].refused++;
        log_command(state, *command, tick_ms, chain_index++, SOFTNP_ERR_NOT_DELIVERED);
    }
}

}  // namespace

int execute_chain(State& state, vf_cmd& chain, u32& late_ms)
{
    const u32 tick_ms = tick_now(state);
    late_ms = 0;
    int undelivered = 0;
    for (vf_cmd* command = &chain; command; command = command->next) {
        prepare(*command);
        state.counters.kind[static_cast<u32>(command->kind)].sent++;
        command->ruling = ruling_for(state, command->kind);
        if (command->ruling.how == SOFTNP_REFUSE_DELIVERY && undelivered == 0) undelivered = command->ruling.value;
        if (command->ruling.how == SOFTNP_ANSWER_LATE)
            late_ms = std::min<u32>(late_ms + static_cast<u32>(command->ruling.value), SOFTNP_MAX_DELAY_MS);
    }
    if (undelivered != 0) {
        fail_delivery(state, chain, tick_ms);
        return undelivered;
    }

    u32 chain_index = 0;
    for (vf_cmd* command = &chain; command; command = command->next)
        execute_one(state, *command, command->ruling, tick_ms, chain_index++);
    return 0;
}

}  // namespace softnp
