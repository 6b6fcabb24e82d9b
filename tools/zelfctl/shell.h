// The verb shell: lines as session takes them, from a person at a terminal, or from a pipe.
#pragma once

#include <string>

namespace zelfctl {

struct ShellOptions {
    std::string history = "~/.zelfctl_history";
};

int shell(const ShellOptions& options);

}  // namespace zelfctl
