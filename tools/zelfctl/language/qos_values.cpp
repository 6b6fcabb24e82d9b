#include "language/qos_values.h"

namespace zelfctl {
namespace {

constexpr u32 most_positions = 256;
constexpr u32 most_classes = 8;
constexpr u32 default_tos_mask = 255;

// The number before the next separator, which goes away with it. False if there is no separator or no number.
bool take_number(std::string_view& text, char separator, u32& number)
{
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos || !read_decimal(text.substr(0, end), number)) return false;
    text.remove_prefix(end + 1);
    return true;
}

bool is_position(u32 position) { return position >= 1 && position <= most_positions; }

// The dash between two numbers: one that begins the text is a sign.
std::size_t find_dash(std::string_view text) { return text.find('-', 1); }

template <class Read>
bool read_two(std::string_view text, Value& value, const Read& read)
{
    const std::size_t dash = find_dash(text);
    if (!read(text.substr(0, dash), value.numbers[0])) return false;
    value.numbers[1] = value.numbers[0];
    value.given = dash == std::string_view::npos ? 1 : 3;
    return dash == std::string_view::npos || read(text.substr(dash + 1), value.numbers[1]);
}

}  // namespace

bool read_stream(const Kind& kind, std::string_view text, Value& value)
{
    return take_number(text, '/', value.numbers[0]) && value.numbers[0] <= kind.highest &&
           read_decimal(text, value.numbers[1]) && is_position(value.numbers[1]);
}

bool read_queue(const Kind& kind, std::string_view text, Value& value)
{
    return take_number(text, '/', value.numbers[0]) && value.numbers[0] <= kind.highest &&
           take_number(text, '/', value.numbers[1]) && is_position(value.numbers[1]) &&
           read_decimal(text, value.numbers[2]) && value.numbers[2] < most_classes;
}

bool read_pair(const Kind& kind, std::string_view text, Value& value)
{
    return read_two(text, value, [&](std::string_view part, u32& number) {
        return read_decimal(part, number) && number >= kind.lowest && number <= kind.highest;
    });
}

bool read_wide_pair(const Kind&, std::string_view text, Value& value) { return read_two(text, value, read_wide); }

bool read_masked(std::string_view text, u32& value, u32& mask)
{
    const std::size_t slash = text.find('/');
    if (!read_hexadecimal(text.substr(0, slash), value)) return false;
    return slash == std::string_view::npos || read_hexadecimal(text.substr(slash + 1), mask);
}

bool read_tosmap(const Kind&, std::string_view text, Value& value)
{
    const bool read = read_members(text, tos_entries, [&](u32 i, std::string_view entry) {
        value.given |= 1U << i;
        value.numbers[tos_entries + i] = default_tos_mask;
        return read_masked(entry, value.numbers[i], value.numbers[tos_entries + i]);
    });
    // The replay prints a map of which no entry but one beyond the eighth is in use, and a map of none not at all.
    if (value.given == 0) value.given = 1U << tos_entries;
    return read;
}

}  // namespace zelfctl
