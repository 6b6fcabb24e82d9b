// Lists at work: which line a frame matches first, and which list a membership has. Called by the frame path, the list
// commands and the readers.
#pragma once

#include "frame_fields.h"

namespace softnp {

// True if all that the line asks for is in the frame.
bool matches(const ClassifyLine& line, const FrameFields& fields);
bool matches(const PrefilterBlock& block, const FrameFields& fields);

// The first line that matches a frame of a membership, counted there. A null line: no profile, or none matched.
struct LineMatch {
    const ClassifyLine* line;
    u16 profile;
    u16 line_no;
};
LineMatch match_profile(State& state, u32 VID, const Frame& frame, const FrameFields& fields);

// True if the membership's prefilter list has a line that matches, and the first of these drops.
bool is_filtered(State& state, u32 VID, const Frame& frame, const FrameFields& fields);

// The binding of a membership; null if it has none of that kind.
const softnp_list_binding* find_list_binding(const State& state, softnp_list_kind kind, u32 VID, u32 np_port);
// Error numbers: the membership has a list of that kind, has none, or the table is full.
int bind_list(State& state, softnp_list_kind kind, u32 VID, u32 np_port, const softnp_list_binding& record);
int unbind_list(State& state, softnp_list_kind kind, u32 VID, u32 np_port);
// All kinds: the membership is gone.
void unbind_lists(State& state, u32 VID, u32 np_port);

void clear_line_counters(State& state);
void rebuild_lists(State& state);

}  // namespace softnp
