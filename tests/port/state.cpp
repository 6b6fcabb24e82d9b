// Enabling and disabling, link notices, breaker recovery, uplink and link settings.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

class PortState : public Exported {};

TEST_F(PortState, ANewPortIsDownAndEnablingTouchesNothingButItsState)
{
    Port& port = given_port(101, ZELFDB_PORT_ETHER, 1);
    Expected up = now();
    up.of(port).optate = optate_up;
    const Expected down = now();
    EXPECT_TRUE(refuses(1304, zelfdb_disable_port, 101));
    EXPECT_EQ(call(zelfdb_enable_port, 101), done({"enable_port(0xb)"}));
    EXPECT_TRUE(up.is_now());
    EXPECT_TRUE(refuses(1205, zelfdb_enable_port, 101));
    EXPECT_EQ(call(zelfdb_disable_port, 101), done({"disable_port(0xb)"}));
    EXPECT_TRUE(down.is_now());
    EXPECT_TRUE(refuses(1304, zelfdb_disable_port, 101));
}

// Not even of a tripped port, and what was learned on it stays.
TEST_F(PortState, DisablingLeavesFlagsAndLearnedEntries)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_learned(10, mac(1), 1);
    port.optate = optate_up;
    port.sldbkr_state = sldbkr_tripped;
    EXPECT_EQ(call(zelfdb_disable_port, 1), done({"disable_port(1)"}));
    EXPECT_EQ(port.p_flag, 0x173u);
    EXPECT_EQ(vlan(10)->fdb.nfil_d, 1u);
}

// The flags that the trip should have taken stay too.
TEST_F(PortState, EnablingATrippedPortLeavesFlagsBreakerAndLearnedEntries)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_learned(10, mac(1), 1);
    port.sldbkr_on = 1;
    port.sldbkr_state = sldbkr_tripped;
    Expected up = now();
    up.of(port).optate = optate_up;
    EXPECT_EQ(call(zelfdb_enable_port, 1), done({"enable_port(1)"}));
    EXPECT_TRUE(up.is_now());
    EXPECT_EQ(port.p_flag, 0x173u);
}

TEST_F(PortState, OnlyExactlyUpIsEnabledAndExactlyDownDisabled)
{
    Port& port = given_port(1);
    port.optate = 5;
    EXPECT_EQ(call(zelfdb_disable_port, 1), done({"disable_port(1)"}));
    EXPECT_EQ(port.optate, optate_down);
    port.optate = 5;
    EXPECT_EQ(call(zelfdb_enable_port, 1), done({"enable_port(1)"}));
    EXPECT_EQ(port.optate, optate_up);
}

// The word stays untouched, the state changes all the same, and the next call goes by it.
TEST_F(PortState, ARefusalOfTheNPIsTheResultOfEnablingAndDisabling)
{
    Port& port = given_port(1);
    recorder::fail_always(recorder::Failure::status);
    EXPECT_EQ(call(zelfdb_enable_port, 1), (Outcome{-1, untouched, {"enable_port(1)", "enable_port(1)"}}));
    EXPECT_EQ(port.optate, optate_up);
    EXPECT_TRUE(refuses(1205, zelfdb_enable_port, 1));
    EXPECT_EQ(call(zelfdb_disable_port, 1), (Outcome{-1, untouched, {"disable_port(1)", "disable_port(1)"}}));
    EXPECT_EQ(port.optate, optate_down);
}

class LinkNotice : public Exported {
protected:
    void SetUp() override
    {
        Exported::SetUp();
        given_port(1);
        given_port(2);
        given_vlan(10, "ten");
        given_vlan(20, "twenty");
        given_learned(10, mac(1), 1);
        given_learned(20, mac(2), 1);
        given_learned(10, mac(3), 2);
        given_static(10, mac(4), 1);
    }
    Outcome notify(u32 port_id, u32 state, i32 flush)
    {
        return call_wordless(zelfdb_notify_portstate, &d(), port_id, state, flush);
    }
};

TEST_F(LinkNotice, FlushesTheLearnedEntriesOfThePortInAllVlansAndRecordsNothing)
{
    const Expected full = now();
    for (const u32 state : {0u, 1u}) {
        full.restore();
        EXPECT_EQ(notify(1, state, 1),
                  done({"removeFDB(0xa, 00:00:00:00:00:01)", "removeFDB(0x14, 00:00:00:00:00:02)"}));
        EXPECT_EQ(vlan(10)->fdb.nfil, 2u);
        EXPECT_EQ(vlan(20)->fdb.nfil, 0u);
        EXPECT_EQ(port(1)->optate, optate_down);
        EXPECT_EQ(port(1)->p_flag, 0u);
    }
}

TEST_F(LinkNotice, OnlyAFlushOfExactlyOneFlushes)
{
    const Expected unchanged = now();
    for (const i32 flush : {0, 2, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(notify(1, 0, flush), done()) << flush;
        EXPECT_EQ(notify(1, 1, flush), done()) << flush;
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(LinkNotice, AnotherStateOrPortIsRefusedAndFlushesNothing)
{
    const Expected unchanged = now();
    for (const u32 state : {2u, 3u, 0xFFFFFFFFu}) EXPECT_EQ(notify(1, state, 1).result, -1) << state;
    for (const u32 id : {0u, 3u, 200u, 0xFFFFFFFFu}) EXPECT_EQ(notify(id, 1, 1).result, -1) << id;
    EXPECT_EQ(notify(3, 2, 1).result, -1);
    EXPECT_EQ(sent(), Commands{});
    EXPECT_TRUE(unchanged.is_now());
}

class Recovery : public Exported {};

// The result is -1 in every case; only the word tells.
TEST_F(Recovery, ATrippedBreakerIsArmedOrIdleByItsSwitchAndTheFlagsAreBroughtUpToDate)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    const Expected healthy = now();
    const struct {
        u32 on;
        u32 state;
        u32 after;
    } rows[] = {{1, sldbkr_tripped, sldbkr_armed},
                {0, sldbkr_tripped, sldbkr_idle},
                {2, sldbkr_tripped, sldbkr_idle},
                {1, sldbkr_armed, sldbkr_armed},
                {0, sldbkr_armed, sldbkr_armed},
                {1, sldbkr_idle, sldbkr_idle},
                {1, 3, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "switch " << row.on << ", state " << row.state);
        for (const bool up : {true, false}) {
            port.optate = up ? optate_up : optate_down;
            port.p_flag = 0x173;
            port.sldbkr_on = row.on;
            port.sldbkr_state = row.state;
            Expected after = now();
            after.of(port).sldbkr_state = row.after;
            if (!up) after.of(port).p_flag = 0x170;
            EXPECT_EQ(call(zelfdb_recover_port_sldbkr, 1),
                      (Outcome{-1, untouched, up ? Commands{} : Commands{"set_port_flags(1, 0x170, 7)"}}));
            EXPECT_TRUE(after.is_now());
        }
    }
    healthy.restore();
}

// Restoring them is the business of the parameter setter's callers.
TEST_F(Recovery, DoesNotGiveTheForwardingBitsBack)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    port.optate = optate_up;
    port.p_flag = 0x170;
    port.sldbkr_on = 1;
    port.sldbkr_state = sldbkr_tripped;
    EXPECT_EQ(call(zelfdb_recover_port_sldbkr, 1), (Outcome{-1, untouched, {}}));
    EXPECT_EQ(port.p_flag, 0x170u);
}

TEST_F(Recovery, FlushesWhenAPortThatIsDownStillLearns)
{
    given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_learned(10, mac(1), 1);
    EXPECT_EQ(call(zelfdb_recover_port_sldbkr, 1),
              (Outcome{-1, untouched, {"removeFDB(0xa, 00:00:00:00:00:01)", "set_port_flags(1, 0x170, 7)"}}));
}

TEST_F(Recovery, OfAnUnknownPortWritesTheWord) { EXPECT_TRUE(refuses(102, zelfdb_recover_port_sldbkr, 1)); }

class Uplink : public ExportedPair {
protected:
    Outcome mark(u32 port_id, u32 value)
    {
        return call_pair(zelfdb_set_uplink_flag, zelfdb_set_uplink_flag2, port_id, value);
    }
    testing::AssertionResult refuses_mark(u32 code, u32 port_id, u32 value)
    {
        return pair_refuses(code, zelfdb_set_uplink_flag, zelfdb_set_uplink_flag2, port_id, value);
    }
};
FOR_BOTH_FORMS(Uplink);

TEST_P(Uplink, TheMarkTakesAnyValueAndNothingIsSent)
{
    Port& port = given_port(1);
    given_vlan(10, "ten");
    given_member(10, 1, true);
    for (const u32 value : {1u, 0u, 2u, 0xFFFFFFFFu, 0u}) {
        Expected after = now();
        after.of(port).uplink = value;
        EXPECT_EQ(mark(1, value), done());
        EXPECT_TRUE(after.is_now());
    }
}

TEST_P(Uplink, AMembershipIsNeededEvenToClearAndAPortComesFirst)
{
    Port& port = given_port(1);
    for (const u32 value : {0u, 1u}) {
        EXPECT_TRUE(refuses_mark(1701, 1, value));
        EXPECT_TRUE(refuses_mark(102, 2, value));
        EXPECT_TRUE(refuses_mark(102, 0, value));
        EXPECT_TRUE(refuses_mark(102, 200, value));
    }
    port.uplink = 1;
    EXPECT_TRUE(refuses_mark(1701, 1, 0));
    port.uplink = 0;
}

TEST_P(Uplink, AMarkedPortCanNeitherLeaveItsVlanNorBeDeleted)
{
    given_port(1);
    given_vlan(10, "ten");
    given_member(10, 1);
    EXPECT_EQ(mark(1, 1), done());
    EXPECT_TRUE(refuses(1302, zelfdb_rem_port_from_vlan, 10, 1));
    EXPECT_TRUE(refuses(1301, zelfdb_delete_port, 1));
    EXPECT_EQ(mark(1, 0), done());
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, 1).result, 0);
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);
}

// The forms on the caller's descriptor that send nothing are content with one that has no NP.
TEST_F(PortState, UplinkAndVidOfAPortNeedNoNP)
{
    given_port(1, ZELFDB_PORT_VIF);
    given_vlan(10, "ten");
    given_member(10, 1);
    Descriptor* const without_NP = zelfdb_open_descriptor2();
    ASSERT_NE(without_NP, nullptr);
    EXPECT_EQ(call(zelfdb_set_uplink_flag2, without_NP, 1, 1), done());
    EXPECT_EQ(port(1)->uplink, 1u);
    u32 vid = 0;
    EXPECT_EQ(call(zelfdb_get_port_vid2, without_NP, 1, &vid), done());
    EXPECT_EQ(vid, 10u);
    EXPECT_EQ(call(zelfdb_set_uplink_flag2, without_NP, 1, 0), done());
    EXPECT_EQ(recorder::calls_with_null_handle(), 0u);
    zelfdb_close_descriptor(without_NP);
}

TEST_F(PortState, LinkModeAndDependencyAreStoredAndNothingIsSent)
{
    Port& port = given_port(1);
    Expected after = now();
    after.of(port).link_mode = 0xFFFFFFFF;
    EXPECT_EQ(call(zelfdb_set_link_mode, 1, 0xFFFFFFFFu), done());
    EXPECT_TRUE(after.is_now());
    after.of(port).link_depend = 0x80000000;
    after.of(port).link_depend_list = 0xFFFF000F;
    EXPECT_EQ(call(zelfdb_set_link_depend, 1, 0x80000000u, 0xFFFF000Fu), done());
    EXPECT_TRUE(after.is_now());
}

}  // namespace
}  // namespace zelfdb
