// The bytes of classify lines and prefilter blocks, put together field by field at their places.
#pragma once

#include "np_device.h"

#include <cstring>

namespace softnp_test {

inline constexpr u32 DOT1P = 0x01;
inline constexpr u32 VLAN = 0x02;
inline constexpr u32 ETYPE = 0x04;
inline constexpr u32 TOS = 0x08;
inline constexpr u32 PROTO = 0x10;
inline constexpr u32 SRC_IP = 0x20;
inline constexpr u32 DST_IP = 0x40;
inline constexpr u32 SRC_PORT = 0x80;
inline constexpr u32 DST_PORT = 0x100;
inline constexpr u32 EXT_0 = 0x1000000;

// For a binding whose words do not matter.
inline constexpr u32 NO_WORDS[4] = {};

struct Asked {
    u32 value;
    u32 range_end;
    u32 mask;
    u32 is_range;
};

// Where a field lies, and how wide each of its four numbers is.
struct Place {
    u32 flag;
    size_t at;
    size_t width;
};
inline constexpr Place line_places[] = {
    {DOT1P, 12, 1},  {VLAN, 16, 2},   {ETYPE, 24, 2},    {TOS, 32, 1},      {PROTO, 36, 1},
    {SRC_IP, 40, 4}, {DST_IP, 56, 4}, {SRC_PORT, 72, 2}, {DST_PORT, 80, 2},
};
// The flags are the block's own.
inline constexpr Place block_places[] = {
    {0x01, 8, 1}, {0x02, 12, 1}, {0x04, 16, 4}, {0x08, 32, 4}, {0x10, 48, 2}, {0x20, 56, 2},
};

template <size_t Size>
struct NativeBytes {
    std::array<u8, Size> bytes{};

    void put(size_t at, size_t width, u32 value)
    {
        const u8 byte = static_cast<u8>(value);
        const u16 half = static_cast<u16>(value);
        if (width == 1) std::memcpy(&bytes[at], &byte, 1);
        if (width == 2) std::memcpy(&bytes[at], &half, 2);
        if (width == 4) std::memcpy(&bytes[at], &value, 4);
    }
    u32 word(size_t at) const
    {
        u32 value = 0;
        std::memcpy(&value, &bytes[at], 4);
        return value;
    }
    void put_field(const Place& place, const Asked& asked)
    {
        const u32 values[] = {asked.value, asked.range_end, asked.mask, asked.is_range};
        for (size_t index = 0; index < 4; index++) put(place.at + index * place.width, place.width, values[index]);
    }
};

struct LineBytes : NativeBytes<120> {
    LineBytes() = default;
    LineBytes(u32 stream, u32 class_no, u32 colour, u32 mode = 0)
    {
        put(0, 4, mode);
        put(4, 2, stream);
        put(6, 1, class_no);
        put(7, 1, colour);
    }
    LineBytes& ask(u32 flag, const Asked& asked)
    {
        for (const Place& place : line_places)
            if (place.flag == flag) put_field(place, asked);
        put(8, 4, word(8) | flag);
        return *this;
    }
    LineBytes& ask(u32 flag, u32 value) { return ask(flag, {value, 0, 0xFFFFFFFF, 0}); }
    LineBytes& ask_ext(u32 index, u32 value, u32 mask)
    {
        put(88 + 8 * index, 4, value);
        put(92 + 8 * index, 4, mask);
        put(8, 4, word(8) | EXT_0 << index);
        return *this;
    }
};

struct BlockBytes : NativeBytes<64> {
    explicit BlockBytes(u32 action) { put(0, 4, action); }
    BlockBytes& ask(u32 flag, const Asked& asked)
    {
        for (const Place& place : block_places)
            if (place.flag == flag) put_field(place, asked);
        put(4, 4, word(4) | flag);
        return *this;
    }
    BlockBytes& ask(u32 flag, u32 value) { return ask(flag, {value, 0, 0xFFFFFFFF, 0}); }
};

}  // namespace softnp_test
