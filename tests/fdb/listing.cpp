// Listing a VLAN's learned and static entries: zelfdb_get_all_dfil and zelfdb_get_all_sfil.
#include <cstring>

#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Listing : public Fdb {
protected:
    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_port(5);
        given_vlan(10, "sales");
        given_vlan(20, "lab");
        environment::reset();
        environment::set_time_s(start_s);
    }
    int learned(zelfdb_fdb_cursor& cursor, const Buffer& buffer, u32 vid = 10)
    {
        return zelfdb_get_all_dfil(vid, &cursor, buffer.get());
    }
    int statics(zelfdb_fdb_cursor& cursor, const Buffer& buffer, u32 vid = 10)
    {
        return zelfdb_get_all_sfil(vid, &cursor, buffer.get());
    }
    static zelfdb_fdb_record record_of(const Buffer& buffer, u32 i)
    {
        zelfdb_fdb_record result{};
        std::memcpy(&result, buffer->records + static_cast<std::size_t>(i) * buffer->record_size, sizeof result);
        return result;
    }
    static std::vector<std::string> macs(const Buffer& buffer)
    {
        std::vector<std::string> all;
        for (u32 i = 0; i < buffer->filled; ++i) {
            Mac address{};
            std::memcpy(address.byte, record_of(buffer, i).mac, sizeof address.byte);
            all.push_back(text(address));
        }
        return all;
    }
    // Five learned entries in three buckets, of which one has three: as listed.
    std::vector<std::string> given_five_learned()
    {
        const std::vector<Mac> order = {mac(0x0000), mac(0x0201), mac(0x0102), mac(0x0003), mac(0x00FF)};
        for (auto it = order.rbegin(); it != order.rend(); ++it) given_learned(10, *it, 3, 0, start_s - 7);
        std::vector<std::string> texts;
        for (const Mac& one : order) texts.push_back(text(one));
        return texts;
    }
    // Calls until the listing is complete; what each call answered, and everything it listed.
    struct Whole {
        std::vector<int> results;
        std::vector<u32> filled;
        std::vector<std::string> macs;
    };
    Whole list_all(u32 capacity, u32 record_size = sizeof(zelfdb_fdb_record))
    {
        Whole whole;
        zelfdb_fdb_cursor cursor{};
        const Buffer buffer = buffer_of(capacity, record_size);
        for (int calls = 0; calls < 10; ++calls) {
            whole.results.push_back(learned(cursor, buffer));
            whole.filled.push_back(buffer->filled);
            for (const std::string& one : macs(buffer)) whole.macs.push_back(one);
            EXPECT_EQ(static_cast<u32>(whole.results.size()), cursor.calls);
            if (whole.results.back() != 1) break;
        }
        return whole;
    }

    const Mac a = mac(0x001122334455);  // bucket 0xFF
    const Mac b = mac(0x001122334554);  // the same
    const Mac c = mac(0x001122335544);  // the same
};

// ---- Records ---------------------------------------------------------------------------------------------------------

TEST_F(Listing, ALearnedEntryIsListedWithBucketAddressFlagPermitPortAndAge)
{
    given_learned(10, a, 5, 0, start_s - 42);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(3);
    EXPECT_EQ(0, learned(cursor, buffer));
    ASSERT_EQ(1u, buffer->filled);
    EXPECT_EQ(1u, buffer->total);
    EXPECT_EQ(3u, buffer->capacity);
    EXPECT_EQ(20u, buffer->record_size);
    EXPECT_EQ(1u, cursor.calls);
    const zelfdb_fdb_record entry = record_of(buffer, 0);
    EXPECT_EQ(0xFFu, entry.bucket);
    EXPECT_THAT(macs(buffer), ElementsAre(text(a)));
    EXPECT_EQ(0u, entry.flag);
    EXPECT_EQ(0u, entry.permit);
    EXPECT_EQ(5u, entry.port);
    EXPECT_EQ(42, entry.age_s);
}

TEST_F(Listing, AStaticEntryIsListedWithoutAnAge)
{
    given_static(10, a, 5, 0xABCDEFA8, 0x12345678);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(1);
    EXPECT_EQ(0, statics(cursor, buffer));
    ASSERT_EQ(1u, buffer->filled);
    const zelfdb_fdb_record entry = record_of(buffer, 0);
    EXPECT_EQ(0xFFu, entry.bucket);
    EXPECT_EQ(0xA8u, entry.flag) << "the low byte";
    EXPECT_EQ(0x78u, entry.permit) << "the low byte";
    EXPECT_EQ(5u, entry.port);
    EXPECT_EQ(static_cast<i32>(0xAAAAAAAA), entry.age_s) << "not written";
}

TEST_F(Listing, AnEntryBoundToNoPortIsListedWithPort0)
{
    given_static(10, a, 77, 0x4);
    given_static(10, b, 3, 0xFFFFFF0C);
    given_static(10, c, 3, 0xFFFFFFFB);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(3);
    EXPECT_EQ(0, statics(cursor, buffer));
    ASSERT_EQ(3u, buffer->filled);
    EXPECT_EQ(0u, record_of(buffer, 0).port);
    EXPECT_EQ(4u, record_of(buffer, 0).flag);
    EXPECT_EQ(0u, record_of(buffer, 1).port);
    EXPECT_EQ(3u, record_of(buffer, 2).port);
}

TEST_F(Listing, AnAgeIsNeverBelowZero)
{
    struct Row {
        u32 now_s, last_seen_s;
        i32 age_s;
    };
    given_learned(10, a, 3);
    for (const Row& row : {Row{10000, 10000, 0},
                           {10000, 9999, 1},
                           {10000, 0, 10000},
                           {10000, 10001, 0},
                           {10000, 0xFFFFFFFF, 10001},
                           {10000, 20000, 0},
                           {0x7FFFFFFF, 0, 0x7FFFFFFF},
                           {0x80000000, 0, 0},
                           {0x80000000, 1, 0x7FFFFFFF},
                           {0xFFFFFFFF, 0xFFFFFFF0, 15}}) {
        SCOPED_TRACE(row.last_seen_s);
        environment::set_time_s(row.now_s);
        fil(10, a)->last_seen = row.last_seen_s;
        zelfdb_fdb_cursor cursor{};
        const Buffer buffer = buffer_of(1);
        EXPECT_EQ(0, learned(cursor, buffer));
        EXPECT_EQ(row.age_s, record_of(buffer, 0).age_s);
    }
}

TEST_F(Listing, RecordsLieAtTheRecordSizeAndNothingBehindThemIsWritten)
{
    for (const u32 record_size : {20u, 21u, 24u, 33u}) {
        SCOPED_TRACE(record_size);
        given_learned(10, b, 5, 0, start_s - 2);
        given_learned(10, a, 3, 0, start_s - 1);
        zelfdb_fdb_cursor cursor{};
        const Buffer buffer = buffer_of(3, record_size);
        EXPECT_EQ(0, learned(cursor, buffer));
        ASSERT_EQ(2u, buffer->filled);
        EXPECT_THAT(macs(buffer), ElementsAre(text(a), text(b)));
        EXPECT_EQ(1, record_of(buffer, 0).age_s);
        EXPECT_EQ(5u, record_of(buffer, 1).port);
        for (u32 i = 0; i < 3 * record_size; ++i) {
            const bool written = i / record_size < 2 && i % record_size < 20;
            if (!written) {
                EXPECT_EQ(0xAA, buffer->records[i]) << "byte " << i;
            }
        }
        ASSERT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    }
}

TEST_F(Listing, ARecordSizeBelow20IsRefusedAndNothingIsWritten)
{
    given_learned(10, a, 3);
    given_static(10, b, 3);
    for (const u32 record_size : {0u, 1u, 16u, 19u}) {
        SCOPED_TRACE(record_size);
        const Buffer buffer = buffer_of(4, record_size);
        buffer->total = 88;
        buffer->filled = 99;
        zelfdb_fdb_cursor cursor{};
        locks();
        EXPECT_EQ(-1, learned(cursor, buffer));
        EXPECT_EQ(both_locks_main_back_first, locks());
        EXPECT_EQ(-1, statics(cursor, buffer));
        EXPECT_EQ(both_locks, locks());
        EXPECT_EQ(0u, cursor.calls);
        EXPECT_EQ(88u, buffer->total);
        EXPECT_EQ(99u, buffer->filled);
        for (u32 i = 0; i < 4 * record_size; ++i) EXPECT_EQ(0xAA, buffer->records[i]);
    }
}

// ---- Which entries, in which order -----------------------------------------------------------------------------------

TEST_F(Listing, EntriesComeBucketByBucketInTheOrderOfTheirChainsAndTheTotalCountsAllTypes)
{
    const std::vector<std::string> order = given_five_learned();
    given_static(10, mac(0x0300), 3);
    given_static(10, mac(0x0401), 3);
    given_static(10, mac(0x10), 3);
    given_learned(20, mac(0x20), 3);
    given_local(3, mac(0x30));
    forget();
    const Snapshot before = snapshot();
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(10);
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(both_locks_main_back_first, locks());
    EXPECT_EQ(order, macs(buffer));
    EXPECT_EQ(8u, buffer->total);
    const std::vector<u32> buckets = {0, 3, 3, 3, 0xFF};
    for (u32 i = 0; i < 5; ++i) EXPECT_EQ(buckets[i], record_of(buffer, i).bucket);

    cursor = {};
    EXPECT_EQ(0, statics(cursor, buffer));
    EXPECT_EQ(both_locks, locks());
    EXPECT_THAT(macs(buffer), ElementsAre(text(mac(0x0300)), text(mac(0x0401)), text(mac(0x10))));
    EXPECT_EQ(8u, buffer->total);
    EXPECT_TRUE(same(before, snapshot())) << "a listing changes nothing and sends nothing";
}

TEST_F(Listing, AVlanWithoutSuchEntriesIsListedAtOnce)
{
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(2);
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(0u, buffer->filled);
    EXPECT_EQ(0u, buffer->total);
    given_static(10, a, 3);
    cursor = {};
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(0u, buffer->filled);
    EXPECT_EQ(1u, buffer->total);
    EXPECT_EQ(1u, cursor.calls);
}

TEST_F(Listing, TheVidIsTakenModulo65536)
{
    given_learned(10, a, 3);
    given_static(10, b, 3);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(2);
    EXPECT_EQ(0, learned(cursor, buffer, 0xFFFF000A));
    EXPECT_THAT(macs(buffer), ElementsAre(text(a)));
    cursor = {};
    EXPECT_EQ(0, statics(cursor, buffer, 0x1000A));
    EXPECT_THAT(macs(buffer), ElementsAre(text(b)));
}

TEST_F(Listing, AVlanThatDoesNotExistCannotBeListed)
{
    const Buffer buffer = buffer_of(2);
    buffer->filled = 99;
    zelfdb_fdb_cursor cursor{};
    for (const u32 vid : {0u, 1u, 11u, 4095u, 8192u, 0xFFFFu, 0x10000u}) {
        SCOPED_TRACE(vid);
        locks();
        EXPECT_EQ(-1, learned(cursor, buffer, vid));
        EXPECT_EQ(both_locks_main_back_first, locks());
        EXPECT_EQ(-1, statics(cursor, buffer, vid));
        EXPECT_EQ(both_locks, locks());
    }
    EXPECT_EQ(0u, cursor.calls);
    EXPECT_EQ(99u, buffer->filled);
}

// ---- In several calls ------------------------------------------------------------------------------------------------

TEST_F(Listing, EveryCapacityListsTheSameInAsManyCallsAsItTakes)
{
    const std::vector<std::string> order = given_five_learned();
    struct Row {
        u32 capacity;
        std::vector<int> results;
        std::vector<u32> filled;
    };
    const Row rows[] = {
        {1, {1, 1, 1, 1, 0}, {1, 1, 1, 1, 1}},
        {2, {1, 1, 0}, {2, 2, 1}},
        {3, {1, 0}, {3, 2}},
        {4, {1, 0}, {4, 1}},
        {5, {0}, {5}},  // exactly full is complete
        {6, {0}, {5}},
        {100, {0}, {5}},
    };
    for (const Row& row : rows) {
        for (const u32 record_size : {20u, 24u}) {
            SCOPED_TRACE(std::to_string(row.capacity) + " records of " + std::to_string(record_size));
            const Whole whole = list_all(row.capacity, record_size);
            EXPECT_EQ(row.results, whole.results);
            EXPECT_EQ(row.filled, whole.filled);
            EXPECT_EQ(order, whole.macs);
        }
    }
}

TEST_F(Listing, EntriesOfOtherTypesBehindTheLastOneDoNotMakeTheBufferTooSmall)
{
    given_learned(10, mac(1), 3);
    given_static(10, mac(0x0100), 3);
    given_static(10, mac(0xFF), 3);
    EXPECT_EQ((std::vector<int>{0}), list_all(1).results);
}

TEST_F(Listing, ContinuesAmongEntriesOfOtherTypesInTheSameChain)
{
    given_learned(10, mac(0x0003), 3);
    given_static(10, mac(0x0102), 3);
    given_learned(10, mac(0x0201), 3);
    Fil& last = given_static(10, mac(0x0300), 3);
    hRem_fil_by_mac(fdb(), header(), table(10), last);
    hAdd_fil_by_mac(fdb(), header(), table(10), last);  // static, learned, learned, static
    const Whole whole = list_all(1);
    EXPECT_EQ((std::vector<int>{1, 0}), whole.results);
    EXPECT_THAT(whole.macs, ElementsAre(text(mac(0x0201)), text(mac(0x0003))));
}

TEST_F(Listing, TheCursorHoldsTheLastEntryOfAFullBufferAndCountsTheCalls)
{
    given_five_learned();
    zelfdb_fdb_cursor cursor{0, {9, 9, 9, 9, 9, 9}, {8, 8}};
    const Buffer buffer = buffer_of(2);
    EXPECT_EQ(1, learned(cursor, buffer));
    EXPECT_EQ(1u, cursor.calls);
    EXPECT_EQ(0, std::memcmp(cursor.mac, mac(0x0201).byte, 6));
    EXPECT_EQ(8, cursor.pad[0]);
    EXPECT_EQ(8, cursor.pad[1]);
    EXPECT_EQ(1, learned(cursor, buffer));
    EXPECT_EQ(0, std::memcmp(cursor.mac, mac(0x0003).byte, 6));
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(3u, cursor.calls);
    EXPECT_EQ(0, std::memcmp(cursor.mac, mac(0x0003).byte, 6)) << "set only when the buffer was full";
    EXPECT_EQ(1u, buffer->filled);
}

TEST_F(Listing, ContinuesBehindTheLastBucketToItsEnd)
{
    given_learned(10, mac(0x00FF), 3);
    given_learned(10, mac(0x01FE), 3);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(1);
    EXPECT_EQ(1, learned(cursor, buffer));
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(1u, buffer->filled);
    // A caller that goes on after the end, from the last entry listed.
    std::memcpy(cursor.mac, mac(0x00FF).byte, 6);
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_EQ(0u, buffer->filled);
}

TEST_F(Listing, EntriesLearnedMeanwhileBehindTheCursorAreListedAndThoseBeforeItAreNot)
{
    given_learned(10, mac(0x10), 3);
    given_learned(10, mac(0x20), 3);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(1);
    EXPECT_EQ(1, learned(cursor, buffer));
    given_learned(10, mac(0x05), 3);
    given_learned(10, mac(0x18), 3);
    EXPECT_EQ(1, learned(cursor, buffer));
    EXPECT_THAT(macs(buffer), ElementsAre(text(mac(0x18))));
    EXPECT_EQ(4u, buffer->total);
    EXPECT_EQ(0, learned(cursor, buffer));
    EXPECT_THAT(macs(buffer), ElementsAre(text(mac(0x20))));
}

TEST_F(Listing, ContinuingAfterTheCursorsEntryVanishedIsRefused)
{
    given_five_learned();
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(2);
    ASSERT_EQ(1, learned(cursor, buffer));
    ASSERT_EQ(0u, rem_fdbentry(d(), fil_dynamic, table(10), mac(0x0201), nullptr, 0));
    locks();
    EXPECT_EQ(-1, learned(cursor, buffer));
    EXPECT_EQ(both_locks_main_back_first, locks());
    EXPECT_EQ(1u, cursor.calls);
    EXPECT_EQ(0, std::memcmp(cursor.mac, mac(0x0201).byte, 6));
    EXPECT_EQ(2u, buffer->filled) << "as the call before left it";
    EXPECT_EQ(5u, buffer->total);

    given_static(10, mac(0x0201), 3);
    EXPECT_EQ(0, learned(cursor, buffer)) << "there again, if as a static entry, at the end of its chain";
    EXPECT_THAT(macs(buffer), ElementsAre(text(mac(0x00FF))));
}

TEST_F(Listing, ACursorOfAnotherVlanIsRefused)
{
    given_learned(10, mac(1), 3);
    given_learned(10, mac(2), 3);
    given_learned(20, mac(2), 3);
    zelfdb_fdb_cursor cursor{};
    const Buffer buffer = buffer_of(1);
    ASSERT_EQ(1, learned(cursor, buffer));
    EXPECT_EQ(-1, learned(cursor, buffer, 20));
}

TEST_F(Listing, TheRecordsOfTheCallBeforeAreNotNeededToContinue)
{
    const std::vector<std::string> order = given_five_learned();
    zelfdb_fdb_cursor cursor{};
    std::vector<std::string> listed;
    for (u32 i = 0; i < 5; ++i) {
        const Buffer buffer = buffer_of(1);
        EXPECT_EQ(i < 4 ? 1 : 0, learned(cursor, buffer));
        ASSERT_THAT(macs(buffer), SizeIs(1));
        listed.push_back(macs(buffer)[0]);
    }
    EXPECT_EQ(order, listed);
}

TEST_F(Listing, ABufferWithoutRoomIsFullAsSoonAsThereIsAnEntry)
{
    const Buffer buffer = buffer_of(0);
    zelfdb_fdb_cursor cursor{0, {9, 9, 9, 9, 9, 9}, {0, 0}};
    EXPECT_EQ(0, learned(cursor, buffer)) << "nothing to list";
    given_static(10, b, 3);
    cursor.calls = 0;
    EXPECT_EQ(0, learned(cursor, buffer)) << "nothing of that type";
    EXPECT_EQ(1u, buffer->total);

    given_learned(10, a, 3);
    cursor.calls = 0;
    EXPECT_EQ(1, learned(cursor, buffer));
    EXPECT_EQ(0u, buffer->filled);
    EXPECT_EQ(2u, buffer->total);
    EXPECT_EQ(1u, cursor.calls);
    EXPECT_EQ(9, cursor.mac[0]) << "no last entry to name";
    EXPECT_EQ(-1, learned(cursor, buffer)) << "so there is none to continue from";
}

TEST_F(Listing, ABufferOfMoreBytesThanAWordCountsCannotBeHad)
{
    EXPECT_EQ(nullptr, zelfdb_alloc_ropebuf(0x10000000, 20));
    EXPECT_EQ(nullptr, zelfdb_alloc_ropebuf(0x0CCCCCCD, 20)) << "20 x 0x0CCCCCCD is 4 in 32 bits";
    EXPECT_EQ(nullptr, zelfdb_alloc_ropebuf(0xFFFFFFFF, 0xFFFFFFFF));
}

}  // namespace
}  // namespace zelfdb
