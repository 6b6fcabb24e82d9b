// Streams with the NP's own figures: one, all, and how busy one is.
#include <cstring>

#include "core/call.h"
#include "np/stream_queries.h"

namespace zelfdb {
namespace {

constexpr u32 class_active = 0x1;

u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }

// The NP's answer, as its reader lays it out.
struct Figures {
    u32 first;
    u32 second;
    struct {
        u32 word;
        u32 second;
    } class_no[class_count];
};

Figures figures_of(const u32 (&answer)[18])
{
    static_assert(sizeof(Figures) == sizeof answer);
    Figures figures{};
    std::memcpy(&figures, answer, sizeof figures);
    return figures;
}

void put(u8* record, std::size_t at, u32 word) { std::memcpy(record + at, &word, sizeof word); }

constexpr std::size_t class_row(u32 class_no)
{
    return offsetof(zelfdb_stream_info, row) + sizeof(zelfdb_stream_class) * class_no;
}

// What the single query and the listing have in common.
void write_common(const Stream& stream, const Figures& figures, u8* record)
{
    put(record, offsetof(zelfdb_stream_info, streamno), stream.streamno);
    put(record, offsetof(zelfdb_stream_info, portno), stream.portno);
    put(record, offsetof(zelfdb_stream_info, sno_port), stream.sno_port);
    put(record, offsetof(zelfdb_stream_info, priority), stream.priority);
    put(record, offsetof(zelfdb_stream_info, qos_type), stream.qos_type);
    put(record, offsetof(zelfdb_stream_info, minrate), stream.minrate);
    put(record, offsetof(zelfdb_stream_info, minburst), stream.minburst);
    put(record, offsetof(zelfdb_stream_info, maxrate), stream.maxrate);
    put(record, offsetof(zelfdb_stream_info, np_first), figures.first);
    put(record, offsetof(zelfdb_stream_info, np_second), figures.second);
    u32 active = 0;
    for (u32 i = 0; i < class_count; ++i) {
        put(record, class_row(i), figures.class_no[i].word);
        if (figures.class_no[i].word & class_active) ++active;
    }
    put(record, offsetof(zelfdb_stream_info, nactive), active);
    put(record, offsetof(zelfdb_stream_info, tosmap_bits), stream.tosmap_bits);
    std::memcpy(record + offsetof(zelfdb_stream_info, tos_value), stream.tos_value, sizeof stream.tos_value);
    std::memcpy(record + offsetof(zelfdb_stream_info, tos_mask), stream.tos_mask, sizeof stream.tos_mask);
}

void write_single(const Stream& stream, const Figures& figures, u8* record)
{
    write_common(stream, figures, record);
    put(record, offsetof(zelfdb_stream_info, maxburst), stream.maxburst);
    put(record, offsetof(zelfdb_stream_info, queue_sizes), 0);
    put(record, offsetof(zelfdb_stream_info, queue_lengths), 0);
    for (u32 i = 0; i < class_count; ++i) {
        if (!(figures.class_no[i].word & class_active)) continue;
        put(record, class_row(i) + 4, figures.class_no[i].second);
        std::memcpy(record + class_row(i) + 8, stream.slot[i].red, sizeof stream.slot[i].red);
    }
}

// The committed burst stands where the peak burst would, on purpose: readers of the listing have always had it there.
void write_listed(const Call& call, const Stream& stream, const Figures& figures, u8* record)
{
    write_common(stream, figures, record);
    put(record, offsetof(zelfdb_stream_info, maxburst), stream.minburst);
    u32 sizes = 0;
    u32 lengths = 0;
    for (u32 i = 0; i < class_count; ++i) {
        if (!(figures.class_no[i].word & class_active)) continue;
        const Queue* const queue =
            lookup_queue(call.base(), call.header(), low_half(stream.streamno * class_count + i));
        if (!queue) continue;
        sizes += queue->size;
        lengths += queue->queue_length;
    }
    put(record, offsetof(zelfdb_stream_info, queue_sizes), sizes);
    put(record, offsetof(zelfdb_stream_info, queue_lengths), lengths);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_get_stream_info(uint32_t streamno, zelfdb_stream_info* info, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    const Stream* const stream = lookup_stream(call.base(), call.header(), low_half(streamno));
    if (!stream) return call.fail(ZELFDB_NO_STREAM);
    u32 answer[18] = {};
    const QueryResult asked = get_stream_info_from_NP(call.descriptor(), low_half(streamno), answer);
    if (!asked.answered) {
        // The result is vf_call's own, 0 when only the NP refused: kept, callers test the code.
        *err = ZELFDB_NO_STREAM;
        return asked.call_result;
    }
    write_single(*stream, figures_of(answer), reinterpret_cast<u8*>(info));
    return 0;
}

int zelfdb_get_all_streaminfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();
    if (buffer->record_size < sizeof(zelfdb_stream_info)) return -1;

    Offset first = call.header().stream_head;
    if (cursor->calls == 0) {
        if (first == none) return -1;
    } else {
        const Stream* const last = lookup_stream(call.base(), call.header(), low_half(cursor->key));
        if (!last) return -1;
        first = last->stream_link.next;
    }
    buffer->total = call.header().stream_total;
    buffer->filled = 0;
    ++cursor->calls;
    const Stream* last = nullptr;
    for (const Stream& stream : Walk<&Stream::stream_link>(call.base(), first)) {
        if (buffer->filled == buffer->capacity) {
            if (last) cursor->key = last->streamno;
            return 1;
        }
        u32 answer[18] = {};
        const QueryResult asked = get_stream_info_from_NP(call.descriptor(), stream.streamno, answer);
        if (!asked.answered) return asked.call_result;
        u8* const record = buffer->records + std::size_t{buffer->filled} * buffer->record_size;
        write_listed(call, stream, figures_of(answer), record);
        ++buffer->filled;
        last = &stream;
    }
    return 0;
}

int zelfdb_get_stream_busy_info(uint32_t streamno, uint32_t* out, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();

    u32 answer[3] = {};
    bool read = false;
    const QueryResult asked = get_stream_busy_info_from_NP(call.descriptor(), low_half(streamno), answer, read);
    if (!asked.answered) return call.fail(ZELFDB_NO_STREAM);
    if (!read) {
        *err = ZELFDB_NO_STREAM;  // and yet a result of 0: kept, callers test the code
        return 0;
    }
    std::memcpy(out, answer, sizeof answer);
    return 0;
}
