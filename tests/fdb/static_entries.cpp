// Static entries: zelfdb_create_sfil and zelfdb_delete_sfil, on a descriptor of their own and on the caller's.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

enum class Form { own_descriptor, callers_descriptor };

const char* name_of(Form form) { return form == Form::own_descriptor ? "OwnDescriptor" : "CallersDescriptor"; }
void PrintTo(Form form, std::ostream* out) { *out << name_of(form); }

class StaticEntries : public Fdb, public testing::WithParamInterface<Form> {
protected:
    static constexpr u32 untouched = 777;

    void SetUp() override
    {
        Fdb::SetUp();
        given_port(3);
        given_port(105);
        given_vlan(10, "sales");
        given_vlan(20, "lab");
        environment::reset();
    }

    // Result and final detail code as one number: 0 for success, the code for -1.
    int outcome(int result) const
    {
        EXPECT_EQ(err_ == 0 ? 0 : -1, result);
        return static_cast<int>(err_);
    }
    int create(u32 vid, const Mac& mac, u32 port_id, u32 flag = 0, u32 permit = 0)
    {
        err_ = untouched;
        return outcome(GetParam() == Form::own_descriptor
                           ? zelfdb_create_sfil(vid, mac.byte, port_id, flag, permit, &err_)
                           : zelfdb_create_sfil2(&d(), vid, mac.byte, port_id, flag, permit, &err_));
    }
    int remove(u32 vid, const Mac& mac, u32 permit = 0)
    {
        err_ = untouched;
        return outcome(GetParam() == Form::own_descriptor ? zelfdb_delete_sfil(vid, mac.byte, permit, &err_)
                                                          : zelfdb_delete_sfil2(&d(), vid, mac.byte, permit, &err_));
    }

    const Mac a = mac(0x001122334455);  // bucket 0xFF
    const Mac b = mac(0x001122334554);  // the same
    const Mac c = mac(0x001122335544);  // the same

private:
    u32 err_ = untouched;
};

INSTANTIATE_TEST_SUITE_P(, StaticEntries, testing::Values(Form::own_descriptor, Form::callers_descriptor),
                         [](const auto& form) { return name_of(form.param); });

// ---- Creation --------------------------------------------------------------------------------------------------------

TEST_P(StaticEntries, CreationFillsARecordLinksItCountsItAndTellsTheNP)
{
    Snapshot expected = snapshot();
    Fil& entry = in(expected, record(31 * 44));
    entry = {};
    entry.link = {none, Offset{31 * 44}};
    entry.offset = offset_of(base(), table(10));
    entry.port = 105;
    entry.fil_flag = 0x12300;
    entry.fil_type = 2;
    entry.fil_permit = 0;
    entry.mac = a;
    in(expected, record(30 * 44)).link.prev = none;
    header_in(expected).fil_free = Offset{30 * 44};
    header_in(expected).nfil_usr_all = 1;
    in(expected, table(10)).nfil = 1;
    in(expected, table(10)).nfil_usr = 1;
    in(expected, table(10)).bucket[0xFF] = Offset{31 * 44};
    expected.commands = {"addFDB(0, 1, 0xa, 00:11:22:33:44:55, 0xf, 0x554, 0, 0xf)"};

    EXPECT_EQ(0, create(10, a, 105, 0x12300));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_P(StaticEntries, EntriesJoinTheTailOfTheirChain)
{
    ASSERT_EQ(0, create(10, b, 3));
    ASSERT_EQ(0, create(10, a, 3));
    ASSERT_EQ(0, create(10, c, 3));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(b), text(a), text(c)));
    EXPECT_EQ(Offset{31 * 44}, fil(10, b)->link.prev) << "the first points to itself";
    EXPECT_EQ(Offset{31 * 44}, fil(10, a)->link.prev);
    EXPECT_EQ(Offset{30 * 44}, fil(10, c)->link.prev);
    EXPECT_EQ(none, fil(10, c)->link.next);
}

TEST_P(StaticEntries, PermitDecidesWhichCounterCountsAnEntry)
{
    ASSERT_EQ(0, create(10, a, 3, 0, 0));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(table(10)));
    ASSERT_EQ(0, create(10, b, 3, 0, 1));
    EXPECT_EQ((Counts{2, 0, 1, 1}), counts(table(10)));
    ASSERT_EQ(0, create(10, c, 3, 0, 2));
    EXPECT_EQ((Counts{3, 0, 2, 1}), counts(table(10)));
    ASSERT_EQ(0, create(20, a, 3, 0, 0xFFFFFFFF));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(table(20)));
    EXPECT_EQ((Totals{3, 1}), totals());
    EXPECT_EQ(2u, fil(10, c)->fil_permit) << "stored as given";
    EXPECT_EQ(0xFFFFFFFF, fil(20, a)->fil_permit);
}

TEST_P(StaticEntries, TheSameAddressMayBeInEveryVlan)
{
    EXPECT_EQ(0, create(10, a, 3));
    EXPECT_EQ(0, create(20, a, 105));
    EXPECT_EQ(3u, fil(10, a)->port);
    EXPECT_EQ(105u, fil(20, a)->port);
}

TEST_P(StaticEntries, TheVidIsTakenModulo65536)
{
    EXPECT_EQ(0, create(0x5000A, a, 3));
    EXPECT_NE(nullptr, fil(10, a));
    EXPECT_EQ(0, remove(0xFFFF000A, a));
    EXPECT_EQ(nullptr, fil(10, a));
}

TEST_P(StaticEntries, AVlanThatDoesNotExistIs103)
{
    const Snapshot before = snapshot();
    for (const u32 vid : {0u, 1u, 11u, 4095u, 8191u, 8192u, 0xFFFFu, 0x10000u}) {
        EXPECT_EQ(103, create(vid, a, 3)) << vid;
        EXPECT_EQ(103, remove(vid, a)) << vid;
    }
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_P(StaticEntries, APortThatDoesNotExistIs102)
{
    const Snapshot before = snapshot();
    for (const u32 port_id : {0u, 1u, 199u, 200u, 201u, 0x10003u, 0xFFFFFFFFu}) {
        EXPECT_EQ(102, create(10, a, port_id)) << port_id;
        EXPECT_EQ(102, create(10, a, port_id, 0xFFFFFFFB)) << "every flag but 0x4, port " << port_id;
    }
    EXPECT_TRUE(same(before, snapshot()));
    EXPECT_EQ(0, create(10, a, 3, 0xFFFFFFFB));
}

TEST_P(StaticEntries, Flag4NeedsNoPortAndThePortIsStoredAsGiven)
{
    EXPECT_EQ(0, create(10, a, 77, 0x4));
    EXPECT_EQ(0, create(10, b, 0, 0xFF0C));
    EXPECT_EQ(77u, fil(10, a)->port);
    EXPECT_EQ(0u, fil(10, b)->port);
    EXPECT_EQ(0xFF0Cu, fil(10, b)->fil_flag);
    EXPECT_THAT(sent(), ElementsAre(add_line(10, a, 0xFFFF, 31 * 44, 4), add_line(10, b, 0xFFFF, 30 * 44, 0xC)));
}

TEST_P(StaticEntries, AStaticEntryIsNotReplaced)
{
    ASSERT_EQ(0, create(10, a, 3, 0x8, 1));
    const Snapshot before = snapshot();
    EXPECT_EQ(2001, create(10, a, 105, 0, 0));
    EXPECT_EQ(2001, create(10, a, 3, 0x8, 1));
    EXPECT_TRUE(same(before, snapshot()));
}

// Every row leaves the database alone and sends nothing.
TEST_P(StaticEntries, WhenSeveralThingsForbidACreationTheFirstOfTheOrderIsReported)
{
    struct Row {
        int code;
        bool vlan, port, flag4, present, limit_reached, pool_empty;
    };
    constexpr bool y = true;
    constexpr bool n = false;
    const Row rows[] = {
        // code  vlan port flag4 present limit pool_empty
        {103, n, n, n, y, y, y},  {103, n, y, n, y, y, y},  {103, n, n, y, y, y, y},  {103, n, y, y, n, n, n},
        {102, y, n, n, y, y, y},  {102, y, n, n, n, y, n},  {102, y, n, n, n, n, y},  {102, y, n, n, n, n, n},
        {2001, y, y, n, y, y, y}, {2001, y, n, y, y, y, y}, {2001, y, y, y, y, n, n}, {2001, y, y, n, y, n, y},
        {2002, y, y, n, n, y, y}, {2002, y, n, y, n, y, n}, {2002, y, n, y, n, n, y}, {2002, y, y, n, n, y, n},
        {2002, y, y, n, n, n, y},
    };
    ASSERT_EQ(0, create(10, a, 3));
    const Snapshot ready = snapshot();
    int row_no = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(++row_no);
        restore(ready);
        if (row.limit_reached) header().fdb_userarea = 1;
        if (row.pool_empty) given_free_records(0);
        const Snapshot before = snapshot();
        locks();
        EXPECT_EQ(row.code, create(row.vlan ? 10 : 11, row.present ? a : b, row.port ? 3 : 4, row.flag4 ? 4 : 0, 0));
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks, locks());
    }
    restore(ready);
}

// ---- The user limit --------------------------------------------------------------------------------------------------

TEST_P(StaticEntries, OnlyPermit0IsHeldToTheUserLimit)
{
    struct Row {
        u32 limit, permit;
        int code;
    };
    // With two user entries present.
    const Row rows[] = {
        {0, 0, 0}, {0, 1, 0},    {0, 2, 0}, {3, 0, 0}, {3, 1, 0}, {3, 2, 0},          {2, 0, 2002},       {2, 1, 0},
        {2, 2, 0}, {1, 0, 2002}, {1, 1, 0}, {1, 2, 0}, {1, 3, 0}, {1, 0xFFFFFFFF, 0}, {0xFFFFFFFF, 0, 0},
    };
    ASSERT_EQ(0, create(10, a, 3));
    ASSERT_EQ(0, create(20, a, 3));
    const Snapshot ready = snapshot();
    for (const Row& row : rows) {
        SCOPED_TRACE("limit " + std::to_string(row.limit) + ", permit " + std::to_string(row.permit));
        restore(ready);
        header().fdb_userarea = row.limit;
        EXPECT_EQ(row.code, create(10, b, 3, 0, row.permit));
        const u32 added = row.code == 0 ? 1 : 0;
        EXPECT_EQ((Totals{2 + (row.permit == 1 ? 0 : added), row.permit == 1 ? added : 0}), totals());
    }
}

TEST_P(StaticEntries, SystemEntriesAreNotCountedAgainstTheUserLimit)
{
    header().fdb_userarea = 1;
    ASSERT_EQ(0, create(10, a, 3, 0, 1));
    ASSERT_EQ(0, create(10, b, 3, 0, 1));
    EXPECT_EQ(0, create(10, c, 3, 0, 0));
    EXPECT_EQ(2002, create(20, c, 3, 0, 0));
}

TEST_P(StaticEntries, UserEntriesWithAnotherPermitAreCountedAgainstTheLimit)
{
    header().fdb_userarea = 1;
    ASSERT_EQ(0, create(10, a, 3, 0, 2));
    EXPECT_EQ(2002, create(10, b, 3, 0, 0));
}

// ---- Over a learned entry --------------------------------------------------------------------------------------------

TEST_P(StaticEntries, AStaticEntryReplacesALearnedOne)
{
    given_learned(10, c, 3);
    given_learned(10, a, 3, 5000, 1000);
    ASSERT_EQ((Counts{2, 2, 2, 0}), counts(table(10)));
    const u32 place = offset_of(fdb(), *fil(10, a)).value;

    EXPECT_EQ(0, create(10, a, 105, 0, 1));
    EXPECT_EQ((Counts{2, 1, 1, 1}), counts(table(10)));
    EXPECT_EQ((Totals{1, 1}), totals());
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a), add_line(10, a, 15, place)));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(c), text(a))) << "to the tail, as every static entry";
    const Fil& entry = *fil(10, a);
    EXPECT_EQ(place, offset_of(fdb(), entry).value) << "the record freed last is the one handed out";
    EXPECT_EQ(2u, entry.fil_type);
    EXPECT_EQ(105u, entry.port);
    EXPECT_EQ(0u, entry.lastValidate);
    EXPECT_EQ(0u, entry.last_seen);
}

TEST_P(StaticEntries, TheRemovalOfTheLearnedEntryMakesTheRoomUnderTheUserLimit)
{
    given_learned(10, a, 3);
    header().fdb_userarea = 1;
    EXPECT_EQ(0, create(10, a, 3, 0, 0));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(table(10)));
}

TEST_P(StaticEntries, TheRemovalOfTheLearnedEntryMakesTheRoomInTheFullPool)
{
    given_learned(20, b, 3);
    given_learned(10, a, 3);
    given_free_records(0);
    EXPECT_EQ(0, create(10, a, 3));
    EXPECT_NE(nullptr, fil(20, b)) << "nothing had to be evicted";
}

TEST_P(StaticEntries, TheLearnedEntryIsGoneEvenIfTheUserLimitThenRefusesTheAdd)
{
    given_learned(10, a, 3);
    given_learned(10, b, 3);
    header().fdb_userarea = 1;
    EXPECT_EQ(2002, create(10, a, 3, 0, 0));
    EXPECT_EQ(nullptr, fil(10, a));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a)));
    EXPECT_EQ(31u, free_records().size());
}

TEST_P(StaticEntries, TheLearnedEntryIsGoneEvenIfTheNPThenRefusesTheAdd)
{
    given_learned(10, a, 3);
    recorder::fail("addFDB", recorder::Failure::status);
    EXPECT_EQ(2002, create(10, a, 3));
    EXPECT_EQ(nullptr, fil(10, a));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ((Totals{0, 0}), totals());
    EXPECT_EQ(31u, free_records().size()) << "the record stays taken";
}

TEST_P(StaticEntries, TheRemovalOfTheLearnedEntryIsNotHeldUpByTheNP)
{
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        const Mac& address = how == Refusal::delivery ? a : how == Refusal::status ? b : c;
        given_learned(10, address, 3);
        refuse("removeFDB", how);
        EXPECT_EQ(0, create(10, address, 3));
        EXPECT_EQ(2u, fil(10, address)->fil_type);
    }
    EXPECT_EQ((Counts{3, 0, 3, 0}), counts(table(10)));
}

// ---- Room in the pool ------------------------------------------------------------------------------------------------

TEST_P(StaticEntries, TheLastFreeRecordIsTakenWithoutEvicting)
{
    given_learned(10, a, 3);
    given_free_records(1);
    EXPECT_EQ(0, create(10, b, 3));
    EXPECT_NE(nullptr, fil(10, a));
    EXPECT_THAT(free_records(), IsEmpty());
}

TEST_P(StaticEntries, AnEmptyPoolEvictsOneLearnedEntryAndReusesItsRecord)
{
    given_learned(10, a, 3);
    given_free_records(0);
    EXPECT_EQ(0, create(10, b, 105));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a), add_line(10, b, 15, 31 * 44)));
    EXPECT_EQ((Counts{1, 0, 1, 0}), counts(table(10)));
    EXPECT_EQ(nullptr, fil(10, a));
}

TEST_P(StaticEntries, AnEmptyPoolWithoutALearnedEntryIs2002)
{
    ASSERT_EQ(0, create(10, a, 3));
    given_free_records(0);
    const Snapshot before = snapshot();
    EXPECT_EQ(2002, create(10, b, 3));
    EXPECT_EQ(2002, create(10, b, 3, 0, 1)) << "system entries too";
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_P(StaticEntries, ARefusalByTheNPAfterAnEvictionLosesBoth)
{
    given_learned(20, a, 3);
    given_free_records(0);
    recorder::fail("addFDB", recorder::Failure::delivery);
    EXPECT_EQ(2002, create(10, b, 3));
    EXPECT_EQ(nullptr, fil(20, a));
    EXPECT_EQ(nullptr, fil(10, b));
    EXPECT_THAT(free_records(), IsEmpty());
}

// ---- Refusal by the NP -----------------------------------------------------------------------------------------------

TEST_P(StaticEntries, AnEntryThatTheNPRefusesIs2002ItsRecordStaysTakenAndNothingIsCounted)
{
    const Snapshot ready = snapshot();
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        Snapshot expected = ready;
        Fil& lost = in(expected, record(31 * 44));
        lost = {};
        lost.link = {none, none};
        lost.offset = offset_of(base(), table(10));
        lost.port = 3;
        lost.fil_type = 2;
        lost.fil_permit = 1;
        lost.mac = a;
        in(expected, record(30 * 44)).link.prev = none;
        header_in(expected).fil_free = Offset{30 * 44};
        expected.commands = {add_line(10, a, 3, 31 * 44)};

        const u32 kept = recorder::commands_not_freed();
        refuse("addFDB", how);
        EXPECT_EQ(2002, create(10, a, 3, 0, 1));
        accept("addFDB");
        EXPECT_TRUE(same(expected, snapshot()));
        EXPECT_EQ(how == Refusal::answer ? 0u : 1u, recorder::commands_not_freed() - kept);
        EXPECT_EQ(0, create(10, a, 3, 0, 1)) << "with another record";
        EXPECT_EQ(30u * 44, offset_of(fdb(), *fil(10, a)).value);
    }
}

TEST_P(StaticEntries, AnyAnswerButZeroIsARefusal)
{
    for (const int answer : {1, -1, 127, -128, 0x7FFFFFFF}) {
        recorder::answer_add(answer);
        EXPECT_EQ(2002, create(10, a, 3)) << answer;
    }
    recorder::answer_add(0);
    EXPECT_EQ(0, create(10, a, 3));
}

TEST_P(StaticEntries, ACommandThatCannotBeBuiltIsARefusal)
{
    recorder::fail_builders(1);
    EXPECT_EQ(2002, create(10, a, 3));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(31u, free_records().size());
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
}

// ---- Deletion --------------------------------------------------------------------------------------------------------

TEST_P(StaticEntries, DeletionTellsTheNPUnlinksUncountsAndGivesTheRecordBack)
{
    ASSERT_EQ(0, create(10, a, 3, 0, 1));
    ASSERT_EQ(0, create(10, b, 3, 0, 1));
    forget();
    Snapshot expected = snapshot();
    Fil& gone = in(expected, record(31 * 44));
    gone.link = {Offset{29 * 44}, Offset{31 * 44}};
    in(expected, record(29 * 44)).link.prev = Offset{31 * 44};
    in(expected, record(30 * 44)).link.prev = none;
    in(expected, table(10)).bucket[0xFF] = Offset{30 * 44};
    header_in(expected).fil_free = Offset{31 * 44};
    in(expected, table(10)).nfil = 1;
    in(expected, table(10)).nfil_sys = 1;
    header_in(expected).nfil_sys_all = 1;
    expected.commands = {remove_line(10, a)};

    EXPECT_EQ(0, remove(10, a, 1));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_P(StaticEntries, DeletionLeavesTheRestOfTheChainInOrder)
{
    const auto refill = [&] {
        for (const Mac& one : {a, b, c}) create(10, one, 3);
    };
    refill();
    EXPECT_EQ(0, remove(10, b));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(a), text(c)));
    EXPECT_EQ(offset_of(fdb(), *fil(10, a)), fil(10, c)->link.prev);
    EXPECT_EQ(0, remove(10, c));
    EXPECT_EQ(none, fil(10, a)->link.next);
    EXPECT_EQ(0, remove(10, a));
    EXPECT_EQ(none, table(10).bucket[0xFF]);
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ((Totals{0, 0}), totals());
    EXPECT_EQ(32u, free_records().size());
}

// Every row leaves the database alone and sends nothing.
TEST_P(StaticEntries, WhenSeveralThingsForbidADeletionTheFirstOfTheOrderIsReported)
{
    ASSERT_EQ(0, create(10, a, 3, 0, 0));
    ASSERT_EQ(0, create(10, b, 3, 0, 1));
    given_learned(10, c, 3);
    const Mac absent = mac(0x00112233FF00);
    struct Row {
        int code;
        u32 vid;
        const Mac& mac;
        u32 permit;
    };
    const Row rows[] = {
        {103, 11, absent, 0}, {103, 11, a, 0},  {105, 10, absent, 0}, {105, 10, absent, 1},
        {105, 20, a, 0},      {2101, 10, a, 1}, {2101, 10, a, 2},     {2101, 10, b, 0},
        {2101, 10, b, 2},     {2101, 10, c, 1},  // a learned entry: neither permit nor type is right
        {2102, 10, c, 0},                        // only its type is not
    };
    forget();
    const Snapshot before = snapshot();
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.vid) + " " + text(row.mac) + " " + std::to_string(row.permit));
        locks();
        EXPECT_EQ(row.code, remove(row.vid, row.mac, row.permit));
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks, locks());
    }
}

TEST_P(StaticEntries, ADeletionThatTheNPRefusesHappensAllTheSame)
{
    ASSERT_EQ(0, create(10, a, 3));
    forget();
    const Snapshot ready = snapshot();
    ASSERT_EQ(0, remove(10, a));
    const Snapshot expected = snapshot();
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        refuse("removeFDB", how);
        EXPECT_EQ(0, remove(10, a));
        EXPECT_TRUE(same(expected, snapshot())) << "one attempt, and the entry is gone";
    }
    restore(ready);
    recorder::fail_builders(1);
    EXPECT_EQ(0, remove(10, a));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(expected.fdb, snapshot().fdb);
}

// ---- Descriptors -----------------------------------------------------------------------------------------------------

TEST_P(StaticEntries, OnlyTheOwnDescriptorIsOpenedAndClosed)
{
    const bool own = GetParam() == Form::own_descriptor;
    const u32 inits = recorder::init_calls();
    const u32 releases = recorder::release_calls();
    environment::reset();
    create(10, a, 3);
    remove(10, a);
    remove(11, a);
    EXPECT_EQ(own ? 3u : 0u, recorder::init_calls() - inits);
    EXPECT_EQ(own ? 3u : 0u, recorder::release_calls() - releases);
    EXPECT_EQ(own ? 6u : 0u, environment::calls("shmat"));
    EXPECT_EQ(own ? 6u : 0u, environment::calls("shmdt"));
}

}  // namespace
}  // namespace zelfdb
