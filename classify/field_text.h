// The match fields of a classify line as text, shared by the export and the replay.
#pragma once

#include "core/records.h"

namespace zelfdb {

struct FieldText {
    char text[80];
};

// "10.0.0.0-10.0.0.9/24": range end when ranged, prefix length unless the mask is all ones.
FieldText ip_text(const MatchField<u32>& field);

// "3-9/f": range end when ranged, mask in hex unless it is all ones.
FieldText number_text(const MatchField<u8>& field);
FieldText number_text(const MatchField<u16>& field);

// The same with every number in hex.
FieldText hex_text(const MatchField<u16>& field);

// A protocol alone by its name in the system's database, else as a number.
FieldText protocol_text(const MatchField<u8>& field);

// "green" for 0 and for whatever is neither 1 nor 2: kept, readers of both texts expect one of three words.
const char* line_colour_text(u8 colour);
const char* line_mode_text(u32 mode);

}  // namespace zelfdb
