// The match fields of a classify line as text, shared by the export and the replay.
#pragma once

#include <cstddef>

#include "core/records.h"

namespace zelfdb {

inline constexpr std::size_t field_text_max = 80;
struct FieldText {
    char text[field_text_max];
};

// Each puts its text where there is room for field_text_max characters, without a zero, and returns the text's end.

// "10.0.0.0-10.0.0.9/24": range end when ranged, prefix length unless the mask is all ones.
char* put_ip(char* at, const MatchField<u32>& field);

// "3-9/f": range end when ranged, mask in hex unless it is all ones.
char* put_number(char* at, const MatchField<u8>& field);
char* put_number(char* at, const MatchField<u16>& field);

// The same with every number in hex.
char* put_hex(char* at, const MatchField<u16>& field);

// A protocol that stands alone, neither ranged nor masked, by its name in the system's database, else as a number.
bool stands_alone(const MatchField<u8>& field);
char* put_protocol(char* at, const MatchField<u8>& field);

// The same texts as strings.
FieldText ip_text(const MatchField<u32>& field);
FieldText number_text(const MatchField<u8>& field);
FieldText number_text(const MatchField<u16>& field);
FieldText hex_text(const MatchField<u16>& field);
FieldText protocol_text(const MatchField<u8>& field);

// "green" for 0 and for whatever is neither 1 nor 2: kept, readers of both texts expect one of three words.
const char* line_colour_text(u8 colour);
const char* line_mode_text(u32 mode);

}  // namespace zelfdb
