// The kinds of values that commands take: how each is written, which range it has, what is said when it is wrong.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "language/types.h"

namespace zelfctl {

// What a token was read as. Each kind fills the fields that it has a use for.
struct Value {
    std::string_view text;          // the token itself
    u32 number = 0;                 // a number, or the index of a chosen word
    std::array<u32, 16> numbers{};  // the members of a list or of a compound value
    u32 given = 0;                  // bit i: member i was written
    std::array<u8, 6> mac{};
};

struct Kind {
    const char* name;     // as it stands in patterns
    const char* expects;  // "expected ..." of an error
    bool (*read)(const Kind& kind, std::string_view text, Value& value);
    u32 lowest;
    u32 highest;
};

// Every kind; the order is that of the manual.
std::span<const Kind> all_kinds();

// Null if there is none of that name.
const Kind* find_kind(std::string_view name);

// Decimal digits alone, no sign, no blanks; false if it is anything else or above 32 bits.
bool read_decimal(std::string_view text, u32& number);

// Hexadecimal digits alone, in the same way.
bool read_hexadecimal(std::string_view text, u32& number);

// Decimal digits, or a minus and digits for a number of the upper half of 32 bits: the replay prints some of them so.
bool read_wide(std::string_view text, u32& number);

bool read_colour_word(std::string_view text, u32& colour);

inline constexpr u32 no_colour = 3;  // a colour that has no word

}  // namespace zelfctl
