#include "np/classify_commands.h"

namespace zelfdb {

int add_classify_act_to_NP(const Descriptor& d, u32 profile, u32 line_no, const void* line)
{
    return send(d, vf_mk_add_classify_act(profile, line_no, line));
}

int rem_classify_act_to_NP(const Descriptor& d, u32 profile, u32 line_no)
{
    return send(d, vf_mk_rem_classify_act(profile, line_no));
}

int add_classify_prof_to_NP(const Descriptor& d, u32 profile, u32 port_id, u32 VID, const u32 words[4])
{
    return send(d, vf_mk_add_classify_prof(profile, np_port(port_id), VID, words));
}

int rem_classify_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID)
{
    return send(d, vf_mk_rem_classify_prof(np_port(port_id), VID));
}

int add_prefilter_act_to_NP(const Descriptor& d, u32 list, u32 line_no, const void* block)
{
    return send(d, vf_mk_add_prefilter_act(list, line_no, block));
}

int rem_prefilter_act_to_NP(const Descriptor& d, u32 list, u32 line_no)
{
    return send(d, vf_mk_rem_prefilter_act(list, line_no));
}

int add_prefilter_prof_to_NP(const Descriptor& d, u32 list, u32 port_id, u32 VID, const u32 words[4])
{
    return send(d, vf_mk_add_prefilter_prof(list, port_id, VID, words));
}

int rem_prefilter_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID)
{
    return send(d, vf_mk_rem_prefilter_prof(port_id, VID));
}

int add_loc_act_to_NP(const Descriptor& d, u32 list, u32 line_no, const void* block)
{
    return send(d, vf_mk_add_loc_act(list, line_no, block));
}

int rem_loc_act_to_NP(const Descriptor& d, u32 list, u32 line_no) { return send(d, vf_mk_rem_loc_act(list, line_no)); }

int add_loc_prof_to_NP(const Descriptor& d, u32 list, u32 port_id, u32 VID, const u32 words[4])
{
    return send(d, vf_mk_add_loc_prof(list, port_id, VID, words));
}

int rem_loc_prof_to_NP(const Descriptor& d, u32 port_id, u32 VID) { return send(d, vf_mk_rem_loc_prof(port_id, VID)); }

}  // namespace zelfdb
