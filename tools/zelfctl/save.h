// The verbs save and load: the configuration as a file of commands.
#pragma once

#include <string>

namespace zelfctl {

struct SaveOptions {
    std::string file;    // "-" is standard output
    bool force = false;  // save what could not be loaded again, too
};

// What could not be loaded again is named, and nothing is saved. The file is complete or as it was before, whatever happens;
// what it held before is kept as FILE~.
int save(const SaveOptions& options);

struct LoadOptions {
    std::string file;
    bool check = false;  // try all lines on a copy of the database
};

// Into an empty database.
int load(const LoadOptions& options);

}  // namespace zelfctl
