// Egress queues: created against the shared buffer budget, attached to a class slot of a stream.
#include "core/call.h"
#include "np/qos_commands.h"

namespace zelfdb {
namespace {

constexpr u32 mode_wfq = 1;
constexpr u32 mode_pq = 2;

u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }
u8 low_byte(u32 value) { return static_cast<u8>(value & 0xFF); }

// The budget moves by any 32-bit size; it wraps rather than overflows.
void move_budget(Header& header, i64 by)
{
    header.free_qsize = static_cast<i32>(static_cast<u32>(header.free_qsize + by));
}

void fill(Queue& queue, u16 queueno, i32 size, u32 queue_length)
{
    const Link unlinked{none, none};
    queue = {};
    queue.queueno = queueno;
    queue.size = low_half(static_cast<u32>(size));
    queue.queue_length = queue_length;
    queue.queue_link = unlinked;
    queue.stream_link = unlinked;
}

Queue* find_queue(const Call& call, u32 queueno) { return lookup_queue(call.base(), call.header(), queueno & 0xFFFF); }
Stream* find_stream(const Call& call, u32 streamno)
{
    return lookup_stream(call.base(), call.header(), streamno & 0xFFFF);
}

// What a queue keeps of its weight depends on how its stream schedules it.
void store_weight(Queue& queue, u32 mode, u32 pri, u32 ratio)
{
    if (mode == mode_wfq || mode == mode_pq) queue.pri = low_byte(pri);
    if (mode == mode_wfq) queue.ratio = low_byte(ratio);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_queue(uint32_t queue, int32_t size, uint32_t queue_length, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Header& header = call.header();

    if (find_queue(call, queue)) return call.fail(ZELFDB_QUEUE_EXISTS);
    if (header.free_qsize < size) return call.fail(ZELFDB_QUEUE_BUDGET);

    // Not given back by what fails below: deliberate, a budget lowered by failures is what operators look for.
    move_budget(header, -i64{size});
    Queue* const record = alloc_queue(call.base(), header);
    if (!record) return call.fail(ZELFDB_QUEUE_POOL_EMPTY);
    fill(*record, low_half(queue), size, queue_length);
    if (create_queue_to_NP(call.descriptor(), low_half(queue), static_cast<u32>(size), queue_length) < 0) {
        free_queue(call.base(), header, record);
        return call.fail(ZELFDB_QUEUE_POOL_EMPTY);
    }

    enQ_queue(call.base(), header, *record);
    index_queue(call.base(), header, *record);
    ++header.queue_total;
    return 0;
}

int zelfdb_delete_queue(uint32_t queue, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Header& header = call.header();

    Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);

    // An attached queue is neither refused nor detached: deliberate, callers detach first. The slot that it served keeps
    // leading to the freed record.
    move_budget(header, record->size);
    delete_queue_to_NP(call.descriptor(), low_half(queue));
    deQ_queue(call.base(), header, *record);
    unindex_queue(header, *record);
    free_queue(call.base(), header, record);
    --header.queue_total;
    return 0;
}

int zelfdb_add_queue_to_stream(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t mode, uint32_t pri,
                               uint32_t ratio, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);
    if (lookup_queue_in_stream(call.base(), call.header(), low_half(queue))) return call.fail(ZELFDB_QUEUE_ATTACHED);

    record->streamno = low_half(streamno);
    record->class_no = low_byte(class_no);
    record->mode = low_byte(mode);
    store_weight(*record, mode, pri, ratio);
    enQ_queue_to_stream(call.base(), call.header(), *stream, class_no, *record);
    add_queue_to_stream_to_NP(call.descriptor(), low_half(queue), low_half(streamno), class_no, mode, pri, ratio);
    return 0;
}

int zelfdb_rem_queue_from_stream(uint32_t queue, uint32_t streamno, uint32_t class_no, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);
    if (!lookup_queue_in_stream(call.base(), call.header(), low_half(queue))) {
        return call.fail(ZELFDB_QUEUE_NOT_ATTACHED);
    }

    // Priority and ratio stay, on purpose: a queue attached again without them has its old weight.
    record->mode = 0;
    record->streamno = 0;
    record->class_no = 0;
    deQ_queue_from_stream(call.base(), call.header(), *stream, class_no, *record);
    rem_queue_to_stream_to_NP(call.descriptor(), low_half(queue), low_half(streamno), class_no);
    return 0;
}

int zelfdb_set_queue_qos(uint32_t queue, uint32_t streamno, uint32_t pri, uint32_t ratio, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    // The stream must exist, but need not be the one that the queue serves: deliberate, the NP decides.
    if (!find_stream(call, streamno)) return call.fail(ZELFDB_NO_STREAM);
    Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);

    store_weight(*record, record->mode, pri, ratio);
    set_queue_qos_to_NP(call.descriptor(), low_half(queue), low_half(streamno), pri, ratio);
    return 0;
}

int zelfdb_set_queue_size(uint32_t queue, uint32_t streamno, uint32_t class_no, int32_t size, uint32_t queue_length,
                          uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Header& header = call.header();

    if (!find_stream(call, streamno)) return call.fail(ZELFDB_NO_STREAM);
    Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);
    if (i64{header.free_qsize} + record->size < size) return call.fail(ZELFDB_QUEUE_BUDGET);

    record->queue_length = queue_length;
    move_budget(header, i64{record->size} - size);
    record->size = low_half(static_cast<u32>(size));
    set_queue_size_to_NP(call.descriptor(), low_half(queue), low_half(streamno), class_no, static_cast<u32>(size),
                         queue_length);
    return 0;
}

int zelfdb_get_queue_info(uint32_t queue, uint32_t* out, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    const Queue* const record = find_queue(call, queue);
    if (!record) return call.fail(ZELFDB_NO_QUEUE);

    out[0] = record->queueno;
    out[1] = record->size;
    out[2] = record->queue_length;
    out[3] = record->mode;
    if (record->mode == mode_wfq || record->mode == mode_pq) out[4] = record->pri;
    if (record->mode == mode_wfq) out[5] = record->ratio;
    return 0;
}

int zelfdb_check_queue_in_stream(uint32_t port_id, uint32_t sno_port, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    if (!call.port(port_id)) return call.fail(ZELFDB_NO_PORT);

    const u16 streamno = low_half((port_id << 8) + sno_port - 257);
    if (!find_stream(call, streamno)) return call.fail(ZELFDB_NO_STREAM);
    for (u32 class_no = 0; class_no < class_count; ++class_no) {
        if (find_queue(call, streamno * class_count + class_no)) return call.fail(ZELFDB_STREAM_HAS_QUEUE);
    }
    return 0;
}
