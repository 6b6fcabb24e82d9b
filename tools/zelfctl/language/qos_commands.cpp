#include "language/qos_commands.h"

#include <cstring>
#include <memory>

#include "language/qos_values.h"
#include "language/rates.h"

namespace zelfctl {
namespace {

constexpr u32 default_queue_length = 16384;
constexpr u32 default_queue_size = 7;  // with it, all 1024 streams and their 8192 queues fit the budget in turn
constexpr u32 default_ratio = 1;
constexpr u32 streams_of_port = 256;
constexpr u32 classes = 8;
constexpr u32 ports_with_streams = 4;

u32 usual_number(u32 port, u32 position) { return (port - 1) * streams_of_port + position - 1; }

bool has_usual_number(u32 port) { return port >= 1 && port <= ports_with_streams; }

bool stream_exists(u32 number, zelfdb_stream_info& info)
{
    u32 code = 0;
    return zelfdb_get_stream_info(number, &info, &code) == 0 && code == 0;
}

bool stream_exists(u32 number)
{
    zelfdb_stream_info info{};
    return stream_exists(number, info);
}

bool is_stream_of(u32 number, u32 port)
{
    zelfdb_stream_info info{};
    return stream_exists(number, info) && info.portno == port;
}

// The one after the highest stream. One listing: asking for each number would open the database a thousand times.
u32 end_of_streams()
{
    const std::unique_ptr<zelfdb_ropebuf, void (*)(zelfdb_ropebuf*)> buffer(
        zelfdb_alloc_ropebuf(most_streams, sizeof(zelfdb_stream_info)), zelfdb_free_ropebuf);
    zelfdb_cursor cursor{};
    if (!buffer || zelfdb_get_all_streaminfo(&cursor, buffer.get()) < 0 || buffer->filled == 0) return 0;
    zelfdb_stream_info last{};
    std::memcpy(&last, buffer->records + (buffer->filled - 1) * sizeof last, sizeof last);
    return last.streamno + 1;
}

// A number for a stream that has no usual one, or whose usual one is taken: its low byte is the position, and it comes
// after all others if it can, so that streams stand in the order in which a text creates them.
u32 free_number(u32 position)
{
    const u32 end = end_of_streams();
    u32 free = most_streams;
    for (u32 number = position - 1; number < most_streams; number += streams_of_port) {
        if (stream_exists(number)) continue;
        if (number >= end) return number;
        if (free == most_streams) free = number;
    }
    return free;
}

u32 number_for(u32 port, u32 position)
{
    if (has_usual_number(port) && !stream_exists(usual_number(port, position))) return usual_number(port, position);
    return free_number(position);
}

// The stream that the arguments name, or a failure.
struct Target {
    u32 stream = most_streams;
    Outcome outcome;

    explicit operator bool() const { return stream != most_streams; }
};

Target target_of(const Value& name)
{
    Target target;
    target.stream = find_stream(name.numbers[0], name.numbers[1]);
    if (!target) target.outcome = failure(ZELFDB_NO_STREAM);
    return target;
}

Target stream_of(const Arguments& arguments) { return target_of(arguments.value("stream")); }

struct QueueTarget : Target {
    u32 class_no = 0;
    u32 queue = 0;
};

QueueTarget queue_of(const Arguments& arguments)
{
    const Value& name = arguments.value("queue");
    QueueTarget target{target_of(name), name.numbers[2], 0};
    target.queue = target.stream * classes + target.class_no;
    return target;
}

// Binds a new stream and sets its scheduling.
int dress_stream(u32 stream, const Arguments& arguments, u32* code)
{
    const Value& name = arguments.value("stream");
    if (name.numbers[0] != 0 && zelfdb_add_stream_to_port(stream, name.numbers[0], name.numbers[1], code) != 0)
        return -1;
    const u32 type = arguments.number("type");
    return type == 0 ? 0 : zelfdb_set_qostype_in_stream(stream, type, 0, 0, code);
}

struct Rates {
    u32 committed;
    u32 peak;
};

// "5-5" are two rates that differ by less than a thousand; "5" is one rate.
Rates rates_of(const Value& text)
{
    const u32 committed = text.numbers[0];
    const u32 peak = text.numbers[1];
    if (!wrote_second(text)) return {rate_when_on(committed), rate_when_on(committed)};
    return {lowest_rate(committed), peak == committed ? highest_rate(peak) : lowest_rate(peak)};
}

struct QueueInfo {
    u32 number;
    u32 size;
    u32 length;
    u32 mode;
    u32 pri;
    u32 ratio;
};

Outcome resize(const QueueTarget& target, u32 size, u32 length)
{
    u32 code = 0;
    const int result =
        zelfdb_set_queue_size(target.queue, target.stream, target.class_no, static_cast<i32>(size), length, &code);
    return outcome_of(result, code);
}

bool query_queue(u32 queue, QueueInfo& info, Outcome& outcome)
{
    u32 words[6] = {};
    u32 code = 0;
    const int result = zelfdb_get_queue_info(queue, words, &code);
    outcome = outcome_of(result, code);
    info = {words[0], words[1], words[2], words[3], words[4], words[5]};
    return outcome.done;
}

}  // namespace

u32 find_stream(u32 port, u32 position)
{
    if (has_usual_number(port) && is_stream_of(usual_number(port, position), port)) return usual_number(port, position);
    for (u32 number = most_streams - streams_of_port + position - 1;; number -= streams_of_port) {
        if (is_stream_of(number, port)) return number;
        if (number < streams_of_port) return most_streams;
    }
}

Outcome create_stream(zelfdb_descriptor*, const Arguments& arguments)
{
    const Value& name = arguments.value("stream");
    if (find_stream(name.numbers[0], name.numbers[1]) != most_streams) return failure(ZELFDB_STREAM_EXISTS);
    const u32 stream = number_for(name.numbers[0], name.numbers[1]);
    if (stream == most_streams) return failure(ZELFDB_STREAM_POOL_EMPTY);
    u32 code = 0;
    if (zelfdb_create_stream(stream, &code) != 0) return failure(code);
    if (dress_stream(stream, arguments, &code) == 0) return {};
    u32 ignored = 0;
    zelfdb_delete_stream(stream, &ignored);
    return failure(code);
}

Outcome delete_stream(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    const Value& name = arguments.value("stream");
    u32 code = 0;
    u32 words[6] = {};
    for (u32 class_no = 0; class_no < classes; ++class_no)
        if (zelfdb_get_queue_info(target.stream * classes + class_no, words, &code) == 0)
            return failure(ZELFDB_STREAM_HAS_QUEUE);
    if (name.numbers[0] != 0 && zelfdb_rem_stream_from_port(target.stream, name.numbers[0], 0, &code) != 0)
        return failure(code);
    const int result = zelfdb_delete_stream(target.stream, &code);
    return outcome_of(result, code);
}

Outcome set_qostype(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    u32 code = 0;
    const int result = zelfdb_set_qostype_in_stream(target.stream, arguments.number("type"), arguments.number("param"),
                                                    arguments.number("param2"), &code);
    return outcome_of(result, code);
}

Outcome set_stream_shaping_on(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    Value bursts = arguments.value("bursts");
    if (!arguments.has("bursts")) bursts.numbers = {default_burst, default_burst};
    u32 code = 0;
    const Rates rates = rates_of(arguments.value("rates"));
    const int result = zelfdb_set_shaping_in_stream(target.stream, rates.committed, bursts.numbers[0], rates.peak,
                                                    bursts.numbers[1], &code);
    return outcome_of(result, code);
}

Outcome set_stream_shaping_off(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    u32 code = 0;
    const int result = zelfdb_set_shaping_in_stream(target.stream, 0, 0, 0, 0, &code);
    return outcome_of(result, code);
}

Outcome set_stream_priority(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    u32 code = 0;
    const int result = zelfdb_set_stream_priority(target.stream, arguments.number("priority"), &code);
    return outcome_of(result, code);
}

Outcome set_tosmap(zelfdb_descriptor*, const Arguments& arguments)
{
    const Target target = stream_of(arguments);
    if (!target) return target.outcome;
    const Value& map = arguments.value("tosmap");  // no map at all: no entry is in use
    u32 code = 0;
    const int result =
        zelfdb_set_stream_tosmap(target.stream, map.given, map.numbers.data(), map.numbers.data() + tos_entries, &code);
    return outcome_of(result, code);
}

Outcome set_tosmap_off(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_tosmap(descriptor, arguments);
}

Outcome create_queue(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    zelfdb_stream_info stream{};
    if (!stream_exists(target.stream, stream)) return failure(ZELFDB_NO_STREAM);
    u32 code = 0;
    if (zelfdb_create_queue(target.queue, static_cast<i32>(arguments.number("qsize", default_queue_size)),
                            arguments.number("qlength", default_queue_length), &code) != 0)
        return failure(code);
    if (zelfdb_add_queue_to_stream(target.queue, target.stream, target.class_no, stream.qos_type, target.class_no,
                                   default_ratio, &code) == 0)
        return {};
    u32 ignored = 0;
    zelfdb_delete_queue(target.queue, &ignored);
    return failure(code);
}

Outcome delete_queue(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    u32 code = 0;
    if (zelfdb_rem_queue_from_stream(target.queue, target.stream, target.class_no, &code) != 0 &&
        code != ZELFDB_QUEUE_NOT_ATTACHED)
        return failure(code);
    const int result = zelfdb_delete_queue(target.queue, &code);
    return outcome_of(result, code);
}

Outcome set_queue_weight(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    u32 code = 0;
    const int result = zelfdb_set_queue_qos(target.queue, target.stream, arguments.number("priority"),
                                            arguments.number("ratio", default_ratio), &code);
    return outcome_of(result, code);
}

Outcome set_queue_length(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    QueueInfo info{};
    Outcome outcome;
    if (!query_queue(target.queue, info, outcome)) return outcome;
    return resize(target, info.size, arguments.number("qlength"));
}

Outcome set_queue_size(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    QueueInfo info{};
    Outcome outcome;
    if (!query_queue(target.queue, info, outcome)) return outcome;
    return resize(target, arguments.number("qsize"), info.length);
}

Outcome set_red(zelfdb_descriptor*, const Arguments& arguments)
{
    const QueueTarget target = queue_of(arguments);
    if (!target) return target.outcome;
    const Value& thresh = arguments.value("thresh");
    const Value& drop = arguments.value("drop");
    u32 code = 0;
    const int result =
        zelfdb_set_red_in_stream(target.stream, target.class_no, arguments.number("color"), thresh.numbers[0],
                                 drop.numbers[0], thresh.numbers[1], drop.numbers[1], &code);
    return outcome_of(result, code);
}

Outcome update_stream_rates(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_stream_shaping_rate_update(arguments.number("ether"), &code);
    return outcome_of(result, code);
}

}  // namespace zelfctl
