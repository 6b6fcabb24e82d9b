// Which VLAN a received frame belongs to: tag, protocol group, PVID.
#include "classify_vlan.h"

#include <algorithm>

namespace softnp {

namespace {

constexpr u32 FLAG_TAGS = 0x40;
constexpr u32 VID_BITS = 0xFFF;

const softnp_group* group_of_protocol(const State& state, u32 protocol)
{
    for (u32 index = 0; index < state.groups.count; index++) {
        const softnp_group& group = state.groups.group[index];
        if (std::find(group.protocols, group.protocols + group.count, protocol) != group.protocols + group.count)
            return &group;
    }
    return nullptr;
}

// The oldest binding of the group decides; 0 = the port has none.
u16 bound_VID(const Port& port, const softnp_group& group)
{
    for (u32 index = 0; index < port.settings.binding_count; index++)
        if (port.bindings[index].group == group.group) return port.bindings[index].VID;
    return 0;
}

}  // namespace

bool has_tag(const Port& port, const Frame& frame)
{
    return (port.settings.p_flag & FLAG_TAGS) != 0 && ethertype_of(frame) == port.settings.tagtype;
}

FrameVlan vlan_of_frame(const State& state, const Port& port, const Frame& frame)
{
    if (has_tag(port, frame)) {
        const u32 VID = (static_cast<u32>(frame.bytes[14]) << 8 | frame.bytes[15]) & VID_BITS;
        return VID != 0 ? FrameVlan{static_cast<u16>(VID), true, false} : FrameVlan{port.settings.PVID, false, false};
    }
    const softnp_group* group = group_of_protocol(state, ethertype_of(frame));
    const u16 VID = group ? bound_VID(port, *group) : 0;
    return VID != 0 ? FrameVlan{VID, false, true} : FrameVlan{port.settings.PVID, false, false};
}

}  // namespace softnp
