// Mirrors: an enabled one has all that enabling asks for, which cannot be taken from it any more.
#pragma once

#include "support/invariants/audit.h"

namespace zelfdb::audit {

inline void check_mirrors(Audit& a)
{
    constexpr u16 egress = 3;
    constexpr u16 egress_of_vlan = 4;
    for (u32 id = 1; id <= 4; ++id) {
        const Mirror& mirror = a.header.mirror[id - 1];
        const std::string name = "mirror " + dec(id);
        if (mirror.state > (mirror_created | mirror_enabled) || mirror.state == mirror_enabled) {
            note(a, name + ": state is " + dec(mirror.state));
        }
        if (!(mirror.state & mirror_enabled)) continue;
        if (mirror.source_kind == 0) note(a, name + " is enabled without a source");
        if (mirror.dest_port == 0) note(a, name + " is enabled without a destination");
        const bool copies_sent = mirror.source_kind == egress || mirror.source_kind == egress_of_vlan;
        if (copies_sent && mirror.source_port == mirror.dest_port) {
            note(a, name + " is enabled and copies what port " + dec(mirror.source_port) + " sends to port " +
                        dec(mirror.dest_port));
        }
    }
}

}  // namespace zelfdb::audit
