// What the bulk readers of ports, VLANs and memberships share: a cursor, a record buffer, a list to walk on.
#pragma once

#include <cstring>

#include "core/links.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

// Fills the buffer from a list, starting at first. fill writes one record (to a u8*, with the size of a record), key_of
// gives what the cursor resumes by. 0 = the list ended, 1 = the buffer was full first.
template <auto LinkOf, class Fill, class KeyOf>
int fill_from(Base base, Offset first, u32 total, zelfdb_cursor& cursor, zelfdb_ropebuf& buffer, Fill fill,
              KeyOf key_of)
{
    buffer.total = total;
    buffer.filled = 0;
    ++cursor.calls;
    const Linked<LinkOf>* last = nullptr;
    for (auto& record : Walk<LinkOf>(base, first)) {
        if (buffer.filled == buffer.capacity) {
            if (last) cursor.key = key_of(*last);
            return 1;
        }
        fill(record, buffer.records + static_cast<std::size_t>(buffer.filled) * buffer.record_size);
        ++buffer.filled;
        last = &record;
    }
    return 0;
}

}  // namespace zelfdb
