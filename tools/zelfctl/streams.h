// Streams and queues as the database holds them, read through the library.
#pragma once

#include <zelfdb/zelfdb.h>

#include <optional>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct QueueView {
    u32 number = 0;
    u32 size = 0;
    u32 length = 0;
    u32 mode = 0;
    u32 pri = 0;    // of modes 1 and 2
    u32 ratio = 0;  // of mode 1
};

// Nothing after a message. The network processor is asked for its figures of each stream.
std::optional<std::vector<zelfdb_stream_info>> read_streams();

std::optional<zelfdb_stream_info> read_stream(u32 number);
std::optional<QueueView> read_queue(u32 number);
std::vector<QueueView> read_queues();

// "port/position", as commands name it.
std::string name_of(const zelfdb_stream_info& stream);
const char* name_of_qostype(u32 type);

inline constexpr u32 most_queues = 8192;
inline constexpr u32 classes_of_stream = 8;

}  // namespace zelfctl
