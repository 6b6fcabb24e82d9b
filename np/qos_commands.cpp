#include "np/qos_commands.h"

#include <algorithm>

namespace zelfdb {

int create_queue_to_NP(const Descriptor& d, u32 queue, u32 size, u32 queue_length)
{
    return send(d, vf_mk_create_queue(queue, size, queue_length));
}

int delete_queue_to_NP(const Descriptor& d, u32 queue) { return send(d, vf_mk_delete_queue(queue)); }

int add_queue_to_stream_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no, u32 mode, u32 pri, u32 ratio)
{
    return send(d, vf_mk_add_queue(queue, streamno, class_no, mode, pri, ratio));
}

// The NP has no command of its own for it: an attachment with nothing set takes the queue out.
int rem_queue_to_stream_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no)
{
    return add_queue_to_stream_to_NP(d, queue, streamno, class_no, 0, 0, 0);
}

int set_queue_qos_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 pri, u32 ratio)
{
    return send(d, vf_mk_set_esparam(queue, streamno, pri, ratio));
}

int set_queue_size_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no, u32 size, u32 queue_length)
{
    return send(d, vf_mk_set_qmax(queue, streamno, class_no, size, queue_length));
}

int create_stream_to_NP(const Descriptor& d, u32 streamno) { return send(d, vf_mk_create_stream(streamno)); }

int delete_stream_to_NP(const Descriptor& d, u32 streamno) { return send(d, vf_mk_delete_stream(streamno)); }

int set_red_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 class_no, u32 colour, u32 min_thresh, u32 min_drop,
                            u32 max_thresh, u32 max_drop)
{
    return send(d, vf_mk_set_red(streamno, class_no, colour, min_thresh, min_drop, max_thresh, max_drop));
}

int set_shaping_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 minrate, u32 minburst, u32 maxrate, u32 maxburst)
{
    return send(d, vf_mk_set_stream_shaping(streamno, minrate, minburst, maxrate, maxburst));
}

int set_qostype_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 qos_type, u32 qos_param, u32 qos_param2)
{
    return send(d, vf_mk_set_qostype(streamno, qos_type, qos_param, qos_param2));
}

int set_stream_priority_to_NP(const Descriptor& d, u32 streamno, u32 priority)
{
    return send(d, vf_mk_set_stream_priority(streamno, priority));
}

int set_stream_tosmap_to_NP(const Descriptor& d, u32 streamno, u32 bits, const u32 values[8], const u32 masks[8])
{
    return send(d, vf_mk_set_stream_tosmap(streamno, bits, values, masks));
}

int set_actual_rate_in_stream_to_NP(const Descriptor& d, u32 count, const vf_actual_rate* entries)
{
    constexpr u32 batch_max = 128;
    for (u32 sent = 0; sent < count; sent += batch_max) {
        const u32 batch = std::min(batch_max, count - sent);
        if (send(d, vf_mk_set_stream_actual_rate(batch, entries + sent)) != 0) return -1;
    }
    return 0;
}

}  // namespace zelfdb
