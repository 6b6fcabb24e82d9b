// What a check of a database has to say: findings as plain records, and as lines of text.
#pragma once

#include <string>
#include <vector>

#include "core/types.h"

namespace zelfdb {

// A notice is a state that the operations themselves can lead to, by behaviour that is kept on purpose. Anything else that
// is not as it must be is an error.
enum class Severity { notice, error };
enum class Segment { main, fdb };

struct Finding {
    Severity severity;
    std::string object;  // what it is about: "VLAN 10", "stream list of port 3"
    Segment segment;
    u32 offset;  // of the word or the record that disagrees, in that segment
    std::string field;
    std::string found;
    std::string expected;
    std::string rule;  // why that is expected
    bool operator==(const Finding&) const = default;
};

// A database that is broken in one place is soon broken in thousands: of each severity the first ones are kept.
inline constexpr u64 findings_max = 500;

struct Report {
    std::vector<Finding> findings;  // in the order in which they were met
    u64 notices = 0;                // all of them, kept or not
    u64 errors = 0;

    [[nodiscard]] bool clean() const { return notices == 0 && errors == 0; }
};

const char* name_of(Severity severity);
const char* name_of(Segment segment);

// "error: VLAN 10: npv is 3, expected 2: it counts the memberships on its list (main 0x30fb10)"
std::string text_of(const Finding& finding);

}  // namespace zelfdb
