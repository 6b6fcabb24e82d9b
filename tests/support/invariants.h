// What must hold of every database between two operations.
#pragma once

#include <string>
#include <vector>

#include "core/descriptor.h"

namespace zelfdb {

// The errors that a check of the database finds, a line each; none for a healthy one. Notices are no errors: healthy is
// whatever the operations can lead to, their oddities included.
std::vector<std::string> broken_invariants(const Descriptor& d);

}  // namespace zelfdb
