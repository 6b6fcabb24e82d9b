// Mirrors at work: a frame that a mirror's source names is copied to the mirror's destination. Called by the frame path.
#pragma once

#include "classify_vlan.h"

namespace softnp {

// The kinds of source.
inline constexpr u32 MIRROR_NO_SOURCE = 0;
inline constexpr u32 MIRROR_PORT_IN = 1;
inline constexpr u32 MIRROR_PORT_IN_VLAN = 2;
inline constexpr u32 MIRROR_PORT_OUT = 3;
inline constexpr u32 MIRROR_PORT_OUT_VLAN = 4;
inline constexpr u32 MIRROR_VLAN = 5;

constexpr bool names_port(u32 kind) { return kind >= MIRROR_PORT_IN && kind <= MIRROR_PORT_OUT_VLAN; }
constexpr bool names_vlan(u32 kind)
{
    return kind == MIRROR_PORT_IN_VLAN || kind == MIRROR_PORT_OUT_VLAN || kind == MIRROR_VLAN;
}
constexpr bool is_egress(u32 kind) { return kind == MIRROR_PORT_OUT || kind == MIRROR_PORT_OUT_VLAN; }

// Copies a frame that a port has received, before anything of it but its length is looked at.
void mirror_received(State& state, const Frame& frame, softnp_verdict& verdict);
// Copies a frame that was admitted to its VLAN, as it was received.
void mirror_admitted(State& state, const Frame& frame, softnp_verdict& verdict);
// Copies a frame that was handed to a port to be sent, as it leaves.
void mirror_sent(State& state, const Frame& frame, u32 np_port, softnp_verdict& verdict);

}  // namespace softnp
