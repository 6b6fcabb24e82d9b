// Clearing databases in batches: clear_fdb, zelfdb_clear_fdb and zelfdb_clear_fdb_vlan.
#include <algorithm>

#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Clearing : public Fdb {
protected:
    Clearing() : Fdb(8, 6, 900) {}

    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_vlan(10, "sales");
        given_vlan(20, "lab");
        environment::reset();
    }
    // Addresses first, first + 1 .. spread over all buckets, several to a bucket once there are more than 256.
    void given_learned_many(u16 vid, u32 count, u32 first = 0)
    {
        for (u32 i = 0; i < count; ++i) given_learned(vid, mac(0x020000000000 + first + i), 3);
    }
    // How many entries each command removed.
    static std::vector<u32> batches()
    {
        std::vector<u32> sizes;
        for (const std::string& line : sent()) {
            u32 removals = 0;
            for (std::size_t at = line.find("removeFDB("); at != std::string::npos;
                 at = line.find("removeFDB(", at + 1))
                ++removals;
            sizes.push_back(removals);
        }
        return sizes;
    }
    // The addresses of one type in the order of buckets and chains.
    std::vector<Mac> listed(u16 vid, u32 type) const
    {
        std::vector<Mac> all;
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
            for (const Fil& entry : chain(fils_by_mac, fdb(), table(vid), bucket)) {
                if (entry.fil_type == type) all.push_back(entry.mac);
            }
        }
        return all;
    }
};

TEST_F(Clearing, RemovesInBatchesOf40AndPausesAfterEveryTenthFullOne)
{
    struct Row {
        u32 count;
        std::vector<u32> batches;
        std::size_t pauses;
    };
    const auto full = [](u32 times, u32 rest) {
        std::vector<u32> sizes(times, 40);
        if (rest != 0) sizes.push_back(rest);
        return sizes;
    };
    const Row rows[] = {
        {0, {}, 0},
        {1, {1}, 0},
        {39, {39}, 0},
        {40, {40}, 0},
        {41, {40, 1}, 0},
        {80, {40, 40}, 0},
        {95, {40, 40, 15}, 0},
        {399, full(9, 39), 0},
        {400, full(10, 0), 1},
        {401, full(10, 1), 1},
        {799, full(19, 39), 1},
        {800, full(20, 0), 2},
        {839, full(20, 39), 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.count);
        given_learned_many(10, row.count);
        environment::sleeps().clear();
        EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
        EXPECT_EQ(row.batches, batches());
        EXPECT_EQ(std::vector<unsigned>(row.pauses, 1), environment::sleeps());
        EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
        EXPECT_EQ((Totals{0, 0}), totals());
        EXPECT_EQ(900u, free_records().size());
    }
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(Clearing, ABatchNamesItsEntriesInTheOrderOfBucketsAndChains)
{
    given_learned_many(10, 95);
    given_learned_many(10, 5, 0x10100);  // to the front of chains that are there already
    const std::vector<Mac> order = listed(10, fil_dynamic);
    ASSERT_EQ(100u, order.size());
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_THAT(sent(), ElementsAre(batch_line(10, {order.begin(), order.begin() + 40}),
                                    batch_line(10, {order.begin() + 40, order.begin() + 80}),
                                    batch_line(10, {order.begin() + 80, order.end()})));
}

TEST_F(Clearing, RecordsGoBackOneByOneInThatOrder)
{
    const std::vector<u32> before = free_records();
    given_learned(10, mac(3), 3);
    given_learned(10, mac(1), 3);
    given_learned(10, mac(2), 3);
    std::vector<u32> expected;
    for (const Mac& one : {mac(3), mac(2), mac(1)}) expected.push_back(offset_of(fdb(), *fil(10, one)).value);
    expected.insert(expected.end(), before.begin() + 3, before.end());
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_EQ(expected, free_records());
}

TEST_F(Clearing, TakesOnlyTheGivenTypeOutOfMixedChains)
{
    // Every chain of four: static, learned, static, learned, so that a batch ends inside a chain.
    for (u32 i = 0; i < 30; ++i) {
        given_static(10, mac(0x0100 + 2 * i), 3, 0, 1);
        given_static(10, mac(0x0001 + 2 * i), 3, 0, 0);
        given_learned(10, mac(0x020000000000 + i), 3);
    }
    given_learned_many(20, 3);
    forget();
    const std::vector<Mac> statics = listed(10, fil_static);
    const Snapshot ready = snapshot();

    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_EQ((Counts{60, 0, 30, 30}), counts(table(10)));
    const std::vector<Mac> left = listed(10, fil_static);
    ASSERT_EQ(statics.size(), left.size());
    EXPECT_TRUE(std::equal(statics.begin(), statics.end(), left.begin(), same_mac));
    EXPECT_THAT(batches(), ElementsAre(30));

    restore(ready);
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_static));
    EXPECT_EQ((Counts{30, 30, 30, 0}), counts(table(10)));
    EXPECT_EQ((Totals{33, 0}), totals()) << "system entries are counted out as such";
    EXPECT_THAT(batches(), ElementsAre(40, 20));

    restore(ready);
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_local));
    EXPECT_TRUE(same(ready, snapshot()));
}

TEST_F(Clearing, APortsLocalEntriesAreClearedUnderThePortsFID)
{
    given_local(3, mac(2), 0, 1);
    given_local(3, mac(1), 0, 0);
    EXPECT_EQ(0, clear_fdb(d(), own_table(3), fil_local));
    EXPECT_THAT(sent(), ElementsAre(batch_line(0xC003, {mac(1), mac(2)})));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(own_table(3)));
    EXPECT_EQ((Totals{0, 0}), totals());
}

TEST_F(Clearing, ABatchIsSentOnceAndItsEntriesGoWhateverTheNPSays)
{
    given_learned_many(10, 50);
    const Snapshot ready = snapshot();
    ASSERT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    const Snapshot expected = snapshot();
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        refuse("removeFDB", how);
        EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
        EXPECT_TRUE(same(expected, snapshot()));
    }
    EXPECT_EQ(0u, recorder::commands_not_freed()) << "a batch is freed whatever became of it";
}

TEST_F(Clearing, EntriesWhoseRemovalCannotBeBuiltGoAllTheSame)
{
    given_learned(10, mac(1), 3);
    given_learned(10, mac(2), 3);
    given_learned(10, mac(3), 3);
    const Snapshot ready = snapshot();
    recorder::fail_builders(1);
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_THAT(sent(), ElementsAre(batch_line(10, {mac(2), mac(3)})));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));

    restore(ready);
    recorder::fail_builders(3);
    EXPECT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ(900u, free_records().size());
}

TEST_F(Clearing, WithoutMemoryForTheWorkListNothingIsClearedAndTheResultIsMinusOne)
{
    given_learned_many(10, 3);
    const Snapshot before = snapshot();
    environment::fail("malloc", 12);
    EXPECT_EQ(-1, clear_fdb(d(), table(10), fil_dynamic));
    EXPECT_TRUE(same(before, snapshot()));
    EXPECT_THAT(environment::sleeps(), IsEmpty());
}

TEST_F(Clearing, ABatchMayMixDatabasesAndEachEntryIsCountedOutOfItsOwn)
{
    FilBatch batch{};
    batch.entry[batch.count++] = &given_learned(20, mac(1), 3);
    batch.entry[batch.count++] = &given_static(10, mac(1), 3, 0, 1);
    batch.entry[batch.count++] = &given_local(3, mac(1));
    given_learned(10, mac(2), 3);
    forget();
    EXPECT_EQ(0, remove_fil_batch(d(), batch));
    EXPECT_THAT(sent(), ElementsAre(remove_line(20, mac(1)) + " + " + remove_line(10, mac(1)) + " + " +
                                    remove_line(0xC003, mac(1))));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(20)));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(own_table(3)));
    EXPECT_EQ((Totals{1, 0}), totals());
    EXPECT_THAT(locks(), IsEmpty()) << "callers hold them";
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(Clearing, AnEmptyBatchSendsNothing)
{
    const Snapshot before = snapshot();
    const FilBatch batch{};
    EXPECT_EQ(0, remove_fil_batch(d(), batch));
    EXPECT_TRUE(same(before, snapshot()));
}

// ---- All VLANs -------------------------------------------------------------------------------------------------------

TEST_F(Clearing, AllVlansLoseTheirLearnedEntriesInVidOrderAndNothingElse)
{
    given_vlan(5, "first");
    given_learned(20, mac(1), 3);
    given_learned(5, mac(2), 3);
    given_learned(10, mac(3), 3);
    given_static(10, mac(4), 3, 0, 1);
    given_local(3, mac(5));
    forget();
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_THAT(sent(), ElementsAre(remove_line(5, mac(2)), remove_line(10, mac(3)), remove_line(20, mac(1))));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ((Counts{1, 0, 0, 1}), counts(table(10)));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(3)));
    EXPECT_EQ((Totals{1, 1}), totals());
}

TEST_F(Clearing, OnlyVlansWithEntriesAreSearched)
{
    given_static(20, mac(1), 3);
    environment::reset();
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_EQ(2u, environment::calls("malloc")) << "the descriptor's, and VLAN 20's work list";
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(Clearing, WithoutAnyVlanThereIsNothingToClear)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_delete_vlan(10, &err));
    ASSERT_EQ(0, zelfdb_delete_vlan(20, &err));
    forget();
    const Snapshot before = snapshot();
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_EQ(both_locks, locks());
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Clearing, EveryVlanHasItsOwnCountOfBatches)
{
    given_learned_many(10, 200);
    given_learned_many(20, 200);
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_EQ(10u, sent().size());
    EXPECT_THAT(environment::sleeps(), IsEmpty());
    given_learned_many(10, 400);
    given_learned_many(20, 400);
    forget();
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_THAT(environment::sleeps(), ElementsAre(1, 1));
    EXPECT_EQ(both_locks, locks()) << "not given back for the pauses";
}

TEST_F(Clearing, AVlanWithoutMemoryForItsWorkListKeepsItsEntriesAndTheResultIsStill0)
{
    given_learned(10, mac(1), 3);
    given_learned(20, mac(2), 3);
    environment::fail("malloc", 12, 2);  // the first is the descriptor's
    EXPECT_EQ(0, zelfdb_clear_fdb());
    EXPECT_THAT(sent(), ElementsAre(remove_line(20, mac(2))));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));

    environment::fail("malloc", 12, 2);
    EXPECT_EQ(0, zelfdb_clear_fdb_vlan(10));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
}

// ---- One VLAN --------------------------------------------------------------------------------------------------------

TEST_F(Clearing, OneVlanLosesItsLearnedEntriesAndTheOthersKeepTheirs)
{
    given_learned(10, mac(1), 3);
    given_static(10, mac(2), 3);
    given_learned(20, mac(1), 3);
    forget();
    EXPECT_EQ(0, zelfdb_clear_fdb_vlan(10));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, mac(1))));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(table(10)));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(20)));
}

TEST_F(Clearing, OneVlanIsNamedByTheLow16Bits)
{
    given_learned(10, mac(1), 3);
    EXPECT_EQ(0, zelfdb_clear_fdb_vlan(0xABC0000A));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ(0, zelfdb_clear_fdb_vlan(10)) << "an empty one is cleared too";
}

TEST_F(Clearing, AVlanThatDoesNotExistCannotBeCleared)
{
    given_learned(10, mac(1), 3);
    const Snapshot before = snapshot();
    for (const u32 vid : {0u, 1u, 11u, 4095u, 8191u, 8192u, 0xFFFFu, 0xA0000u}) {
        locks();
        EXPECT_EQ(-1, zelfdb_clear_fdb_vlan(vid)) << vid;
        EXPECT_EQ(both_locks, locks());
    }
    EXPECT_TRUE(same(before, snapshot()));
}

}  // namespace
}  // namespace zelfdb
