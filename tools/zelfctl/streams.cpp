#include "streams.h"

#include <cstring>

#include "database.h"
#include "language/outcome.h"

namespace zelfctl {
namespace {

constexpr u32 streams_at_a_time = 64;

bool is_any_stream()
{
    constexpr u32 most_streams = 1024;
    for (u32 number = 0; number < most_streams; ++number)
        if (read_stream(number)) return true;
    return false;
}

// False: a stream went away in the middle, there is none, or the network processor did not answer.
bool read_list(std::vector<zelfdb_stream_info>& streams)
{
    const Ropebuf buffer(zelfdb_alloc_ropebuf(streams_at_a_time, sizeof(zelfdb_stream_info)));
    if (!buffer) return false;
    zelfdb_cursor cursor{};
    u64 total = 0;
    for (int result = 1; result == 1;) {
        buffer->filled = 0;
        result = zelfdb_get_all_streaminfo(&cursor, buffer.get());
        if (result < 0) return false;
        for (u32 i = 0; i < buffer->filled; ++i) {
            zelfdb_stream_info info{};
            std::memcpy(&info, buffer->records + std::size_t{i} * buffer->record_size, sizeof info);
            streams.push_back(info);
        }
        total = buffer->total;
    }
    return streams.size() == total;  // a refused query ends a listing early, with the result of its end
}

}  // namespace

std::optional<std::vector<zelfdb_stream_info>> read_streams()
{
    for (int attempt = 0; attempt < listing_attempts; ++attempt) {
        std::vector<zelfdb_stream_info> streams;
        if (read_list(streams)) return streams;
        if (streams.empty() && !is_any_stream()) return streams;
    }
    complain("the streams could not be read: the network processor does not answer for all of them");
    return std::nullopt;
}

std::optional<zelfdb_stream_info> read_stream(u32 number)
{
    zelfdb_stream_info info{};
    u32 code = 0;
    if (zelfdb_get_stream_info(number, &info, &code) != 0 || code != 0) return std::nullopt;
    return info;
}

std::optional<QueueView> read_queue(u32 number)
{
    u32 words[6] = {};
    u32 code = 0;
    if (zelfdb_get_queue_info(number, words, &code) != 0) return std::nullopt;
    return QueueView{words[0], words[1], words[2], words[3], words[4], words[5]};
}

std::vector<QueueView> read_queues()
{
    std::vector<QueueView> queues;
    for (u32 number = 0; number < most_queues; ++number)
        if (const auto queue = read_queue(number)) queues.push_back(*queue);
    return queues;
}

std::string name_of(const zelfdb_stream_info& stream)
{
    return std::to_string(stream.portno) + "/" + std::to_string((stream.streamno & 0xFF) + 1);
}

const char* name_of_qostype(u32 type)
{
    switch (type) {
    case 1: return "wfq";
    case 2: return "pq";
    default: return "none";
    }
}

}  // namespace zelfctl
