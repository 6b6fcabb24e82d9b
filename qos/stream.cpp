// Streams: egress scheduling entities of up to eight classes, bound to a port.
#include "core/call.h"
#include "np/qos_commands.h"

namespace zelfdb {
namespace {

constexpr i32 budget_for_a_stream = 255;
constexpr u8 initial_priority = 7;
constexpr u8 initial_min_thresh = 100;
constexpr u32 qos_wfq = 1;

u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }
u8 low_byte(u32 value) { return static_cast<u8>(value & 0xFF); }

Stream* find_stream(const Call& call, u32 streamno)
{
    return lookup_stream(call.base(), call.header(), streamno & 0xFFFF);
}

void fill(Stream& stream, u16 streamno)
{
    const Link unlinked{none, none};
    stream = {};
    stream.streamno = streamno;
    stream.priority = initial_priority;
    stream.stream_link = unlinked;
    stream.port_link = unlinked;
    for (ClassSlot& slot : stream.slot) {
        for (Red& red : slot.red) red = {initial_min_thresh, 0, 0, 0};
        slot.queue_head = none;
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_stream(uint32_t streamno, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Header& header = call.header();

    if (find_stream(call, streamno)) return call.fail(ZELFDB_STREAM_EXISTS);
    // Nothing is taken from the budget: deliberate, it only has to have room for the queues to come.
    if (header.free_qsize <= budget_for_a_stream) return call.fail(ZELFDB_QUEUE_BUDGET);
    Stream* const stream = alloc_stream(call.base(), header);
    if (!stream) return call.fail(ZELFDB_STREAM_POOL_EMPTY);

    fill(*stream, low_half(streamno));
    if (create_stream_to_NP(call.descriptor(), low_half(streamno)) < 0) {
        free_stream(call.base(), header, stream);
        return call.fail(ZELFDB_STREAM_POOL_EMPTY);
    }
    enQ_stream(call.base(), header, *stream);
    index_stream(call.base(), header, *stream);
    ++header.stream_total;
    return 0;
}

int zelfdb_delete_stream(uint32_t streamno, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Header& header = call.header();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    if (stream->portno != 0) return call.fail(ZELFDB_STREAM_BOUND);

    // Attached queues are not looked at: deliberate, callers ask zelfdb_check_queue_in_stream first.
    delete_stream_to_NP(call.descriptor(), low_half(streamno));
    unindex_stream(header, *stream);
    deQ_stream(call.base(), header, *stream);
    free_stream(call.base(), header, stream);
    --header.stream_total;
    return 0;
}

// Binding is a matter of the database only: the NP knows a stream by its number.
int zelfdb_add_stream_to_port(uint32_t streamno, uint32_t port_id, uint32_t sno_port, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    if (stream->portno != 0 || stream->sno_port != 0) return call.fail(ZELFDB_STREAM_BOUND);

    stream->portno = low_half(port_id);
    stream->sno_port = low_byte(sno_port);
    enQ_stream_to_port(call.base(), call.header(), *port, *stream);
    return 0;
}

int zelfdb_rem_stream_from_port(uint32_t streamno, uint32_t port_id, uint32_t, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    if (stream->portno != port_id) return call.fail(ZELFDB_STREAM_NOT_BOUND);

    stream->portno = 0;
    stream->sno_port = 0;
    deQ_stream_from_port(call.base(), call.header(), *port, *stream);
    return 0;
}

int zelfdb_set_red_in_stream(uint32_t streamno, uint32_t class_no, uint32_t colour, uint32_t min_thresh,
                             uint32_t min_drop, uint32_t max_thresh, uint32_t max_drop, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);

    // Class and colour are not refused, on purpose: the NP may know more. What has no place in the record is only sent.
    if (class_no < class_count && colour < std::size(stream->slot[class_no].red)) {
        stream->slot[class_no].red[colour] = {low_byte(min_thresh), low_byte(max_thresh), low_byte(min_drop),
                                              low_byte(max_drop)};
    }
    set_red_in_stream_to_NP(call.descriptor(), low_half(streamno), class_no, colour, min_thresh, min_drop, max_thresh,
                            max_drop);
    return 0;
}

int zelfdb_set_shaping_in_stream(uint32_t streamno, uint32_t minrate, uint32_t minburst, uint32_t maxrate,
                                 uint32_t maxburst, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);

    stream->minrate = minrate;
    stream->minburst = minburst;
    stream->maxrate = maxrate;
    stream->maxburst = maxburst;
    stream->excess_rate = maxrate - minrate;  // wraps when the peak is the smaller, and is kept so
    set_shaping_in_stream_to_NP(call.descriptor(), low_half(streamno), minrate, minburst, maxrate, maxburst);
    return 0;
}

int zelfdb_set_qostype_in_stream(uint32_t streamno, uint32_t qos_type, uint32_t qos_param, uint32_t qos_param2,
                                 uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);

    const bool weighted = qos_type == qos_wfq;
    stream->qos_type = low_byte(qos_type);
    stream->qos_param = weighted ? qos_param : 0;
    stream->qos_param2 = weighted ? low_half(qos_param2) : u16{0};
    set_qostype_in_stream_to_NP(call.descriptor(), low_half(streamno), qos_type, qos_param, qos_param2);
    return 0;
}

int zelfdb_set_stream_priority(uint32_t streamno, uint32_t priority, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);

    stream->priority = low_byte(priority);
    set_stream_priority_to_NP(call.descriptor(), low_half(streamno), priority);
    return 0;
}

int zelfdb_set_stream_tosmap(uint32_t streamno, uint32_t bits, const uint32_t* values, const uint32_t* masks,
                             uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    Stream* const stream = find_stream(call, streamno);
    if (!stream) return call.fail(ZELFDB_NO_STREAM);

    stream->tosmap_bits = bits;
    for (u32 i = 0; i < std::size(stream->tos_value); ++i) {
        stream->tos_mask[i] = masks[i];
        stream->tos_value[i] = values[i] & masks[i];
    }
    set_stream_tosmap_to_NP(call.descriptor(), low_half(streamno), bits, values, masks);  // as given, not masked
    return 0;
}
