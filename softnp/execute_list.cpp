// The commands of classify, prefilter and loc lines. Called through the table of executors.
#include "execute.h"
#include "list_lines.h"

#include <cstring>

namespace softnp {

namespace {

constexpr u32 ALL_LINES = 0;

bool is_profile(u32 number) { return number >= 1 && number <= SOFTNP_PROFILES; }

template <class Rule>
Rule rule_of(const vf_cmd& command)
{
    Rule rule;
    std::memcpy(&rule, payload_of(command), sizeof rule);
    return rule;
}

template <class Kind>
int add_line(Kind* list, const vf_cmd& command)
{
    using Rule = typename Kind::RuleType;
    if (command.payload_size != sizeof(Rule)) return SOFTNP_ERR_BAD_VALUE;
    if (!list || !insert_line(*list, command.args[1], rule_of<Rule>(command))) return SOFTNP_ERR_TABLE_FULL;
    return SOFTNP_OK;
}

// Taking all lines from a list that has none is nothing wrong: it is how lists are put in order.
template <class Kind>
int remove_lines(Kind* list, u32 line_no)
{
    if (line_no != ALL_LINES) return list && remove_line(*list, line_no) ? SOFTNP_OK : SOFTNP_ERR_NO_LINE;
    if (list) list->count = 0;
    return SOFTNP_OK;
}

}  // namespace

int execute_add_classify_act(State& state, vf_cmd& command)
{
    const u32 number = command.args[0];
    if (!is_profile(number)) return SOFTNP_ERR_BAD_VALUE;
    state.lists.profile[number - 1].number = number;
    return add_line(&state.lists.profile[number - 1], command);
}

int execute_rem_classify_act(State& state, vf_cmd& command)
{
    const u32 number = command.args[0];
    if (!is_profile(number)) return SOFTNP_ERR_BAD_VALUE;
    return remove_lines(&state.lists.profile[number - 1], command.args[1]);
}

int execute_add_prefilter_act(State& state, vf_cmd& command)
{
    return add_line(find_or_make_list(state.lists.prefilter, command.args[0]), command);
}

int execute_rem_prefilter_act(State& state, vf_cmd& command)
{
    return remove_lines(find_list(state.lists.prefilter, command.args[0]), command.args[1]);
}

int execute_add_loc_act(State& state, vf_cmd& command)
{
    return add_line(find_or_make_list(state.lists.loc, command.args[0]), command);
}

int execute_rem_loc_act(State& state, vf_cmd& command)
{
    return remove_lines(find_list(state.lists.loc, command.args[0]), command.args[1]);
}

}  // namespace softnp
