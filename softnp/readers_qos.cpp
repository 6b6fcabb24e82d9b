// Readers of streams and queues, as they are at the present tick. For tools, tests and audits.
#include "device.h"
#include "queueing.h"

using namespace softnp;

int softnp_get_stream(uint32_t streamno, softnp_stream* stream)
{
    if (!stream) return -1;
    const Access device;
    if (!device) return -1;
    settle_streams(*device);
    const Stream* found = find_stream(*device, streamno);
    if (!found) return 0;
    const Rate rate = rate_of(*device, *found);
    *stream = found->record;
    stream->waiting_frames = waiting_frames(*device, *found);
    stream->waiting_bytes = waiting_bytes(*device, *found);
    stream->is_shaped = rate.is_shaped ? 1 : 0;
    stream->rate = rate.bits_per_s;
    return 1;
}

int softnp_get_queue(uint32_t queue, softnp_queue* record)
{
    if (!record) return -1;
    const Access device;
    if (!device) return -1;
    settle_streams(*device);
    const Queue* found = find_queue(*device, queue);
    if (!found) return 0;
    *record = found->record;
    return 1;
}
