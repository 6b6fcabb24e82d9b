// Learning: what one indication of the NP does to the database.
#include <cstring>

#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Learning : public Fdb {
protected:
    explicit Learning(u32 nfil = default_nfil) : Fdb(default_nport, default_nvlan, nfil) {}

    // Ports 3, 5 and 105 are untagged members of VLAN 10 and learn.
    void SetUp() override
    {
        Fdb::SetUp();
        given_vlan(10, "sales");
        given_vlan(20, "lab");
        for (const u32 port_id : {3u, 5u, 105u}) {
            given_open_port(port_id);
            given_member(10, port_id);
        }
        environment::reset();
        environment::set_time_s(start_s);
    }
    // The indication is used or not, but nothing changes and nothing is sent.
    void expect_ignored(const char* why, u32 port_id, const Mac& source, u32 cookie = 0xFFFFFFFF)
    {
        SCOPED_TRACE(why);
        const Snapshot before = snapshot();
        locks();
        EXPECT_EQ(0, learn(port_id, source, 5555, cookie));
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks_main_back_first, locks());
    }
    [[nodiscard]] u32 cookie_of(u32 vid, const Mac& address) const
    {
        return offset_of(fdb(), *fil(vid, address)).value;
    }

    const Mac a = mac(0x001122334455);  // bucket 0xFF
    const Mac b = mac(0x001122334554);  // the same
    const Mac c = mac(0x001122335544);  // the same
};

TEST_F(Learning, ANewStationBecomesTheFirstOfItsChain)
{
    given_static(10, b, 3);
    forget();
    Snapshot expected = snapshot();
    Fil& entry = in(expected, record(30 * 44));
    entry = {};
    entry.link = {Offset{31 * 44}, Offset{30 * 44}};
    entry.offset = offset_of(base(), table(10));
    entry.port = 105;
    entry.fil_flag = 0;
    entry.fil_type = 3;
    entry.fil_permit = 0;
    entry.mac = a;
    entry.lastValidate = 123456;
    entry.last_seen = start_s;
    in(expected, record(31 * 44)).link.prev = Offset{30 * 44};
    in(expected, record(29 * 44)).link.prev = none;
    header_in(expected).fil_free = Offset{29 * 44};
    header_in(expected).nfil_usr_all = 2;
    in(expected, table(10)).nfil = 2;
    in(expected, table(10)).nfil_d = 1;
    in(expected, table(10)).nfil_usr = 2;
    in(expected, table(10)).bucket[0xFF] = Offset{30 * 44};
    expected.commands = {add_line(10, a, 15, 30 * 44)};

    EXPECT_EQ(0, learn(105, a, 123456));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks_main_back_first, locks());
    EXPECT_EQ(0u, recorder::commands_not_freed());
}

TEST_F(Learning, TheStationLearnedLastIsMetFirst)
{
    for (const Mac& one : {a, b, c}) EXPECT_EQ(0, learn(3, one));
    EXPECT_THAT(chain_of(table(10), 0xFF), ElementsAre(text(c), text(b), text(a)));
    EXPECT_EQ((Counts{3, 3, 3, 0}), counts(table(10)));
    EXPECT_EQ((Totals{3, 0}), totals());
}

TEST_F(Learning, ALearnedEntryKeepsNothingOfTheOneThatHadItsRecord)
{
    given_static(20, b, 77, 0xFFFFFFFF, 2);
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_delete_sfil(20, b.byte, 2, &err));
    ASSERT_EQ(0, learn(3, a, 5));
    const Fil& entry = *fil(10, a);
    ASSERT_EQ(31u * 44, cookie_of(10, a)) << "the same record";
    EXPECT_EQ(offset_of(base(), table(10)), entry.offset);
    EXPECT_EQ(3u, entry.port);
    EXPECT_EQ(0u, entry.fil_flag);
    EXPECT_EQ(3u, entry.fil_type);
    EXPECT_EQ(0u, entry.fil_permit);
    EXPECT_EQ(5u, entry.lastValidate);
    EXPECT_EQ(start_s, entry.last_seen);
}

TEST_F(Learning, TheCookieOfANewStationIsNotLookedAt)
{
    EXPECT_EQ(0, learn(3, a, 0, 0));
    EXPECT_EQ(0, learn(3, b, 0, 31 * 44));
    EXPECT_EQ((Counts{2, 2, 2, 0}), counts(table(10)));
}

TEST_F(Learning, UsesTheCallersDescriptorAndSixteenBytesOfTheFrameWhereverTheyLie)
{
    const FrameBytes frame = tagged_frame(a, 10);
    const zelfdb_learn_ind ind = indication(3, 9);
    std::vector<u8> frame_at_odd(17);
    std::memcpy(frame_at_odd.data() + 1, frame.byte, 16);
    std::vector<u8> indication_at_odd(15);
    std::memcpy(indication_at_odd.data() + 1, &ind, sizeof ind);
    const u32 inits = recorder::init_calls();
    EXPECT_EQ(0, zelfdb_add_dfil_by_learn_ind(&d(), frame_at_odd.data() + 1,
                                              reinterpret_cast<const zelfdb_learn_ind*>(indication_at_odd.data() + 1)));
    EXPECT_NE(nullptr, fil(10, a));
    EXPECT_EQ(inits, recorder::init_calls());
    EXPECT_EQ(0u, environment::calls("shmat"));
}

TEST_F(Learning, TheUnusedBytesOfAnIndicationAreNotRead)
{
    zelfdb_learn_ind ind = indication(3, 9);
    std::memset(ind.pad0, 0xFF, sizeof ind.pad0);
    std::memset(ind.pad4, 0xFF, sizeof ind.pad4);
    EXPECT_EQ(0, learn_frame(untagged_frame(a), ind));
    EXPECT_EQ(3u, fil(10, a)->port);
    EXPECT_EQ(9u, fil(10, a)->lastValidate);
}

TEST_F(Learning, IsIgnoredForAnUnknownPort)
{
    for (const u32 port_id : {0u, 4u, 199u, 200u, 201u, 65535u}) expect_ignored("unknown port", port_id, a);
}

TEST_F(Learning, IsIgnoredOnAPortThatMayNotLearn)
{
    port(3)->p_flag = static_cast<u16>(port(3)->p_flag & ~1u);
    expect_ignored("bit 0x01 alone decides", 3, a);
    port(3)->p_flag = 0x31;
    port(3)->optate = optate_down;
    port(3)->sldbkr_state = sldbkr_tripped;
    EXPECT_EQ(0, learn(3, a));
    EXPECT_NE(nullptr, fil(10, a)) << "neither the state nor the breaker";
    port(3)->sldbkr_state = sldbkr_idle;
}

TEST_F(Learning, IsIgnoredForAGroupSourceAddress)
{
    for (const u64 group :
         {u64{0x010000000000}, u64{0x0180C2000000}, u64{0x01005E000001}, u64{0xFFFFFFFFFFFF}, u64{0x030000000001}}) {
        expect_ignored("group address", 3, mac(group));
    }
    for (const u64 station : {u64{0}, u64{0x020000000001}, u64{0xFEFFFFFFFFFF}}) {
        EXPECT_EQ(0, learn(3, mac(station)));
        EXPECT_NE(nullptr, fil(10, mac(station)));
    }
}

TEST_F(Learning, IsIgnoredWhenTheFrameHasNoVlan)
{
    port(3)->p_flag = 0x21;
    expect_ignored("not admitted", 3, a);
    u32 err = 0;
    ASSERT_EQ(0, zelfdb_rem_port_from_vlan(10, 3, &err));
    port(3)->p_flag = 0x11;
    forget();
    expect_ignored("PVID 0", 3, a);
}

TEST_F(Learning, IsIgnoredForTheSamePortAndNotEvenTheTimesChange)
{
    ASSERT_EQ(0, learn(3, a, 100));
    environment::set_time_s(start_s + 100);
    expect_ignored("same port", 3, a, cookie_of(10, a));
}

TEST_F(Learning, IsIgnoredWhenTheNPReferredToAnotherEntry)
{
    ASSERT_EQ(0, learn(3, a, 100));
    ASSERT_EQ(0, learn(3, b, 100));
    expect_ignored("no entry", 5, a, 0xFFFFFFFF);
    expect_ignored("another entry", 5, a, cookie_of(10, b));
    expect_ignored("one byte off", 5, a, cookie_of(10, a) + 1);
    expect_ignored("the segment's start", 5, a, 0);
    EXPECT_EQ(0, learn(5, a, 100, cookie_of(10, a))) << "this one it is";
    EXPECT_EQ(5u, fil(10, a)->port);
}

TEST_F(Learning, AStaticEntryNeverMoves)
{
    given_static(10, a, 3);
    given_static(10, b, 77, 4);  // bound to no port, and port 77 does not exist
    forget();
    expect_ignored("to another port", 5, a, cookie_of(10, a));
    expect_ignored("its own port", 3, a, cookie_of(10, a));
    expect_ignored("bound to no port", 5, b, cookie_of(10, b));
}

TEST_F(Learning, TheVlansOwnSwitchesForLearningAreNotLookedAtHere)
{
    vlan(10)->vlan_flag = vflag_ignore_fdb | vflag_learning_off;
    EXPECT_EQ(0, learn(3, a));
    EXPECT_NE(nullptr, fil(10, a)) << "they act in the NP only";
}

// ---- Limits ----------------------------------------------------------------------------------------------------------

TEST_F(Learning, TheVlansLimitCountsItsEntriesOfAllTypesAndIsSilent)
{
    given_static(10, mac(2), 3, 0, 1);
    given_static(10, mac(4), 3, 0, 0);
    given_learned(10, mac(6), 3);
    given_learned(20, mac(6), 3);
    given_local(3, mac(6));
    forget();
    const Snapshot ready = snapshot();
    for (const u32 limit : {1u, 2u, 3u}) {
        table(10).learnlimit = limit;
        expect_ignored("at or above the limit", 3, a);
    }
    for (const u32 limit : {0u, 4u, 0xFFFFFFFFu}) {
        restore(ready);
        table(10).learnlimit = limit;
        EXPECT_EQ(0, learn(3, a)) << limit;
        EXPECT_NE(nullptr, fil(10, a)) << limit;
    }
}

class LearningManyEntries : public Learning {
protected:
    LearningManyEntries() : Learning(128) {}
};

TEST_F(LearningManyEntries, SixtyStaticAndFortyLearnedEntriesFillALimitOf100)
{
    for (u32 i = 0; i < 60; ++i) given_static(10, mac(0x020000000000 + i), 3, 0, 1);
    for (u32 i = 0; i < 40; ++i) given_learned(10, mac(0x020000001000 + i), 3);
    table(10).learnlimit = 100;
    forget();
    expect_ignored("full", 3, a);
    table(10).learnlimit = 101;
    EXPECT_EQ(0, learn(3, a));
    EXPECT_EQ((Counts{101, 41, 41, 60}), counts(table(10)));
}

TEST_F(Learning, TheUserLimitIsAnError)
{
    given_static(20, mac(2), 3, 0, 0);
    given_static(20, mac(4), 3, 0, 2);
    given_static(20, mac(6), 3, 0, 1);
    given_local(3, mac(8), 0, 0);
    forget();
    const Snapshot ready = snapshot();
    for (const u32 limit : {1u, 2u, 3u}) {
        header().fdb_userarea = limit;
        const Snapshot before = snapshot();
        locks();
        EXPECT_EQ(-1, learn(3, a)) << limit;
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_EQ(both_locks_main_back_first, locks());
    }
    for (const u32 limit : {0u, 4u, 0xFFFFFFFFu}) {
        restore(ready);
        header().fdb_userarea = limit;
        EXPECT_EQ(0, learn(3, a)) << limit;
        EXPECT_NE(nullptr, fil(10, a)) << limit;
    }
}

TEST_F(Learning, AnEmptyPoolIsAnErrorAndNothingIsEvicted)
{
    given_learned(10, b, 3);
    given_free_records(1);
    EXPECT_EQ(0, learn(3, a)) << "the last record";
    forget();
    const Snapshot before = snapshot();
    EXPECT_EQ(-1, learn(3, c));
    EXPECT_TRUE(same(before, snapshot()));
    EXPECT_EQ(both_locks_main_back_first, locks());
}

TEST_F(Learning, WhenSeveralThingsForbidItTheFirstOfTheOrderDecides)
{
    struct Row {
        int result;
        bool learn_limit, user_limit, pool_empty;
    };
    constexpr bool y = true;
    constexpr bool n = false;
    given_learned(10, b, 3);
    const Snapshot ready = snapshot();
    for (const Row& row :
         {Row{0, y, y, y}, {0, y, y, n}, {0, y, n, y}, {0, y, n, n}, {-1, n, y, y}, {-1, n, y, n}, {-1, n, n, y}}) {
        SCOPED_TRACE(testing::PrintToString(std::array<bool, 3>{row.learn_limit, row.user_limit, row.pool_empty}));
        restore(ready);
        if (row.learn_limit) table(10).learnlimit = 1;
        if (row.user_limit) header().fdb_userarea = 1;
        if (row.pool_empty) given_free_records(0);
        const Snapshot before = snapshot();
        EXPECT_EQ(row.result, learn(3, a));
        EXPECT_EQ(0, learn(3, mac(0x010000000000))) << "a group address is ignored before any limit";
        EXPECT_EQ(0, learn(3, b, 0, cookie_of(10, b))) << "so is a known station on its port";
        EXPECT_TRUE(same(before, snapshot()));
    }
}

TEST_F(Learning, AStationThatTheNPRefusesIsAnErrorItsRecordStaysTakenAndNothingIsCounted)
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
        lost.fil_type = 3;
        lost.mac = a;
        lost.lastValidate = 99;
        lost.last_seen = start_s;
        in(expected, record(30 * 44)).link.prev = none;
        header_in(expected).fil_free = Offset{30 * 44};
        expected.commands = {add_line(10, a, 3, 31 * 44)};

        const u32 kept = recorder::commands_not_freed();
        locks();
        refuse("addFDB", how);
        EXPECT_EQ(-1, learn(3, a, 99));
        accept("addFDB");
        EXPECT_TRUE(same(expected, snapshot()));
        EXPECT_EQ(both_locks_main_back_first, locks());
        EXPECT_EQ(how == Refusal::answer ? 0u : 1u, recorder::commands_not_freed() - kept);
        EXPECT_EQ(0, learn(3, a, 99)) << "with another record";
        EXPECT_EQ(30u * 44, cookie_of(10, a));
    }
}

TEST_F(Learning, EveryRefusalCostsARecordUntilThePoolIsEmpty)
{
    recorder::answer_add(1);
    for (u32 i = 0; i < 32; ++i) EXPECT_EQ(-1, learn(3, a));
    EXPECT_THAT(free_records(), IsEmpty());
    EXPECT_EQ(32u, sent().size());
    recorder::answer_add(0);
    EXPECT_EQ(-1, learn(3, a));
    EXPECT_THAT(sent(), IsEmpty());
}

// ---- Station moves ---------------------------------------------------------------------------------------------------

TEST_F(Learning, AMovedStationIsRemovedAndLearnedAnewInTheSameRecord)
{
    for (const Mac& one : {b, a, c}) ASSERT_EQ(0, learn(3, one, 100));
    forget();
    environment::set_time_s(start_s + 50);
    const u32 place = cookie_of(10, a);
    Snapshot expected = snapshot();
    Fil& moved = in(expected, *fil(10, a));
    moved.link = {offset_of(fdb(), *fil(10, c)), Offset{place}};
    moved.port = 105;
    moved.lastValidate = 200;
    moved.last_seen = start_s + 50;
    in(expected, *fil(10, c)).link = {offset_of(fdb(), *fil(10, b)), Offset{place}};
    in(expected, *fil(10, b)).link.prev = offset_of(fdb(), *fil(10, c));
    in(expected, table(10)).bucket[0xFF] = Offset{place};
    // Its record has been the first free one for a moment.
    in(expected, record(header().fil_free.value)).link.prev = none;
    expected.commands = {remove_line(10, a), add_line(10, a, 15, place)};

    EXPECT_EQ(0, learn(105, a, 200, place));
    EXPECT_TRUE(same(expected, snapshot()));
    EXPECT_EQ(both_locks_main_back_first, locks());
    EXPECT_THAT(environment::syslog_messages(), IsEmpty()) << "loop detection is off";
}

TEST_F(Learning, AStationMovesWithinItsVlanOnly)
{
    given_learned(20, a, 3);
    EXPECT_EQ(0, learn(5, a));
    EXPECT_EQ(3u, fil(20, a)->port);
    EXPECT_EQ(5u, fil(10, a)->port);
    EXPECT_EQ((Totals{2, 0}), totals());
}

TEST_F(Learning, TheNPCannotHoldUpTheRemovalOfAMovedStation)
{
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        const Mac& station = how == Refusal::delivery ? a : how == Refusal::status ? b : c;
        ASSERT_EQ(0, learn(3, station));
        forget();
        refuse("removeFDB", how);
        EXPECT_EQ(0, learn_again(10, 5, station));
        EXPECT_EQ(5u, fil(10, station)->port);
        EXPECT_EQ(2u, sent().size());
    }
}

TEST_F(Learning, AnEntryThatMayNotBeRemovedDoesNotMove)
{
    expect_damage();
    Fil& entry = given_learned(10, a, 3);
    entry.fil_permit = 2;
    expect_ignored("another permit than learned entries have", 5, a, cookie_of(10, a));
}

TEST_F(Learning, AStationWhosePortIsGoneMoves)
{
    given_learned(10, a, 77, 100);
    vlan(10)->vlan_flag = vflag_loop_detection;
    EXPECT_EQ(0, learn_again(10, 5, a, 200));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a), add_line(10, a, 5, 31 * 44)));
    EXPECT_EQ(5u, fil(10, a)->port);
    EXPECT_THAT(environment::syslog_messages(), IsEmpty()) << "there is no old port to report";
    EXPECT_EQ(0u, vlan(10)->sld_msgcnt);
}

TEST_F(Learning, AStationWhosePortWasDeletedMoves)
{
    u32 err = 0;
    ASSERT_EQ(0, learn(3, a, 100));
    ASSERT_EQ(0, zelfdb_rem_port_from_vlan(10, 3, &err));
    EXPECT_EQ(nullptr, fil(10, a)) << "leaving a VLAN flushes the port";
    given_learned(10, a, 3, 100);
    ASSERT_EQ(0, zelfdb_delete_port(3, &err));
    ASSERT_NE(nullptr, fil(10, a)) << "deleting a port does not";
    EXPECT_EQ(0, learn_again(10, 5, a, 200));
    EXPECT_EQ(5u, fil(10, a)->port);
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
}

TEST_F(Learning, AMoveMakesItsOwnRoomUnderEveryLimit)
{
    ASSERT_EQ(0, learn(3, a));
    table(10).learnlimit = 1;
    header().fdb_userarea = 1;
    given_free_records(0);
    EXPECT_EQ(0, learn_again(10, 5, a));
    EXPECT_EQ(5u, fil(10, a)->port);
}

TEST_F(Learning, AMovedStationThatTheVlanHasNoRoomForIsGoneAndTheResultIs0)
{
    ASSERT_EQ(0, learn(3, a));
    ASSERT_EQ(0, learn(3, b));
    table(10).learnlimit = 1;
    forget();
    EXPECT_EQ(0, learn_again(10, 5, a));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a)));
    EXPECT_EQ(nullptr, fil(10, a));
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
}

TEST_F(Learning, AMovedStationBeyondTheUserLimitIsGoneAndTheResultIsMinusOne)
{
    ASSERT_EQ(0, learn(3, a));
    ASSERT_EQ(0, learn(3, b));
    header().fdb_userarea = 1;
    forget();
    EXPECT_EQ(-1, learn_again(10, 5, a));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a)));
    EXPECT_EQ(nullptr, fil(10, a));
    EXPECT_EQ((Totals{1, 0}), totals());
}

TEST_F(Learning, AMovedStationThatTheNPRefusesIsGoneWithItsRecord)
{
    vlan(10)->vlan_flag = vflag_loop_detection;
    for (const Refusal how : refusals) {
        SCOPED_TRACE(name_of(how));
        ASSERT_EQ(0, learn(3, a));
        const std::size_t free_before = free_records().size();
        forget();
        refuse("addFDB", how);
        EXPECT_EQ(-1, learn_again(10, 5, a));
        accept("addFDB");
        EXPECT_EQ(2u, sent().size());
        EXPECT_EQ(nullptr, fil(10, a));
        EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(10)));
        EXPECT_EQ((Totals{0, 0}), totals());
        EXPECT_EQ(free_before, free_records().size());
    }
    EXPECT_THAT(environment::syslog_messages(), IsEmpty()) << "a move that did not happen is not reported";
}

TEST_F(Learning, AStationMayMoveBackAndForth)
{
    ASSERT_EQ(0, learn(3, a, 1));
    for (u32 tick = 2; tick < 20; ++tick) {
        EXPECT_EQ(0, learn_again(10, tick % 2 ? 3 : 5, a, tick));
        EXPECT_EQ(tick % 2 ? 3u : 5u, fil(10, a)->port);
        EXPECT_EQ(tick, fil(10, a)->lastValidate);
    }
    EXPECT_EQ((Counts{1, 1, 1, 0}), counts(table(10)));
    EXPECT_EQ(31u, free_records().size());
}

}  // namespace
}  // namespace zelfdb
