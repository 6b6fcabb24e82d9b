// Local entries: zelfdb_create_lfil and zelfdb_delete_lfil.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LocalEntries : public Fdb {
protected:
    static constexpr u32 untouched = 777;

    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_port(105);
        given_vlan(10, "sales");
        environment::reset();
    }

    // 0 for success, the detail code for -1.
    static int create(u32 port_id, const Mac& mac, u32 flag = 0, u32 permit = 0)
    {
        u32 err = untouched;
        const int result = zelfdb_create_lfil(port_id, mac.byte, flag, permit, &err);
        return outcome(result, err);
    }
    static int remove(u32 port_id, const Mac& mac, u32 permit = 0)
    {
        u32 err = untouched;
        const int result = zelfdb_delete_lfil(port_id, mac.byte, permit, &err);
        return outcome(result, err);
    }

    const Mac a = mac(0x001122334455);  // bucket 0xFF
    const Mac b = mac(0x001122334554);  // the same
    const Mac c = mac(0x001122335544);  // the same

private:
    static int outcome(int result, u32 err)
    {
        EXPECT_EQ(err == 0 ? 0 : -1, result);
        return static_cast<int>(err);
    }
};

TEST_F(LocalEntries, CreationFillsARecordOfThePortsOwnDatabaseAndTellsTheNP)
{
    Snapshot expected = snapshot();
    Fil& entry = in(expected, record(31 * 44));
    entry = {};
    entry.link = {none, Offset{31 * 44}};
    entry.offset = offset_of(base(), own_table(105));
    entry.port = 0;
    entry.fil_flag = 0x104;
    entry.fil_type = 1;
    entry.fil_permit = 1;
    entry.mac = a;
    in(expected, record(30 * 44)).link.prev = none;
    header_in(expected).fil_free = Offset{30 * 44};
    header_in(expected).nfil_sys_all = 1;
    in(expected, own_table(105)).nfil = 1;
    in(expected, own_table(105)).nfil_sys = 1;
    in(expected, own_table(105)).bucket[0xFF] = Offset{31 * 44};
    expected.commands = {"addFDB(4, 1, 0xc069, 00:11:22:33:44:55, 0xffff, 0x554, 0, 0xffff)"};

    EXPECT_EQ(0, create(105, a, 0x104, 1));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(LocalEntries, EntriesJoinTheTailOfTheirChain)
{
    for (const Mac& one : {b, a, c}) ASSERT_EQ(0, create(3, one));
    EXPECT_THAT(chain_of(own_table(3), 0xFF), ElementsAre(text(b), text(a), text(c)));
}

TEST_F(LocalEntries, EveryPortAndEveryVlanMayHaveTheSameAddress)
{
    given_static(10, a, 3);
    EXPECT_EQ(0, create(3, a));
    EXPECT_EQ(0, create(105, a));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(3)));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(105)));
    EXPECT_EQ((Totals{3, 0}), totals());
}

TEST_F(LocalEntries, PermitDecidesWhichCounterCountsAnEntry)
{
    ASSERT_EQ(0, create(3, a, 0, 0));
    ASSERT_EQ(0, create(3, b, 0, 1));
    ASSERT_EQ(0, create(3, c, 0, 2));
    EXPECT_EQ((Counts{3, 0, 2, 1}), counts(own_table(3)));
    EXPECT_EQ((Totals{2, 1}), totals());
}

TEST_F(LocalEntries, APortThatDoesNotExistIs102)
{
    const Snapshot before = snapshot();
    for (const u32 port_id : {0u, 1u, 199u, 200u, 201u, 0x10003u, 0xFFFFFFFFu}) {
        EXPECT_EQ(102, create(port_id, a)) << port_id;
        EXPECT_EQ(102, create(port_id, a, 4)) << "0x4 makes no difference, port " << port_id;
        EXPECT_EQ(102, remove(port_id, a)) << port_id;
    }
    EXPECT_TRUE(same(before, snapshot()));
}

// Every row leaves the database alone and sends nothing.
TEST_F(LocalEntries, WhenSeveralThingsForbidACreationTheFirstOfTheOrderIsReported)
{
    struct Row {
        int code;
        bool port, present, limit_reached, pool_empty;
    };
    constexpr bool y = true;
    constexpr bool n = false;
    const Row rows[] = {
        // code port present limit pool_empty
        {102, n, y, y, y},  {102, n, n, n, n},  {2001, y, y, y, y}, {2001, y, y, n, n}, {2001, y, y, y, n},
        {2001, y, y, n, y}, {2002, y, n, y, y}, {2002, y, n, y, n}, {2002, y, n, n, y},
    };
    ASSERT_EQ(0, create(3, a));
    const Snapshot ready = snapshot();
    int row_no = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(++row_no);
        restore(ready);
        if (row.limit_reached) header().fdb_userarea = 1;
        if (row.pool_empty) given_free_records(0);
        const Snapshot before = snapshot();
        locks();
        EXPECT_EQ(row.code, create(row.port ? 3 : 4, row.present ? a : b));
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks, locks());
    }
    restore(ready);
}

TEST_F(LocalEntries, OnlyPermit0IsHeldToTheUserLimit)
{
    ASSERT_EQ(0, create(3, a));
    ASSERT_EQ(0, create(105, a));
    const Snapshot ready = snapshot();
    struct Row {
        u32 limit, permit;
        int code;
    };
    for (const Row& row : {Row{0, 0, 0}, {3, 0, 0}, {2, 0, 2002}, {1, 0, 2002}, {1, 1, 0}, {1, 2, 0}, {2, 3, 0}}) {
        SCOPED_TRACE("limit " + std::to_string(row.limit) + ", permit " + std::to_string(row.permit));
        restore(ready);
        header().fdb_userarea = row.limit;
        EXPECT_EQ(row.code, create(3, b, 0, row.permit));
    }
}

TEST_F(LocalEntries, AnEmptyPoolEvictsALearnedEntryOfAVlan)
{
    given_learned(10, a, 3);
    given_free_records(0);
    EXPECT_EQ(0, create(3, b));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a), add_line(0xC003, b, 0xFFFF, 31 * 44)));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(own_table(3)));
}

TEST_F(LocalEntries, AnEntryThatTheNPRefusesIs2002ItsRecordStaysTakenAndNothingIsCounted)
{
    const Snapshot ready = snapshot();
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        const u32 kept = recorder::commands_not_freed();
        refuse("addFDB", how);
        EXPECT_EQ(2002, create(3, a, 0, 1));
        accept("addFDB");
        EXPECT_THAT(sent(), ElementsAre(add_line(0xC003, a, 0xFFFF, 31 * 44))) << "one attempt";
        EXPECT_EQ(ready.main.size(), snapshot().main.size());
        EXPECT_EQ((Counts{0, 0, 0, 0}), counts(own_table(3)));
        EXPECT_EQ((Totals{0, 0}), totals());
        EXPECT_EQ(none, own_table(3).bucket[0xFF]);
        EXPECT_EQ(31u, free_records().size());
        EXPECT_EQ(how == Refusal::answer ? 0u : 1u, recorder::commands_not_freed() - kept);
    }
}

TEST_F(LocalEntries, DeletionUndoesTheCreation)
{
    const Snapshot before = snapshot();
    ASSERT_EQ(0, create(3, a, 4, 1));
    forget();
    EXPECT_EQ(0, remove(3, a, 1));
    EXPECT_THAT(sent(), ElementsAre(remove_line(0xC003, a)));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(before.main, snapshot().main);
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(own_table(3)));
    EXPECT_EQ(32u, free_records().size());
}

// Every row leaves the database alone and sends nothing.
TEST_F(LocalEntries, WhenSeveralThingsForbidADeletionTheFirstOfTheOrderIsReported)
{
    ASSERT_EQ(0, create(3, a, 0, 0));
    ASSERT_EQ(0, create(3, b, 0, 1));
    struct Row {
        int code;
        u32 port_id;
        const Mac& mac;
        u32 permit;
    };
    const Row rows[] = {
        {102, 4, a, 0},  {102, 4, c, 1},  {105, 3, c, 0},  {105, 3, c, 1},  {105, 105, a, 0},
        {2101, 3, a, 1}, {2101, 3, a, 2}, {2101, 3, b, 0}, {2101, 3, b, 2},
    };
    forget();
    const Snapshot before = snapshot();
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.port_id) + " " + text(row.mac) + " " + std::to_string(row.permit));
        locks();
        EXPECT_EQ(row.code, remove(row.port_id, row.mac, row.permit));
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks, locks());
    }
}

TEST_F(LocalEntries, AnEntryOfAnotherTypeIsNotDeletedAsALocalOne)
{
    ASSERT_EQ(0, create(3, a));
    Database::fil(own_table(3), a)->fil_type = fil_static;
    EXPECT_EQ(2102, remove(3, a, 0));
    EXPECT_EQ(2101, remove(3, a, 1));
    Database::fil(own_table(3), a)->fil_type = fil_local;
    EXPECT_EQ(0, remove(3, a, 0));
}

TEST_F(LocalEntries, ADeletionThatTheNPRefusesHappensAllTheSame)
{
    ASSERT_EQ(0, create(3, a));
    forget();
    const Snapshot ready = snapshot();
    ASSERT_EQ(0, remove(3, a));
    const Snapshot expected = snapshot();
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        refuse("removeFDB", how);
        EXPECT_EQ(0, remove(3, a));
        EXPECT_TRUE(same(expected, snapshot()));
    }
}

}  // namespace
}  // namespace zelfdb
