// What the operations never go beyond, so that a database that does is damaged.
#pragma once

#include <iterator>

#include "core/records.h"

namespace zelfdb::audit {

inline constexpr u32 vid_max = 4094;
inline constexpr std::size_t name_max = 30;  // characters of a VLAN's name
inline constexpr u32 lines_max = 256;        // of a classify list
inline constexpr i64 queue_budget = 65536;   // shared by all queues

inline constexpr u32 groups_max = std::size(decltype(ProtGroupTable{}.group){});
inline constexpr u32 protocols_max = std::size(decltype(ProtGroup{}.prot){});  // of a group

// Copies of what a port sends must not leave by it.
inline bool copies_what_is_sent(const Mirror& mirror)
{
    constexpr u16 egress = 3;
    constexpr u16 egress_in_vlan = 4;
    return mirror.source_kind == egress || mirror.source_kind == egress_in_vlan;
}

}  // namespace zelfdb::audit
