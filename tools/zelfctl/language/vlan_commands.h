// What the commands on VLANs, memberships and protocol groups do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

// The VID of the VLAN that the command names, or false and why not.
bool find_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments, u32& vid, Outcome& outcome);

Outcome create_protgroup(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_protgroup(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_protocol(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_protocol(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome create_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_loop_detection(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_vlan_ignorefdb(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_vlan_learning(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_learninglimit(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_all_loop_detection(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_all_ignorefdb(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_all_learning(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_all_learninglimit(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_untagged(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_tagged(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_membership(zelfdb_descriptor* descriptor, const Arguments& arguments);

}  // namespace zelfctl
