// A record buffer for the bulk readers, every byte of which is known before a call, and so are the bytes around it.
#pragma once

#include <cstring>
#include <vector>

#include "core/types.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

class RecordBuffer {
public:
    static constexpr u8 fill = 0xA5;

    // The records start so many bytes behind an address that suits every type.
    RecordBuffer(u32 capacity, u32 record_size, std::size_t shift = 0, u8 record_fill = fill)
        : record_size_(record_size),
          first_(around + shift),
          end_(first_ + std::size_t{capacity} * record_size),
          bytes_(end_ + around, fill),
          buffer_{capacity, record_size, 0x1111, 0x2222, bytes_.data() + first_}
    {
        std::memset(bytes_.data() + first_, record_fill, end_ - first_);
    }
    RecordBuffer(const RecordBuffer&) = delete;
    RecordBuffer& operator=(const RecordBuffer&) = delete;

    [[nodiscard]] zelfdb_ropebuf* get() { return &buffer_; }
    [[nodiscard]] u32 total() const { return buffer_.total; }
    [[nodiscard]] u32 filled() const { return buffer_.filled; }
    [[nodiscard]] const u8* record(u32 i) const { return bytes_.data() + first_ + std::size_t{i} * record_size_; }
    [[nodiscard]] u32 word(u32 i, std::size_t at) const
    {
        u32 value = 0;
        std::memcpy(&value, record(i) + at, sizeof value);
        return value;
    }
    [[nodiscard]] bool unwritten(u32 i, std::size_t from, std::size_t to) const
    {
        return all_fill(record(i) + from, to - from);
    }
    [[nodiscard]] bool nothing_around_written() const
    {
        return all_fill(bytes_.data(), first_) && all_fill(bytes_.data() + end_, bytes_.size() - end_);
    }
    // Not even that a call was made: for calls that fail before anything is filled.
    [[nodiscard]] bool unused() const
    {
        return buffer_.total == 0x1111 && buffer_.filled == 0x2222 && all_fill(bytes_.data(), bytes_.size());
    }

private:
    static constexpr std::size_t around = 256;

    static bool all_fill(const u8* from, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (from[i] != fill) return false;
        }
        return true;
    }

    u32 record_size_;
    std::size_t first_;
    std::size_t end_;
    std::vector<u8> bytes_;
    zelfdb_ropebuf buffer_;
};

// What a whole reading of a list by calls of one bulk reader gave.
struct Reading {
    std::vector<int> results;
    std::vector<u32> filled;
    std::vector<u32> keys;  // the word at key_at of every record, in order
    bool operator==(const Reading&) const = default;
};

// Calls the reader until it says that the list has ended, or fails; never for ever.
template <class Reader>
Reading read_all(RecordBuffer& buffer, std::size_t key_at, Reader reader)
{
    Reading reading;
    zelfdb_cursor cursor{0, 0};
    for (int call = 0; call < 1000; ++call) {
        const int result = reader(&cursor, buffer.get());
        reading.results.push_back(result);
        if (result < 0) break;
        reading.filled.push_back(buffer.filled());
        for (u32 i = 0; i < buffer.filled(); ++i) reading.keys.push_back(buffer.word(i, key_at));
        if (result == 0) break;
    }
    return reading;
}

// What it should give for that many objects with these keys and a capacity of at least 1.
inline Reading whole_reading(const std::vector<u32>& keys, u32 capacity)
{
    Reading reading;
    reading.keys = keys;
    for (std::size_t left = keys.size();;) {
        if (left <= capacity) {
            reading.results.push_back(0);
            reading.filled.push_back(static_cast<u32>(left));
            return reading;
        }
        reading.results.push_back(1);
        reading.filled.push_back(capacity);
        left -= capacity;
    }
}

}  // namespace zelfdb
