// The verb session: verb lines and commands from a file, all in one process, as a sandbox needs it. And what else sessions
// have a use for.
#pragma once

#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct SessionOptions {
    std::string file;  // "-" is standard input
    bool keep_going = false;
    bool quiet = false;
};

int session(const SessionOptions& options);

int wait_for(u32 seconds);

// Replaces this process.
int run_program(const std::vector<std::string>& words);

}  // namespace zelfctl
