// An operation performed by a child process one instruction at a time, and every state that the database was in on the way.
#pragma once

#include <functional>
#include <vector>

#include "core/types.h"

namespace crash {

using namespace zelfdb;

// The two segments as the test itself has them attached.
struct Attached {
    u8* main;
    std::size_t main_bytes;
    u8* fdb;
    std::size_t fdb_bytes;
};

struct Bytes {
    std::vector<u8> main;
    std::vector<u8> fdb;
    bool operator==(const Bytes&) const = default;
};
Bytes copy_of(const Attached& segments);
void put_back(const Attached& segments, const Bytes& bytes);

// A page of a segment, by its number there.
struct Page {
    bool in_main;
    std::size_t number;
};

// What was seen: the pages that the operation writes at all, and their bytes after each instruction that changed any.
struct Steps {
    std::vector<Page> pages;
    std::vector<std::vector<u8>> states;
    Bytes before;
    Bytes after;
    std::size_t instructions = 0;

    // The whole segments as a death at that moment leaves them.
    [[nodiscard]] Bytes at(std::size_t state) const;
};

// Leaves the segments as they were. Fails the running test if the child does not come to a good end, or writes where it did
// not write the first time.
Steps step(const Attached& segments, const std::function<void()>& operation);

}  // namespace crash
