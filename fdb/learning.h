// What a learn indication means: the VLAN of its frame, and the report of a loop. Callers hold both locks.
#pragma once

#include "core/chains.h"
#include "core/descriptor.h"
#include "core/indexes.h"
#include "core/lists.h"

namespace zelfdb {

// Host time, in seconds. Always 0.
int get_time_sec(u32* seconds);

// The first 16 bytes of a frame, in wire order.
struct FrameHeader {
    Mac destination;
    Mac source;
    u8 type[2];         // or the tag protocol identifier
    u8 tag_control[2];  // when tagged
};

// The VID (1..4095) of the frame's VLAN, or 0 when the port does not admit the frame.
u32 ingress_rules(const Descriptor& d, const FrameHeader& frame, const zelfdb_learn_ind& indication);

// The ports of a reported move, and those whose breaker it tripped; 0 where there is nothing to tell.
struct LoopOutputs {
    u32* old_port;
    u32* new_port;
    u32* tripped_old_port;
    u32* tripped_new_port;
};

// Reports a station's move to syslog and trips the ports' loop breakers, if the VLAN has loop detection on. Each output may
// be null. A tripped breaker flushes its port's DYNAMIC entries: touch none of them afterwards.
void report_simple_loop(const Descriptor& d, Vlan& vlan, const Mac& mac, Port& old_port, Port& new_port, u32 tick,
                        const LoopOutputs& outputs);

}  // namespace zelfdb
