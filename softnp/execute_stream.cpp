// The commands of streams, and the two questions about them. Called through the table of executors.
#include "clock.h"
#include "execute.h"
#include "queueing.h"

#include <algorithm>
#include <cstring>

namespace softnp {

namespace {

constexpr u32 QOS_WFQ = 1;
constexpr u32 INITIAL_PRIORITY = 7;
constexpr softnp_red INITIAL_RED = {100, 0, 0, 0};  // drops nothing

// The stream of a command, sent up to date, so that what is changed now counts from now on.
Stream* settled_stream(State& state, const vf_cmd& command)
{
    Stream* stream = find_stream(state, command.args[0]);
    if (stream) settle_streams(state);
    return stream;
}

vf_actual_rate entry_at(const vf_cmd& command, u32 index)
{
    vf_actual_rate entry;
    std::memcpy(&entry, payload_of(command) + index * sizeof entry, sizeof entry);
    return entry;
}

u32 low_word(u64 count) { return static_cast<u32>(count); }

u64 dropped_frames(const softnp_queue_counters& counters)
{
    u64 dropped = counters.dropped_length + counters.dropped_buffers;
    for (const u64 red : counters.dropped_red) dropped += red;
    return dropped;
}

}  // namespace

int execute_create_stream(State& state, vf_cmd& command)
{
    const u32 streamno = command.args[0];
    if (streamno >= SOFTNP_STREAMS) return SOFTNP_ERR_BAD_VALUE;
    Stream& stream = state.qos.stream[streamno];
    if (stream.exists != 0) return SOFTNP_ERR_STREAM_EXISTS;
    stream = {};
    stream.settled_ms = tick_now(state);
    stream.record.streamno = streamno;
    stream.record.priority = INITIAL_PRIORITY;
    for (auto& colours : stream.record.red) std::fill(colours, colours + SOFTNP_COLOURS, INITIAL_RED);
    std::fill(stream.record.queue, stream.record.queue + SOFTNP_CLASSES, SOFTNP_NO_QUEUE);
    stream.exists = 1;
    return SOFTNP_OK;
}

// Queues that serve it are taken out: who deletes has not always detached them.
int execute_delete_stream(State& state, vf_cmd& command)
{
    Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    for (const u32 number : stream->record.queue) {
        Queue* queue = find_queue(state, number);
        if (queue) detach_queue(state, *queue);
    }
    stream->exists = 0;
    return SOFTNP_OK;
}

int execute_set_red(State& state, vf_cmd& command)
{
    const u32 class_no = command.args[1];
    const u32 colour = command.args[2];
    Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    if (class_no >= SOFTNP_CLASSES || colour >= SOFTNP_COLOURS) return SOFTNP_ERR_BAD_VALUE;
    if (std::any_of(command.args + 3, command.args + 7, [](u32 value) { return value > UINT8_MAX; }))
        return SOFTNP_ERR_BAD_VALUE;
    softnp_red& red = stream->record.red[class_no][colour];
    red.min_thresh = static_cast<u8>(command.args[3]);
    red.min_drop = static_cast<u8>(command.args[4]);
    red.max_thresh = static_cast<u8>(command.args[5]);
    red.max_drop = static_cast<u8>(command.args[6]);
    return SOFTNP_OK;
}

int execute_set_stream_shaping(State& state, vf_cmd& command)
{
    Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    stream->record.minrate = command.args[1];
    stream->record.minburst = command.args[2];
    stream->record.maxrate = command.args[3];
    stream->record.maxburst = command.args[4];
    return SOFTNP_OK;
}

// All streams of a batch get their rates, or none does.
int execute_set_stream_actual_rate(State& state, vf_cmd& command)
{
    const u32 count = command.args[0];
    if (command.payload_size != count * sizeof(vf_actual_rate)) return SOFTNP_ERR_BAD_VALUE;
    for (u32 index = 0; index < count; index++)
        if (!find_stream(state, entry_at(command, index).streamno)) return SOFTNP_ERR_NO_STREAM;
    settle_streams(state);
    for (u32 index = 0; index < count; index++) {
        const vf_actual_rate entry = entry_at(command, index);
        softnp_stream& record = state.qos.stream[entry.streamno].record;
        record.has_actual_rate = 1;
        record.actual_rate = entry.actual_rate;
        record.actual_excess = entry.actual_excess;
    }
    return SOFTNP_OK;
}

int execute_set_qostype(State& state, vf_cmd& command)
{
    Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    const bool has_params = command.args[1] == QOS_WFQ;
    stream->record.qos_type = command.args[1];
    stream->record.qos_param = has_params ? command.args[2] : 0;
    stream->record.qos_param2 = has_params ? command.args[3] : 0;
    return SOFTNP_OK;
}

int execute_set_stream_priority(State& state, vf_cmd& command)
{
    Stream* stream = find_stream(state, command.args[0]);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    stream->record.priority = command.args[1];
    return SOFTNP_OK;
}

int execute_set_stream_tosmap(State& state, vf_cmd& command)
{
    Stream* stream = find_stream(state, command.args[0]);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    stream->record.tosmap_bits = command.args[1];
    std::copy(command.words, command.words + SOFTNP_TOS_ENTRIES, stream->record.tos_value);
    const u32* masks = command.words + SOFTNP_TOS_ENTRIES;
    std::copy(masks, masks + SOFTNP_TOS_ENTRIES, stream->record.tos_mask);
    return SOFTNP_OK;
}

int execute_get_stream_info(State& state, vf_cmd& command)
{
    const Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    command.answer[0] = waiting_frames(state, *stream);
    command.answer[1] = low_word(dropped_frames(stream->record.counters));
    for (u32 class_no = 0; class_no < SOFTNP_CLASSES; class_no++) {
        const Queue* queue = find_queue(state, stream->record.queue[class_no]);
        command.answer[2 + 2 * class_no] = queue ? 1 : 0;
        command.answer[3 + 2 * class_no] = queue ? queue->record.waiting_frames : 0;
    }
    return SOFTNP_OK;
}

int execute_get_stream_busy_info(State& state, vf_cmd& command)
{
    const Stream* stream = settled_stream(state, command);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    command.answer[0] = waiting_frames(state, *stream);
    command.answer[1] = low_word(waiting_bytes(state, *stream));
    command.answer[2] = low_word(stream->record.counters.sent_frames);
    return SOFTNP_OK;
}

}  // namespace softnp
