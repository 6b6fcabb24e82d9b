// The egress queues at work: frames enter, wait, leave at the shaped rate, or are dropped. Called by the frame path, the
// stream and queue commands, and the readers.
#pragma once

#include "state.h"

namespace softnp {

Stream* find_stream(State& state, u32 streamno);
Queue* find_queue(State& state, u32 queue);

// The stream at a position, counted from 0, of an NP port; null if there is none.
Stream* stream_of_port(State& state, u32 np_port, u32 position);
// The NP port that a stream's frames leave by.
u32 port_of_stream(const Stream& stream);

struct Rate {
    bool is_shaped;
    u64 bits_per_s;
};
Rate rate_of(const State& state, const Stream& stream);

enum class Queueing : u8 { sent, waiting, dropped };

// Puts a frame into the queue that serves the class, and lets the stream send what it may at this tick.
// A class without a queue sends at once.
Queueing enqueue(State& state, Stream& stream, u32 class_no, u32 colour, u32 length, u32 tick_ms);

// A frame that leaves by a port is counted there.
void count_sent(State& state, u32 np_port, u32 length);

// Sends all that the time up to the tick allows. To be called before anything about streams is changed or read.
void settle_streams(State& state);

// Takes a queue out of its stream's class; what waits in it is flushed.
void detach_queue(State& state, Queue& queue);

u32 waiting_frames(const State& state, const Stream& stream);
u64 waiting_bytes(const State& state, const Stream& stream);

// Zeroes what was counted; frames that wait count as offered.
void clear_queue_counters(State& state);

// Empties all queues: what a process that died in the middle of a change left in them is not known to be whole.
void rebuild_queues(State& state);

}  // namespace softnp
