// The NP's commands about queues and streams. 0 = accepted, -1 = not.
#pragma once

#include "np/frame.h"

namespace zelfdb {

int create_queue_to_NP(const Descriptor& d, u32 queue, u32 size, u32 queue_length);
int delete_queue_to_NP(const Descriptor& d, u32 queue);
int add_queue_to_stream_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no, u32 mode, u32 pri, u32 ratio);
int rem_queue_to_stream_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no);
int set_queue_qos_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 pri, u32 ratio);
int set_queue_size_to_NP(const Descriptor& d, u32 queue, u32 streamno, u32 class_no, u32 size, u32 queue_length);

int create_stream_to_NP(const Descriptor& d, u32 streamno);
int delete_stream_to_NP(const Descriptor& d, u32 streamno);
int set_red_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 class_no, u32 colour, u32 min_thresh, u32 min_drop,
                            u32 max_thresh, u32 max_drop);
int set_shaping_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 minrate, u32 minburst, u32 maxrate,
                                u32 maxburst);
int set_qostype_in_stream_to_NP(const Descriptor& d, u32 streamno, u32 qos_type, u32 qos_param, u32 qos_param2);
int set_stream_priority_to_NP(const Descriptor& d, u32 streamno, u32 priority);
int set_stream_tosmap_to_NP(const Descriptor& d, u32 streamno, u32 bits, const u32 values[8], const u32 masks[8]);

// In batches of 128; the first that is refused twice ends it with -1. No entry, no command.
int set_actual_rate_in_stream_to_NP(const Descriptor& d, u32 count, const vf_actual_rate* entries);

}  // namespace zelfdb
