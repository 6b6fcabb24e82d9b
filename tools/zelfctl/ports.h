// Ports as the tool shows them. Read through the library.
#pragma once

#include <zelfdb/zelfdb.h>

#include <optional>
#include <vector>

#include "language/types.h"

namespace zelfctl {

inline constexpr u32 highest_port = 199;
inline constexpr u32 breaker_tripped = 2;

struct PortView {
    zelfdb_port_info info;  // its member rows are those that fit: see members
    std::vector<zelfdb_port_member> members;
};

// Null if there is no such port.
std::optional<PortView> read_port(u32 port_id);

// In ID order; null if they could not be read.
std::optional<std::vector<PortView>> read_ports();

}  // namespace zelfctl
