// Queues and streams.
#include <algorithm>

#include "plain.h"

namespace fuzz {
namespace {

constexpr u32 highest_queue = 8191;
constexpr u32 queue_records = 8192;
constexpr u32 highest_stream = 1023;
constexpr u32 stream_records = 1024;

// The budget wraps as any number of 32 bits.
i32 moved(i32 budget, i64 by) { return static_cast<i32>(static_cast<u32>((i64{budget} + by) & 0xFFFFFFFF)); }

// Priority is kept for both ways of scheduling, the ratio for fair queueing alone.
void weigh(PlainQueue& queue, u32 mode, u32 pri, u32 ratio)
{
    if (mode == 1 || mode == 2) queue.pri = low_byte(pri);
    if (mode == 1) queue.ratio = low_byte(ratio);
}

}  // namespace

u32 Plain::create_queue(u32 number, i32 size, u32 length)
{
    if (queue(number)) return ZELFDB_QUEUE_EXISTS;
    if (budget < size) return ZELFDB_QUEUE_BUDGET;
    budget = moved(budget, -i64{size});  // charged even when there is no record
    if (queues.size() + hidden_queues == queue_records) return ZELFDB_QUEUE_POOL_EMPTY;
    if ((number & 0xFFFF) > highest_queue) {
        ++hidden_queues;
        return ZELFDB_DONE;
    }
    PlainQueue made;
    made.size = static_cast<u16>(static_cast<u32>(size) & 0xFFFF);
    made.length = length;
    queues[number & 0xFFFF] = made;
    return ZELFDB_DONE;
}

u32 Plain::delete_queue(u32 number)
{
    PlainQueue* const gone = queue(number);
    if (!gone) return ZELFDB_NO_QUEUE;
    if (gone->serves) slots_blurred = true;
    budget = moved(budget, gone->size);
    queues.erase(number & 0xFFFF);
    return ZELFDB_DONE;
}

std::optional<u32> Plain::attach_refused(u32 number, u32 stream_no)
{
    if (!stream(stream_no)) return ZELFDB_NO_STREAM;
    const PlainQueue* const one = queue(number);
    if (!one) return ZELFDB_NO_QUEUE;
    if (slots_blurred) return std::nullopt;
    return one->serves ? ZELFDB_QUEUE_ATTACHED : ZELFDB_DONE;
}

std::optional<u32> Plain::detach_refused(u32 number, u32 stream_no)
{
    if (!stream(stream_no)) return ZELFDB_NO_STREAM;
    const PlainQueue* const one = queue(number);
    if (!one) return ZELFDB_NO_QUEUE;
    if (slots_blurred) return std::nullopt;
    return one->serves ? ZELFDB_DONE : ZELFDB_QUEUE_NOT_ATTACHED;
}

// In a slot beyond the eight a queue serves nobody.
void Plain::attach(u32 number, u32 stream_no, u32 class_no, u32 mode, u32 pri, u32 ratio)
{
    PlainQueue& one = *queue(number);
    one.mode = low_byte(mode);
    weigh(one, mode, pri, ratio);
    if (class_no < 8) one.serves = {stream_no & 0xFFFF, class_no};
}

void Plain::detach(u32 number, u32 stream_no, u32 class_no)
{
    PlainQueue& one = *queue(number);
    one.mode = 0;
    if (class_no >= 8) return;
    if (one.serves != std::pair<u32, u32>{stream_no & 0xFFFF, class_no}) slots_blurred = true;
    one.serves.reset();
}

u32 Plain::set_queue_qos(u32 number, u32 stream_no, u32 pri, u32 ratio)
{
    if (!stream(stream_no)) return ZELFDB_NO_STREAM;
    PlainQueue* const one = queue(number);
    if (!one) return ZELFDB_NO_QUEUE;
    weigh(*one, one->mode, pri, ratio);
    return ZELFDB_DONE;
}

u32 Plain::set_queue_size(u32 number, u32 stream_no, i32 size, u32 length)
{
    if (!stream(stream_no)) return ZELFDB_NO_STREAM;
    PlainQueue* const one = queue(number);
    if (!one) return ZELFDB_NO_QUEUE;
    if (i64{budget} + one->size < size) return ZELFDB_QUEUE_BUDGET;
    budget = moved(budget, i64{one->size} - size);
    one->size = static_cast<u16>(static_cast<u32>(size) & 0xFFFF);
    one->length = length;
    return ZELFDB_DONE;
}

u32 Plain::check_queue(u32 port_id, u32 sno_port)
{
    if (!port(port_id)) return ZELFDB_NO_PORT;
    const u32 number = ((port_id - 1) * 256 + sno_port - 1) & 0xFFFF;
    if (!stream(number)) return ZELFDB_NO_STREAM;
    for (u32 class_no = 0; class_no < 8; ++class_no)
        if (queues.contains(number * 8 + class_no)) return ZELFDB_STREAM_HAS_QUEUE;
    return ZELFDB_DONE;
}

u32 Plain::create_stream(u32 number)
{
    if (stream(number)) return ZELFDB_STREAM_EXISTS;
    if (budget <= 255) return ZELFDB_QUEUE_BUDGET;
    if (streams.size() + hidden_streams == stream_records) return ZELFDB_STREAM_POOL_EMPTY;
    if ((number & 0xFFFF) > highest_stream) {
        ++hidden_streams;
        return ZELFDB_DONE;
    }
    PlainStream made;
    for (auto& colours : made.red) colours.fill({100, 0, 0, 0});
    streams[number & 0xFFFF] = made;
    return ZELFDB_DONE;
}

u32 Plain::delete_stream(u32 number)
{
    PlainStream* const gone = stream(number);
    if (!gone) return ZELFDB_NO_STREAM;
    if (gone->portno != 0) return ZELFDB_STREAM_BOUND;
    for (const auto& [queue_no, one] : queues)
        if (one.serves && one.serves->first == (number & 0xFFFF)) slots_blurred = true;
    streams.erase(number & 0xFFFF);
    return ZELFDB_DONE;
}

u32 Plain::bind_stream(u32 number, u32 port_id, u32 sno_port)
{
    if (!port(port_id)) return ZELFDB_NO_PORT;
    PlainStream* const one = stream(number);
    if (!one) return ZELFDB_NO_STREAM;
    if (one->portno != 0 || one->sno_port != 0) return ZELFDB_STREAM_BOUND;
    one->portno = static_cast<u16>(port_id);
    one->sno_port = low_byte(sno_port);
    return ZELFDB_DONE;
}

u32 Plain::unbind_stream(u32 number, u32 port_id)
{
    if (!port(port_id)) return ZELFDB_NO_PORT;
    PlainStream* const one = stream(number);
    if (!one) return ZELFDB_NO_STREAM;
    if (one->portno != port_id) return ZELFDB_STREAM_NOT_BOUND;
    one->portno = 0;
    one->sno_port = 0;
    return ZELFDB_DONE;
}

u32 Plain::check_stream(u32 port_id)
{
    if (!port(port_id)) return ZELFDB_NO_PORT;
    for (u32 i = 0; i < 256; ++i)
        if (streams.contains(((port_id - 1) * 256 + i) & 0xFFFF)) return ZELFDB_PORT_HAS_STREAM;
    return ZELFDB_DONE;
}

}  // namespace fuzz
