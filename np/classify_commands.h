// The NP's commands about classify, prefilter and loc lists. 0 = accepted, -1 = not.
#pragma once

#include "np/frame.h"

namespace zelfdb {

// line: 120 bytes. Line number 0 removes all.
int add_classify_act_to_NP(const Descriptor& d, u32 profile, u32 line_no, const void* line);
int rem_classify_act_to_NP(const Descriptor& d, u32 profile, u32 line_no);
int add_classify_prof_to_NP(const Descriptor& d, u32 profile, u32 port_id, u32 VID, const u32 words[4]);
int rem_classify_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID);

// block: 64 bytes for prefilter, 16 for loc. The profiles' port IDs are sent as they are, not mapped.
int add_prefilter_act_to_NP(const Descriptor& d, u32 list, u32 line_no, const void* block);
int rem_prefilter_act_to_NP(const Descriptor& d, u32 list, u32 line_no);
int add_prefilter_prof_to_NP(const Descriptor& d, u32 list, u32 port_id, u32 VID, const u32 words[4]);
int rem_prefilter_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID);
int add_loc_act_to_NP(const Descriptor& d, u32 list, u32 line_no, const void* block);
int rem_loc_act_to_NP(const Descriptor& d, u32 list, u32 line_no);
int add_loc_prof_to_NP(const Descriptor& d, u32 list, u32 port_id, u32 VID, const u32 words[4]);
int rem_loc_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID);

}  // namespace zelfdb
