// The rule that keeps a port from forwarding while it is down or its loop breaker has tripped.
#pragma once

#include "core/descriptor.h"

namespace zelfdb {

// Takes the learning and forwarding bits from a port that may not have them, flushes what was learned on it, and tells the
// NP if anything changed. It only removes bits: restoring them is the business of the parameter setter's callers.
// Callers hold both locks.
void port_update_npflag(const Descriptor& d, Port& port);

}  // namespace zelfdb
