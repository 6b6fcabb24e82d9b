// Aging: which learned entries a sweep asks the NP about, which it removes, and what it notes about the others.
#include <bit>

#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr u32 long_ago_s = 1000;

class Aging : public Fdb {
protected:
    // Ports 3 and 5 age in 300 s.
    void SetUp() override
    {
        Fdb::SetUp();
        given_open_port(3);
        given_open_port(5);
        given_vlan(10, "sales");
        environment::reset();
        environment::set_time_s(start_s);
    }
    // The NP stands at 5 000 000 ms and has not seen the station, or any station, for so long.
    static constexpr u32 np_tick_ms = 5000000;
    static void idle(u32 idle_ms) { recorder::answer_find(0, np_tick_ms, np_tick_ms - idle_ms); }
    static void idle(const Mac& station, u32 idle_ms)
    {
        recorder::answer_find_for(station.byte, 0, np_tick_ms, np_tick_ms - idle_ms);
    }
    void sweep() { EXPECT_EQ(0, zelfdb_do_aging(&d())); }

    const Mac a = mac(0x001122334455);  // bucket 0xFF
    const Mac b = mac(0x001122334554);  // the same
    const Mac c = mac(0x001122335544);  // the same
    const Mac elsewhere = mac(0x001122334450);
};

TEST_F(Aging, AnEntryIdleForLongerThanItsPortsAgingTimeIsRemoved)
{
    given_learned(10, b, 3, 1, start_s);
    given_learned(10, a, 3, 1, long_ago_s);
    idle(a, 300001);
    Snapshot expected = snapshot();
    Fil& gone = in(expected, *fil(10, a));
    gone.link = {header().fil_free, offset_of(fdb(), *fil(10, a))};
    in(expected, record(header().fil_free.value)).link.prev = gone.link.prev;
    header_in(expected).fil_free = gone.link.prev;
    in(expected, *fil(10, b)).link.prev = none;
    in(expected, table(10)).bucket[0xFF] = offset_of(fdb(), *fil(10, b));
    in(expected, table(10)).nfil = 1;
    in(expected, table(10)).nfil_d = 1;
    in(expected, table(10)).nfil_usr = 1;
    header_in(expected).nfil_usr_all = 1;
    expected.commands = {find_line(10, a), remove_line(10, a)};

    sweep();
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks, locks());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(Aging, OneThatIsStillInUseIsRefreshedWithTheNPsLastHit)
{
    given_learned(10, a, 3, 1, long_ago_s);
    idle(299500);
    Snapshot expected = snapshot();
    in(expected, *fil(10, a)).lastValidate = np_tick_ms - 299500;
    in(expected, *fil(10, a)).last_seen = start_s - 299;
    expected.commands = {find_line(10, a)};
    sweep();
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(Aging, TheNPsIdleTimeDecidesToTheMillisecond)
{
    struct Row {
        u32 idle_ms;
        bool stays;
        u32 seconds;  // whole ones, for last_seen
    };
    for (const Row& row : {Row{0, true, 0},
                           {1, true, 0},
                           {999, true, 0},
                           {1000, true, 1},
                           {299999, true, 299},
                           {300000, true, 300},
                           {300001, false, 0},
                           {0xFFFFFFFF, false, 0}}) {
        SCOPED_TRACE(row.idle_ms);
        given_learned(10, a, 3, 77, long_ago_s);
        idle(row.idle_ms);
        sweep();
        ASSERT_EQ(row.stays, fil(10, a) != nullptr);
        if (!row.stays) continue;
        EXPECT_EQ(np_tick_ms - row.idle_ms, fil(10, a)->lastValidate);
        EXPECT_EQ(start_s - row.seconds, fil(10, a)->last_seen);
        ASSERT_EQ(0u, rem_fdbentry(d(), fil_dynamic, table(10), a, nullptr, 0));
    }
}

TEST_F(Aging, TheNPIsAskedOnlyAboutEntriesNotSeenForLongerThanTheAgingTime)
{
    idle(0);
    struct Row {
        u32 last_seen_s;
        bool asked;
    };
    for (const Row& row : {Row{start_s, false},
                           {start_s - 1, false},
                           {start_s - 299, false},
                           {start_s - 300, false},
                           {start_s - 301, true},
                           {0, true},
                           // Seen in the future: the host's clock was set back, and the difference is unsigned.
                           {start_s + 1, true},
                           {start_s + 300, true},
                           {0xFFFFFFFF, true}}) {
        SCOPED_TRACE(row.last_seen_s);
        given_learned(10, a, 3, 77, row.last_seen_s);
        sweep();
        EXPECT_EQ(row.asked ? std::vector{find_line(10, a)} : std::vector<std::string>{}, sent());
        EXPECT_EQ(row.asked ? start_s : row.last_seen_s, fil(10, a)->last_seen);
        EXPECT_EQ(row.asked ? np_tick_ms : 77, fil(10, a)->lastValidate);
        ASSERT_EQ(0u, rem_fdbentry(d(), fil_dynamic, table(10), a, nullptr, 0));
        forget();
    }
}

TEST_F(Aging, ARefreshedEntryIsAskedAboutAgainOnlyWhenTheRestOfItsTimeIsUp)
{
    given_learned(10, a, 3, 1, long_ago_s);
    idle(100000);
    sweep();
    EXPECT_EQ(1u, sent().size());
    environment::set_time_s(start_s + 200);
    sweep();
    EXPECT_THAT(sent(), IsEmpty());
    environment::set_time_s(start_s + 201);
    idle(301000);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, a), remove_line(10, a)));
}

TEST_F(Aging, OnAPortWithAging0EveryEntryNotSeenInThisSecondIsAskedAboutAndGoesWithAnyIdleTime)
{
    port(3)->aging = 0;
    given_learned(10, a, 3, 1, start_s);
    idle(5000);
    sweep();
    EXPECT_THAT(sent(), IsEmpty()) << "seen in this second";
    fil(10, a)->last_seen = start_s - 1;
    idle(0);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, a)));
    EXPECT_EQ(start_s, fil(10, a)->last_seen);
    fil(10, a)->last_seen = start_s - 1;
    idle(1);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, a), remove_line(10, a)));
    EXPECT_EQ(nullptr, fil(10, a));
}

TEST_F(Aging, EveryPortHasItsOwnAgingTime)
{
    port(3)->aging = 10;
    port(5)->aging = 20;
    given_learned(10, a, 3, 1, long_ago_s);
    given_learned(10, b, 5, 1, long_ago_s);
    idle(15000);
    sweep();
    EXPECT_EQ(nullptr, fil(10, a));
    EXPECT_NE(nullptr, fil(10, b));
}

TEST_F(Aging, AnAgingTimeOfMoreMillisecondsThanFitAWordNeverRunsOut)
{
    environment::set_time_s(4294969);
    port(3)->aging = 4294968;  // 4 294 968 000 ms, which is 704 in 32 bits
    given_learned(10, a, 3, 1, 0);
    recorder::answer_find(0, 1000, 0);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, a)));
    ASSERT_NE(nullptr, fil(10, a));
    fil(10, a)->last_seen = 0;
    recorder::answer_find(0, 0xFFFFFFFF, 0);
    sweep();
    EXPECT_NE(nullptr, fil(10, a));

    port(3)->aging = 0xFFFFFFFF;
    forget();
    sweep();
    EXPECT_THAT(sent(), IsEmpty()) << "no time is greater than that";
    port(3)->aging = 300;
}

TEST_F(Aging, TheNPsTickMayWrapBetweenTheLastHitAndNow)
{
    given_learned(10, a, 3, 1, long_ago_s);
    recorder::answer_find(0, 100, 0xFFFFFF00);
    sweep();
    ASSERT_NE(nullptr, fil(10, a));
    EXPECT_EQ(0xFFFFFF00u, fil(10, a)->lastValidate);
    EXPECT_EQ(start_s, fil(10, a)->last_seen) << "356 ms";
    fil(10, a)->last_seen = long_ago_s;
    recorder::answer_find(0, 300000, 0xFFFFFFFF);
    sweep();
    EXPECT_EQ(nullptr, fil(10, a)) << "300 001 ms";
}

TEST_F(Aging, TheLastSeenSecondMayWrapWithAYoungHostClock)
{
    environment::set_time_s(10);
    given_learned(10, a, 3, 1, 11);
    idle(20000);
    sweep();
    EXPECT_EQ(10u - 20u, fil(10, a)->last_seen);
    forget();
    sweep();
    EXPECT_THAT(sent(), IsEmpty()) << "20 s, unsigned";
}

// ---- Which entries ---------------------------------------------------------------------------------------------------

TEST_F(Aging, StaticAndLocalEntriesNeverAge)
{
    port(3)->aging = 0;
    given_static(10, a, 3);
    given_static(10, b, 77, 4);
    given_local(3, a);
    forget();
    idle(0xFFFFFFFF);
    const Snapshot before = snapshot();
    sweep();
    EXPECT_TRUE(same(before, snapshot()));
}

TEST_F(Aging, StaticEntriesInAChainArePassedOver)
{
    given_learned(10, c, 3, 1, long_ago_s);
    given_static(10, b, 77, 4);  // its port does not exist, which stops nothing
    given_learned(10, a, 3, 1, long_ago_s);
    idle(300001);
    forget();
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, a), remove_line(10, a), find_line(10, c), remove_line(10, c)));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(b)));
}

TEST_F(Aging, AllVlansAndBucketsAreVisitedInOrderAndEveryDueEntryGoes)
{
    given_vlan(30, "late");
    given_vlan(5, "early");
    std::vector<std::string> expected;
    for (const u16 vid : {u16{5}, u16{10}, u16{30}}) {
        for (const Mac& station : {mac(0x00), mac(0x07), mac(0xFF)}) {
            expected.push_back(find_line(vid, station));
            expected.push_back(remove_line(vid, station));
        }
    }
    for (const u16 vid : {u16{30}, u16{10}, u16{5}}) {
        for (const Mac& station : {mac(0xFF), mac(0x00), mac(0x07)}) given_learned(vid, station, 3, 1, long_ago_s);
    }
    idle(300001);
    sweep();
    EXPECT_EQ(expected, sent());
    EXPECT_EQ((Totals{0, 0}), totals());
    EXPECT_EQ(32u, free_records().size());
}

TEST_F(Aging, AWholeChainMayGoOrAnyPartOfIt)
{
    for (u32 due = 0; due < 8; ++due) {
        SCOPED_TRACE(due);
        std::vector<std::string> left;
        u32 bit = 4;  // the first learned is the last of the chain
        for (const Mac& station : {a, b, c}) {
            given_learned(10, station, 3, 1, long_ago_s);
            idle(station, due & bit ? 300001 : 5);
            if (!(due & bit)) left.insert(left.begin(), text(station));
            bit >>= 1;
        }
        sweep();
        EXPECT_EQ(left, chain_of(table(10), 0xFF));
        EXPECT_EQ((Counts{3 - static_cast<u32>(std::popcount(due)), 3 - static_cast<u32>(std::popcount(due)),
                          3 - static_cast<u32>(std::popcount(due)), 0}),
                  counts(table(10)));
        ASSERT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
    }
}

TEST_F(Aging, AnEntryWhosePortIsGoneEndsTheSweepOfItsChainOnly)
{
    given_vlan(20, "lab");
    given_learned(20, c, 3, 1, long_ago_s);
    given_learned(10, elsewhere, 3, 1, long_ago_s);
    given_learned(10, c, 3, 1, long_ago_s);
    given_learned(10, b, 77, 1, long_ago_s);
    given_learned(10, a, 3, 1, long_ago_s);
    idle(300001);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, elsewhere), remove_line(10, elsewhere), find_line(10, a),
                                    remove_line(10, a), find_line(20, c), remove_line(20, c)));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(b), text(c)));

    given_open_port(77);
    forget();
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, b), remove_line(10, b), find_line(10, c), remove_line(10, c)));
}

TEST_F(Aging, AnEntryOnAnIDThatIsNoPortIsLikeOneWhosePortIsGone)
{
    for (const u32 port_id : {0u, 200u, 0xFFFFFFFFu}) {
        given_learned(10, b, 3, 1, long_ago_s);
        given_learned(10, a, port_id, 1, long_ago_s);
        idle(300001);
        const Snapshot before = snapshot();
        sweep();
        EXPECT_TRUE(same(before, snapshot())) << port_id;
        ASSERT_EQ(0, clear_fdb(d(), table(10), fil_dynamic));
        forget();
    }
}

TEST_F(Aging, WithoutAnyVlanThereIsNothingToDo)
{
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_delete_vlan(10, &err));
    given_local(3, a);
    forget();
    const Snapshot before = snapshot();
    sweep();
    EXPECT_TRUE(same(before, snapshot()));
    EXPECT_EQ(both_locks, locks());
}

// ---- The NP fails ----------------------------------------------------------------------------------------------------

TEST_F(Aging, AnEntryThatTheNPCannotTellAboutIsLeftForTheNextSweep)
{
    given_learned(10, b, 3, 1, long_ago_s);
    given_learned(10, a, 3, 1, long_ago_s);
    idle(300001);
    const Snapshot ready = snapshot();
    const std::vector<std::string> commands = {find_line(10, a), find_line(10, b), remove_line(10, b)};
    u32 kept = recorder::commands_not_freed();
    for (const recorder::Failure how : {recorder::Failure::delivery, recorder::Failure::status}) {
        restore(ready);
        recorder::fail("findFDB", how);
        sweep();
        EXPECT_EQ(commands, sent()) << "one attempt, then on to the next entry";
        EXPECT_EQ(in(const_cast<Snapshot&>(ready), *fil(10, a)).last_seen, fil(10, a)->last_seen);
        EXPECT_EQ(1u, fil(10, a)->lastValidate);
        EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
        EXPECT_EQ(++kept, recorder::commands_not_freed());
    }
    restore(ready);
    recorder::answer_find_for(a.byte, 1, np_tick_ms, 0);
    sweep();
    EXPECT_EQ(commands, sent()) << "not found";
    EXPECT_EQ(long_ago_s, fil(10, a)->last_seen);
    EXPECT_EQ(1u, fil(10, a)->lastValidate);
    EXPECT_EQ(++kept, recorder::commands_not_freed());

    restore(ready);
    recorder::fail_builders(1);
    sweep();
    EXPECT_THAT(sent(), ElementsAre(find_line(10, b), remove_line(10, b)));
    EXPECT_NE(nullptr, fil(10, a));
}

TEST_F(Aging, AnotherEntrysAnswerIsNeverUsedForOneWithoutAnAnswer)
{
    given_learned(10, c, 3, 1, long_ago_s);
    given_learned(10, b, 3, 1, long_ago_s);
    given_learned(10, a, 3, 1, long_ago_s);
    idle(a, 300001);
    recorder::answer_find_for(b.byte, 1, np_tick_ms, np_tick_ms - 300001);
    idle(c, 5000);
    sweep();
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(b), text(c)));
    EXPECT_EQ(long_ago_s, fil(10, b)->last_seen);
    EXPECT_EQ(start_s - 5, fil(10, c)->last_seen);
}

TEST_F(Aging, ARemovalThatTheNPRefusesHappensAllTheSame)
{
    given_learned(10, b, 3, 1, long_ago_s);
    given_learned(10, a, 3, 1, long_ago_s);
    idle(300001);
    const Snapshot ready = snapshot();
    sweep();
    const Snapshot expected = snapshot();
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        restore(ready);
        refuse("removeFDB", how);
        sweep();
        EXPECT_TRUE(same(expected, snapshot()));
    }
}

TEST_F(Aging, AnEntryWithASystemPermitIsCountedOutAsOne)
{
    expect_damage();  // no operation makes a learned entry with a permit
    Fil& entry = given_learned(10, a, 3, 1, long_ago_s);
    entry.fil_permit = 1;
    table(10).nfil_usr = header().nfil_usr_all = 0;
    table(10).nfil_sys = header().nfil_sys_all = 1;
    idle(300001);
    sweep();
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
    EXPECT_EQ((Totals{0, 0}), totals());
}

TEST_F(Aging, UsesTheCallersDescriptor)
{
    const u32 inits = recorder::init_calls();
    sweep();
    EXPECT_EQ(inits, recorder::init_calls());
    EXPECT_EQ(0u, environment::calls("shmat"));
}

}  // namespace
}  // namespace zelfdb
