// Values of commands on streams and queues.
#pragma once

#include <string_view>

#include "language/value.h"

namespace zelfctl {

bool read_stream(const Kind& kind, std::string_view text, Value& value);     // numbers: port, position
bool read_queue(const Kind& kind, std::string_view text, Value& value);      // numbers: port, position, class
bool read_pair(const Kind& kind, std::string_view text, Value& value);       // numbers: both the same if one is written
bool read_wide_pair(const Kind& kind, std::string_view text, Value& value);  // the same, of any 32 bits
bool read_tosmap(const Kind& kind, std::string_view text, Value& value);     // numbers: eight values, eight masks
inline constexpr u32 tos_entries = 8;

// Whether a pair was written as one.
inline bool wrote_second(const Value& pair) { return (pair.given & 2U) != 0; }

// Splits "a,b,,d" into exactly count members and hands each that is not empty to read; false if there are more or fewer,
// or if read says so.
template <class Read>
bool read_members(std::string_view text, u32 count, const Read& read)
{
    for (u32 i = 0; i < count; ++i) {
        const bool is_last = i + 1 == count;
        const std::size_t comma = text.find(',');
        if ((comma == std::string_view::npos) != is_last) return false;
        const std::string_view member = text.substr(0, comma);
        if (!member.empty() && !read(i, member)) return false;
        if (!is_last) text.remove_prefix(comma + 1);
    }
    return true;
}

// "value" or "value/mask", hexadecimal both. Without a mask, mask stays as it is.
bool read_masked(std::string_view text, u32& value, u32& mask);

}  // namespace zelfctl
