// The verbs apply and run: commands from files, from standard input or from the command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct ApplyOptions {
    std::vector<std::string> files;  // "-" is standard input
    bool keep_going = false;         // go on after a line that failed
    bool check = false;              // try all lines on a copy of the database
};

int apply(const ApplyOptions& options);

// A file that has been read, under the name by which messages tell of it.
struct Source {
    std::string name;
    std::string text;
};

// "-" is standard input. Nothing after a message.
std::optional<Source> read_source(const std::string& file);

struct DoneLine {
    u32 number;
    std::string text;  // without comment
};

struct Applied {
    std::vector<DoneLine> done;  // in the order in which they were run
    u32 failed = 0;
};

// Runs all lines. Each that fails is told; of the others nothing is printed.
Applied apply_source(const Source& source);

// One command.
int run_command(const std::string& line);

}  // namespace zelfctl
