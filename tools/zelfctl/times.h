// Units of time.
#pragma once

#include "language/types.h"

namespace zelfctl {

inline constexpr i64 ns_per_s = 1000000000;
inline constexpr i64 ns_per_ms = 1000000;

}  // namespace zelfctl
