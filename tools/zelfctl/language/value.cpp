#include "language/value.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "language/classify_values.h"
#include "language/qos_values.h"

namespace zelfctl {
namespace {

constexpr u32 any = 0xFFFFFFFF;
constexpr std::string_view colours[] = {"green", "yellow", "red"};

bool read_digits(std::string_view text, int base, u32& number)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc{} && stop == end && !text.empty();
}

bool in_range(const Kind& kind, u32 number) { return number >= kind.lowest && number <= kind.highest; }

bool read_number(const Kind& kind, std::string_view text, Value& value)
{
    return read_decimal(text, value.number) && in_range(kind, value.number);
}

// All of 32 bits.
bool read_any(const Kind&, std::string_view text, Value& value) { return read_wide(text, value.number); }

bool read_hex(const Kind& kind, std::string_view text, Value& value)
{
    if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
    return read_digits(text, 16, value.number) && in_range(kind, value.number);
}

// A name is any word of printable characters: blanks would end it, and # would start a comment.
bool read_name(const Kind& kind, std::string_view text, Value&)
{
    const auto is_printable = [](char c) { return c > ' ' && c != 0x7F; };
    const auto is_part_of_utf8 = [](char c) { return (static_cast<unsigned char>(c) & 0x80) != 0; };
    return text.size() >= kind.lowest && text.size() <= kind.highest &&
           std::all_of(text.begin(), text.end(), [&](char c) { return is_printable(c) || is_part_of_utf8(c); });
}

bool read_mac(const Kind&, std::string_view text, Value& value)
{
    constexpr std::size_t length = 17;
    if (text.size() != length) return false;
    const char separator = text[2];
    if (separator != ':' && separator != '-') return false;
    for (std::size_t i = 0; i < value.mac.size(); ++i) {
        u32 byte = 0;
        if (!read_digits(text.substr(3 * i, 2), 16, byte)) return false;
        if (i + 1 < value.mac.size() && text[3 * i + 2] != separator) return false;
        value.mac[i] = static_cast<u8>(byte);
    }
    return true;
}

bool read_colour(const Kind&, std::string_view text, Value& value) { return read_colour_word(text, value.number); }

// "3/2/yellow"; without a word after the second slash the colour is none that has a word.
bool read_default_class(const Kind&, std::string_view text, Value& value)
{
    const std::size_t first = text.find('/');
    const std::size_t second = text.find('/', first == std::string_view::npos ? first : first + 1);
    if (second == std::string_view::npos) return false;
    const std::string_view colour = text.substr(second + 1);
    value.numbers[2] = no_colour;
    return read_wide(text.substr(0, first), value.numbers[0]) &&
           read_wide(text.substr(first + 1, second - first - 1), value.numbers[1]) &&
           (colour.empty() || read_colour_word(colour, value.numbers[2]));
}

// "1,,3,,,,,": positions left empty were not given. Fewer than eight positions are refused.
bool read_cosmap(const Kind&, std::string_view text, Value& value)
{
    constexpr u32 positions = 8;
    for (u32 i = 0; i < positions; ++i) {
        const bool is_last = i + 1 == positions;
        const std::size_t comma = text.find(',');
        if ((comma == std::string_view::npos) != is_last) return false;
        const std::string_view entry = text.substr(0, comma);
        if (!entry.empty()) {
            if (!read_wide(entry, value.numbers[i])) return false;
            value.given |= 1U << i;
        }
        if (!is_last) text.remove_prefix(comma + 1);
    }
    return true;
}

// "1,3,4" becomes bits 0, 2 and 3.
bool read_bit_list(const Kind& kind, std::string_view text, Value& value)
{
    for (;;) {
        const std::size_t comma = text.find(',');
        u32 member = 0;
        if (!read_decimal(text.substr(0, comma), member) || !in_range(kind, member)) return false;
        value.number |= 1U << (member - kind.lowest);
        if (comma == std::string_view::npos) return true;
        text.remove_prefix(comma + 1);
    }
}

constexpr struct {
    std::string_view word;
    u32 frame;
} link_frames[] = {{"bpdu", 0}, {"lag", 2}, {"pae", 3}};

bool read_link_frame(const Kind& kind, std::string_view text, Value& value)
{
    for (const auto& known : link_frames) {
        value.number = known.frame;
        if (text == known.word) return true;
    }
    return read_number(kind, text, value);
}

constexpr Kind kinds[] = {
    {"port", "a port number, 1 to 199", read_number, 1, 199},
    {"anyport", "a port number", read_any, 0, any},
    {"mirror_port", "a port number, 0 to 65535", read_number, 0, 65535},
    {"phport", "a physical port number, 0 to 255", read_number, 0, 255},
    {"ether", "a physical port number, 1 to 4", read_number, 1, 4},
    {"vlan", "a VLAN name of 1 to 30 characters", read_name, 1, 30},
    {"vid", "a VID, 1 to 4094", read_number, 1, 4094},
    {"pvid", "a VID, 0 to 4094", read_number, 0, 4094},
    {"tag_vid", "a VID, 0 to 65535", read_number, 0, 65535},
    {"mac", "a MAC address, such as 02:00:00:00:00:01", read_mac, 0, 0},
    {"flags", "a hexadecimal number of 1 to 8 digits", read_hex, 0, any},
    {"pflags", "a hexadecimal number of 1 to 4 digits", read_hex, 0, 0xFFFF},
    {"tagtype", "a tag type, 4 hexadecimal digits", read_hex, 0, 0xFFFF},
    {"protocol", "an ethertype, 4 hexadecimal digits", read_hex, 0, 0xFFFF},
    {"group", "a protocol group number, 0 to 65535", read_number, 0, 0xFFFF},
    {"rate", "a rate in thousands, 0 to 4294967 (0 = below a thousand)", read_number, 0, 4294967},
    {"burst", "a burst size, 0 to 4294967295", read_any, 0, any},
    {"limit", "a number of entries, 0 to 4294967295 (0 = no limit)", read_number, 0, any},
    {"seconds", "a number of seconds, 0 to 4294967295", read_any, 0, any},
    {"priority", "a priority, 0 to 255", read_number, 0, 255},
    {"class", "a class, 0 to 7", read_number, 0, 7},
    {"color", "a colour (green, yellow, red)", read_colour, 0, 2},
    {"default_class", "stream/priority/colour, such as 1/0/green", read_default_class, 0, any},
    {"cosmap", "eight values separated by commas, each of which may be empty, such as 1,,3,,,,,", read_cosmap, 0, any},
    {"ports4", "physical port numbers, 1 to 4, separated by commas", read_bit_list, 1, 4},
    {"stream", "a stream: its port and its number on the port, 1 to 256, such as 1/3", read_stream, 0, 65535},
    {"queue", "a queue: stream and class, such as 1/3/0", read_queue, 0, 65535},
    {"qsize", "a share of the buffer budget, 0 to 65535", read_number, 0, 65535},
    {"qlength", "a queue length, 0 to 4294967295", read_any, 0, any},
    {"ratio", "a weight, 0 to 255", read_number, 0, 255},
    {"rates", "a rate in thousands, or two as in 1000-2000, each up to 4294967", read_pair, 0, 4294967},
    {"bursts", "a burst size, or two as in 8000-16000", read_wide_pair, 0, any},
    {"percents", "a number up to 255, or two as in 50-100", read_pair, 0, 255},
    {"tosmap",
     "eight values separated by commas, hexadecimal, each of which may be empty or have a mask, such as "
     "b8,,20/e0,,,,,",
     read_tosmap, 0, any},
    {"wfq_param", "a number, 0 to 4294967295", read_any, 0, any},
    {"wfq_param2", "a number, 0 to 65535", read_number, 0, 65535},
    {"clslist", "a classify list number, 1 to 64", read_number, 1, 64},
    {"line", "a line number, 0 to 4294967295 (0 = at the end)", read_any, 0, any},
    {"target", "stream/class/colour, such as 1/0/green", read_target, 0, 0},
    {"addresses", "an IPv4 address, a range as in 10.0.0.1-10.0.0.9, either with /length, or -", read_addresses, 0, 0},
    {"field8", "a number up to 255, a range as in 3-9, either with /mask (hexadecimal), or -", read_field, 0, 255},
    {"field16", "a number up to 65535, a range as in 3-9, either with /mask (hexadecimal), or -", read_field, 0, 65535},
    {"protocols", "a protocol's name, a number up to 255, a range as in 3-9, either with /mask (hexadecimal), or -",
     read_protocols, 0, 255},
    {"etypes", "an ethertype, a range as in 800-806, either with /mask (all hexadecimal), or -", read_hex_field, 0,
     65535},
    {"words", "up to four words, hexadecimal, each of which may be empty or have a mask, such as 1a,,ff/ff, or -",
     read_ext_words, 0, any},
    {"bindings", "four numbers separated by commas, each of which may be empty or have a kind (1, 2), such as 7/1,,9,",
     read_bindings, 0, 65535},
    {"list", "a list number, 0 to 4294967295", read_any, 0, any},
    {"prefilter_addresses", "an IPv4 address, an ascending range as in 10.0.0.1-10.0.0.9, either with /length, or -",
     read_ascending_addresses, 0, 0},
    {"prefilter_field8", "a number up to 255, an ascending range as in 3-9, either with /mask (hexadecimal), or -",
     read_ascending_field, 0, 255},
    {"prefilter_field16", "a number up to 65535, an ascending range as in 3-9, either with /mask (hexadecimal), or -",
     read_ascending_field, 0, 65535},
    {"loc_address", "an IPv4 address, which may have /length, or -", read_one_address, 0, 0},
    {"loc_field8", "a number up to 255, or -", read_one_number, 0, 255},
    {"loc_field16", "a number up to 65535, or -", read_one_number, 0, 65535},
    {"prefilter_index", "a line index, 0 to 128 (0 = empty the list first)", read_number, 0, 128},
    {"loc_index", "a line index, 0 to 15 (0 = empty the list first)", read_number, 0, 15},
    {"mirror", "a mirror, 1 to 4", read_number, 1, 4},
    {"copy_class", "class/number/colour, such as 1/0/green", read_copy_class, 0, any},
    {"link_frame", "a link frame (bpdu, lag, pae, or the last byte of the address, 0 to 31)", read_link_frame, 0, 31},
};

}  // namespace

std::span<const Kind> all_kinds() { return kinds; }

const Kind* find_kind(std::string_view name)
{
    const auto* const found =
        std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& kind) { return name == kind.name; });
    return found == std::end(kinds) ? nullptr : found;
}

bool read_decimal(std::string_view text, u32& number) { return read_digits(text, 10, number); }

bool read_hexadecimal(std::string_view text, u32& number) { return read_digits(text, 16, number); }

bool read_wide(std::string_view text, u32& number)
{
    constexpr u32 upper_half = 0x80000000;
    if (!text.starts_with('-')) return read_decimal(text, number);
    if (!read_decimal(text.substr(1), number) || number == 0 || number > upper_half) return false;
    number = 0 - number;
    return true;
}

bool read_colour_word(std::string_view text, u32& colour)
{
    const auto* const found = std::find(std::begin(colours), std::end(colours), text);
    colour = static_cast<u32>(found - std::begin(colours));
    return found != std::end(colours);
}

}  // namespace zelfctl
