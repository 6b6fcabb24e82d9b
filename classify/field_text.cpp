#include "classify/field_text.h"

#include <netdb.h>

#include <bit>
#include <charconv>
#include <cstring>
#include <limits>

namespace zelfdb {
namespace {

constexpr u32 no_mask = 0xFFFFFFFF;

// As many leading ones as the mask has down to its lowest one; 0 for an empty mask.
int prefix_length(u32 mask) { return mask == 0 ? 0 : 32 - std::countr_zero(mask); }

// The longest number of any field has ten digits.
char* put_decimal(char* at, u32 number) { return std::to_chars(at, at + 10, number).ptr; }
char* put_hex_number(char* at, u32 number) { return std::to_chars(at, at + 8, number, 16).ptr; }

char* put_address(char* at, u32 address)
{
    for (u32 shift = 24; shift != 0; shift -= 8) {
        at = put_decimal(at, address >> shift & 0xFF);
        *at++ = '.';
    }
    return put_decimal(at, address & 0xFF);
}

template <class Value, class Put>
char* put_field(char* at, const MatchField<Value>& field, Put put)
{
    at = put(at, field.value);
    if (field.ranged) {
        *at++ = '-';
        at = put(at, field.range_end);
    }
    if (field.mask < std::numeric_limits<Value>::max()) {
        *at++ = '/';
        at = put_hex_number(at, field.mask);
    }
    return at;
}

template <class Field>
FieldText text_by(char* (*put)(char*, const Field&), const Field& field)
{
    FieldText text;
    *put(text.text, field) = '\0';
    return text;
}

}  // namespace

char* put_ip(char* at, const MatchField<u32>& field)
{
    at = put_address(at, field.value);
    if (field.ranged) {
        *at++ = '-';
        at = put_address(at, field.range_end);
    }
    if (field.mask != no_mask) {
        *at++ = '/';
        at = put_decimal(at, static_cast<u32>(prefix_length(field.mask)));
    }
    return at;
}

char* put_number(char* at, const MatchField<u8>& field) { return put_field(at, field, put_decimal); }
char* put_number(char* at, const MatchField<u16>& field) { return put_field(at, field, put_decimal); }
char* put_hex(char* at, const MatchField<u16>& field) { return put_field(at, field, put_hex_number); }

bool stands_alone(const MatchField<u8>& field) { return !field.ranged && field.mask == std::numeric_limits<u8>::max(); }

char* put_protocol(char* at, const MatchField<u8>& field)
{
    if (!stands_alone(field)) return put_number(at, field);
    const protoent* const protocol = getprotobynumber(field.value);
    if (!protocol) return put_number(at, field);
    const std::size_t length = strnlen(protocol->p_name, field_text_max - 1);
    std::memcpy(at, protocol->p_name, length);
    return at + length;
}

FieldText ip_text(const MatchField<u32>& field) { return text_by(put_ip, field); }
FieldText number_text(const MatchField<u8>& field) { return text_by<MatchField<u8>>(put_number, field); }
FieldText number_text(const MatchField<u16>& field) { return text_by<MatchField<u16>>(put_number, field); }
FieldText hex_text(const MatchField<u16>& field) { return text_by(put_hex, field); }
FieldText protocol_text(const MatchField<u8>& field) { return text_by(put_protocol, field); }

const char* line_colour_text(u8 colour)
{
    switch (colour) {
    case 1: return "yellow";
    case 2: return "red";
    default: return "green";
    }
}

const char* line_mode_text(u32 mode)
{
    switch (mode) {
    case line_mode_dot1p: return "dot1p";
    case line_mode_dscp: return "dscp";
    default: return "normal";
    }
}

}  // namespace zelfdb
