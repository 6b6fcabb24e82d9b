// The blocks that prefilter and loc lines become, put together from the texts read by hand. Also used without GoogleTest, by
// the fuzz targets.
#pragma once

#include <cstring>
#include <string>

#include "classify/reference_parsers.h"

namespace zelfdb {

inline constexpr std::size_t slots[] = {4, 34, 64, 94, 124, 154};
inline constexpr std::size_t slot_size = 30;
inline constexpr std::size_t line_size = 184;

// A block that is put together field by field, in the host's byte order.
template <std::size_t Size>
class Block {
public:
    template <class Value>
    Block& put(std::size_t at, Value value)
    {
        std::memcpy(bytes_ + at, &value, sizeof value);
        return *this;
    }
    template <class Value>
    Block& put4(std::size_t at, const Value (&values)[4])
    {
        std::memcpy(bytes_ + at, values, sizeof values);
        return *this;
    }
    [[nodiscard]] const u8* bytes() const { return bytes_; }

private:
    u8 bytes_[Size]{};
};
using PrefilterBlock = Block<64>;
using LocBlock = Block<16>;

// Up to its terminator, if it has one.
inline std::string slot_text(const char* line, std::size_t slot)
{
    return std::string(line + slot, strnlen(line + slot, slot_size));
}

inline PrefilterBlock expected_prefilter(const char* line, u32 action)
{
    u32 address_a[4]{}, address_b[4]{};
    u8 byte_a[4]{}, byte_b[4]{};
    u16 half_a[4]{}, half_b[4]{};
    u32 flags = 0;
    if (reference_address(slot_text(line, 4).c_str(), address_a)) flags |= 0x08;
    if (reference_address(slot_text(line, 34).c_str(), address_b)) flags |= 0x04;
    if (reference_number(slot_text(line, 64).c_str(), byte_a, 0, 255)) flags |= 0x01;
    if (reference_number(slot_text(line, 94).c_str(), byte_b, 0, 255)) flags |= 0x02;
    if (reference_number(slot_text(line, 124).c_str(), half_a, 0, 65535)) flags |= 0x20;
    if (reference_number(slot_text(line, 154).c_str(), half_b, 0, 65535)) flags |= 0x10;
    PrefilterBlock block;
    block.put(0, u32{action == 1 ? 0u : 1u}).put(4, flags).put4(8, byte_a).put4(12, byte_b);
    block.put4(16, address_b).put4(32, address_a).put4(48, half_b).put4(56, half_a);
    return block;
}

inline LocBlock expected_loc(const char* line, u32 action)
{
    u16 flags = 0;
    u16 byte = 0;
    u16 half = 0;
    u32 address = 0;
    u32 mask = 0;
    if (reference_loc_number(slot_text(line, 94).c_str(), 255, byte)) flags |= 0x01;
    if (reference_loc_address(slot_text(line, 4).c_str(), address, mask)) flags |= 0x02;
    if (reference_loc_number(slot_text(line, 124).c_str(), 65535, half)) flags |= 0x04;
    LocBlock block;
    block.put(0, static_cast<u16>(action == 1 ? 1 : 0)).put(2, flags).put(4, byte).put(6, half);
    block.put(8, address).put(12, mask);
    return block;
}

}  // namespace zelfdb
