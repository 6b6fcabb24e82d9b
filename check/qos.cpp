// Streams and queues: lists, indexes, what is bound to what, the buffer budget.
#include "check/audit.h"
#include "check/limits.h"

namespace zelfdb::audit {
namespace {

constexpr const char* a_stream = "stream %d";
constexpr const char* a_slot = "stream %d class %d";

// ---- Streams of ports ------------------------------------------------------------------------------------------------

void check_streams_of_port(Audit& a, const Port& port, const InUse<Stream>& used, Marks& marks)
{
    if (port.stream_head == none) return;
    const Store<Stream>& store = a.stores.stream;
    const Name list{"stream list of port %d", port.PortID};
    const auto streams = walk_list<&Stream::port_link>(a, list, store, marks, port.stream_head);
    expect_order<&Stream::streamno>(a, list, streams, Order::ascending_or_equal);
    for (const Stream* stream : streams) {
        if (!used.by_number[store.number(*stream)]) {
            error(a, list, "stream", stream, at(offset_of(store.base, *stream)), text("a stream in use"),
                  "a list leads to streams in use");
        } else if (stream->portno != port.PortID) {
            error(a, {a_stream, stream->streamno}, "portno", &stream->portno, dec(stream->portno),
                  dec(static_cast<i32>(port.PortID)), "it is on the list of that port");
        }
    }
}

void check_binding(Audit& a, const Stream& stream, bool listed)
{
    const Name name{a_stream, stream.streamno};
    if (stream.portno != 0 && !listed) {
        notice(a, name, "portno", &stream.portno, dec(stream.portno), text("a port whose list it is on"),
               "a stream stays bound when its port is deleted");
    } else if (stream.portno == 0 && stream.sno_port != 0) {
        notice(a, name, "sno_port", &stream.sno_port, dec(stream.sno_port), dec(0),
               "a stream without a port that has one cannot be bound");
    }
}

void check_bindings(Audit& a, const InUse<Stream>& used)
{
    Marks marks(a.stores.stream.count);
    for (const Port* port : a.ports.records) check_streams_of_port(a, *port, used, marks);
    for (const Stream* stream : used.records) check_binding(a, *stream, marks[a.stores.stream.number(*stream)] != 0);
}

// ---- Queues of streams -----------------------------------------------------------------------------------------------

struct Slot {
    u32 streamno;
    u32 class_no;

    [[nodiscard]] Name name() const { return {a_slot, streamno, class_no}; }
    [[nodiscard]] bool named_by(const Queue& q) const { return q.streamno == streamno && q.class_no == class_no; }
    // What a queue that is attached nowhere names.
    [[nodiscard]] bool of_fresh_queues() const { return streamno == 0 && class_no == 0; }
};

// A queue may be deleted, and its record used again, while a slot's list still leads to it.
bool all_attached(Audit& a, const Name& list, const Slot& slot, const std::vector<const Queue*>& queues,
                  const InUse<Queue>& used)
{
    bool all = true;
    for (const Queue* queue : queues) {
        if (!used.by_number[a.stores.queue.number(*queue)]) {
            all = false;
            notice(a, list, "queue", queue, at(offset_of(a.stores.queue.base, *queue)), text("a queue in use"),
                   "a queue that was deleted while attached is still led to");
        } else if (!slot.named_by(*queue)) {
            all = false;
            notice(a, {"queue %d", queue->queueno}, "streamno", &queue->streamno,
                   named({a_slot, queue->streamno, queue->class_no}), named(slot.name()),
                   "it is on that list, as a record used again or detached from another place");
        }
    }
    return all;
}

void check_slot(Audit& a, const Slot& slot, const Offset& head, const InUse<Queue>& used, Marks& marks)
{
    if (head == none) return;
    const Name list{"queue list of stream %d class %d", slot.streamno, slot.class_no};
    const auto queues = follow<&Queue::stream_link>(a, list, a.stores.queue, marks, head);
    if (!all_attached(a, list, slot, queues, used)) return;
    // Where a record used again names the slot by itself, links that are cut are no damage.
    const Severity severity = slot.of_fresh_queues() ? Severity::notice : Severity::error;
    expect_back_links<&Queue::stream_link>(a, list, a.stores.queue.base, queues, severity);
    expect_order<&Queue::queueno>(a, list, queues, Order::ascending, severity);
}

void check_attachments(Audit& a, const InUse<Stream>& streams, const InUse<Queue>& queues)
{
    Marks marks(a.stores.queue.count);
    for (const Stream* stream : streams.records) {
        for (u32 class_no = 0; class_no < class_count; ++class_no)
            check_slot(a, {stream->streamno, class_no}, stream->slot[class_no].queue_head, queues, marks);
    }
    for (const Queue* queue : queues.records) {
        const Slot slot{queue->streamno, queue->class_no};
        if (slot.of_fresh_queues() || marks[a.stores.queue.number(*queue)] != 0) continue;
        notice(a, {"queue %d", queue->queueno}, "streamno", &queue->streamno, named(slot.name()),
               text("a slot whose list it is on"),
               "its stream was deleted, its class has no slot, or its list was cut with a deleted queue");
    }
}

// Creations that fail do not give back what they took, and sizes beyond 16 bits are taken whole and given back short. With a
// negative size either raises the budget. So there is no budget that operations cannot lead to, and none that is an error.
void check_budget(Audit& a, const InUse<Queue>& used)
{
    i64 expected = queue_budget;
    for (const Queue* queue : used.records) expected -= queue->size;
    const i32& stored = a.header.free_qsize;
    if (stored == expected) return;
    const bool lowered = stored < expected;
    const i64 amount = lowered ? expected - stored : stored - expected;
    notice(a, "header", "free_qsize", &stored, dec(stored), dec(expected),
           {lowered ? "creations that failed, or sizes beyond 16 bits, have lowered it by %u"
                    : "creations with a negative size have raised it by %u",
            static_cast<u32>(amount)});
}

}  // namespace

void check_qos(Audit& a)
{
    const InUse<Stream> streams = check_kind(a, a.stores.stream, kind_stream);
    const InUse<Queue> queues = check_kind(a, a.stores.queue, kind_queue);
    check_bindings(a, streams);
    check_attachments(a, streams, queues);
    check_budget(a, queues);
}

}  // namespace zelfdb::audit
