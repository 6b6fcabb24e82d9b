// The verb display: the library's own printout of a port or a VLAN. Also read for what no other operation tells.
#pragma once

#include <optional>
#include <string>

#include "language/types.h"

namespace zelfctl {

int display_port(u32 port_id);
int display_vlan(const std::string& name_or_vid);

struct DisplayedPort {
    u32 uplink = 0;
    u32 link_mode = 0;
    u32 link_depend = 0;
    u32 link_list = 0;
};
std::optional<DisplayedPort> displayed_port(u32 port_id);

// A VLAN's learn limit.
std::optional<u32> displayed_learn_limit(u32 vid);

}  // namespace zelfctl
