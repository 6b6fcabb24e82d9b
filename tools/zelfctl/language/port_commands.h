// What the commands on ports and physical ports do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome set_shaping_on(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_shaping_off(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome create_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome enable_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome disable_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome recover_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome notify_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_aftype(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_ignoretag(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_ignoreptag(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_learning(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_forwarding(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_ingress_filter(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_cosedit(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_port_ignorefdb(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_flags(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_pri(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_npport(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_tagtype(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_pvid(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_aging(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_loop_breaker(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_default_class(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_cosmap(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_policing_on(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_policing_off(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_link_mode(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_link_depend(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_link_own(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_bandwidth(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_link_frame(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_uplink(zelfdb_descriptor* descriptor, const Arguments& arguments);

// False if there is no such port.
bool is_virtual_interface(u32 port);

}  // namespace zelfctl
