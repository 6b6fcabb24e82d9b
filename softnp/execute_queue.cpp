// The commands of queues. Called through the table of executors.
#include "execute.h"
#include "queueing.h"

namespace softnp {

namespace {

constexpr u32 MODE_WFQ = 1;
constexpr u32 MODE_PRIORITY = 2;

struct Weight {
    u32 pri;
    u32 ratio;
};

bool is_valid(const Weight& weight) { return weight.pri <= UINT8_MAX && weight.ratio <= UINT8_MAX; }

// What a queue keeps of its weight is a matter of its mode.
void store_weight(softnp_queue& record, const Weight& weight)
{
    if (record.mode == MODE_WFQ || record.mode == MODE_PRIORITY) record.pri = static_cast<u8>(weight.pri);
    if (record.mode == MODE_WFQ) record.ratio = static_cast<u8>(weight.ratio);
}

int detach(State& state, Queue& queue)
{
    if (queue.record.streamno == SOFTNP_NO_STREAM) return SOFTNP_ERR_QUEUE_NOT_ATTACHED;
    detach_queue(state, queue);
    return SOFTNP_OK;
}

int attach(State& state, Queue& queue, const vf_cmd& command)
{
    const u32 streamno = command.args[1];
    const u32 class_no = command.args[2];
    const u32 mode = command.args[3];
    const Weight weight{command.args[4], command.args[5]};
    Stream* stream = find_stream(state, streamno);
    if (!stream) return SOFTNP_ERR_NO_STREAM;
    if (class_no >= SOFTNP_CLASSES || mode > UINT8_MAX || !is_valid(weight)) return SOFTNP_ERR_BAD_VALUE;
    if (queue.record.streamno != SOFTNP_NO_STREAM) return SOFTNP_ERR_QUEUE_ATTACHED;
    if (stream->record.queue[class_no] != SOFTNP_NO_QUEUE) return SOFTNP_ERR_CLASS_IN_USE;

    queue.record.class_no = static_cast<u8>(class_no);
    queue.record.mode = static_cast<u8>(mode);
    store_weight(queue.record, weight);
    queue.record.streamno = streamno;
    stream->record.queue[class_no] = queue.record.queue;
    return SOFTNP_OK;
}

}  // namespace

int execute_create_queue(State& state, vf_cmd& command)
{
    const u32 number = command.args[0];
    if (number >= SOFTNP_QUEUES) return SOFTNP_ERR_BAD_VALUE;
    Queue& queue = state.qos.queue[number];
    if (queue.exists != 0) return SOFTNP_ERR_QUEUE_EXISTS;
    queue = {};
    queue.record.queue = number;
    queue.record.size = command.args[1];
    queue.record.queue_length = command.args[2];
    queue.record.streamno = SOFTNP_NO_STREAM;
    queue.exists = 1;
    return SOFTNP_OK;
}

// A queue that serves a stream is taken out of it: who deletes has not always detached it.
int execute_delete_queue(State& state, vf_cmd& command)
{
    Queue* queue = find_queue(state, command.args[0]);
    if (!queue) return SOFTNP_ERR_NO_QUEUE;
    settle_streams(state);
    detach_queue(state, *queue);
    queue->exists = 0;
    return SOFTNP_OK;
}

// With mode, priority and ratio all 0 the queue is taken out of the stream that it is in, whatever slot is named.
int execute_add_queue(State& state, vf_cmd& command)
{
    Queue* queue = find_queue(state, command.args[0]);
    if (!queue) return SOFTNP_ERR_NO_QUEUE;
    settle_streams(state);
    const bool is_removal = (command.args[3] | command.args[4] | command.args[5]) == 0;
    return is_removal ? detach(state, *queue) : attach(state, *queue, command);
}

// The stream need only exist: the weight is the queue's, wherever it serves.
int execute_set_esparam(State& state, vf_cmd& command)
{
    const Weight weight{command.args[2], command.args[3]};
    Queue* queue = find_queue(state, command.args[0]);
    if (!queue) return SOFTNP_ERR_NO_QUEUE;
    if (!find_stream(state, command.args[1])) return SOFTNP_ERR_NO_STREAM;
    if (!is_valid(weight)) return SOFTNP_ERR_BAD_VALUE;
    settle_streams(state);
    store_weight(queue->record, weight);
    return SOFTNP_OK;
}

// Frames that wait beyond a new length stay.
int execute_set_qmax(State& state, vf_cmd& command)
{
    Queue* queue = find_queue(state, command.args[0]);
    if (!queue) return SOFTNP_ERR_NO_QUEUE;
    if (!find_stream(state, command.args[1])) return SOFTNP_ERR_NO_STREAM;
    settle_streams(state);
    queue->record.size = command.args[3];
    queue->record.queue_length = command.args[4];
    return SOFTNP_OK;
}

}  // namespace softnp
