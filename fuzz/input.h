// The bytes of an input, read as numbers. What is not there reads as 0, so that any bytes whatever are an input.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "core/types.h"

namespace fuzz {

using namespace zelfdb;

class Input {
public:
    Input(const u8* bytes, std::size_t size_bytes) : at_(bytes), end_(bytes + size_bytes) {}

    [[nodiscard]] bool has_ended() const { return at_ == end_; }
    [[nodiscard]] std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }

    u8 byte() { return has_ended() ? u8{0} : *at_++; }
    // The same on all processors.
    u16 half()
    {
        const u32 low = byte();
        return static_cast<u16>(low | u32{byte()} << 8);
    }
    u32 word()
    {
        const u32 low = half();
        return low | u32{half()} << 16;
    }
    // 0..count - 1, of one byte.
    u32 below(u32 count) { return byte() % count; }
    bool flag() { return (byte() & 1) != 0; }

    // The next bytes, with zeros behind them where there are not so many.
    void copy(void* to, std::size_t size_bytes)
    {
        const std::size_t there = std::min(size_bytes, left());
        std::memset(to, 0, size_bytes);
        if (there != 0) std::memcpy(to, at_, there);
        at_ += there;
    }

    // A number of a few, or now and then one of those at which something ends, or any.
    template <std::size_t count>
    u32 one_of(const u32 (&few)[count])
    {
        static constexpr u32 ends[] = {0,    1,    7,     8,     31,      32,         64,         65,
                                       199,  200,  255,   256,   1023,    1024,       4094,       4095,
                                       8191, 8192, 65535, 65536, 0x1000A, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const u8 choice = byte();
        if (choice < 0xE0) return few[choice % count];
        if (choice < 0xFC) return ends[below(std::size(ends))];
        return word();
    }

private:
    const u8* at_;
    const u8* end_;
};

}  // namespace fuzz
