// One line of a printed dump for one entry. The caller has both locks.
#pragma once

#include "core/records.h"

namespace zelfdb {

// Everything up to the owner's offset, without a line end. label: the type's name as the dump pads it.
void print_entry(const Fil& fil, const char* label);

}  // namespace zelfdb
