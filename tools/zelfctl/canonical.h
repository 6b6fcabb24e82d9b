// A configuration as the replay would write it: without comments, defaults and detours, in one order.
#pragma once

#include <zelfdb/zelfdb.h>

#include <optional>
#include <string>
#include <vector>

#include "apply.h"

namespace zelfctl {

// A line of which the replay does not tell all.
struct UntoldLine {
    DoneLine line;
    bool can_be_repeated;  // behind all other lines it changes nothing: whatever it says is so at the end
};

struct Canonical {
    std::string text;
    std::vector<UntoldLine> untold;
};

// Runs the lines on an empty database with so much room, in a sandbox. Nothing after messages: one for each line that
// failed there.
std::optional<Canonical> canonical_configuration(const Source& source, const zelfdb_counts& room);

}  // namespace zelfctl
