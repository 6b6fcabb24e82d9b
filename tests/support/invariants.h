// What must hold of every database between two operations.
#pragma once

#include <string>
#include <vector>

#include "core/descriptor.h"

namespace zelfdb {

// One line for each thing that does not hold; none for a healthy database. Never runs on for ever, whatever the bytes.
//
// Healthy is whatever the operations can lead to, their oddities included: MAC entries taken and on no chain, which the NP
// had refused; ports, streams, queues and profiles with IDs that no look-up finds, even twice the same; queues deleted while
// a stream's class still leads to them; streams of a deleted port; untagged counts (upv) that have gone stale.
std::vector<std::string> broken_invariants(const Descriptor& d);

}  // namespace zelfdb
