// Random databases, built through the exported operations.
#pragma once

#include <zelfdb/zelfdb.h>

#include "support/random.h"

namespace zelfctl {

enum class Size {
    small,  // mostly none to four objects of each kind
    full,   // every pool used up
};

inline constexpr zelfdb_counts small_counts{16, 8, 64};
inline constexpr zelfdb_counts full_counts{199, 400, 4096};

// Into an empty database with these counts. Everything that the replay's text carries can be there, in every value that it
// can carry; what operations refuse is not there.
void build_database(zelfdb_descriptor* descriptor, zelfdb::Random& random, Size size);

}  // namespace zelfctl
