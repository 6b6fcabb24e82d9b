// Asks the library for everything that its readers tell, and compares it with the plain model. A difference is a finding.
#pragma once

#include "plain.h"

namespace fuzz {

// Listings are read in pages of so many records, at least 1.
void compare(zelfdb_descriptor& descriptor, Plain& plain, u32 page, u32 now_s);

}  // namespace fuzz
