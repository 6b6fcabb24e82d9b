// How a command reaches the NP. Every function of this folder maps, builds and sends; none has a rule, a look-up or a lock.
#pragma once

#include "core/descriptor.h"

namespace zelfdb {

// The NP's number for a port ID: 1..10 are the same, 101..164 are 11..74, anything else is sent as 0xFFFFFFFF all the same.
constexpr u32 np_port(u32 port_id)
{
    if (port_id >= 1 && port_id <= 10) return port_id;
    if (port_id >= 101 && port_id <= 164) return port_id - 90;
    return 0xFFFFFFFF;
}

enum class Retry { at_once, after_1_s };

// The NP's verdict on a command that was delivered: 0 = accepted.
i16 status_of(const vf_cmd* command);

// One delivery: true if the NP got the command and accepted it.
bool deliver(const Descriptor& d, vf_cmd* command);

// Sends a command, and a second time if the first was refused or not delivered. 0, or -1 after the second failure: the
// command is then deliberately not freed, because the NP library may still hold it. -1 too if the builder made none.
int send(const Descriptor& d, vf_cmd* command, Retry retry = Retry::at_once);

}  // namespace zelfdb
