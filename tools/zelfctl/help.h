// The verb help, and the source of the manual page. Both are made from the table of commands and the verbs' own options.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

// Without words everything; otherwise the commands that begin with these words.
int print_help(const std::vector<std::string>& words);

// man(7) source on standard output.
int print_manual();

}  // namespace zelfctl
