#include "classify/parse.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace zelfdb {
namespace {

// What sscanf accepts is the language: leading blanks, signs, trailing rubbish and wrapped octets included, as the texts
// come from command readers that rely on it.

struct Addresses {
    u8 from[4];
    u8 to[4];
    int prefix;
};

// Items read, or 0 when the text is none of the forms. A single address is a range of one.
bool scan_addresses(const char* text, Addresses& a)
{
    u8(&f)[4] = a.from;
    u8(&t)[4] = a.to;
    a.prefix = 32;
    const int items = std::sscanf(text, "%hhu.%hhu.%hhu.%hhu/%d", &f[0], &f[1], &f[2], &f[3], &a.prefix);
    if (items == 5) {
        std::copy_n(a.from, 4, a.to);
        return true;
    }
    if (items != 4) return false;
    const int more = std::sscanf(text, "%hhu.%hhu.%hhu.%hhu-%hhu.%hhu.%hhu.%hhu/%d", &f[0], &f[1], &f[2], &f[3], &t[0],
                                 &t[1], &t[2], &t[3], &a.prefix);
    if (more == 4) std::copy_n(a.from, 4, a.to);
    return more == 4 || more == 8 || more == 9;
}

u32 number_of(const u8 (&octets)[4])
{
    return u32{octets[0]} << 24 | u32{octets[1]} << 16 | u32{octets[2]} << 8 | u32{octets[3]};
}

u32 prefix_mask(int prefix) { return prefix == 0 ? 0 : 0xFFFFFFFFu << (32 - prefix); }

struct Numbers {
    i32 from;
    i32 to;
    unsigned long mask;
};

// A negative number alone means "up to": the leading minus is no sign.
void up_to(Numbers& n)
{
    if (n.from >= 0) {
        n.to = n.from;
        return;
    }
    n.to = static_cast<i32>(0u - static_cast<u32>(n.from));
    n.from = 0;
}

bool scan_numbers(const char* text, Numbers& n)
{
    constexpr unsigned long no_mask = std::numeric_limits<unsigned long>::max();
    n.mask = no_mask;
    const int items = std::sscanf(text, "%d/%lx", &n.from, &n.mask);
    if (items == 2) {
        up_to(n);
        return true;
    }
    if (items != 1) return false;
    n.mask = no_mask;
    const int more = std::sscanf(text, "%d-%d/%lx", &n.from, &n.to, &n.mask);
    if (more == 1) up_to(n);
    return more >= 1;
}

template <class Value>
void store(Value from, Value to, Value mask, Value out[4])
{
    out[0] = from;
    out[2] = mask;
    if (from == to) return;
    out[1] = to;
    out[3] = 1;
}

template <class Value>
int parse_number(const char* text, Value out[4], i32 lower, i32 upper)
{
    Numbers n{};
    if (!scan_numbers(text, n)) return 0;
    const i32 mask = static_cast<Value>(n.mask & std::numeric_limits<Value>::max());
    const i32 from = std::min(std::max(n.from & mask, lower), upper);
    const i32 to = std::min(std::max(n.to & mask, lower), upper);
    if (from > to) return 0;
    store(static_cast<Value>(from), static_cast<Value>(to), static_cast<Value>(mask), out);
    return 1;
}

}  // namespace

int parse_ipv4_field(const char* text, u32 out[4])
{
    Addresses a{};
    if (!scan_addresses(text, a)) return 0;
    if (a.prefix < 0 || a.prefix > 32) return 0;
    const u32 mask = prefix_mask(a.prefix);
    const u32 from = number_of(a.from) & mask;
    const u32 to = number_of(a.to) & mask;
    if (from > to) return 0;
    store(from, to, mask, out);
    return 1;
}

int parse_u8_field(const char* text, u8 out[4], i32 lower, i32 upper) { return parse_number(text, out, lower, upper); }

int parse_u16_field(const char* text, u16 out[4], i32 lower, i32 upper)
{
    return parse_number(text, out, lower, upper);
}

}  // namespace zelfdb
