// What the commands on mirrors do, seen through the replay and the software NP.
#include "language/mirror_commands.h"

#include "fixture.h"

namespace zelfctl {
namespace {

const std::vector<std::string> ready{"create vlan sales vid 10", "create mirror 2"};
const std::vector<std::string> enabled{"create vlan sales vid 10", "create mirror 2", "set mirror 2 source port 1 in",
                                       "set mirror 2 dest port 3", "enable mirror 2"};

class MirrorCommands : public Commands {
protected:
    static softnp_mirror in_NP(u32 number)
    {
        softnp_mirror record{};
        softnp_get_mirror(number, &record);
        return record;
    }

    // The command stands in the replay as it was written.
    static Effect replayed_as_written(const std::vector<std::string>& before, const std::string& line)
    {
        return {before, line, [line] { return replays(line); }};
    }

    static std::vector<Effect> effects()
    {
        return {
            replayed_as_written({}, "create mirror 4"),
            {ready, "delete mirror 2", [] { return !replays("create mirror 2"); }},
            replayed_as_written(ready, "set mirror 2 source port 1 in"),
            replayed_as_written(ready, "set mirror 2 source port 1 in vlan sales"),
            replayed_as_written(ready, "set mirror 2 source port 1 out"),
            replayed_as_written(ready, "set mirror 2 source port 1 out vlan sales"),
            replayed_as_written(ready, "set mirror 2 source vlan sales"),
            {after(ready, "set mirror 2 source port 1 in"), "set mirror 2 source none",
             [] { return in_NP(2).kind == 0 && !replays("set mirror 2 source port 1 in"); }},
            replayed_as_written(ready, "set mirror 2 dest port 3"),
            {after(ready, "set mirror 2 dest port 3"), "set mirror 2 dest none",
             [] { return in_NP(2).dest_port_id == 0 && !replays("set mirror 2 dest port 3"); }},
            replayed_as_written(ready, "set mirror 2 classify 3/2/yellow"),
            {ready, "set mirror 2 classify 1/0/", [] { return replays("set mirror 2 classify 1/0/"); }},
            replayed_as_written(ready, "set mirror 2 tag on vid 10"),
            replayed_as_written(ready, "set mirror 2 tag on tagtype 9100 vid 10"),
            {after(ready, "set mirror 2 tag on vid 10"), "set mirror 2 tag off",
             [] { return in_NP(2).tag_on == 0 && !replays("set mirror 2 tag on vid 10"); }},
            replayed_as_written({enabled.begin(), enabled.end() - 1}, "enable mirror 2"),
            {enabled, "disable mirror 2", [] { return in_NP(2).enabled == 0 && !replays("enable mirror 2"); }},
        };
    }
};

TEST_F(MirrorCommands, DoWhatTheySay) { expect_all(effects()); }
TEST_F(MirrorCommands, AreAllTested) { expect_effects_of({"Mirrors"}, effects()); }

TEST_F(MirrorCommands, SayWhyTheyCannotBeDone)
{
    expect_all(std::vector<Refusal>{
        {ready, "create mirror 2", ZELFDB_MIRROR_EXISTS, "the mirror exists already"},
        {{}, "delete mirror 1", ZELFDB_NO_MIRROR, "no such mirror"},
        {ready, "set mirror 2 source port 1 in vlan lab", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {ready, "set mirror 2 source vlan lab", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {ready, "enable mirror 2", ZELFDB_MIRROR_NO_SOURCE, "the mirror has no source"},
        {after(ready, "set mirror 2 source port 1 in"), "enable mirror 2", ZELFDB_MIRROR_NO_DEST,
         "the mirror has no destination"},
        {after(after(ready, "set mirror 2 source port 1 out"), "set mirror 2 dest port 1"), "enable mirror 2",
         ZELFDB_MIRROR_ONTO_ITSELF, "the mirror's source is frames that leave by its destination"},
        {enabled, "enable mirror 2", ZELFDB_MIRROR_ENABLED, "the mirror is enabled already"},
        {enabled, "delete mirror 2", ZELFDB_MIRROR_IN_USE, "the mirror is enabled: disable it first"},
        {enabled, "set mirror 2 dest none", ZELFDB_MIRROR_FROZEN,
         "the mirror is enabled: disable it to change source or destination"},
        {enabled, "set mirror 2 source none", ZELFDB_MIRROR_FROZEN,
         "the mirror is enabled: disable it to change source or destination"},
        {ready, "disable mirror 2", ZELFDB_MIRROR_DISABLED, "the mirror is not enabled"},
    });
}

TEST_F(MirrorCommands, TellOfARefusalByTheNetworkProcessor)
{
    given(ready);
    ASSERT_EQ(0, softnp_refuse("*", 0, SOFTNP_REFUSE_STATUS, 0));
    const Outcome outcome = run("set mirror 2 dest port 3");
    EXPECT_FALSE(outcome.done);
    EXPECT_EQ("the network processor refused the command", outcome.text);
}

TEST(MirrorValues, ThatAreWrongAreNotRead)
{
    for (const char* const line :
         {"create mirror 0", "create mirror 5", "set mirror 1 source port 65536 in", "set mirror 1 dest port 65536",
          "set mirror 1 source port 1", "set mirror 1 classify 1/1", "set mirror 1 classify 1/1/blue",
          "set mirror 1 tag on", "set mirror 1 tag on tagtype 12345 vid 1"})
        EXPECT_EQ(nullptr, read_line(line).command) << line;
}

}  // namespace
}  // namespace zelfctl
