// Making an NP agree: only what was found is sent, and what cannot be changed in place is made anew.
#pragma once

#include "resync/compare.h"
#include "resync/sender.h"

namespace zelfdb {

void fix(Sending& sending, const Wanted& wanted, const Found* found, const std::vector<Difference>& findings);

}  // namespace zelfdb
