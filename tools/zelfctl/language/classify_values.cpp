#include "language/classify_values.h"

#include <netdb.h>

#include <string>

#include "language/qos_values.h"

namespace zelfctl {
namespace {

constexpr std::string_view absent = "-";
constexpr u32 all_ones = 0xFFFFFFFF;
constexpr u32 address_bits = 32;
constexpr u32 binding_words = 4;
constexpr u32 kind_of_lone_number = 4;
constexpr u32 kind_without_text = 3;

using Read = bool (*)(std::string_view text, u32& number);

bool read_address(std::string_view text, u32& address)
{
    address = 0;
    for (u32 i = 0; i < 4; ++i) {
        const std::size_t dot = i < 3 ? text.find('.') : text.size();
        u32 octet = 0;
        if (dot == std::string_view::npos || !read_decimal(text.substr(0, dot), octet) || octet > 255) return false;
        address = address << 8 | octet;
        text.remove_prefix(i < 3 ? dot + 1 : dot);
    }
    return true;
}

bool read_prefix_length(std::string_view text, u32& mask)
{
    u32 length = 0;
    if (!read_decimal(text, length) || length > address_bits) return false;
    mask = length == 0 ? 0 : all_ones << (address_bits - length);
    return true;
}

// "value[-end][/mask]" or "-".
bool read_any_field(std::string_view text, Value& value, u32 full_mask, Read read_number, Read read_mask)
{
    if (text == absent) return true;
    value.given = 1;
    value.numbers[field_mask] = full_mask;
    const std::size_t slash = text.find('/');
    if (slash != std::string_view::npos && !read_mask(text.substr(slash + 1), value.numbers[field_mask])) return false;
    text = text.substr(0, slash);
    const std::size_t dash = text.find('-');
    if (dash != std::string_view::npos) {
        value.numbers[field_ranged] = 1;
        if (!read_number(text.substr(dash + 1), value.numbers[field_end])) return false;
    }
    return read_number(text.substr(0, dash), value.numbers[field_value]);
}

bool fits(const Kind& kind, const Value& value)
{
    return value.numbers[field_value] <= kind.highest && value.numbers[field_end] <= kind.highest &&
           value.numbers[field_mask] <= kind.highest;
}

// A range has to ascend under its mask.
bool ascends(const Value& value)
{
    const u32 mask = value.numbers[field_mask];
    return value.numbers[field_ranged] == 0 || (value.numbers[field_value] & mask) <= (value.numbers[field_end] & mask);
}

// Numbers that are printed in fewer than 32 bits, with a sign.
bool read_narrow(std::string_view text, u32 bits, u32& number)
{
    if (!read_wide(text, number)) return false;
    const u32 highest = (1U << bits) - 1;
    if (text.starts_with('-')) {
        if (number < 0U - (1U << (bits - 1))) return false;
        number &= highest;
    }
    return number <= highest;
}

struct Three {
    std::string_view first;
    std::string_view second;
    std::string_view third;
};

bool split_three(std::string_view text, Three& three)
{
    const std::size_t first = text.find('/');
    const std::size_t second = first == std::string_view::npos ? first : text.find('/', first + 1);
    if (second == std::string_view::npos) return false;
    three = {text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
    return true;
}

}  // namespace

bool read_target(const Kind&, std::string_view text, Value& value)
{
    constexpr u32 stream_bits = 16;
    constexpr u32 class_bits = 8;
    Three three;
    return split_three(text, three) && read_narrow(three.first, stream_bits, value.numbers[0]) &&
           read_narrow(three.second, class_bits, value.numbers[1]) && read_colour_word(three.third, value.numbers[2]);
}

bool read_addresses(const Kind&, std::string_view text, Value& value)
{
    return read_any_field(text, value, all_ones, read_address, read_prefix_length);
}

bool read_field(const Kind& kind, std::string_view text, Value& value)
{
    return read_any_field(text, value, kind.highest, read_decimal, read_hexadecimal) && fits(kind, value);
}

bool read_hex_field(const Kind& kind, std::string_view text, Value& value)
{
    return read_any_field(text, value, kind.highest, read_hexadecimal, read_hexadecimal) && fits(kind, value);
}

bool read_protocols(const Kind& kind, std::string_view text, Value& value)
{
    if (read_field(kind, text, value)) return true;
    value = {};
    value.text = text;
    const protoent* const protocol = getprotobyname(std::string(text).c_str());
    if (!protocol) return false;
    value.given = 1;
    value.numbers[field_value] = static_cast<u32>(protocol->p_proto);
    value.numbers[field_mask] = kind.highest;
    return value.numbers[field_value] <= kind.highest;
}

bool read_ascending_addresses(const Kind& kind, std::string_view text, Value& value)
{
    return read_addresses(kind, text, value) && ascends(value);
}

bool read_ascending_field(const Kind& kind, std::string_view text, Value& value)
{
    return read_field(kind, text, value) && ascends(value);
}

bool read_one_address(const Kind& kind, std::string_view text, Value& value)
{
    return read_addresses(kind, text, value) && value.numbers[field_ranged] == 0;
}

bool read_one_number(const Kind& kind, std::string_view text, Value& value)
{
    if (text == absent) return true;
    value.given = 1;
    return read_decimal(text, value.numbers[field_value]) && value.numbers[field_value] <= kind.highest;
}

bool read_ext_words(const Kind&, std::string_view text, Value& value)
{
    if (text == absent) return true;
    const bool read = read_members(text, ext_words, [&](u32 i, std::string_view word) {
        value.given |= 1U << i;
        value.numbers[ext_words + i] = all_ones;
        return read_masked(word, value.numbers[i], value.numbers[ext_words + i]);
    });
    // The replay prints it so where there is no word but a flag of one beyond the fourth, and "-" where there is neither.
    if (value.given == 0) value.given = 1U << ext_words;
    return read;
}

bool read_bindings(const Kind& kind, std::string_view text, Value& value)
{
    const bool read = read_members(text, binding_words, [&](u32 i, std::string_view word) {
        const std::size_t slash = word.find('/');
        u32 number = 0;
        u32 kind_of_number = kind_of_lone_number;
        if (!read_decimal(word.substr(0, slash), number) || number > kind.highest) return false;
        if (slash != std::string_view::npos) {
            if (!read_decimal(word.substr(slash + 1), kind_of_number)) return false;
            if (kind_of_number != 1 && kind_of_number != 2) return false;
        }
        value.numbers[i] = number << 16 | kind_of_number;
        value.given |= 1U << i;
        return true;
    });
    // The replay prints it so where all words are of kinds that have no text, and nothing where none has a kind.
    if (value.given == 0) value.numbers[0] = kind_without_text;
    return read;
}

bool read_copy_class(const Kind&, std::string_view text, Value& value)
{
    Three three;
    if (!split_three(text, three) || !read_wide(three.first, value.numbers[0]) ||
        !read_wide(three.second, value.numbers[1]))
        return false;
    value.numbers[2] = no_colour;
    return three.third.empty() || read_colour_word(three.third, value.numbers[2]);
}

}  // namespace zelfctl
