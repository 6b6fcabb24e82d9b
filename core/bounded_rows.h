// Rows of words written one after another into a caller's record, at any address, up to a byte limit: a row that does not
// fit is left out whole.
#pragma once

#include <cstring>

#include "core/types.h"

namespace zelfdb {

class BoundedRows {
public:
    static constexpr std::size_t unbounded = SIZE_MAX;

    BoundedRows(u8* record, std::size_t from, std::size_t limit) : record_(record), at_(from), limit_(limit) {}

    template <class... Words>
    void put(Words... words)
    {
        const u32 row[] = {static_cast<u32>(words)...};
        if (at_ + sizeof row <= limit_) std::memcpy(record_ + at_, row, sizeof row);
        at_ += sizeof row;
    }

private:
    u8* record_;
    std::size_t at_;
    std::size_t limit_;
};

}  // namespace zelfdb
