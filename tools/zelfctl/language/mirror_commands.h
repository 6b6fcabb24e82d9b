// What the commands on mirrors do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome create_mirror(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_mirror(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_source_in(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_source_out(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_source_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_source_none(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_mirror_dest(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_mirror_dest_none(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_copy_class(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_tag_on(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_tag_off(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome enable_mirror(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome disable_mirror(zelfdb_descriptor* descriptor, const Arguments& arguments);

}  // namespace zelfctl
