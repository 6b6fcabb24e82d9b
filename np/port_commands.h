// The NP's commands about ports and physical ports. 0 = accepted, -1 = not.
#pragma once

#include "np/frame.h"

namespace zelfdb {

int create_port_to_NP(const Descriptor& d, const Port& port);
int delete_port_to_NP(const Descriptor& d, u32 port_id);
int enable_port_to_NP(const Descriptor& d, u32 port_id);
int disable_port_to_NP(const Descriptor& d, u32 port_id);
int set_port_flag_to_NP(const Descriptor& d, const Port& port, u32 mask);
int set_port_pvid_to_NP(const Descriptor& d, const Port& port);
int set_port_tagType_to_NP(const Descriptor& d, const Port& port);
int set_port_class_policing_to_NP(const Descriptor& d, u32 port_id, u32 class_no, u32 rate, u32 burst, u32 color);
int set_cosmap_in_port_to_NP(const Descriptor& d, u32 port_id, u32 valbit, const u32 cosmap[8]);
int set_bandwidth_calc_mode_in_port_to_NP(const Descriptor& d, u32 port_id, u32 mode);
int set_default_class_in_port_to_NP(const Descriptor& d, u32 port_id, u32 def_spno, u32 def_pri, u32 def_color);
int set_ph_shaping_to_NP(const Descriptor& d, u32 phport, u32 shaping_rate, u32 shaping_param2);

}  // namespace zelfdb
