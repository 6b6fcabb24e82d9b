// VLANs as the tool shows them. Read through the library.
#pragma once

#include <zelfdb/zelfdb.h>

#include <optional>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct VlanView {
    std::string name;
    u32 vid = 0;
    u32 flags = 0;
    u32 entries = 0;
    u32 untagged = 0;
    std::vector<zelfdb_vlan_member> members;
    std::vector<u32> pvid_ports;
};

// In VID order; null if they could not be read.
std::optional<std::vector<VlanView>> read_vlans();

// By name or by number: a name comes first. Null after a message.
std::optional<u32> vid_of(const std::string& name_or_vid);

}  // namespace zelfctl
