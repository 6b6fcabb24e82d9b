// The verb init: a new database and a network processor in its power-on state.
#pragma once

#include "language/types.h"

namespace zelfctl {

struct InitOptions {
    u32 ports = 64;
    u32 vlans = 256;
    u32 entries = 8192;
    bool replace = false;  // remove what is there first: it may be too small
};

int init(const InitOptions& options);

}  // namespace zelfctl
