// Classify profiles, prefilter and loc lists, and what they are bound to, as they lie in the shared segment.
#pragma once

#include "types.h"

namespace softnp {

// A field that a line asks for. Masks apply to the frame's value and the line's.
template <class Value>
struct LineField {
    Value value;
    Value range_end;
    Value mask;
    Value is_range;
};

struct ExtendedField {
    u32 value;
    u32 mask;
};

// The line of vf_mk_add_classify_act. The bits of flags are those of frame_fields.h.
struct ClassifyLine {
    u32 mode;
    u16 stream_id;
    u8 class_id;
    u8 colour;
    u32 flags;
    LineField<u8> dot1p;
    LineField<u16> vlan;
    LineField<u16> etype;
    LineField<u8> tos;
    LineField<u8> proto;
    LineField<u32> src_ip;
    LineField<u32> dst_ip;
    LineField<u16> src_port;
    LineField<u16> dst_port;
    ExtendedField ext[4];
};
static_assert(sizeof(ClassifyLine) == SOFTNP_CLASSIFY_LINE_SIZE);

// The block of vf_mk_add_prefilter_act. Which of two addresses or ports is the destination's is this device's to say;
// it reads them in the order in which a classify line is written.
struct PrefilterBlock {
    u32 action;  // 0 = pass, others = drop
    u32 flags;
    LineField<u8> tos;
    LineField<u8> proto;
    LineField<u32> src_ip;
    LineField<u32> dst_ip;
    LineField<u16> src_port;
    LineField<u16> dst_port;
};
static_assert(sizeof(PrefilterBlock) == SOFTNP_PREFILTER_BLOCK_SIZE);

struct LocBlock {
    u8 bytes[SOFTNP_LOC_BLOCK_SIZE];
};

template <class Rule>
struct Line {
    Rule rule;
    u64 frames;
    u64 bytes;
};

// Lines 1..count in order, without gaps.
template <class Rule, u32 Capacity>
struct List {
    using RuleType = Rule;
    static constexpr u32 capacity = Capacity;

    u32 number;
    u32 count;  // 0 = there is no such list
    Line<Rule> line[Capacity];
};

using Profile = List<ClassifyLine, SOFTNP_PROFILE_LINES>;
using PrefilterList = List<PrefilterBlock, SOFTNP_PREFILTER_LINES>;
using LocList = List<LocBlock, SOFTNP_LOC_LINES>;

struct ListBinding {
    u16 VID;
    u16 np_port;
    softnp_list_binding record;
};

// The lists of one kind that memberships have.
struct ListBindings {
    u32 count;
    u16 place[VLAN_SLOTS][PORT_SLOTS];  // of the membership's binding, plus 1; 0 = it has none
    ListBinding binding[SOFTNP_LIST_BINDINGS];
};

inline constexpr u32 LIST_KINDS = 3;  // enum softnp_list_kind

struct Lists {
    Profile profile[SOFTNP_PROFILES];  // profile n at n - 1
    PrefilterList prefilter[SOFTNP_FILTER_LISTS];
    LocList loc[SOFTNP_FILTER_LISTS];
    ListBindings bindings[LIST_KINDS];
};

}  // namespace softnp
