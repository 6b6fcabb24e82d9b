// The fixed-width integers of the software NP, and vf.h with its names exported.
#pragma once

#include <cstddef>
#include <cstdint>

// vf.h says nothing of symbol visibility, and everything here is built hidden.
#pragma GCC visibility push(default)
#include <zelfdb/vf.h>
#pragma GCC visibility pop

#include "softnp.h"

namespace softnp {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i16 = std::int16_t;
using i32 = std::int32_t;

inline constexpr u32 PORT_SLOTS = SOFTNP_PORTS + 1;  // by NP port number; slot 0 stays empty
inline constexpr u32 VLAN_SLOTS = SOFTNP_VLANS + 1;  // by VID; slot 0 stays empty

}  // namespace softnp
