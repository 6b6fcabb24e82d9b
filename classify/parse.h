// Field texts of prefilter lines: an address, or a number, each with a range and a mask. 1 = parsed, 0 = absent or
// malformed, with out untouched. out: value, range end, mask, range flag; a single value leaves the second and fourth alone.
#pragma once

#include "core/types.h"

namespace zelfdb {

// "10.0.0.1", "10.0.0.0/8", "10.0.0.1-10.0.0.9", "10.0.0.0-10.0.3.0/24". The first octet is the most significant.
int parse_ipv4_field(const char* text, u32 out[4]);

// "7", "-7" (0 to 7), "3-9", each with "/mask" in hex. Masked first, then brought within the bounds.
int parse_u8_field(const char* text, u8 out[4], i32 lower, i32 upper);
int parse_u16_field(const char* text, u16 out[4], i32 lower, i32 upper);

}  // namespace zelfdb
