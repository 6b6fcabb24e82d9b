// The table of commands. One row is all there is to say about a command: the reader, the help, the completion and the
// manual are made from it.
#pragma once

#include <zelfdb/zelfdb.h>

#include <span>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

// The descriptor is the caller's, open with the network processor, so that many commands need not open one each.
struct Row {
    const char* subject;
    const char* pattern;
    const char* help;
    Outcome (*run)(zelfdb_descriptor* descriptor, const Arguments& arguments);
};

struct Command {
    const Row* row;
    std::vector<Part> parts;
};

std::span<const Command> all_commands();

}  // namespace zelfctl
