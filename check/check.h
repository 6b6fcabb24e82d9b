// The check of a whole database. It reads, and changes nothing; callers hold both locks, or have the database to themselves.
#pragma once

#include "check/finding.h"
#include "core/descriptor.h"

namespace zelfdb {

// Two segments as they lie in memory, aligned as records are: with their sizes, which their own bytes are not asked for.
struct Segments {
    const void* main;
    u64 main_bytes;
    const void* fdb;
    u64 fdb_bytes;
};

// Goes through everything once. Ends whatever the bytes say, and reads none outside the two segments.
Report check(const Segments& segments);

// The same for the segments that this process has attached. Their sizes are what the system has mapped for them, in whole
// pages.
Report check(const Descriptor& d);

}  // namespace zelfdb
