// Streams and queues: what is bound to what, and the buffer budget.
#include "check/limits.h"
#include "check/mend_kind.h"

namespace zelfdb::audit {
namespace {

void mend_streams_of(Mend& m, Port& port, std::vector<bool>& marks)
{
    const Store<Stream>& store = m.stores.stream;
    const Met met = meet<&Stream::port_link>(store, marks, port.stream_head);
    std::vector<u32> order;
    for (const u32 number : met.numbers) {
        Stream& stream = record(store, number);
        if (m.streams.is[number] && stream.portno == port.PortID) {
            order.push_back(number);
            continue;
        }
        if (!m.streams.is[number]) continue;
        did(m, {"stream %d", stream.streamno}, "it is off the list of a port that it is not bound to");
        touch(m, Touched::Kind::stream, stream.streamno, true);
        if (stream.portno == 0) stream.sno_port = 0;
    }
    for (const u32 number : m.streams.order) {
        if (!met.cut || marks[number] || record(store, number).portno != port.PortID) continue;
        marks[number] = true;
        order.push_back(number);
    }
    sort_by<&Stream::streamno>(store, order);
    const Offset old_head = port.stream_head;
    const std::vector<u32> moved = write_list<&Stream::port_link>(store, port.stream_head, order);
    if (!moved.empty() || port.stream_head != old_head)
        did(m, {"stream list of port %d", port.PortID}, "its links are set");
    for (const u32 place : moved) touch(m, Touched::Kind::stream, record(store, order[place]).streamno, true);
}

void mend_slot(Mend& m, const Stream& stream, u32 class_no, Offset& head, std::vector<bool>& marks)
{
    const Store<Queue>& store = m.stores.queue;
    const auto belongs = [&](u32 number) {
        const Queue& queue = record(store, number);
        return m.queues.is[number] && queue.streamno == stream.streamno && queue.class_no == class_no;
    };
    const Met met = meet<&Queue::stream_link>(store, marks, head);
    std::vector<u32> order;
    for (const u32 number : met.numbers) {
        if (belongs(number)) {
            order.push_back(number);
            continue;
        }
        did(m, {"queue %d", record(store, number).queueno}, "it is off the list of a class that it does not serve");
        touch(m, Touched::Kind::queue, record(store, number).queueno, m.queues.is[number]);
    }
    // Queues that serve nobody name class 0 of stream 0.
    const bool of_fresh_queues = stream.streamno == 0 && class_no == 0;
    for (const u32 number : m.queues.order) {
        if (!met.cut || of_fresh_queues || marks[number] || !belongs(number)) continue;
        marks[number] = true;
        order.push_back(number);
    }
    sort_by<&Queue::queueno>(store, order);
    const auto same = [&store](u32 a, u32 b) { return record(store, a).queueno == record(store, b).queueno; };
    order.erase(std::unique(order.begin(), order.end(), same), order.end());
    const Offset old_head = head;
    const std::vector<u32> moved = write_list<&Queue::stream_link>(store, head, order);
    if (!moved.empty() || head != old_head)
        did(m, {"queue list of stream %d class %d", stream.streamno, class_no}, "its links are set");
    for (const u32 place : moved) touch(m, Touched::Kind::queue, record(store, order[place]).queueno, true);
}

void mend_budget(Mend& m)
{
    i64 left = queue_budget;
    for (const u32 number : m.queues.order) left -= record(m.stores.queue, number).size;
    if (set(m.header.free_qsize, static_cast<i32>(left))) did(m, "header", "free_qsize is what the queues leave");
}

}  // namespace

void mend_qos(Mend& m)
{
    m.streams = mend_kind(m, m.stores.stream, kind_stream, Touched::Kind::stream,
                          [](const Stream&) -> const char* { return nullptr; });
    m.queues = mend_kind(m, m.stores.queue, kind_queue, Touched::Kind::queue,
                         [](const Queue&) -> const char* { return nullptr; });
    std::vector<bool> on_port(m.stores.stream.count);
    for (const u32 number : m.ports.order) mend_streams_of(m, record(m.stores.port, number), on_port);
    std::vector<bool> in_slot(m.stores.queue.count);
    for (const u32 number : m.streams.order) {
        Stream& stream = record(m.stores.stream, number);
        for (u32 class_no = 0; class_no < class_count; ++class_no)
            mend_slot(m, stream, class_no, stream.slot[class_no].queue_head, in_slot);
    }
    mend_budget(m);
}

}  // namespace zelfdb::audit
