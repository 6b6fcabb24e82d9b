// Words written one after another into a caller's record, at any address, up to a byte limit: what does not fit is left out.
#pragma once

#include <cstring>

#include "core/types.h"

namespace zelfdb {

class BoundedWords {
public:
    static constexpr std::size_t unbounded = SIZE_MAX;

    BoundedWords(u8* record, std::size_t from, std::size_t limit) : record_(record), at_(from), limit_(limit) {}
    void put(u32 word)
    {
        if (at_ + sizeof word <= limit_) std::memcpy(record_ + at_, &word, sizeof word);
        at_ += sizeof word;
    }

private:
    u8* record_;
    std::size_t at_;
    std::size_t limit_;
};

}  // namespace zelfdb
