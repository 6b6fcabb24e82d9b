// Record buffers: their header, what of them is cleared, and sizes that are too large.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "support/environment.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {
namespace {

using testing::Each;

constexpr u32 header_size = sizeof(zelfdb_ropebuf);

struct Free {
    void operator()(zelfdb_ropebuf* buffer) const { zelfdb_free_ropebuf(buffer); }
};
using Buffer = std::unique_ptr<zelfdb_ropebuf, Free>;

class Ropebuf : public testing::Test {
protected:
    void SetUp() override { environment::reset(); }
    void TearDown() override { environment::reset(); }

    static Buffer make(u32 capacity, u32 record_size) { return Buffer(zelfdb_alloc_ropebuf(capacity, record_size)); }
    static std::vector<u8> bytes(const u8* from, std::size_t count) { return {from, from + count}; }
};

TEST_F(Ropebuf, HeaderSaysWhatWasAskedForAndRecordsStartBehindIt)
{
    const Buffer buffer = make(3, 24);
    ASSERT_NE(nullptr, buffer);
    EXPECT_EQ(3u, buffer->capacity);
    EXPECT_EQ(24u, buffer->record_size);
    EXPECT_EQ(0u, buffer->total);
    EXPECT_EQ(0u, buffer->filled);
    EXPECT_EQ(reinterpret_cast<u8*>(buffer.get()) + header_size, buffer->records);
}

TEST_F(Ropebuf, HeaderIsFourWordsAndAPointer) { EXPECT_EQ(16 + sizeof(void*), header_size); }

TEST_F(Ropebuf, OfNoRecordsIsAHeaderWhosePointerIsItsEnd)
{
    const Buffer buffer = make(0, 24);
    ASSERT_NE(nullptr, buffer);
    EXPECT_EQ(0u, buffer->capacity);
    EXPECT_EQ(24u, buffer->record_size);
    EXPECT_EQ(reinterpret_cast<u8*>(buffer.get() + 1), buffer->records);
}

// The heap is made to hand out memory full of one byte that is not 0, whatever heap it is.
class UsedHeap : public Ropebuf {
protected:
    static constexpr std::size_t block = 50 * 40 + header_size;

    void SetUp() override
    {
        Ropebuf::SetUp();
        mallopt(M_PERTURB, 0x5A);
        auto* const probe = static_cast<u8*>(std::malloc(block));
        const std::vector<u8> content = bytes(probe, block);
        std::free(probe);
        fill_ = content[header_size];
        ASSERT_NE(0, fill_);
        ASSERT_THAT(bytes(content.data() + header_size, block - header_size), Each(fill_));
    }
    void TearDown() override
    {
        mallopt(M_PERTURB, 0);
        Ropebuf::TearDown();
    }

    u8 fill_ = 0;
};

TEST_F(UsedHeap, RecordsAreClearedButForTheirLast16Bytes)
{
    const Buffer buffer = make(50, 40);
    ASSERT_NE(nullptr, buffer);
    EXPECT_THAT(bytes(buffer->records, 50 * 40 - 16), Each(0));
    EXPECT_THAT(bytes(buffer->records + 50 * 40 - 16, 16), Each(fill_));
}

TEST_F(UsedHeap, SoTheyAreWhenTheyAreSmallerThan16BytesEach)
{
    const Buffer buffer = make(400, 5);
    ASSERT_NE(nullptr, buffer);
    EXPECT_THAT(bytes(buffer->records, 400 * 5 - 16), Each(0));
    EXPECT_THAT(bytes(buffer->records + 400 * 5 - 16, 16), Each(fill_));
}

TEST_F(Ropebuf, OfLessThan16BytesOfRecordsIsMadeWhole)
{
    for (const u32 size : {1u, 8u, 15u, 16u, 17u}) {
        const Buffer buffer = make(1, size);
        ASSERT_NE(nullptr, buffer);
        EXPECT_EQ(1u, buffer->capacity);
        EXPECT_EQ(size, buffer->record_size);
        for (u32 i = 0; i < size; ++i) buffer->records[i] = 1;  // all of it is there to be written
    }
}

TEST_F(Ropebuf, WithoutMemoryIsNone)
{
    environment::fail("malloc", ENOMEM);
    zelfdb_ropebuf* const buffer = zelfdb_alloc_ropebuf(3, 24);
    EXPECT_EQ(nullptr, buffer);
}

TEST_F(Ropebuf, OfMoreBytesThan32BitsCountIsNoneAndTakesNoMemory)
{
    const u32 too_much[][2] = {{0x10000, 0x10000},
                               {0xFFFFFFFF, 1},
                               {1, 0xFFFFFFFF},
                               {0xFFFFFFFF, 0xFFFFFFFF},
                               {1, 0xFFFFFFFF - header_size + 1},
                               {0x80000000, 2}};
    for (const auto& [capacity, size] : too_much) {
        environment::reset();
        zelfdb_ropebuf* const buffer = zelfdb_alloc_ropebuf(capacity, size);
        const u32 asked = environment::calls("malloc");
        EXPECT_EQ(nullptr, buffer);
        EXPECT_EQ(0u, asked);
    }
}

TEST_F(Ropebuf, OfTheLargestSizeIsAskedOfTheHeap)
{
    environment::fail("malloc", ENOMEM);
    zelfdb_ropebuf* const buffer = zelfdb_alloc_ropebuf(1, 0xFFFFFFFF - header_size);
    const u32 asked = environment::calls("malloc");
    EXPECT_EQ(nullptr, buffer);
    EXPECT_EQ(1u, asked);
}

TEST_F(Ropebuf, FreeingNoneDoesNothing) { zelfdb_free_ropebuf(nullptr); }

}  // namespace
}  // namespace zelfdb
