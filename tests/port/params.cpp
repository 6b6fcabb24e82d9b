// The general parameter setter, in both of its forms.
#include "support/exported.h"

namespace zelfdb {
namespace {

class SetPortParam : public ExportedPair {
protected:
    struct Request {
        u32 port_id = 1;
        zelfdb_port_param param{};
        u32 aging_s = 0;
        i32 sldbkr_on = 0;
        u32 selector = 0;
        u32 flag_mask = 0;
    };
    Outcome set(const Request& r)
    {
        return call_pair(zelfdb_set_param_to_port, zelfdb_set_param_to_port2, r.port_id, &r.param, r.aging_s,
                         r.sldbkr_on, static_cast<i32>(r.selector), static_cast<i32>(r.flag_mask));
    }
    testing::AssertionResult refuses_to_set(u32 code, const Request& r)
    {
        return pair_refuses(code, zelfdb_set_param_to_port, zelfdb_set_param_to_port2, r.port_id, &r.param, r.aging_s,
                            r.sldbkr_on, static_cast<i32>(r.selector), static_cast<i32>(r.flag_mask));
    }
    static Request flags(u16 wanted, u32 mask)
    {
        return {.param = {wanted, 0, 0, 0, 0, 0, 0}, .selector = ZELFDB_SELECT_P_FLAG, .flag_mask = mask};
    }
    static Request pvid(u16 wanted) { return {.param = {0, 0, 0, 0, 0, 0, wanted}, .selector = ZELFDB_SELECT_PVID}; }
    static Request breaker(i32 on) { return {.sldbkr_on = on, .selector = ZELFDB_SELECT_SLDBKR}; }
};
FOR_BOTH_FORMS(SetPortParam);

constexpr zelfdb_port_param all_ones{0xFFFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFFFF, 0xFFFF};

TEST_P(SetPortParam, NothingSelectedChangesNothing)
{
    given_port(1, ZELFDB_PORT_ETHER, 1).optate = optate_up;
    const Expected unchanged = now();
    for (const u32 selector : {0u, 0x7F02u, 0xFFFF7F02u}) {  // no bit of these selects anything
        const Request request{
            .param = all_ones, .aging_s = 9, .sldbkr_on = 1, .selector = selector, .flag_mask = 0xFFFFFFFF};
        EXPECT_EQ(set(request), done_preset());
        EXPECT_TRUE(unchanged.is_now());
    }
}

TEST_P(SetPortParam, EachSelectorChangesItsOwnFieldOnly)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_port(2);
    port.p_flag = 0;
    const Expected start = now();
    const zelfdb_port_param param{0x0140, 9, 6, 4, 7, 0x9100, 300};
    const struct {
        u32 selector;
        Commands commands;
        std::function<void(Expected&, Port&)> edit;
    } rows[] = {
        {ZELFDB_SELECT_P_FLAG, {}, [](Expected&, Port& p) { p.p_flag = 0x0100; }},
        {ZELFDB_SELECT_PRI, {}, [](Expected&, Port& p) { p.pri = 6; }},
        {ZELFDB_SELECT_PHPORT, {}, [](Expected&, Port& p) { p.phport = 4; }},
        {ZELFDB_SELECT_TAGTYPE,
         {"set_port_param(1, 0x10, 0, 1, 0, 1, 0x9100, 0, 0xc001)"},
         [](Expected&, Port& p) { p.tagtype = 0x9100; }},
        {ZELFDB_SELECT_PVID,
         {"set_port_param(1, 0x20, 0, 1, 0, 1, 0x8100, 0x12c, 0xc001)"},
         [](Expected& after, Port& p) {
             deQ_port_by_pvid(after.base(), after.header(), p);
             p.PVID = 300;
             enQ_port_by_pvid(after.base(), after.header(), p);
         }},
        {ZELFDB_SELECT_AGING, {}, [](Expected&, Port& p) { p.aging = 0xFFFFFFFF; }},
        {ZELFDB_SELECT_SLDBKR,
         {},
         [](Expected&, Port& p) {
             p.sldbkr_on = 1;
             p.sldbkr_state = sldbkr_armed;
         }},
        {ZELFDB_SELECT_P_FLAG_TO_NP, {"set_port_flags(1, 0, 0x300)"}, [](Expected&, Port&) {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.selector);
        start.restore();
        Expected after = now();
        row.edit(after, after.of(port));
        const Request request{
            .param = param, .aging_s = 0xFFFFFFFF, .sldbkr_on = 1, .selector = row.selector, .flag_mask = 0x0300};
        EXPECT_EQ(set(request), done_preset(row.commands));
        EXPECT_TRUE(after.is_now());
    }
}

// Each command carries the record as it is at that moment, so the records in them tell the order of the changes too.
TEST_P(SetPortParam, AppliesEverythingInOneFixedOrder)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_learned(10, mac(0xA1), 1);
    port.optate = optate_up;
    port.sldbkr_state = sldbkr_tripped;  // so that the breaker's step takes bits away again
    const Request request{.param = {0x3307, 0, 5, 2, 0, 0x88A8, 99},
                          .aging_s = 60,
                          .sldbkr_on = 1,
                          .selector = 0x80FD,
                          .flag_mask = 0x2207};
    EXPECT_EQ(set(request), done_preset({"set_port_param(1, 0x20, 0x2377, 1, 5, 2, 0x8100, 0x63, 0xc001)",
                                         "set_port_param(1, 0x10, 0x2377, 1, 5, 2, 0x88a8, 0x63, 0xc001)",
                                         "removeFDB(0xa, 00:00:00:00:00:a1)", "set_port_flags(1, 0x2370, 7)",
                                         "set_port_flags(1, 0x2370, 0x2207)"}));
    EXPECT_EQ(port.aging, 60u);
    EXPECT_EQ(port.sldbkr_on, 1u);
    EXPECT_EQ(port.sldbkr_state, sldbkr_tripped);
}

TEST_P(SetPortParam, OnlyTenFlagBitsCanBeChanged)
{
    Port& port = given_port(1);
    port.optate = optate_up;
    for (u32 bit = 1; bit <= 0x8000; bit <<= 1) {
        SCOPED_TRACE(bit);
        const bool changeable = (0x3377 & bit) != 0;
        port.p_flag = 0;
        EXPECT_EQ(set(flags(0xFFFF, bit)), done_preset());
        EXPECT_EQ(port.p_flag, changeable ? bit : 0u);
        port.p_flag = 0xFFFF;
        EXPECT_EQ(set(flags(0, bit)), done_preset());
        EXPECT_EQ(port.p_flag, changeable ? 0xFFFF & ~bit : 0xFFFFu);
    }
    port.p_flag = 0;
    EXPECT_EQ(set(flags(0xFFFF, 0xFFFF0000)), done_preset());
    EXPECT_EQ(port.p_flag, 0u);
    EXPECT_EQ(set(flags(0xFFFF, 0xFFFFFFFF)), done_preset());
    EXPECT_EQ(port.p_flag, 0x3377u);
}

// Dropped without an error.
TEST_P(SetPortParam, TheFirstTwoBitsAreSetOnlyWhileThePortIsUpAndClearedAlways)
{
    Port& port = given_port(1);
    const struct {
        u32 optate;
        u16 before;
        u16 wanted;
        u16 after;
    } rows[] = {{optate_down, 0, 7, 4}, {optate_up, 0, 7, 7},   {2, 0, 7, 4},
                {optate_down, 7, 0, 0}, {optate_up, 7, 0, 0},   {2, 7, 0, 0},
                {optate_down, 3, 7, 7}, {optate_down, 1, 2, 0}, {optate_up, 1, 2, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.optate << ": " << row.before << " to " << row.wanted);
        port.optate = row.optate;
        port.p_flag = row.before;
        EXPECT_EQ(set(flags(row.wanted, 7)), done_preset());
        EXPECT_EQ(port.p_flag, row.after);
    }
}

// The flags reach the NP by their own selector alone, with the mask as it was given.
TEST_P(SetPortParam, SendsTheStoredFlagsWithTheGivenMask)
{
    given_port(101).p_flag = 0x1234;
    const Request request{.port_id = 101,
                          .param = {0x00FF, 0, 0, 0, 0, 0, 0},
                          .selector = ZELFDB_SELECT_P_FLAG_TO_NP,
                          .flag_mask = 0xFFFFFFFF};
    const Expected unchanged = now();
    EXPECT_EQ(set(request), done_preset({"set_port_flags(0xb, 0x1234, 0xffffffff)"}));
    EXPECT_TRUE(unchanged.is_now());
}

TEST_P(SetPortParam, ThePVIDMovesThePortToItsChainAndTheSameOneSendsNothing)
{
    for (const u32 id : {1u, 2u, 3u}) given_port(id);
    EXPECT_EQ(set(pvid(0)), done_preset());
    for (const u32 id : {3u, 1u}) {
        Request request = pvid(42);
        request.port_id = id;
        EXPECT_EQ(set(request).commands.size(), 1u);
    }
    EXPECT_EQ(ports_with_pvid(42), (std::vector<u32>{1, 3}));
    EXPECT_EQ(ports_with_pvid(0), std::vector<u32>{2});

    const Expected unchanged = now();
    EXPECT_EQ(set(pvid(42)), done_preset());
    EXPECT_TRUE(unchanged.is_now());
}

// Unlike an equal PVID.
TEST_P(SetPortParam, TheSameTagTypeIsSentAgain)
{
    given_port(1);
    const Request same{.param = {0, 0, 0, 0, 0, 0x8100, 0}, .selector = ZELFDB_SELECT_TAGTYPE};
    const Expected unchanged = now();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(set(same), done_preset({"set_port_param(1, 0x10, 0, 0, 0, 0, 0x8100, 0, 0xc001)"}));
        EXPECT_TRUE(unchanged.is_now());
    }
}

// There are chains for PVIDs up to 8191. A larger one is stored and sent, and the port is on no chain; the words behind the
// chains belong to other kinds.
TEST_P(SetPortParam, APVIDBeyondTheChainsIsStoredAndSentAndLinkedNowhere)
{
    Port& port = given_port(1);
    given_port(2);
    EXPECT_EQ(set(pvid(8191)), done_preset({"set_port_param(1, 0x20, 0, 0, 0, 0, 0x8100, 0x1fff, 0xc001)"}));
    EXPECT_EQ(ports_with_pvid(8191), std::vector<u32>{1});
    for (const u16 beyond : {u16{8192}, u16{9000}, u16{0xFFFF}}) {
        SCOPED_TRACE(beyond);
        Expected after = now();
        Port& expected = after.of(port);
        deQ_port_by_pvid(after.base(), after.header(), expected);
        expected.PVID = beyond;
        expected.pvid_link = {none, none};
        EXPECT_EQ(set(pvid(beyond)).result, 0);
        EXPECT_TRUE(after.is_now());
    }
    EXPECT_EQ(set(pvid(0)), done_preset({"set_port_param(1, 0x20, 0, 0, 0, 0, 0x8100, 0, 0xc001)"}));
    EXPECT_EQ(ports_with_pvid(0), (std::vector<u32>{1, 2}));
}

TEST_P(SetPortParam, AnotherPhysicalPortLeavesTheMarksAlone)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    const Request request{.param = {0, 0, 0, 2, 0, 0, 0}, .selector = ZELFDB_SELECT_PHPORT};
    EXPECT_EQ(set(request), done_preset());
    EXPECT_EQ(port.phport, 2u);
    EXPECT_EQ(lookup_phport(base(), header(), 1)->bound, 1u);
    EXPECT_EQ(lookup_phport(base(), header(), 2)->bound, 0u);
}

TEST_P(SetPortParam, TheBreakerIsArmedAndDisarmedButATrippedOneStaysTripped)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    const struct {
        i32 on;
        u32 before;
        u32 after;
    } rows[] = {
        {1, sldbkr_idle, sldbkr_armed},  {1, sldbkr_armed, sldbkr_armed}, {1, sldbkr_tripped, sldbkr_tripped},
        {0, sldbkr_idle, sldbkr_idle},   {0, sldbkr_armed, sldbkr_idle},  {0, sldbkr_tripped, sldbkr_tripped},
        {2, sldbkr_idle, sldbkr_idle},   {2, sldbkr_armed, sldbkr_idle},  {2, sldbkr_tripped, sldbkr_tripped},
        {-1, sldbkr_armed, sldbkr_idle}, {-1, sldbkr_idle, sldbkr_idle},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.on << " in state " << row.before);
        port.p_flag = 0;
        port.sldbkr_state = row.before;
        EXPECT_EQ(set(breaker(row.on)), done_preset());
        EXPECT_EQ(port.sldbkr_on, static_cast<u32>(row.on));
        EXPECT_EQ(port.sldbkr_state, row.after);
    }
}

// A new Ethernet port has its learning and forwarding bits although it is down.
TEST_P(SetPortParam, SettingTheBreakerTakesTheForwardingBitsFromAPortThatIsDown)
{
    Port& port = given_port(1, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_learned(10, mac(0xA1), 1);
    EXPECT_EQ(set(breaker(0)), done_preset({"removeFDB(0xa, 00:00:00:00:00:a1)", "set_port_flags(1, 0x170, 7)"}));
    EXPECT_EQ(port.p_flag, 0x170u);
    EXPECT_EQ(vlan(10)->fdb.nfil, 0u);
    EXPECT_EQ(set(breaker(0)), done_preset());
}

TEST_P(SetPortParam, AVirtualInterfaceHasNoBreakerAndNothingElseOfTheRequestIsApplied)
{
    given_port(1, ZELFDB_PORT_VIF);
    given_port(2, ZELFDB_PORT_ETHER, 1);
    given_port(3, ZELFDB_PORT_NONE);
    Request request{.param = all_ones, .aging_s = 9, .sldbkr_on = 1, .selector = 0x80FD, .flag_mask = 0xFFFF};
    EXPECT_TRUE(refuses_to_set(2201, request));
    EXPECT_TRUE(refuses_to_set(2201, breaker(0)));
    request.selector = 0x807D;
    EXPECT_EQ(set(request).result, 0);

    for (const u32 id : {2u, 3u}) {
        Request allowed = breaker(1);
        allowed.port_id = id;
        EXPECT_EQ(set(allowed).result, 0);
        EXPECT_EQ(port(id)->sldbkr_state, sldbkr_armed);
    }
}

TEST_P(SetPortParam, AnUnknownPortComesBeforeTheBreakerOfAVirtualInterface)
{
    given_port(1, ZELFDB_PORT_VIF);
    for (const u32 id : {0u, 2u, 200u, 201u, 0xFFFFFFFFu}) {
        Request request = breaker(1);
        request.port_id = id;
        EXPECT_TRUE(refuses_to_set(102, request)) << id;
    }
    EXPECT_TRUE(refuses_to_set(2201, breaker(1)));
}

}  // namespace
}  // namespace zelfdb
