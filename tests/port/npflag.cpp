// The rule that keeps a port from forwarding while it is down or its breaker has tripped.
#include "port/npflag.h"

#include "support/exported.h"

namespace zelfdb {
namespace {

class UpdateNpFlag : public Exported {};

TEST_F(UpdateNpFlag, TakesThreeBitsFromAPortThatIsDownOrTrippedAndTellsTheNPOnlyOfAChange)
{
    Port& port = given_port(101, ZELFDB_PORT_ETHER, 1);
    const Expected healthy = now();
    const struct {
        u32 optate;
        u32 sldbkr_state;
        u16 before;
        u16 after;
        Commands commands;
    } rows[] = {
        {optate_up, sldbkr_idle, 0xFFFF, 0xFFFF, {}},
        {optate_up, sldbkr_armed, 0xFFFF, 0xFFFF, {}},
        {optate_up, sldbkr_tripped, 0xFFFF, 0xFFF8, {"set_port_flags(0xb, 0xfff8, 7)"}},
        {optate_down, sldbkr_idle, 0xFFFF, 0xFFF8, {"set_port_flags(0xb, 0xfff8, 7)"}},
        {optate_down, sldbkr_tripped, 0x173, 0x170, {"set_port_flags(0xb, 0x170, 7)"}},
        {optate_down, sldbkr_idle, 0x0004, 0, {"set_port_flags(0xb, 0, 7)"}},
        {optate_down, sldbkr_idle, 0x0002, 0, {"set_port_flags(0xb, 0, 7)"}},
        {optate_down, sldbkr_idle, 0xFFF8, 0xFFF8, {}},
        {optate_up, sldbkr_tripped, 0, 0, {}},
        {2, sldbkr_idle, 7, 7, {}},  // only a state of exactly 0 is down
        {optate_up, 3, 7, 7, {}},    // and only one of exactly 2 is tripped
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.optate << row.sldbkr_state << ": " << row.before);
        port.optate = row.optate;
        port.sldbkr_state = row.sldbkr_state;
        port.p_flag = row.before;
        Expected after = now();
        after.of(port).p_flag = row.after;
        port_update_npflag(d(), port);
        EXPECT_EQ(sent(), row.commands);
        EXPECT_TRUE(after.is_now());
    }
    healthy.restore();
}

TEST_F(UpdateNpFlag, FlushesWhatWasLearnedOnThePortOnlyWhenLearningEnds)
{
    Port& port = given_port(1);
    given_port(2);
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    const auto learn = [this] {
        given_learned(10, mac(0xA1), 1);
        given_learned(20, mac(0xA2), 1);
    };
    learn();
    given_learned(10, mac(0xA3), 2);
    given_static(10, mac(0xA4), 1);

    port.p_flag = 6;  // it did not learn
    port_update_npflag(d(), port);
    EXPECT_EQ(sent(), Commands{"set_port_flags(1, 0, 7)"});
    EXPECT_EQ(vlan(10)->fdb.nfil_d, 2u);

    port.p_flag = 1;  // the entries go first, then the NP is told
    port_update_npflag(d(), port);
    EXPECT_EQ(sent(), (Commands{"removeFDB(0xa, 00:00:00:00:00:a1)", "removeFDB(0x14, 00:00:00:00:00:a2)",
                                "set_port_flags(1, 0, 7)"}));
    EXPECT_EQ(vlan(10)->fdb.nfil, 2u);
    EXPECT_EQ(vlan(10)->fdb.nfil_d, 1u);
    EXPECT_EQ(vlan(20)->fdb.nfil, 0u);

    learn();
    port.optate = optate_up;  // it goes on learning
    port.p_flag = 1;
    port_update_npflag(d(), port);
    EXPECT_EQ(sent(), Commands{});
    EXPECT_EQ(vlan(10)->fdb.nfil_d, 2u);
}

}  // namespace
}  // namespace zelfdb
