// The field texts of prefilter and loc lines read by hand, from their grammar and without the C library's scanning: what the
// library's parsers are compared with.
//
//   address field:  quad [ "/" number ]  |  quad "-" quad [ "/" number ]
//   number field:   number [ "/" hex ]   |  number "-" number [ "/" hex ]
//
// Each number may have blanks before it and one sign. What follows a field is not looked at, a trailing separator
// included; only a second quad that was begun must be complete.
#pragma once

#include <climits>
#include <optional>

#include "core/types.h"

namespace zelfdb {

class FieldReader {
public:
    explicit FieldReader(const char* text) : at_(text) {}

    bool take(char wanted)
    {
        if (*at_ != wanted) return false;
        ++at_;
        return true;
    }
    std::optional<i32> number()
    {
        const std::optional<Digits> digits = read(10);
        if (!digits) return std::nullopt;
        return static_cast<i32>(static_cast<u32>(as_long(*digits)));
    }
    std::optional<u8> octet()
    {
        const std::optional<Digits> digits = read(10);
        if (!digits) return std::nullopt;
        return static_cast<u8>(as_unsigned_long(*digits));
    }
    std::optional<unsigned long> hex()
    {
        const std::optional<Digits> digits = read(16);
        if (!digits) return std::nullopt;
        return as_unsigned_long(*digits);
    }
    // Four octets, most significant first.
    std::optional<u32> quad()
    {
        u32 address = 0;
        return octets(address) == 4 ? std::optional<u32>(address) : std::nullopt;
    }
    // How many octets there are before the text goes wrong, up to four.
    u32 octets(u32& address)
    {
        for (u32 count = 0; count < 4; ++count) {
            if (count != 0 && !take('.')) return count;
            const std::optional<u8> one = octet();
            if (!one) return count;
            address = address << 8 | *one;
        }
        return 4;
    }

private:
    struct Digits {
        bool negative;
        bool too_large;  // for an unsigned long
        unsigned long magnitude;
    };

    static bool blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static int digit(char c)
    {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return 99;
    }
    std::optional<Digits> read(int radix)
    {
        while (blank(*at_)) ++at_;
        Digits digits{*at_ == '-', false, 0};
        if (*at_ == '-' || *at_ == '+') ++at_;
        if (digit(*at_) >= radix) return std::nullopt;
        // A prefix with no digit behind it is 0 to the C library.
        if (radix == 16 && *at_ == '0' && (at_[1] == 'x' || at_[1] == 'X')) at_ += 2;
        for (; digit(*at_) < radix; ++at_) {
            const unsigned long next =
                digits.magnitude * static_cast<unsigned long>(radix) + static_cast<unsigned long>(digit(*at_));
            digits.too_large |= next / static_cast<unsigned long>(radix) != digits.magnitude;
            digits.magnitude = next;
        }
        return digits;
    }
    // Numbers that a long cannot hold end at its limits, whatever its width here; only then are they cut to size.
    static unsigned long as_long(const Digits& digits)
    {
        const unsigned long limit = digits.negative ? static_cast<unsigned long>(LONG_MAX) + 1 : LONG_MAX;
        const unsigned long magnitude = digits.too_large || digits.magnitude > limit ? limit : digits.magnitude;
        return digits.negative ? 0 - magnitude : magnitude;
    }
    static unsigned long as_unsigned_long(const Digits& digits)
    {
        if (digits.too_large) return ULONG_MAX;
        return digits.negative ? 0 - digits.magnitude : digits.magnitude;
    }

    const char* at_;
};

inline int reference_address(const char* text, u32 out[4])
{
    FieldReader reader(text);
    const std::optional<u32> from = reader.quad();
    if (!from) return 0;
    u32 to = *from;
    bool field_goes_on = true;
    if (reader.take('-')) {
        u32 second = 0;
        const u32 octets = reader.octets(second);
        if (octets != 0 && octets != 4) return 0;
        if (octets == 4) to = second;
        field_goes_on = octets == 4;
    }
    const std::optional<i32> prefix = field_goes_on && reader.take('/') ? reader.number() : std::nullopt;
    if (prefix && (*prefix < 0 || *prefix > 32)) return 0;
    u32 mask = 0;
    for (i32 bit = 0; bit < prefix.value_or(32); ++bit) mask |= 0x80000000u >> bit;
    if ((*from & mask) > (to & mask)) return 0;
    out[0] = *from & mask;
    out[2] = mask;
    if ((*from & mask) == (to & mask)) return 1;
    out[1] = to & mask;
    out[3] = 1;
    return 1;
}

template <class Value>
int reference_number(const char* text, Value out[4], i32 lower, i32 upper)
{
    FieldReader reader(text);
    const std::optional<i32> first = reader.number();
    if (!first) return 0;
    i64 from = *first;
    i64 to = *first;
    const bool dash = reader.take('-');
    const std::optional<i32> second = dash ? reader.number() : std::nullopt;
    if (second) {
        to = *second;
    } else if (from < 0) {
        to = -from;
        from = 0;
    }
    const bool field_goes_on = !dash || second;
    const std::optional<unsigned long> given_mask = field_goes_on && reader.take('/') ? reader.hex() : std::nullopt;
    const auto mask = static_cast<Value>(given_mask.value_or(ULONG_MAX));
    const auto bounded = [&](i64 number) {
        const i64 masked = number & mask;
        return masked < lower ? lower : masked > upper ? upper : masked;
    };
    if (bounded(from) > bounded(to)) return 0;
    out[0] = static_cast<Value>(bounded(from));
    out[2] = mask;
    if (bounded(from) == bounded(to)) return 1;
    out[1] = static_cast<Value>(bounded(to));
    out[3] = 1;
    return 1;
}

// Of loc lines: an address with the mask that its text names, and a number within 0..upper.
inline bool reference_loc_address(const char* text, u32& address, u32& mask)
{
    FieldReader reader(text);
    u32 octets = 0;
    for (u32 count = 0; count < 4; ++count) {
        if (count != 0 && !reader.take('.')) return false;
        const std::optional<i32> number = reader.number();
        if (!number) return false;
        octets = octets << 8 | (static_cast<u32>(*number) & 0xFF);
    }
    address = octets;
    mask = 0xFFFFFFFF;
    const std::optional<i32> prefix = reader.take('/') ? reader.number() : std::nullopt;
    if (!prefix || *prefix < 0 || *prefix > 31) return true;
    for (i32 bit = 31; bit >= *prefix; --bit) mask &= ~(0x80000000u >> bit);
    return true;
}
inline bool reference_loc_number(const char* text, i32 upper, u16& value)
{
    const std::optional<i32> number = FieldReader(text).number();
    if (!number || *number < 0 || *number > upper) return false;
    value = static_cast<u16>(*number);
    return true;
}

}  // namespace zelfdb
