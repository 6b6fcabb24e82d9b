// The few types that every shared record is made of, and the proofs of its layout. Used by everything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace zelfdb {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// Where a record lies, in bytes from the start of the segment that holds it. Processes attach the segments at different
// addresses, so this and never a pointer is what a segment stores.
struct Offset {
    u32 value;
    friend constexpr bool operator==(Offset, Offset) = default;
};
inline constexpr Offset none{0xFFFFFFFF};

struct Link {
    Offset next;
    Offset prev;
};

// Where this process has attached a segment.
struct Base {
    u8* bytes;
};

template <class Record>
Record& record_at(Base base, Offset offset)
{
    return *reinterpret_cast<Record*>(base.bytes + offset.value);
}

template <class Record>
Offset offset_of(Base base, const Record& record)
{
    return Offset{static_cast<u32>(reinterpret_cast<const u8*>(&record) - base.bytes)};
}

// A record that processes share: fixed size, no byte that is not named, safe to copy as bytes.
#define RECORD_IS(Record, size_bytes)                                                         \
    static_assert(sizeof(Record) == (size_bytes));                                            \
    static_assert(std::is_trivially_copyable_v<Record> && std::is_standard_layout_v<Record>); \
    static_assert(std::has_unique_object_representations_v<Record>)

#define FIELD_AT(Record, field, at_byte) static_assert(offsetof(Record, field) == (at_byte))

}  // namespace zelfdb
