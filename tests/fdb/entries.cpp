// One entry at a time, as the other rules use it: removal by address or by record, and making room in an empty pool.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RemovingAnEntry : public Fdb {
protected:
    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_vlan(10, "sales");
        given_vlan(20, "lab");
    }
    u32 remove(u32 type, const Mac& mac, Fil* entry, u32 permit)
    {
        return rem_fdbentry(d(), type, table(10), mac, entry, permit);
    }
    const Mac a = mac(0x001122334455);
    const Mac b = mac(0x001122334554);
};

TEST_F(RemovingAnEntry, ReportsTheAddressThenThePermitThenTheType)
{
    given_static(10, a, 3, 0, 1);
    given_static(20, b, 3, 0, 1);
    const Snapshot before = snapshot();
    EXPECT_EQ(105u, remove(3, b, nullptr, 0)) << "it is in another database";
    EXPECT_EQ(2101u, remove(3, a, nullptr, 0)) << "permit and type differ";
    EXPECT_EQ(2101u, remove(2, a, nullptr, 0));
    EXPECT_EQ(2101u, remove(2, a, nullptr, 2));
    EXPECT_EQ(2102u, remove(3, a, nullptr, 1));
    EXPECT_EQ(2102u, remove(1, a, nullptr, 1));
    EXPECT_TRUE(same(before, snapshot()));
    EXPECT_EQ(0u, remove(2, a, nullptr, 1));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a)));
}

TEST_F(RemovingAnEntry, TakesTheGivenRecordAndThenDoesNotLookAtTheAddress)
{
    Fil& entry = given_static(10, a, 3);
    given_static(10, b, 3);
    EXPECT_EQ(2102u, remove(3, b, &entry, 0));
    EXPECT_EQ(2101u, remove(2, b, &entry, 1));
    EXPECT_EQ(0u, remove(2, b, &entry, 0));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a)));
    EXPECT_NE(nullptr, fil(10, b));
}

TEST_F(RemovingAnEntry, CountsItOutByItsPermitAndItsType)
{
    struct Row {
        u32 type, permit;
        Counts left;
    };
    // Of two learned, one static user and one static system entry.
    given_learned(10, mac(1), 3);
    const Mac learned = mac(2);
    const Mac user = mac(3);
    const Mac system = mac(4);
    given_learned(10, learned, 3);
    given_static(10, user, 3, 0, 2);
    given_static(10, system, 3, 0, 1);
    ASSERT_EQ((Counts{4, 2, 3, 1}), counts(table(10)));
    EXPECT_EQ(0u, remove(3, learned, nullptr, 0));
    EXPECT_EQ((Counts{3, 1, 2, 1}), counts(table(10)));
    EXPECT_EQ(0u, remove(2, user, nullptr, 2));
    EXPECT_EQ((Counts{2, 1, 1, 1}), counts(table(10)));
    EXPECT_EQ(0u, remove(2, system, nullptr, 1));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
    EXPECT_EQ((Totals{1, 0}), totals());
}

// ---- Making room -----------------------------------------------------------------------------------------------------

class Eviction : public Fdb {
protected:
    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_vlan(30, "late");
        given_vlan(10, "early");
        given_vlan(20, "middle");
    }
    // Which command one eviction sends; empty for none. Its result is always 0.
    std::string evicted(FdbHead& own)
    {
        forget();
        EXPECT_EQ(0, evict_one_dynamic(d(), own));
        const std::vector<std::string> lines = sent();
        EXPECT_LE(lines.size(), 1u);
        return lines.empty() ? "" : lines.front();
    }
};

TEST_F(Eviction, TakesFromTheGivenDatabaseFirst)
{
    given_learned(10, mac(1), 3);
    given_learned(30, mac(2), 3);
    EXPECT_EQ(remove_line(30, mac(2)), evicted(table(30)));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(30)));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
}

TEST_F(Eviction, ElseFromTheFirstVlanThatHasALearnedEntry)
{
    given_static(10, mac(1), 3);
    given_learned(30, mac(2), 3);
    given_learned(20, mac(3), 3);
    EXPECT_EQ(remove_line(20, mac(3)), evicted(table(10)));
    EXPECT_EQ(remove_line(30, mac(2)), evicted(table(10)));
    EXPECT_EQ("", evicted(table(10)));
}

TEST_F(Eviction, APortsOwnDatabaseHasNothingToGive)
{
    given_local(3, mac(1));
    given_learned(20, mac(3), 3);
    EXPECT_EQ(remove_line(20, mac(3)), evicted(own_table(3)));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(3)));
}

TEST_F(Eviction, GoesByBucketThenByPlaceInTheChainAndPassesStaticEntries)
{
    const Mac in_255 = mac(0x0000000000FF);
    const Mac in_7_first = mac(0x000000000007);
    const Mac in_7_second = mac(0x000000000106);
    const Mac static_in_0 = mac(0x000000000000);
    const Mac static_in_7 = mac(0x000000000205);
    given_learned(10, in_255, 3);
    given_static(10, static_in_7, 3);
    given_learned(10, in_7_second, 3);  // learned entries go to the front of their chain
    given_learned(10, in_7_first, 3);
    given_static(10, static_in_0, 3);
    ASSERT_THAT(chain_of(table(10), 7), ElementsAre(text(in_7_first), text(in_7_second), text(static_in_7)));

    EXPECT_EQ(remove_line(10, in_7_first), evicted(table(10)));
    given_learned(10, in_7_first, 3);
    Fil& moved = *fil(10, static_in_7);  // now a static entry before the learned ones
    hRem_fil_by_mac(fdb(), header(), table(10), moved);
    hAdd_fil_by_mac(fdb(), header(), table(10), moved);
    EXPECT_EQ(remove_line(10, in_7_first), evicted(table(10)));
    EXPECT_EQ(remove_line(10, in_7_second), evicted(table(10)));
    EXPECT_EQ(remove_line(10, in_255), evicted(table(10)));
    EXPECT_EQ("", evicted(table(10)));
    EXPECT_EQ((Counts{2, 0, 2, 0}), counts(table(10)));
}

TEST_F(Eviction, WithNothingToEvictNothingHappens)
{
    given_static(10, mac(1), 3);
    given_local(3, mac(2));
    const Snapshot before = snapshot();
    EXPECT_EQ("", evicted(table(10)));
    EXPECT_EQ("", evicted(table(20)));
    EXPECT_EQ("", evicted(own_table(3)));
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Eviction, WithoutAnyVlanNothingHappens)
{
    u32 err = 0;
    for (const u32 vid : {10u, 20u, 30u}) ASSERT_EQ(0, zelfdb_delete_vlan(vid, &err));
    forget();
    const Snapshot before = snapshot();
    EXPECT_EQ("", evicted(own_table(3)));
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Eviction, IsNotHeldUpByTheNP)
{
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        given_learned(10, mac(1), 3);
        refuse("removeFDB", how);
        EXPECT_EQ(remove_line(10, mac(1)), evicted(table(10)));
        EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    }
}

TEST_F(Eviction, ACounterThatPromisesALearnedEntryWhereThereIsNoneFreesNothing)
{
    expect_damage();
    given_static(20, mac(1), 3, 0, 0);
    given_static(20, mac(2), 3, 0, 1);
    given_learned(30, mac(3), 3);
    table(20).nfil_d = 1;
    Snapshot before = snapshot();
    EXPECT_EQ("", evicted(table(20)));
    EXPECT_EQ("", evicted(table(10))) << "VLAN 20 comes first, so VLAN 30 is not searched";
    EXPECT_TRUE(same(before, snapshot()));

    table(10).nfil_d = 1;
    before = snapshot();
    EXPECT_EQ("", evicted(table(10))) << "a database without any entry";
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Eviction, AnAddToAnEmptyPoolTriesItOnce)
{
    expect_damage();
    given_learned(30, mac(3), 3);
    given_free_records(0);
    table(20).nfil_d = 1;
    const Snapshot before = snapshot();
    u32 err = 0;
    EXPECT_EQ(-1, zelfdb_create_sfil(10, mac(9).byte, 3, 0, 1, &err));
    EXPECT_EQ(2002u, err);
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Eviction, AddsOneAfterTheOtherEvictOneEachUntilThereIsNoneLeft)
{
    given_learned(10, mac(1), 3);
    given_learned(20, mac(2), 3);
    given_learned(30, mac(3), 3);
    given_free_records(0);
    const auto create = [&](u64 address) {
        forget();
        u32 err = 0;
        zelfdb_create_sfil(20, mac(address).byte, 3, 0, 0, &err);
        return err;
    };
    EXPECT_EQ(0u, create(0x11));
    EXPECT_EQ(remove_line(20, mac(2)), sent().front()) << "its own VLAN's";
    EXPECT_EQ(0u, create(0x12));
    EXPECT_EQ(remove_line(10, mac(1)), sent().front());
    EXPECT_EQ(0u, create(0x13));
    EXPECT_EQ(remove_line(30, mac(3)), sent().front());
    EXPECT_EQ(2002u, create(0x14));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ((Counts{3, 0, 3, 0}), counts(table(20)));
}

}  // namespace
}  // namespace zelfdb
