// What a sound database holds, object by object: what a user has put there, without what is derived from it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "crash/stepping.h"

namespace crash {

struct Object {
    std::string told_as;  // how a repair names it
    std::vector<u8> payload;
    bool operator==(const Object&) const = default;
};

using Objects = std::map<std::string, Object>;

// The lists of the database must be sound.
Objects objects_of(const Bytes& bytes);

}  // namespace crash
