#include "np/port_commands.h"

namespace zelfdb {
namespace {

constexpr u32 all_params = 0x800000FF;
constexpr u32 pvid_param = 0x20;
constexpr u32 tagtype_param = 0x10;

vf_cmd* port_param(const Port& port, u32 mask)
{
    return vf_mk_set_port_param(np_port(port.PortID), mask, port.p_flag, port.p_type, port.pri, port.phport,
                                port.tagtype, port.PVID, port.fdb.FID);
}

}  // namespace

int create_port_to_NP(const Descriptor& d, const Port& port)
{
    return send(d, port_param(port, all_params), Retry::after_1_s);
}

int set_port_pvid_to_NP(const Descriptor& d, const Port& port) { return send(d, port_param(port, pvid_param)); }

int set_port_tagType_to_NP(const Descriptor& d, const Port& port) { return send(d, port_param(port, tagtype_param)); }

int delete_port_to_NP(const Descriptor& d, u32 port_id) { return send(d, vf_mk_delete_port(np_port(port_id))); }

int enable_port_to_NP(const Descriptor& d, u32 port_id) { return send(d, vf_mk_enable_port(np_port(port_id))); }

int disable_port_to_NP(const Descriptor& d, u32 port_id) { return send(d, vf_mk_disable_port(np_port(port_id))); }

int set_port_flag_to_NP(const Descriptor& d, const Port& port, u32 mask)
{
    return send(d, vf_mk_set_port_flags(np_port(port.PortID), port.p_flag, mask));
}

int set_port_class_policing_to_NP(const Descriptor& d, u32 port_id, u32 class_no, u32 rate, u32 burst, u32 color)
{
    return send(d, vf_mk_set_class_policing(np_port(port_id), class_no, rate, burst, color));
}

int set_cosmap_in_port_to_NP(const Descriptor& d, u32 port_id, u32 valbit, const u32 cosmap[8])
{
    return send(d, vf_mk_set_cosmap(np_port(port_id), valbit, cosmap));
}

int set_bandwidth_calc_mode_in_port_to_NP(const Descriptor& d, u32 port_id, u32 mode)
{
    return send(d, vf_mk_set_bandwidth_calc_mode(np_port(port_id), mode));
}

int set_default_class_in_port_to_NP(const Descriptor& d, u32 port_id, u32 def_spno, u32 def_pri, u32 def_color)
{
    return send(d, vf_mk_set_def_class(np_port(port_id), def_spno, def_pri, def_color));
}

int set_ph_shaping_to_NP(const Descriptor& d, u32 phport, u32 shaping_rate, u32 shaping_param2)
{
    return send(d, vf_mk_set_ph_shaping(phport, shaping_rate, shaping_param2));
}

}  // namespace zelfdb
