// Replay of streams with their queues and RED.
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

constexpr u32 default_burst = 8000;
constexpr u32 default_queue_length = 16384;
constexpr u32 default_tos_mask = 255;
constexpr u8 default_priority = 7;
constexpr u32 rate_unit = 1000;
constexpr u8 qos_wfq = 1;
constexpr u8 qos_pq = 2;

int as_int(u32 value) { return static_cast<int>(value); }

// How the command language names a stream: its port, and its position there.
struct Name {
    int port;
    int position;
};

Name name_of(const Stream& stream) { return {int{stream.portno}, (stream.streamno & 0xFF) + 1}; }

const char* qos_word(u8 qos_type)
{
    if (qos_type == qos_wfq) return "wfq";
    return qos_type == qos_pq ? "pq" : "none";
}

void print_shaping(const Frame& frame, const Stream& stream)
{
    if (stream.maxrate == 0 && stream.minrate == 0) return;
    const Name name = name_of(stream);
    const Line line{frame};
    std::printf("set stream %d/%d shaping on rate %d", name.port, name.position, as_int(stream.minrate / rate_unit));
    if (stream.maxrate != stream.minrate) std::printf("-%d", as_int(stream.maxrate / rate_unit));
    if (stream.minburst == default_burst && stream.maxburst == default_burst) return;
    std::printf(" burst %d", as_int(stream.minburst));
    if (stream.maxburst != stream.minburst) std::printf("-%d", as_int(stream.maxburst));
}

// Always seven commas, whichever entries are in use.
void print_tosmap(const Frame& frame, const Stream& stream)
{
    if (stream.tosmap_bits == 0) return;
    const Name name = name_of(stream);
    const Line line{frame};
    std::printf("set stream %d/%d tosmap ", name.port, name.position);
    for (u32 i = 0; i < std::size(stream.tos_value); ++i) {
        if (i != 0) std::putchar(',');
        if (!(stream.tosmap_bits & 1u << i)) continue;
        std::printf("%x", stream.tos_value[i]);
        if (stream.tos_mask[i] != default_tos_mask) std::printf("/%x", stream.tos_mask[i]);
    }
}

void print_queue(const Frame& frame, const Stream& stream, u32 slot, const Queue& queue)
{
    const Name name = name_of(stream);
    const int class_no = as_int(slot);
    print_line(frame, "create queue %d/%d/%d", name.port, name.position, class_no);
    if (stream.qos_type == qos_pq && queue.pri != slot) {
        print_line(frame, "set queue %d/%d/%d pri %d", name.port, name.position, class_no, int{queue.pri});
    }
    if (stream.qos_type == qos_wfq && (queue.ratio != 1 || queue.pri != slot)) {
        const Line line{frame};
        std::printf("set queue %d/%d/%d pri %d", name.port, name.position, class_no, int{queue.pri});
        if (queue.ratio != 1) std::printf(" ratio %d", int{queue.ratio});
    }
    if (queue.queue_length != default_queue_length) {
        print_line(frame, "set queue %d/%d/%d queue_length %ld", name.port, name.position, class_no,
                   static_cast<long>(static_cast<i32>(queue.queue_length)));
    }
}

// Printed whether or not a queue serves the slot: RED belongs to the stream.
void print_red(const Frame& frame, const Stream& stream, u32 slot)
{
    const Name name = name_of(stream);
    for (u32 colour = 0; colour < std::size(stream.slot[slot].red); ++colour) {
        const Red& red = stream.slot[slot].red[colour];
        if (red.min_thresh == 100 && red.max_thresh == 0 && red.min_drop == 0 && red.max_drop == 0) continue;
        const Line line{frame};
        std::printf("set queue %d/%d/%d color %s drop_type wred thresh %d", name.port, name.position, as_int(slot),
                    colour_word(colour), int{red.min_thresh});
        if (red.max_thresh != red.min_thresh) std::printf("-%d", int{red.max_thresh});
        std::printf(" drop %d", int{red.min_drop});
        if (red.max_drop != red.min_drop) std::printf("-%d", int{red.max_drop});
    }
}

void print_stream(const Frame& frame, const Call& call, const Stream& stream)
{
    const Name name = name_of(stream);
    print_line(frame, "create stream %d/%d qostype %s", name.port, name.position, qos_word(stream.qos_type));
    print_shaping(frame, stream);
    if (stream.priority != default_priority) {
        print_line(frame, "set stream %d/%d priority %d ", name.port, name.position, int{stream.priority});
    }
    print_tosmap(frame, stream);
    for (u32 slot = 0; slot < class_count; ++slot) {
        const Offset first = stream.slot[slot].queue_head;
        if (first != none) print_queue(frame, stream, slot, record_at<Queue>(call.base(), first));
        print_red(frame, stream, slot);
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_stream(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    for (const Stream& stream : walk(all_streams, call.base(), call.header())) {
        print_stream({prefix, suffix}, call, stream);
    }
    return 0;
}
