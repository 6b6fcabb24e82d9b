// What a database holds of that which the replay's text carries, taken from the records: two databases with the same facts
// are the same configuration, however they came about.
#pragma once

#include <string>
#include <vector>

#include "core/descriptor.h"

namespace zelfctl {

using zelfdb::u32;

struct Fact {
    const char* field;
    u32 object;  // which of them: an ID, or its place in the list
    u32 part;    // class, line, word, colour ...
    u32 value;
    bool operator==(const Fact& other) const;
};

std::vector<Fact> facts_of(const zelfdb::Descriptor& d);

// The first few that differ, one on each line; empty if none does.
std::string differences(const std::vector<Fact>& before, const std::vector<Fact>& after);

}  // namespace zelfctl
