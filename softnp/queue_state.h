// Streams, their queues and the frames that wait in them, as they lie in the shared segment.
#pragma once

#include "types.h"

namespace softnp {

// A frame that waits is its length: the device keeps no bytes. Links are slot numbers plus 1, so that 0 is none.
struct BufferedFrame {
    u32 next;    // in its queue, or in the free list
    u32 serial;  // of its arrival at any queue; what a stream without scheduling goes by
    u32 length;
};

struct Buffers {
    u32 used;
    u32 high;  // slots 0..high-1 have been used
    u32 free_head;
    u32 next_serial;
    BufferedFrame frame[SOFTNP_BUFFERS];
};

struct Queue {
    u32 exists;
    u32 head;  // slots plus 1
    u32 tail;
    u32 red_debt[SOFTNP_COLOURS];  // percents of a frame that RED still has to drop
    u64 virtual_time;              // start tag of the head under weighted fair queueing
    softnp_queue record;
};

struct Stream {
    u32 exists;
    u32 settled_ms;    // up to this tick all has been sent that could be
    u64 credit;        // of the shaper, in thousandths of a bit
    u64 virtual_time;  // start tag of the frame sent last
    softnp_stream record;
};

struct Qos {
    Stream stream[SOFTNP_STREAMS];
    Queue queue[SOFTNP_QUEUES];
    Buffers buffers;
};

}  // namespace softnp
