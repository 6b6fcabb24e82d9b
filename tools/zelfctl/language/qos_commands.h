// What the commands on streams and queues do. Named by the table of commands.
#pragma once

#include <zelfdb/zelfdb.h>

#include "language/outcome.h"
#include "language/pattern.h"

namespace zelfctl {

Outcome create_stream(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_stream(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_qostype(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_stream_shaping_on(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_stream_shaping_off(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_stream_priority(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_tosmap(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_tosmap_off(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome create_queue(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome delete_queue(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_queue_weight(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_queue_length(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_queue_size(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome set_red(zelfdb_descriptor* descriptor, const Arguments& arguments);
Outcome update_stream_rates(zelfdb_descriptor* descriptor, const Arguments& arguments);

// The number of the stream that people call port/position; most_streams if there is none. With the numbering that the
// database expects, a port's first stream is number (port - 1) * 256; streams of other numbers are found as well.
inline constexpr u32 most_streams = 1024;
u32 find_stream(u32 port, u32 position);

}  // namespace zelfctl
