// Matching of lines, and the bindings of lists to memberships.
#include "lists.h"
#include "list_lines.h"

namespace softnp {

namespace {

template <class Value>
bool holds(const LineField<Value>& field, u32 value)
{
    const u32 masked = value & field.mask;
    const u32 first = field.value & field.mask;
    if (field.is_range == 0) return masked == first;
    return masked >= first && masked <= (field.range_end & field.mask);
}

bool holds(const ExtendedField& field, u32 word) { return (word & field.mask) == (field.value & field.mask); }

// A field that the line does not ask for, or one that the frame has and that holds.
template <class Field>
bool agrees(u32 asked, u32 bit, const Field& field, u32 value)
{
    return (asked & bit) == 0 || holds(field, value);
}

// The bits of a prefilter block, and the fields that they ask for.
struct BlockBit {
    u32 bit;
    u32 field;
};
constexpr BlockBit block_bits[] = {
    {0x01, FIELD_TOS},    {0x02, FIELD_PROTO},    {0x04, FIELD_SRC_IP},
    {0x08, FIELD_DST_IP}, {0x10, FIELD_SRC_PORT}, {0x20, FIELD_DST_PORT},
};

u32 fields_asked_by(const PrefilterBlock& block)
{
    u32 asked = 0;
    for (const BlockBit& row : block_bits) asked |= (block.flags & row.bit) != 0 ? row.field : 0;
    return asked;
}

// What both kinds of line can ask for.
template <class Rule>
bool agrees_in_packet(const Rule& rule, u32 asked, const FrameFields& fields)
{
    return agrees(asked, FIELD_TOS, rule.tos, fields.tos) && agrees(asked, FIELD_PROTO, rule.proto, fields.proto) &&
           agrees(asked, FIELD_SRC_IP, rule.src_ip, fields.src_ip) &&
           agrees(asked, FIELD_DST_IP, rule.dst_ip, fields.dst_ip) &&
           agrees(asked, FIELD_SRC_PORT, rule.src_port, fields.src_port) &&
           agrees(asked, FIELD_DST_PORT, rule.dst_port, fields.dst_port);
}

// The first line that matches, counted; null if none does.
template <class Rule, u32 Capacity>
const Line<Rule>* first_match(List<Rule, Capacity>& list, const Frame& frame, const FrameFields& fields)
{
    Line<Rule>* end = list.line + list.count;
    Line<Rule>* line = std::find_if(list.line, end, [&](const Line<Rule>& at) { return matches(at.rule, fields); });
    if (line == end) return nullptr;
    line->frames++;
    line->bytes += frame.length;
    return line;
}

ListBindings& bindings_of(State& state, softnp_list_kind kind) { return state.lists.bindings[kind]; }

template <class Kind, u32 Size>
void clear_counters(Kind (&lists)[Size])
{
    for (Kind& list : lists)
        for (u32 index = 0; index < list.count; index++) {
            list.line[index].frames = 0;
            list.line[index].bytes = 0;
        }
}

template <class Kind, u32 Size>
void keep_bounds(Kind (&lists)[Size])
{
    for (Kind& list : lists) list.count = std::min(list.count, Kind::capacity);
}

bool is_bindable(const State& state, const ListBindings& bindings, const ListBinding& binding)
{
    return binding.VID < VLAN_SLOTS && binding.np_port < PORT_SLOTS &&
           contains(state.vlan[binding.VID].members, binding.np_port) &&
           bindings.place[binding.VID][binding.np_port] == 0;
}

// Of a binding that is there twice the first is kept.
void rebuild_bindings(const State& state, ListBindings& bindings)
{
    const u32 count = std::min(bindings.count, SOFTNP_LIST_BINDINGS);
    for (auto& places : bindings.place) std::fill(places, places + PORT_SLOTS, u16{0});
    bindings.count = 0;
    for (u32 index = 0; index < count; index++) {
        const ListBinding binding = bindings.binding[index];
        if (!is_bindable(state, bindings, binding)) continue;
        bindings.binding[bindings.count++] = binding;
        bindings.place[binding.VID][binding.np_port] = static_cast<u16>(bindings.count);
    }
}

}  // namespace

bool matches(const ClassifyLine& line, const FrameFields& fields)
{
    if ((line.flags & ~fields.present) != 0) return false;
    for (u32 index = 0; index < EXT_FIELDS; index++)
        if (!agrees(line.flags, FIELD_EXT << index, line.ext[index], fields.ext[index])) return false;
    return agrees(line.flags, FIELD_DOT1P, line.dot1p, fields.dot1p) &&
           agrees(line.flags, FIELD_VLAN, line.vlan, fields.vlan) &&
           agrees(line.flags, FIELD_ETYPE, line.etype, fields.etype) && agrees_in_packet(line, line.flags, fields);
}

bool matches(const PrefilterBlock& block, const FrameFields& fields)
{
    const u32 asked = fields_asked_by(block);
    return (asked & ~fields.present) == 0 && agrees_in_packet(block, asked, fields);
}

LineMatch match_profile(State& state, u32 VID, const Frame& frame, const FrameFields& fields)
{
    const softnp_list_binding* binding = find_list_binding(state, SOFTNP_CLASSIFY, VID, frame.np_port);
    if (!binding) return {nullptr, 0, 0};
    Profile& profile = state.lists.profile[binding->list - 1];
    const Line<ClassifyLine>* line = first_match(profile, frame, fields);
    if (!line) return {nullptr, 0, 0};
    return {&line->rule, static_cast<u16>(binding->list), static_cast<u16>(line - profile.line + 1)};
}

bool is_filtered(State& state, u32 VID, const Frame& frame, const FrameFields& fields)
{
    const softnp_list_binding* binding = find_list_binding(state, SOFTNP_PREFILTER, VID, frame.np_port);
    PrefilterList* list = binding ? find_list(state.lists.prefilter, binding->list) : nullptr;
    const Line<PrefilterBlock>* line = list ? first_match(*list, frame, fields) : nullptr;
    return line && line->rule.action != 0;
}

const softnp_list_binding* find_list_binding(const State& state, softnp_list_kind kind, u32 VID, u32 np_port)
{
    if (VID >= VLAN_SLOTS || np_port >= PORT_SLOTS) return nullptr;
    const ListBindings& bindings = state.lists.bindings[kind];
    const u32 place = bindings.place[VID][np_port];
    return place != 0 ? &bindings.binding[place - 1].record : nullptr;
}

int bind_list(State& state, softnp_list_kind kind, u32 VID, u32 np_port, const softnp_list_binding& record)
{
    ListBindings& bindings = bindings_of(state, kind);
    if (bindings.place[VID][np_port] != 0) return SOFTNP_ERR_LIST_BOUND;
    if (bindings.count == SOFTNP_LIST_BINDINGS) return SOFTNP_ERR_TABLE_FULL;
    bindings.binding[bindings.count] = {static_cast<u16>(VID), static_cast<u16>(np_port), record};
    bindings.count++;
    bindings.place[VID][np_port] = static_cast<u16>(bindings.count);
    return SOFTNP_OK;
}

// The last binding takes the place of the one that goes.
int unbind_list(State& state, softnp_list_kind kind, u32 VID, u32 np_port)
{
    ListBindings& bindings = bindings_of(state, kind);
    const u16 place = bindings.place[VID][np_port];
    if (place == 0) return SOFTNP_ERR_LIST_NOT_BOUND;
    const ListBinding last = bindings.binding[bindings.count - 1];
    bindings.binding[place - 1] = last;
    bindings.place[last.VID][last.np_port] = place;
    bindings.place[VID][np_port] = 0;
    bindings.count--;
    return SOFTNP_OK;
}

void unbind_lists(State& state, u32 VID, u32 np_port)
{
    for (const softnp_list_kind kind : {SOFTNP_CLASSIFY, SOFTNP_PREFILTER, SOFTNP_LOC})
        unbind_list(state, kind, VID, np_port);
}

void clear_line_counters(State& state)
{
    clear_counters(state.lists.profile);
    clear_counters(state.lists.prefilter);
}

void rebuild_lists(State& state)
{
    keep_bounds(state.lists.profile);
    keep_bounds(state.lists.prefilter);
    keep_bounds(state.lists.loc);
    for (ListBindings& bindings : state.lists.bindings) rebuild_bindings(state, bindings);
}

}  // namespace softnp
