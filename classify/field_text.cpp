#include "classify/field_text.h"

#include <netdb.h>

#include <bit>
#include <cstdio>
#include <limits>

namespace zelfdb {
namespace {

constexpr u32 no_mask = 0xFFFFFFFF;

// As many leading ones as the mask has down to its lowest one; 0 for an empty mask.
int prefix_length(u32 mask) { return mask == 0 ? 0 : 32 - std::countr_zero(mask); }

void append(FieldText& to, std::size_t& at, const char* format, unsigned long a)
{
    // NOLINTNEXTLINE(clang-diagnostic-format-nonliteral): one of this file's literals
    at += static_cast<std::size_t>(std::snprintf(to.text + at, sizeof to.text - at, format, a));
}

void append_address(FieldText& to, std::size_t& at, u32 address)
{
    append(to, at, "%lu.", address >> 24);
    append(to, at, "%lu.", address >> 16 & 0xFF);
    append(to, at, "%lu.", address >> 8 & 0xFF);
    append(to, at, "%lu", address & 0xFF);
}

template <class Value>
FieldText text_of(const MatchField<Value>& field, const char* value_format, const char* end_format)
{
    FieldText text{};
    std::size_t at = 0;
    append(text, at, value_format, field.value);
    if (field.ranged) append(text, at, end_format, field.range_end);
    if (field.mask < std::numeric_limits<Value>::max()) append(text, at, "/%lx", field.mask);
    return text;
}

}  // namespace

FieldText ip_text(const MatchField<u32>& field)
{
    FieldText text{};
    std::size_t at = 0;
    append_address(text, at, field.value);
    if (field.ranged) {
        text.text[at++] = '-';
        append_address(text, at, field.range_end);
    }
    if (field.mask != no_mask) append(text, at, "/%lu", static_cast<unsigned long>(prefix_length(field.mask)));
    return text;
}

FieldText number_text(const MatchField<u8>& field) { return text_of(field, "%lu", "-%lu"); }
FieldText number_text(const MatchField<u16>& field) { return text_of(field, "%lu", "-%lu"); }
FieldText hex_text(const MatchField<u16>& field) { return text_of(field, "%lx", "-%lx"); }

FieldText protocol_text(const MatchField<u8>& field)
{
    if (field.ranged || field.mask < std::numeric_limits<u8>::max()) return number_text(field);
    const protoent* const protocol = getprotobynumber(field.value);  // NOLINT(concurrency-mt-unsafe): no threads here
    if (!protocol) return number_text(field);
    FieldText text{};
    std::snprintf(text.text, sizeof text.text, "%s", protocol->p_name);
    return text;
}

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
