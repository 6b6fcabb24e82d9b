// Simple loop detection: the report of a station's move, its rate limit, and the ports' breakers.
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class LoopDetection : public Fdb {
protected:
    // Ports 3 and 5 are untagged members of VLAN 10 and learn; loop detection is on.
    void SetUp() override
    {
        Fdb::SetUp();
        given_vlan(10, "sales").vlan_flag = vflag_loop_detection;
        for (const u32 port_id : {3u, 5u}) {
            given_open_port(port_id);
            given_member(10, port_id);
        }
        environment::reset();
    }
    struct Outputs {
        u32 old_port, new_port, tripped_old_port, tripped_new_port;
        bool operator==(const Outputs&) const = default;
    };
    Outputs report(u32 tick)
    {
        Outputs out{99, 99, 99, 99};
        report_simple_loop(d(), *vlan(10), a, *port(3), *port(5), tick,
                           {&out.old_port, &out.new_port, &out.tripped_old_port, &out.tripped_new_port});
        return out;
    }
    // Messages written since the last call.
    static std::size_t messages()
    {
        const std::size_t count = environment::syslog_messages().size();
        environment::syslog_messages().clear();
        return count;
    }
    void arm(u32 port_id) { port(port_id)->sldbkr_on = port(port_id)->sldbkr_state = 1; }

    static constexpr const char* message = "simple_loop_detection:LOOP ? (00:11:22:33:44:55)(3->5)(VLAN \"sales\")";
    const Mac a = mac(0x001122334455);
    const Mac b = mac(0x001122334456);
    const Mac c = mac(0x001122334457);
};

TEST_F(LoopDetection, AMoveIsReportedToSyslogWithAddressPortsAndVlan)
{
    ASSERT_EQ(0, learn(3, a, 1000));
    EXPECT_THAT(environment::syslog_messages(), IsEmpty()) << "learning a new station is no move";
    ASSERT_EQ(0, learn_again(10, 5, a, 2000));
    ASSERT_THAT(environment::syslog_messages(), SizeIs(1));
    EXPECT_EQ(message, environment::syslog_messages()[0].text);
    EXPECT_EQ(message, environment::syslog_messages()[0].format);
    EXPECT_EQ(172, environment::syslog_messages()[0].priority);
    EXPECT_EQ(2000u, vlan(10)->sld_lastMsgTick);
    EXPECT_EQ(1u, vlan(10)->sld_msgcnt);
}

TEST_F(LoopDetection, HighPortNumbersAndAddressesAreWrittenInFull)
{
    given_open_port(101);
    given_open_port(199);
    const Mac high = mac(0xFEDCBA987601);
    report_simple_loop(d(), *vlan(10), high, *port(199), *port(101), 9, {});
    ASSERT_THAT(environment::syslog_messages(), SizeIs(1));
    EXPECT_EQ("simple_loop_detection:LOOP ? (fe:dc:ba:98:76:01)(199->101)(VLAN \"sales\")",
              environment::syslog_messages()[0].text);
}

TEST_F(LoopDetection, OnlyFlagBit2OfTheVlanSwitchesItOn)
{
    arm(3);
    arm(5);
    for (const u32 flags : {0x0000u, 0x0001u, 0x0004u, 0x0008u, 0xFFFDu}) {
        vlan(10)->vlan_flag = static_cast<u16>(flags);
        const Snapshot before = snapshot();
        EXPECT_EQ((Outputs{0, 0, 0, 0}), report(5000)) << flags;
        EXPECT_TRUE(same(before, snapshot()));
        EXPECT_THAT(environment::syslog_messages(), IsEmpty());
    }
    vlan(10)->vlan_flag = 0xFFFF;
    EXPECT_EQ((Outputs{3, 5, 3, 5}), report(5000));
    vlan(10)->vlan_flag = vflag_loop_detection;
}

// ---- Rate ------------------------------------------------------------------------------------------------------------

TEST_F(LoopDetection, AtMostThreeMessagesAreWrittenWithin3TicksOfTheLastOne)
{
    struct Step {
        u32 tick;
        bool reported;
        u32 last_tick, count;  // as the VLAN has them afterwards
    };
    const Step steps[] = {
        {1000, true, 1000, 1},  {1003, true, 1003, 2}, {1006, true, 1006, 3},  {1006, false, 1006, 3},
        {1009, false, 1006, 3},  // 3 ticks after the last message, which a suppressed move does not put off
        {1010, true, 1010, 1},   // 4 ticks after it: a new burst
        {1010, true, 1010, 2},  {1010, true, 1010, 3}, {1010, false, 1010, 3}, {1013, false, 1010, 3},
        {1014, true, 1014, 1},  {1013, true, 1013, 1},  // a tick that goes back is far away, unsigned
        {1013, true, 1013, 2},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.tick);
        const Outputs out = report(step.tick);
        EXPECT_EQ(step.reported ? 1u : 0u, messages());
        EXPECT_EQ(step.reported ? (Outputs{3, 5, 0, 0}) : (Outputs{0, 0, 0, 0}), out);
        EXPECT_EQ(step.last_tick, vlan(10)->sld_lastMsgTick);
        EXPECT_EQ(step.count, vlan(10)->sld_msgcnt);
    }
}

TEST_F(LoopDetection, TheFirstTicksOfAnNPBelongToTheFirstBurst)
{
    for (const u32 tick : {0u, 0u, 3u}) report(tick);
    EXPECT_EQ(3u, messages());
    report(3);
    EXPECT_EQ(0u, messages());
    EXPECT_EQ(3u, vlan(10)->sld_msgcnt);
}

TEST_F(LoopDetection, TheTickMayWrap)
{
    struct Row {
        u32 last, tick;
        bool reported;
    };
    for (const Row& row : {Row{0xFFFFFFFE, 1, false},
                           {0xFFFFFFFE, 2, true},
                           {0xFFFFFFFC, 0xFFFFFFFF, false},
                           {0xFFFFFFFC, 0, true},
                           {0, 0xFFFFFFFF, true},
                           {0, 0x80000000, true}}) {
        SCOPED_TRACE(row.tick);
        vlan(10)->sld_lastMsgTick = row.last;
        vlan(10)->sld_msgcnt = 3;
        report(row.tick);
        EXPECT_EQ(row.reported ? 1u : 0u, messages());
        EXPECT_EQ(row.reported ? 1u : 3u, vlan(10)->sld_msgcnt);
        EXPECT_EQ(row.reported ? row.tick : row.last, vlan(10)->sld_lastMsgTick);
    }
}

TEST_F(LoopDetection, EveryVlanHasItsOwnRate)
{
    given_vlan(20, "lab").vlan_flag = vflag_loop_detection;
    for (int i = 0; i < 4; ++i) report(1);
    EXPECT_EQ(3u, messages());
    report_simple_loop(d(), *vlan(20), a, *port(3), *port(5), 1, {});
    EXPECT_EQ(1u, messages());
}

TEST_F(LoopDetection, AFourthMoveWithinTheBurstIsMadeButNotReportedUnlessABreakerTrips)
{
    ASSERT_EQ(0, learn(3, a, 100));
    for (u32 i = 0; i < 4; ++i) {
        EXPECT_EQ(0, learn_again(10, i % 2 ? 3 : 5, a, 101 + i / 2));
        EXPECT_EQ(i % 2 ? 3u : 5u, fil(10, a)->port);
    }
    EXPECT_EQ(3u, messages());
    arm(5);
    EXPECT_EQ(0, learn_again(10, 5, a, 102));
    EXPECT_EQ(1u, messages());
    EXPECT_EQ(4u, vlan(10)->sld_msgcnt);
}

// ---- Breakers --------------------------------------------------------------------------------------------------------

TEST_F(LoopDetection, ABreakerThatIsOnAndNotYetTrippedTrips)
{
    struct Row {
        u32 on, state;
        bool trips;
    };
    const Row rows[] = {{0, 0, false}, {0, 1, false}, {0, 2, false},         {1, 0, true},
                        {1, 1, true},  {1, 2, false}, {1, 3, true},          {2, 1, false},
                        {3, 0, false}, {2, 0, false}, {0xFFFFFFFF, 1, false}};
    const Snapshot ready = snapshot();
    for (const bool in_rate : {true, false}) {
        for (const Row& old_row : rows) {
            for (const Row& new_row : rows) {
                SCOPED_TRACE("old on " + std::to_string(old_row.on) + " state " + std::to_string(old_row.state) +
                             ", new on " + std::to_string(new_row.on) + " state " + std::to_string(new_row.state));
                restore(ready);
                vlan(10)->sld_msgcnt = 3;
                port(3)->sldbkr_on = old_row.on;
                port(3)->sldbkr_state = old_row.state;
                port(5)->sldbkr_on = new_row.on;
                port(5)->sldbkr_state = new_row.state;
                forget();

                const bool reported = in_rate || old_row.trips || new_row.trips;
                Outputs expected{};
                if (reported) expected = {3, 5, old_row.trips ? 3u : 0u, new_row.trips ? 5u : 0u};
                EXPECT_EQ(expected, report(in_rate ? 1000 : 1));
                EXPECT_EQ(reported ? 1u : 0u, messages());
                EXPECT_EQ(old_row.trips ? 2 : old_row.state, port(3)->sldbkr_state);
                EXPECT_EQ(new_row.trips ? 2 : new_row.state, port(5)->sldbkr_state);
                EXPECT_EQ(old_row.trips ? 0x170 : 0x173, port(3)->p_flag);
                EXPECT_EQ(new_row.trips ? 0x170 : 0x173, port(5)->p_flag);
                std::vector<std::string> commands;
                if (old_row.trips) commands.emplace_back("set_port_flags(3, 0x170, 7)");
                if (new_row.trips) commands.emplace_back("set_port_flags(5, 0x170, 7)");
                EXPECT_EQ(commands, sent());
                EXPECT_EQ(in_rate ? 1u : reported ? 4u : 3u, vlan(10)->sld_msgcnt);
            }
        }
    }
    restore(ready);
}

TEST_F(LoopDetection, EachOutputMayBeNull)
{
    for (u32 given = 0; given < 16; ++given) {
        port(3)->sldbkr_on = port(5)->sldbkr_on = 1;
        port(3)->sldbkr_state = port(5)->sldbkr_state = 0;
        Outputs out{99, 99, 99, 99};
        report_simple_loop(d(), *vlan(10), a, *port(3), *port(5), 10 * given,
                           {given & 1 ? &out.old_port : nullptr, given & 2 ? &out.new_port : nullptr,
                            given & 4 ? &out.tripped_old_port : nullptr, given & 8 ? &out.tripped_new_port : nullptr});
        EXPECT_EQ((Outputs{given & 1 ? 3u : 99u, given & 2 ? 5u : 99u, given & 4 ? 3u : 99u, given & 8 ? 5u : 99u}),
                  out);
    }
    EXPECT_EQ(16u, messages());
    port(3)->sldbkr_on = port(5)->sldbkr_on = port(3)->sldbkr_state = port(5)->sldbkr_state = 0;
}

TEST_F(LoopDetection, ATrippedBreakerFlushesItsPortEvenTheStationJustLearned)
{
    ASSERT_EQ(0, learn(3, a));
    ASSERT_EQ(0, learn(3, b));
    ASSERT_EQ(0, learn(5, c));
    given_static(10, mac(2), 3);
    given_static(10, mac(4), 5);
    arm(3);
    arm(5);
    forget();
    const u32 place = offset_of(fdb(), *fil(10, a)).value;
    EXPECT_EQ(0, learn_again(10, 5, a, 50));
    EXPECT_THAT(sent(), ElementsAre(remove_line(10, a), add_line(10, a, 5, place),  // the move
                                    remove_line(10, b), "set_port_flags(3, 0x170, 7)", remove_line(10, c),
                                    remove_line(10, a), "set_port_flags(5, 0x170, 7)"));
    EXPECT_EQ((Counts{2, 0, 2, 0}), counts(table(10))) << "the static ones stay";
    EXPECT_EQ(1u, messages());
    EXPECT_EQ(both_locks_main_back_first, locks());

    forget();
    EXPECT_EQ(0, learn(5, a, 60));
    EXPECT_EQ(0, learn(3, a, 60));
    EXPECT_THAT(sent(), IsEmpty()) << "neither port learns any more";
}

TEST_F(LoopDetection, ATrippedBreakerOfOneSideLeavesTheOtherSidesStations)
{
    ASSERT_EQ(0, learn(3, a));
    ASSERT_EQ(0, learn(3, b));
    ASSERT_EQ(0, learn(5, c));
    arm(3);
    EXPECT_EQ(0, learn_again(10, 5, a, 50));
    EXPECT_EQ(nullptr, fil(10, b));
    EXPECT_EQ(5u, fil(10, a)->port);
    EXPECT_EQ(5u, fil(10, c)->port);
}

TEST_F(LoopDetection, TheFlushReachesThePortsStationsInAllVlans)
{
    given_vlan(5, "first");
    given_learned(5, b, 3);
    ASSERT_EQ(0, learn(3, a));
    arm(3);
    forget();
    EXPECT_EQ(0, learn_again(10, 5, a, 50));
    EXPECT_EQ((Counts{0, 0, 0, 0}), counts(table(5)));
}

TEST_F(LoopDetection, APortWithoutTheLearningBitIsNotFlushedAndOneWithoutForwardingBitsIsNotSent)
{
    given_learned(10, b, 3);
    given_learned(10, c, 5);
    arm(3);
    arm(5);
    port(3)->p_flag = 0x0076;
    port(5)->p_flag = 0x0170;
    EXPECT_EQ((Outputs{3, 5, 3, 5}), report(1000));
    EXPECT_THAT(sent(), ElementsAre("set_port_flags(3, 0x70, 7)"));
    EXPECT_EQ((Counts{2, 2, 2, 0}), counts(table(10)));
}

TEST_F(LoopDetection, ABreakerTripsWhateverTheNPSays)
{
    arm(3);
    recorder::fail("set_port_flags", recorder::Failure::status, 1, 2);
    EXPECT_EQ((Outputs{3, 5, 3, 0}), report(1000));
    EXPECT_THAT(sent(), ElementsAre("set_port_flags(3, 0x170, 7)", "set_port_flags(3, 0x170, 7)"));
    EXPECT_EQ(2u, port(3)->sldbkr_state);
    EXPECT_EQ(0x170, port(3)->p_flag);
    EXPECT_EQ(1u, messages());
}

// ---- Names -----------------------------------------------------------------------------------------------------------

TEST_F(LoopDetection, APercentSignInAVlansNameIsWrittenAsItIs)
{
    u16 vid = 100;
    const std::vector<std::string> names = {"%",
                                            "100%",
                                            "%s%n%d",
                                            "a%%b",
                                            "%1$n %*d",
                                            "",
                                            "\"quoted\"",
                                            "thirty characters: 0123456789.",
                                            std::string(30, '%')};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        given_vlan(vid, name).vlan_flag = vflag_loop_detection;
        report_simple_loop(d(), *vlan(vid), a, *port(3), *port(5), 1000, {});
        ASSERT_THAT(environment::syslog_messages(), SizeIs(1));
        const environment::SyslogMessage& written = environment::syslog_messages()[0];
        EXPECT_EQ("simple_loop_detection:LOOP ? (00:11:22:33:44:55)(3->5)(VLAN \"" + name + "\")", written.text);
        EXPECT_EQ(name.find('%') == std::string::npos, written.format == written.text);
        messages();
        u32 err = 0;
        ASSERT_EQ(0, zelfdb_delete_vlan(vid++, &err));
    }
}

TEST_F(LoopDetection, ANameWithoutAnEndIsWrittenAsFarAsItsFieldGoes)
{
    for (const char character : {'n', '%'}) {
        std::memset(vlan(10)->name, character, sizeof vlan(10)->name);
        expect_damage();
        report_simple_loop(d(), *vlan(10), a, *port(3), *port(5), 1000, {});
        ASSERT_THAT(environment::syslog_messages(), SizeIs(1));
        EXPECT_EQ("simple_loop_detection:LOOP ? (00:11:22:33:44:55)(3->5)(VLAN \"" + std::string(31, character) + "\")",
                  environment::syslog_messages()[0].text);
        messages();
    }
}

}  // namespace
}  // namespace zelfdb
