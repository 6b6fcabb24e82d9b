// The verbs apply and run: commands from files, from standard input or from the command line.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

struct ApplyOptions {
    std::vector<std::string> files;  // "-" is standard input
    bool keep_going = false;         // go on after a line that failed
    bool check = false;              // read all lines, run none
};

int apply(const ApplyOptions& options);

// One command.
int run_command(const std::string& line);

}  // namespace zelfctl
