// What the commands on classify, prefilter and loc lists do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome create_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_classify_line(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_classify_line(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_classify_lines(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome bind_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome unbind_clslist(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_prefilter(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome add_loc(zelfdb_descriptor* descriptor, const Arguments& arguments);

}  // namespace zelfctl
