// Values of commands on classify lists, prefilter and loc lists and mirrors.
#pragma once

#include <string_view>

#include "language/value.h"

namespace zelfctl {

// A field of a classify line: numbers are value, range end, mask, and 1 for a range. "-" is absent: given is 0.
enum FieldMember { field_value, field_end, field_mask, field_ranged };

bool read_target(const Kind& kind, std::string_view text, Value& value);  // numbers: stream from 1 on, class, colour
bool read_addresses(const Kind& kind, std::string_view text, Value& value);
bool read_field(const Kind& kind, std::string_view text, Value& value);  // the kind's highest is also its full mask
bool read_hex_field(const Kind& kind, std::string_view text, Value& value);
bool read_protocols(const Kind& kind, std::string_view text, Value& value);

// The same for lines that are handed on as text: what the library would take for absent is refused here.
bool read_ascending_addresses(const Kind& kind, std::string_view text, Value& value);
bool read_ascending_field(const Kind& kind, std::string_view text, Value& value);
bool read_one_address(const Kind& kind, std::string_view text, Value& value);
bool read_one_number(const Kind& kind, std::string_view text, Value& value);

// numbers: four values, four masks. "-" is none.
inline constexpr u32 ext_words = 4;
bool read_ext_words(const Kind& kind, std::string_view text, Value& value);

// numbers: four binding words, a number (high half) and its kind (low half).
bool read_bindings(const Kind& kind, std::string_view text, Value& value);

// numbers: class from 1 on, second number, colour.
bool read_copy_class(const Kind& kind, std::string_view text, Value& value);

}  // namespace zelfctl
