// The verbs diff and reload: what separates a file from the database.
#pragma once

#include <string>

namespace zelfctl {

struct DiffOptions {
    std::string file;
    bool json = false;
};

inline constexpr int exit_differs = 1;
inline constexpr int exit_trouble = 2;

// Ends with 0 if they are the same, 1 if they differ, 2 if that cannot be told: of what no command can name, for one.
int diff(const DiffOptions& options);

struct ReloadOptions {
    std::string file;
    bool check = false;  // print the commands, run none
    bool all = false;    // run also what cannot be compared
};

// Changes nothing unless all commands succeed on a copy of the database.
int reload(const ReloadOptions& options);

}  // namespace zelfctl
