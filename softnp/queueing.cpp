// Queue limits and RED, the schedulers, the shaper, and the counting of every frame's fate.
#include "queueing.h"
#include "clock.h"

#include <algorithm>

namespace softnp {

namespace {

constexpr u32 QOS_WFQ = 1;
constexpr u32 QOS_PRIORITY = 2;
constexpr u32 PERCENT = 100;
// What a frame takes on the wire besides its bytes, where a port's bandwidth is reckoned with it: preamble and gap.
constexpr u32 FRAME_GAP = 20;
constexpr u64 MILLIBITS_PER_BYTE = 8000;
// One byte of a queue with ratio 1, in virtual time.
constexpr u64 VIRTUAL_BYTE = 1u << 20;

Queue* queue_of_class(State& state, const Stream& stream, u32 class_no)
{
    return class_no < SOFTNP_CLASSES ? find_queue(state, stream.record.queue[class_no]) : nullptr;
}

BufferedFrame& frame_in_slot(State& state, u32 link) { return state.qos.buffers.frame[link - 1]; }

// ---- buffers

u32 take_buffer(Buffers& buffers)
{
    u32 link = buffers.free_head;
    if (link != 0)
        buffers.free_head = buffers.frame[link - 1].next;
    else if (buffers.high < SOFTNP_BUFFERS)
        link = ++buffers.high;
    if (link != 0) buffers.used++;
    return link;
}

void give_buffer(Buffers& buffers, u32 link)
{
    buffers.frame[link - 1].next = buffers.free_head;
    buffers.free_head = link;
    buffers.used--;
}

void push(State& state, Queue& queue, u32 link, u32 length)
{
    frame_in_slot(state, link) = {0, state.qos.buffers.next_serial++, length};
    if (queue.tail != 0)
        frame_in_slot(state, queue.tail).next = link;
    else
        queue.head = link;
    queue.tail = link;
    queue.record.waiting_frames++;
    queue.record.waiting_bytes += length;
}

u32 pop(State& state, Queue& queue)
{
    const u32 link = queue.head;
    const BufferedFrame frame = frame_in_slot(state, link);
    queue.head = frame.next;
    if (queue.head == 0) queue.tail = 0;
    queue.record.waiting_frames--;
    queue.record.waiting_bytes -= frame.length;
    give_buffer(state.qos.buffers, link);
    return frame.length;
}

// ---- drops

u32 drop_percent(const softnp_red& red, u32 fill)
{
    if (fill < red.min_thresh) return 0;
    if (fill >= red.max_thresh) return std::min<u32>(red.max_drop, PERCENT);
    const i32 rise = i32{red.max_drop} - i32{red.min_drop};
    const i32 into = static_cast<i32>(fill - red.min_thresh);
    const i32 percent = red.min_drop + rise * into / (i32{red.max_thresh} - i32{red.min_thresh});
    return std::min(static_cast<u32>(percent), PERCENT);
}

// Every frame owes the percentage of it that is to be dropped; when the debt is a whole frame, one goes. So the share
// is exact, and the same frames give the same drops.
bool is_dropped_early(const Stream& stream, Queue& queue, u32 colour)
{
    const u64 fill = u64{queue.record.waiting_frames} * PERCENT / queue.record.queue_length;
    u32& debt = queue.red_debt[colour];
    debt += drop_percent(stream.record.red[queue.record.class_no][colour], static_cast<u32>(fill));
    if (debt < PERCENT) return false;
    debt -= PERCENT;
    return true;
}

// The counter of the reason why a queue does not take a frame.
using DropCounter = u64 softnp_queue_counters::*;

void count_drop(Stream& stream, Queue& queue, DropCounter reason, u32 length)
{
    for (softnp_queue_counters* counters : {&queue.record.counters, &stream.record.counters}) {
        (counters->*reason)++;
        counters->lost_bytes += length;
    }
}

void count_red(Stream& stream, Queue& queue, u32 colour, u32 length)
{
    for (softnp_queue_counters* counters : {&queue.record.counters, &stream.record.counters}) {
        counters->dropped_red[colour]++;
        counters->lost_bytes += length;
    }
}

void count_offered(Stream& stream, Queue& queue, u32 length)
{
    for (softnp_queue_counters* counters : {&queue.record.counters, &stream.record.counters}) {
        counters->offered_frames++;
        counters->offered_bytes += length;
    }
}

// The slot for a frame that is taken; 0 if it was dropped, and counted so.
u32 admit(State& state, Stream& stream, Queue& queue, u32 colour, u32 length)
{
    if (queue.record.waiting_frames >= queue.record.queue_length) {
        count_drop(stream, queue, &softnp_queue_counters::dropped_length, length);
        return 0;
    }
    if (is_dropped_early(stream, queue, colour)) {
        count_red(stream, queue, colour, length);
        return 0;
    }
    const u32 link = take_buffer(state.qos.buffers);
    if (link == 0) count_drop(stream, queue, &softnp_queue_counters::dropped_buffers, length);
    return link;
}

// ---- schedulers

u32 serial_of_head(State& state, const Queue& queue) { return frame_in_slot(state, queue.head).serial; }

// Whether the stream sends the first of two before the second, which serves a lower class.
bool goes_before(State& state, const Stream& stream, const Queue& first, const Queue& second)
{
    if (stream.record.qos_type == QOS_WFQ)
        return first.virtual_time != second.virtual_time ? first.virtual_time < second.virtual_time
                                                         : first.record.pri >= second.record.pri;
    if (stream.record.qos_type == QOS_PRIORITY) return first.record.pri >= second.record.pri;
    return static_cast<i32>(serial_of_head(state, first) - serial_of_head(state, second)) < 0;
}

Queue* next_queue(State& state, const Stream& stream)
{
    Queue* best = nullptr;
    for (u32 class_no = 0; class_no < SOFTNP_CLASSES; class_no++) {
        Queue* queue = queue_of_class(state, stream, class_no);
        if (!queue || queue->head == 0) continue;
        if (!best || goes_before(state, stream, *queue, *best)) best = queue;
    }
    return best;
}

void send_head(State& state, Stream& stream, Queue& queue)
{
    const u32 length = pop(state, queue);
    stream.virtual_time = std::max(stream.virtual_time, queue.virtual_time);
    queue.virtual_time += length * VIRTUAL_BYTE / std::max<u32>(queue.record.ratio, 1);
    for (softnp_queue_counters* counters : {&queue.record.counters, &stream.record.counters}) {
        counters->sent_frames++;
        counters->sent_bytes += length;
    }
    count_sent(state, port_of_stream(stream), length);
}

// ---- the shaper

// A tick that went back is no time at all.
u32 elapsed_ms(u32 since_ms, u32 now_ms)
{
    const u32 elapsed = now_ms - since_ms;
    return elapsed <= INT32_MAX ? elapsed : 0;
}

u64 add_capped(u64 left, u64 right) { return left + right < left ? UINT64_MAX : left + right; }

u64 cost_of_head(State& state, const Stream& stream, const Queue& queue)
{
    const Port& port = state.port[port_of_stream(stream)];
    const u32 gap = port.settings.bandwidth_calc_mode != 0 ? FRAME_GAP : 0;
    return (frame_in_slot(state, queue.head).length + gap) * MILLIBITS_PER_BYTE;
}

// What a stream that has nothing to send may save up.
u64 depth_of(const Stream& stream, const Rate& rate)
{
    const softnp_stream& record = stream.record;
    return (rate.bits_per_s > record.minrate ? record.maxburst : record.minburst) * MILLIBITS_PER_BYTE;
}

void send_all(State& state, Stream& stream)
{
    stream.credit = 0;
    for (Queue* queue = next_queue(state, stream); queue; queue = next_queue(state, stream))
        send_head(state, stream, *queue);
}

void settle_stream(State& state, Stream& stream, u32 tick_ms)
{
    const u32 elapsed = elapsed_ms(stream.settled_ms, tick_ms);
    stream.settled_ms = tick_ms;
    const Rate rate = rate_of(state, stream);
    if (!rate.is_shaped) {
        send_all(state, stream);
        return;
    }
    stream.credit = add_capped(stream.credit, rate.bits_per_s * elapsed);
    Queue* queue = next_queue(state, stream);
    while (queue && stream.credit >= cost_of_head(state, stream, *queue)) {
        stream.credit -= cost_of_head(state, stream, *queue);
        send_head(state, stream, *queue);
        queue = next_queue(state, stream);
    }
    if (!queue) stream.credit = std::min(stream.credit, depth_of(stream, rate));
}

void flush(State& state, Stream& stream, Queue& queue)
{
    while (queue.head != 0) {
        const u32 length = pop(state, queue);
        count_drop(stream, queue, &softnp_queue_counters::flushed_frames, length);
    }
}

// As if all that waited had been flushed: the identity of the counters holds again.
void count_rest_as_flushed(softnp_queue_counters& counters)
{
    u64 dropped = counters.dropped_length + counters.dropped_buffers;
    for (const u64 red : counters.dropped_red) dropped += red;
    counters.offered_frames = std::max(counters.offered_frames, counters.sent_frames + dropped);
    counters.offered_bytes = std::max(counters.offered_bytes, counters.sent_bytes);
    counters.flushed_frames = counters.offered_frames - counters.sent_frames - dropped;
    counters.lost_bytes = counters.offered_bytes - counters.sent_bytes;
}

}  // namespace

Stream* find_stream(State& state, u32 streamno)
{
    return streamno < SOFTNP_STREAMS && state.qos.stream[streamno].exists != 0 ? &state.qos.stream[streamno] : nullptr;
}

Queue* find_queue(State& state, u32 queue)
{
    return queue < SOFTNP_QUEUES && state.qos.queue[queue].exists != 0 ? &state.qos.queue[queue] : nullptr;
}

Stream* stream_of_port(State& state, u32 np_port, u32 position)
{
    const u32 port_id = softnp_port_id(np_port);
    if (port_id == SOFTNP_NO_PORT || position >= SOFTNP_PORT_STREAMS) return nullptr;
    return find_stream(state, (port_id - 1) * SOFTNP_PORT_STREAMS + position);
}

// The streams that there are belong to the first ports, whose two numbers are the same.
u32 port_of_stream(const Stream& stream) { return stream.record.streamno / SOFTNP_PORT_STREAMS + 1; }
static_assert(SOFTNP_STREAMS / SOFTNP_PORT_STREAMS <= 10);

// The actual rate is the stream's share of a shaped physical port; where the physical port is not shaped, the excess is
// there to be used, too. Without an actual rate nothing holds the stream below its peak.
Rate rate_of(const State& state, const Stream& stream)
{
    const softnp_stream& record = stream.record;
    const u64 peak = std::max(record.minrate, record.maxrate);
    if (record.has_actual_rate == 0 || (peak == 0 && record.actual_rate == 0)) return {peak != 0, peak};
    const u32 phport = state.port[port_of_stream(stream)].settings.phport;
    const bool is_port_shaped = phport < PHPORT_SLOTS && state.phport[phport].shaping_rate != 0;
    const u64 excess =
        record.actual_excess <= INT32_MAX ? record.actual_excess : 0;  // a difference, it may be negative
    return {true, record.actual_rate + (is_port_shaped ? 0 : excess)};
}

Queueing enqueue(State& state, Stream& stream, u32 class_no, u32 colour, u32 length, u32 tick_ms)
{
    settle_stream(state, stream, tick_ms);
    Queue* queue = queue_of_class(state, stream, class_no);
    if (!queue) {
        stream.record.unqueued++;
        state.counters.unqueued++;
        count_sent(state, port_of_stream(stream), length);
        return Queueing::sent;
    }
    count_offered(stream, *queue, length);
    const u32 link = admit(state, stream, *queue, colour, length);
    if (link == 0) return Queueing::dropped;
    if (queue->head == 0) queue->virtual_time = std::max(queue->virtual_time, stream.virtual_time);
    push(state, *queue, link, length);
    settle_stream(state, stream, tick_ms);
    return queue->head == 0 ? Queueing::sent : Queueing::waiting;
}

void count_sent(State& state, u32 np_port, u32 length)
{
    state.counters.port[np_port].tx_frames++;
    state.counters.port[np_port].tx_bytes += length;
}

void settle_streams(State& state)
{
    const u32 tick_ms = tick_now(state);
    for (Stream& stream : state.qos.stream)
        if (stream.exists != 0) settle_stream(state, stream, tick_ms);
}

void detach_queue(State& state, Queue& queue)
{
    Stream* stream = find_stream(state, queue.record.streamno);
    if (!stream) return;
    flush(state, *stream, queue);
    stream->record.queue[queue.record.class_no] = SOFTNP_NO_QUEUE;
    queue.record.streamno = SOFTNP_NO_STREAM;
    queue.record.class_no = 0;
    queue.record.mode = 0;
}

u32 waiting_frames(const State& state, const Stream& stream)
{
    u32 frames = 0;
    for (const u32 queue : stream.record.queue)
        if (queue < SOFTNP_QUEUES) frames += state.qos.queue[queue].record.waiting_frames;
    return frames;
}

u64 waiting_bytes(const State& state, const Stream& stream)
{
    u64 bytes = 0;
    for (const u32 queue : stream.record.queue)
        if (queue < SOFTNP_QUEUES) bytes += state.qos.queue[queue].record.waiting_bytes;
    return bytes;
}

void clear_queue_counters(State& state)
{
    settle_streams(state);
    for (Queue& queue : state.qos.queue) {
        queue.record.counters = {};
        queue.record.counters.offered_frames = queue.record.waiting_frames;
        queue.record.counters.offered_bytes = queue.record.waiting_bytes;
    }
    for (Stream& stream : state.qos.stream) {
        if (stream.exists == 0) continue;
        stream.record.counters = {};
        stream.record.unqueued = 0;
        stream.record.counters.offered_frames = waiting_frames(state, stream);
        stream.record.counters.offered_bytes = waiting_bytes(state, stream);
    }
}

void rebuild_queues(State& state)
{
    Buffers& buffers = state.qos.buffers;
    buffers.used = 0;
    buffers.high = 0;
    buffers.free_head = 0;
    for (Queue& queue : state.qos.queue) {
        queue.head = 0;
        queue.tail = 0;
        queue.record.waiting_frames = 0;
        queue.record.waiting_bytes = 0;
        count_rest_as_flushed(queue.record.counters);
        const bool is_served = find_stream(state, queue.record.streamno) && queue.record.class_no < SOFTNP_CLASSES;
        if (queue.exists != 0 && !is_served) queue.record.streamno = SOFTNP_NO_STREAM;
    }
    for (Stream& stream : state.qos.stream) {
        if (stream.exists == 0) continue;
        count_rest_as_flushed(stream.record.counters);
        std::fill(stream.record.queue, stream.record.queue + SOFTNP_CLASSES, SOFTNP_NO_QUEUE);
    }
    for (Queue& queue : state.qos.queue)
        if (queue.exists != 0 && queue.record.streamno != SOFTNP_NO_STREAM)
            state.qos.stream[queue.record.streamno].record.queue[queue.record.class_no] = queue.record.queue;
}

}  // namespace softnp
