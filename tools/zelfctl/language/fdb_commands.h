// What the commands on the forwarding database do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome create_discard_entry(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome create_static_entry(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_static_entry(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_static_entries_of_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome create_local_entry(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_local_entry(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_userarea(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome clear_all(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome clear_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome clear_port(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome clear_type(zelfdb_descriptor* descriptor, const Arguments& arguments);

}  // namespace zelfctl
