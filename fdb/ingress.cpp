// The ingress rules: which VLAN a received frame belongs to, if its port admits it at all.
#include "fdb/learning.h"

namespace zelfdb {
namespace {

u32 wire16(const u8 (&bytes)[2]) { return u32{bytes[0]} << 8 | bytes[1]; }

const ProtBinding* binding_of(const Port& port, u32 group)
{
    for (u32 i = 0; i < port.npg && i < prot_bindings_per_port; ++i) {
        if (port.prot[i].group == group) return &port.prot[i];
    }
    return nullptr;
}

bool has_protocol(const ProtGroup& group, u32 ethertype)
{
    for (u32 i = 0; i < group.nprot && i < std::size(group.prot); ++i) {
        if (group.prot[i] == ethertype) return true;
    }
    return false;
}

// An ethertype whose group the port has no binding for does not end the search: a later group may have both.
u32 vid_by_protocol(const Header& header, const Port& port, u32 ethertype)
{
    const ProtGroupTable& table = header.prot_groups;
    for (u32 i = 0; i < table.count && i < std::size(table.group); ++i) {
        if (!has_protocol(table.group[i], ethertype)) continue;
        if (const ProtBinding* const binding = binding_of(port, table.group[i].group)) return binding->VID;
    }
    return port.PVID;
}

bool is_member(const Descriptor& d, const Port& port, u32 vid)
{
    const Vlan* const vlan = lookup_vlan(main_base(d), header_of(d), vid);
    return vlan && lookup_pv_by_port_in_a_vlan(main_base(d), header_of(d), *vlan, port);
}

}  // namespace

u32 ingress_rules(const Descriptor& d, const FrameHeader& frame, const zelfdb_learn_ind& indication)
{
    const Port* const port = known_port(main_base(d), header_of(d), indication.port);
    if (!port) return 0;

    u32 vid = 0;
    bool tagged = false;
    if ((port->p_flag & pflag_tag_aware) && wire16(frame.type) == port->tagtype) {
        vid = wire16(frame.tag_control) & 0xFFF;
        tagged = vid != 0;
        if (!tagged) vid = port->PVID;  // a priority tag names no VLAN: the frame counts as untagged
    } else {
        vid = vid_by_protocol(header_of(d), *port, wire16(frame.type));
    }

    if (!tagged && !(port->p_flag & pflag_untagged)) return 0;
    if (!(port->p_flag & pflag_ingress_filter)) return vid;
    return is_member(d, *port, vid) ? vid : 0;
}

}  // namespace zelfdb
