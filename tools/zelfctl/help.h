// The verb help, and the sources of the manual pages. All are made from the table of commands and the verbs' own options.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

// Without words everything; otherwise the verb of that name and the commands that begin with these words.
int print_help(const std::vector<std::string>& words);

// man(7) source on standard output: of the tool, and of the command language.
int print_manual();
int print_manual_of_commands();

}  // namespace zelfctl
