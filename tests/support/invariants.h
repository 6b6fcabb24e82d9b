// What must hold of every database between two operations.
#pragma once

#include <string>
#include <vector>

#include "core/descriptor.h"

namespace zelfdb {

// One line for each thing that does not hold; none for a healthy database. Never runs on for ever, whatever the bytes.
std::vector<std::string> broken_invariants(const Descriptor& d);

}  // namespace zelfdb
