// Streams, queues, and which queue serves which stream.
#include "core/lists.h"
#include "np/qos_commands.h"
#include "resync/values.h"
#include "resync/wanted.h"

namespace zelfdb {
namespace {

constexpr u8 initial_priority = 7;
constexpr Red initial_red{100, 0, 0, 0};
constexpr u32 qos_wfq = 1;

bool operator==(const Red& a, const Red& b)
{
    return a.min_thresh == b.min_thresh && a.max_thresh == b.max_thresh && a.min_drop == b.min_drop &&
           a.max_drop == b.max_drop;
}

bool has_tosmap(const Stream& stream)
{
    u32 all = stream.tosmap_bits;
    for (u32 i = 0; i < std::size(stream.tos_mask); ++i) all |= stream.tos_mask[i] | stream.tos_value[i];
    return all != 0;
}

int send_actual_rate(const Descriptor& d, const Stream& stream)
{
    const vf_actual_rate entry{stream.streamno, stream.actual_rate, stream.actual_excess};
    return set_actual_rate_in_stream_to_NP(d, 1, &entry);
}

void add_red(std::vector<Setting>& settings, const Descriptor& d, const Stream& stream)
{
    for (u32 class_no = 0; class_no < class_count; ++class_no) {
        for (u32 colour = 0; colour < std::size(stream.slot[class_no].red); ++colour) {
            const Red& red = stream.slot[class_no].red[colour];
            settings.push_back({"RED " + numbers(class_no, colour),
                                numbers(red.min_thresh, red.min_drop, red.max_thresh, red.max_drop), red == initial_red,
                                "set_red", [&d, &stream, &red, class_no, colour] {
                                    return set_red_in_stream_to_NP(d, stream.streamno, class_no, colour, red.min_thresh,
                                                                   red.min_drop, red.max_thresh, red.max_drop);
                                }});
        }
    }
}

// Whether a rate was ever granted is not known; a rate of nothing is what a stream has without one.
std::vector<Setting> settings_of(const Descriptor& d, const Stream& s)
{
    std::vector<Setting> settings{
        {"priority", number_text(s.priority), s.priority == initial_priority, "set_stream_priority",
         [&d, &s] { return set_stream_priority_to_NP(d, s.streamno, s.priority); }},
        {"QoS type", s.qos_type == qos_wfq ? numbers(s.qos_type, s.qos_param, s.qos_param2) : number_text(s.qos_type),
         s.qos_type == 0, "set_qostype",
         [&d, &s] { return set_qostype_in_stream_to_NP(d, s.streamno, s.qos_type, s.qos_param, s.qos_param2); }},
        {"shaping", numbers(s.minrate, s.minburst, s.maxrate, s.maxburst),
         s.minrate == 0 && s.minburst == 0 && s.maxrate == 0 && s.maxburst == 0, "set_stream_shaping",
         [&d, &s] { return set_shaping_in_stream_to_NP(d, s.streamno, s.minrate, s.minburst, s.maxrate, s.maxburst); }},
        {"TOS map", tosmap_text(s.tosmap_bits, s.tos_value, s.tos_mask), !has_tosmap(s), "set_stream_tosmap",
         [&d, &s] { return set_stream_tosmap_to_NP(d, s.streamno, s.tosmap_bits, s.tos_value, s.tos_mask); }},
        {"actual rate", numbers(s.actual_rate, s.actual_excess), s.actual_rate == 0 && s.actual_excess == 0,
         "set_stream_actual_rate", [&d, &s] { return send_actual_rate(d, s); }},
    };
    add_red(settings, d, s);
    return settings;
}

// A queue that was deleted, or whose stream was, may still say that it serves one: the stream's class decides.
bool is_attached(const Descriptor& d, const Queue& queue)
{
    const Stream* const stream = lookup_stream(main_base(d), header_of(d), queue.streamno);
    if (!stream || queue.class_no >= class_count) return false;
    u32 met = 0;
    for (const Queue& each : walk(queues_of_slot, main_base(d), stream->slot[queue.class_no])) {
        if (&each == &queue) return true;
        if (++met == queue_count) break;
    }
    return false;
}

// All three zero would take the queue out again; without a mode the ratio is not kept, and says only that it is meant.
int attach(const Descriptor& d, const Queue& queue)
{
    const bool says_nothing = queue.mode == 0 && queue.pri == 0 && queue.ratio == 0;
    return add_queue_to_stream_to_NP(d, queue.queueno, queue.streamno, queue.class_no, queue.mode, queue.pri,
                                     says_nothing ? 1 : queue.ratio);
}

}  // namespace

void add_streams(Items& items, const Descriptor& d)
{
    for (const Stream& stream : walk(all_streams, main_base(d), header_of(d)))
        items.push_back({stream_object(stream.streamno),
                         {},
                         "create_stream",
                         [&d, &stream] { return create_stream_to_NP(d, stream.streamno); },
                         settings_of(d, stream)});
}

// The size of a queue can be changed only while it serves a stream.
void add_queues(Items& items, const Descriptor& d)
{
    for (const Queue& queue : walk(all_queues, main_base(d), header_of(d)))
        items.push_back({queue_object(queue.queueno),
                         {},
                         "create_queue",
                         [&d, &queue] { return create_queue_to_NP(d, queue.queueno, queue.size, queue.queue_length); },
                         {{"size", numbers(queue.size, queue.queue_length), true, "set_qmax",
                           [&d, &queue] {
                               return set_queue_size_to_NP(d, queue.queueno, queue.streamno, queue.class_no, queue.size,
                                                           queue.queue_length);
                           },
                           is_attached(d, queue)}}});
}

void add_attachments(Items& items, const Descriptor& d)
{
    for (const Queue& queue : walk(all_queues, main_base(d), header_of(d)))
        if (is_attached(d, queue))
            items.push_back({attachment_object(queue.queueno),
                             {stream_object(queue.streamno), queue_object(queue.queueno)},
                             "add_queue",
                             [&d, &queue] { return attach(d, queue); },
                             {{"slot", numbers(queue.streamno, queue.class_no), true, "", nullptr, false},
                              {"weight", weight_text(queue.mode, queue.pri, queue.ratio), true, "", nullptr, false}}});
}

}  // namespace zelfdb
