// The software NP's whole state, as the audit compares it. It stands apart from the rest of this folder, which knows of an NP
// only what vf.h says.
#pragma once

#include "resync/compare.h"

namespace zelfdb {

// False if the device cannot be reached.
bool read_softnp(Found& found);

// Whether it holds nothing that a database could have sent.
bool softnp_is_fresh();

}  // namespace zelfdb
