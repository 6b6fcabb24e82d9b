// Which VLAN a received frame belongs to. Called by the frame path.
#pragma once

#include "state.h"

namespace softnp {

// A frame as received; at least SOFTNP_MIN_FRAME bytes once it was checked.
struct Frame {
    const u8* bytes;
    u32 length;
    u32 np_port;
};

inline const u8* destination_of(const Frame& frame) { return frame.bytes; }
inline const u8* source_of(const Frame& frame) { return frame.bytes + 6; }
inline u32 ethertype_of(const Frame& frame) { return static_cast<u32>(frame.bytes[12]) << 8 | frame.bytes[13]; }

struct FrameVlan {
    u16 VID;
    bool is_tagged;  // by a tag with a VID; a priority tag does not count
    bool by_protocol;
};

// True if the port recognises tags and the frame has one of its type.
bool has_tag(const Port& port, const Frame& frame);

// By the tag, else by the port's protocol bindings, else the PVID. 0 = no VLAN. A tagged frame is 18 bytes or more.
FrameVlan vlan_of_frame(const State& state, const Port& port, const Frame& frame);

}  // namespace softnp
