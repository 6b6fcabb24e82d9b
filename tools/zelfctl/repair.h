// The verb check with --repair and --restore: mends a damaged database, and takes that back.
#pragma once

#include <string>

namespace zelfctl {

struct CheckOptions {
    bool json = false;
    bool repair = false;
    bool yes = false;
    std::string backup;
    std::string restore;
};

// Whichever of the three is asked for.
int check_or_repair(const CheckOptions& options);

}  // namespace zelfctl
