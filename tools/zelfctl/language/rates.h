// Rates: texts carry them in thousands, cut. Used by the commands that shape and police.
#pragma once

#include <algorithm>

#include "language/types.h"

namespace zelfctl {

inline constexpr u32 rate_unit = 1000;
inline constexpr u32 default_burst = 8000;  // of texts that tell none

// The rates that a text has the same number for.
constexpr u32 lowest_rate(u32 thousands) { return thousands * rate_unit; }
constexpr u32 highest_rate(u32 thousands)
{
    return static_cast<u32>(std::min<u64>(u64{thousands} * rate_unit + rate_unit - 1, 0xFFFFFFFF));
}

// Of something that is switched on: a rate of 0 would switch it off, so that 0 is a rate below a thousand.
constexpr u32 rate_when_on(u32 thousands) { return thousands == 0 ? highest_rate(0) : lowest_rate(thousands); }

}  // namespace zelfctl
