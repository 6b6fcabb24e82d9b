// A process that finds the database as a dead one has left it, before anybody has repaired it.
#pragma once

#include <string>

#include "crash/stepping.h"

namespace crash {

// Lets one make random requests of every kind on the given state. How it ended if not well: "create_port: Killed" for a request
// that came to no end. Changes the segments.
std::string survive(const Attached& segments, const Bytes& state, u32 seed);

}  // namespace crash
