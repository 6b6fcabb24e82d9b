// Streams and queues: lists, indexes, what is bound to what.
#pragma once

#include "support/invariants/ports.h"

namespace zelfdb::audit {

inline std::string called(const Stream& stream) { return "stream " + dec(stream.streamno); }
inline std::string called(const Queue& queue) { return "queue " + dec(queue.queueno); }

// A port's list holds the streams bound to it. The reverse does not hold: a stream stays bound to a port that was deleted.
inline void check_streams_of_port(Audit& a, const Port& port, const Pool<Stream>& pool, const InUse<Stream>& used,
                                  Marks& marks)
{
    if (port.stream_head == none) return;
    const std::string list = "stream list of " + called(port);
    const auto streams = walk<&Stream::port_link>(a, list, pool, marks, port.stream_head);
    expect_order<&Stream::streamno>(a, list, streams, Order::ascending_or_equal);
    for (const Stream* stream : streams) {
        if (!used.by_number[pool.number(offset_of(a.main, *stream))]) {
            note(a, list + " leads to " + hex(offset_of(a.main, *stream)) + ", where no stream is in use");
        } else if (stream->portno != port.PortID) {
            note(a, list + " holds " + called(*stream) + ", which is bound to port " + dec(stream->portno));
        }
    }
}

// A queue may be deleted, and its record used again, while a slot's list still leads to it. So only lists whose queues all
// name the slot are held to the rules of a list; slot 0 of stream 0 is what a fresh queue names.
inline bool all_name_slot(const std::vector<Queue*>& queues, const Stream& stream, u32 slot, const Pool<Queue>& pool,
                          const InUse<Queue>& used)
{
    if (stream.streamno == 0 && slot == 0) return false;
    return std::all_of(queues.begin(), queues.end(), [&](const Queue* queue) {
        return used.by_number[pool.number(offset_of(pool.base, *queue))] && queue->streamno == stream.streamno &&
               queue->class_no == slot;
    });
}

inline void check_slots(Audit& a, const Stream& stream, const Pool<Queue>& pool, const InUse<Queue>& used, Marks& marks)
{
    for (u32 slot = 0; slot < class_count; ++slot) {
        if (stream.slot[slot].queue_head == none) continue;
        const std::string list = "queue list of " + called(stream) + " class " + dec(slot);
        const auto queues = follow<&Queue::stream_link>(a, list, pool, marks, stream.slot[slot].queue_head);
        if (!all_name_slot(queues, stream, slot, pool, used)) continue;
        expect_back_links<&Queue::stream_link>(a, list, a.main, queues);
        expect_order<&Queue::queueno>(a, list, queues, Order::ascending);
    }
}

inline void check_qos(Audit& a, const InUse<Port>& ports)
{
    Header& h = a.header;
    const Pool<Stream> streams{"stream", a.main, static_cast<u32>(a.layout.stream), stream_count};
    const auto used_streams = records_in_use<&Stream::stream_link>(a, streams, h.stream_free, h.stream_head);
    expect_order<&Stream::streamno>(a, "stream list", used_streams.records, Order::ascending_or_equal);
    expect_index<&Stream::streamno>(a, streams, used_streams, h.stream_index, {0, stream_count - 1, stream_count - 1});
    expect_equal(a, "stream_total", h.stream_total, used_streams.records.size());

    const Pool<Queue> queues{"queue", a.main, static_cast<u32>(a.layout.queue), queue_count};
    const auto used_queues = records_in_use<&Queue::queue_link>(a, queues, h.queue_free, h.queue_head);
    expect_order<&Queue::queueno>(a, "queue list", used_queues.records, Order::ascending_or_equal);
    expect_index<&Queue::queueno>(a, queues, used_queues, h.queue_index, {0, queue_count - 1, queue_count - 1});
    expect_equal(a, "queue_total", h.queue_total, used_queues.records.size());

    Marks on_port(streams.count);
    for (const Port* port : ports.records) check_streams_of_port(a, *port, streams, used_streams, on_port);
    Marks on_slot(queues.count);
    for (const Stream* stream : used_streams.records) check_slots(a, *stream, queues, used_queues, on_slot);
}

}  // namespace zelfdb::audit
