// The order in which the lines of a whole file are run.
//
// A virtual interface that has joined a VLAN untagged can join no other, but one that has joined others may still join
// one untagged. The replay prints VLANs by their number, whichever was joined first. So of lines that make VLANs, set them
// and join them, and that stand together, untagged joins of virtual interfaces are run last. Any other line, also one that
// cannot be read, is run where it stands.
#pragma once

#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct BatchLine {
    u32 number = 0;
    std::string text;
};

class Batch {
public:
    // The lines to be run now that this one has been read, in order.
    std::vector<BatchLine> take(BatchLine line);

    // Those that still wait when there are no more.
    std::vector<BatchLine> rest();

private:
    std::vector<BatchLine> held_;
};

}  // namespace zelfctl
