// What separates two configurations: rules, order, and that it leads from any configuration to any other.
#include "language/difference.h"

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

#include "fixture.h"
#include "support/random.h"

namespace zelfctl {
namespace {

std::vector<std::string> texts(const std::vector<PlannedCommand>& commands)
{
    std::vector<std::string> list;
    for (const PlannedCommand& command : commands) list.push_back(command.text);
    return list;
}

std::vector<std::string> between(const std::string& from, const std::string& to)
{
    return texts(commands_between(read_configuration(from), read_configuration(to)));
}

using Lines = std::vector<std::string>;

TEST(Difference, EqualConfigurationsHaveNone)
{
    const std::string text = "create port 1 npport 1 portType ether\nset port 1 aging 100\ncreate clslist 1\n";
    EXPECT_EQ(Lines{}, between(text, text));
    EXPECT_EQ(Lines{}, between("", ""));
    EXPECT_EQ(Lines{}, between("set port 1 priority 4 \n", "set port  1 priority 4\n"));
}

TEST(Difference, AttributesAreChangedAndTakenBackInPlace)
{
    const std::string port = "create port 1 npport 1 portType ether\n";
    EXPECT_EQ((Lines{"set port 1 aging 100"}), between(port, port + "set port 1 aging 100\n"));
    EXPECT_EQ((Lines{"set port 1 aging 7"}), between(port + "set port 1 aging 100\n", port + "set port 1 aging 7\n"));
    EXPECT_EQ((Lines{"set port 1 aging 300"}), between(port + "set port 1 aging 100\n", port));
    EXPECT_EQ((Lines{"set port 1 ignoretag off"}), between(port + "set port 1 ignoretag on\n", port));
    EXPECT_EQ((Lines{"set port 1 class_policing class 2 off"}),
              between(port + "set port 1 class_policing class 2 on red rate 5\n", port));
    EXPECT_EQ((Lines{"set ether 2 shaping off"}), between("set ether 2 shaping on rate 7\n", ""));
    EXPECT_EQ((Lines{"disable port 1"}), between(port + "enable port 1\n", port));
}

TEST(Difference, WhatGoesGoesFromTheOutsideInAndWhatComesFromTheInsideOut)
{
    const std::string all =
        "create port 1 npport 1 portType ether\ncreate stream 1/1 qostype wfq\ncreate queue 1/1/0\ncreate protgroup 6\n"
        "create vlan sales vid 10\nadd port 1 to vlan sales tag off protgroup 6\ncreate clslist 5\n"
        "add classify 1/0/green normal - - - - - - - - - - to clslist 5 line 1 \nadd clslist 5 to port 1 vlan sales\n"
        "create sfdbentry 02:00:00:00:00:01 in vlan sales port 1 flag 0\n"
        "create lfdbentry 02:00:00:00:00:02 in port 1 dsicard\ncreate mirror 1\nset mirror 1 source vlan sales\n"
        "set mirror 1 dest port 1\nenable mirror 1\n";
    EXPECT_EQ(
        (Lines{"disable mirror 1", "delete mirror 1", "delete lfdbentry 02:00:00:00:00:02 in port 1",
               "delete sfdbentry 02:00:00:00:00:01 in vlan sales", "delete clslist from port 1 vlan sales",
               "delete classify all from clslist 5", "delete clslist 5", "delete port 1 from vlan sales",
               "delete vlan sales", "delete protgroup 6", "delete queue 1/1/0", "delete stream 1/1", "delete port 1"}),
        between(all, ""));
    Lines made = between("", all);
    std::string text;
    for (const std::string& line : made) text += line + "\n";
    EXPECT_EQ(Lines{}, between(text, all));
}

TEST(Difference, AnObjectMadeOtherwiseIsMadeAnewWithAllThatHangsOnIt)
{
    const std::string rest =
        "add port 1 to vlan sales tag off\ncreate mirror 1\nset mirror 1 source vlan sales\nenable mirror 1\n";
    const std::string port = "create port 1 npport 1 portType ether\n";
    EXPECT_EQ(
        (Lines{"disable mirror 1", "delete port 1 from vlan sales", "delete vlan sales", "create vlan sales vid 11",
               "add port 1 to vlan sales tag off", "set mirror 1 source vlan sales", "enable mirror 1"}),
        between(port + "create vlan sales vid 10\n" + rest, port + "create vlan sales vid 11\n" + rest));
}

TEST(Difference, AMirrorIsDisabledOnlyForWhatIsFrozen)
{
    const std::string mirror = "create mirror 1\nset mirror 1 source port 1 in\nset mirror 1 dest port 2\n";
    const std::string enable = "enable mirror 1\n";
    EXPECT_EQ((Lines{"set mirror 1 tag on vid 5"}),
              between(mirror + enable, mirror + "set mirror 1 tag on vid 5\n" + enable));
    EXPECT_EQ((Lines{"disable mirror 1", "set mirror 1 dest port 3", "enable mirror 1"}),
              between(mirror + enable,
                      "create mirror 1\nset mirror 1 source port 1 in\nset mirror 1 dest port 3\n" + enable));
    EXPECT_EQ((Lines{"disable mirror 1"}), between(mirror + enable, mirror));
    EXPECT_EQ((Lines{"disable mirror 1", "set mirror 1 dest none"}),
              between(mirror + enable, "create mirror 1\nset mirror 1 source port 1 in\n"));
}

std::string list_of(const std::vector<int>& targets)
{
    std::string text = "create clslist 1\n";
    for (std::size_t i = 0; i < targets.size(); ++i)
        text += "add classify " + std::to_string(targets[i]) +
                "/0/green normal - - - - - - - - - - to clslist 1 line " + std::to_string(i + 1) + " \n";
    return text;
}

TEST(Difference, LinesThatTwoListsHaveInCommonStay)
{
    const std::string rest = "/0/green normal - - - - - - - - - - to clslist 1 line ";
    EXPECT_EQ((Lines{"delete classify line 2 from clslist 1", "add classify 9" + rest + "3"}),
              between(list_of({1, 2, 3}), list_of({1, 3, 9})));
    EXPECT_EQ((Lines{"add classify 5" + rest + "1"}), between(list_of({1, 2}), list_of({5, 1, 2})));
    EXPECT_EQ((Lines{"add classify 1" + rest + "2"}), between(list_of({1}), list_of({1, 1})));
    EXPECT_EQ((Lines{"delete classify line 1 from clslist 1"}), between(list_of({1}), list_of({})));
}

TEST(Difference, LinesThatNoConfigurationHasAreNamed)
{
    const Configuration read = read_configuration("create port 1 npport 1 \nclear fdb\n# no\n\nnonsense\n");
    EXPECT_EQ(1U, read.statements.size());
    EXPECT_EQ((Lines{"clear fdb", "nonsense"}), read.unknown);
}

TEST(Difference, WhatTheReplayDoesNotTellIsKnown)
{
    const auto untold = [](const char* line) {
        const ReadLine read = read_line(line);
        EXPECT_NE(nullptr, read.command) << line;
        return read.command ? untold_by(*read.command, read.arguments) : Untold::nothing;
    };
    for (const char* const line :
         {"set port 1 learning on", "set port 1 forwarding off", "set port 1 ingress_filter on",
          "set port 1 flags 20 mask 20", "set port 1 pri 3", "set port 1 pvid 5", "set port 1 simple_loop_breaker on",
          "set port 1 uplink on", "set stream 1/1 qostype wfq 3 4", "set queue 1/1/0 size 9",
          "set port 1 link_frame 4 forward", "set port 1 link_frame lag hold", "set vlan a learninglimit 5",
          "set vlans learninglimit 5", "set fdb userarea 5"})
        EXPECT_EQ(Untold::setting, untold(line)) << line;
    for (const char* const line :
         {"recover port 1", "notify port 1 up flush", "create queue 1/1/0 size 9", "update stream_rates ether 1",
          "create sfdbentry 02:00:00:00:00:01 in vlan a discard system",
          "create sfdbentry 02:00:00:00:00:01 in vlan a port 1 flag 0 system",
          "create lfdbentry 02:00:00:00:00:01 in port 1 discard system",
          "create lfdbentry 02:00:00:00:00:01 in port 1 discard flag 4",
          "delete sfdbentry 02:00:00:00:00:01 in vlan a system", "delete lfdbentry 02:00:00:00:00:01 in port 1 system",
          "clear fdb", "clear fdb vlan a", "clear fdb port 1", "clear fdb type dynamic",
          "add prefilter drop - - - - 80 - to list 3", "add loc on 10.0.0.1 - - to list 3"})
        EXPECT_EQ(Untold::deed, untold(line)) << line;
    for (const char* const line :
         {"create port 1 npport 1", "enable port 1", "set stream 1/1 qostype wfq", "create queue 1/1/0",
          "create sfdbentry 02:00:00:00:00:01 in vlan a discard user",
          "create lfdbentry 02:00:00:00:00:01 in port 1 discard", "delete vlan a", "query port 1 vlans",
          "set port 1 link_frame lag forward", "delete sfdbentry 02:00:00:00:00:01 in vlan a"})
        EXPECT_EQ(Untold::nothing, untold(line)) << line;
}

// Random configurations, and the way between any two of them.
class Ways : public Commands {
protected:
    u32 below(u32 bound) { return random_.below(bound); }
    std::string any(const Lines& of) { return of[below(static_cast<u32>(of.size()))]; }
    std::string number(u32 lowest, u32 highest) { return std::to_string(lowest + below(highest - lowest + 1)); }

    std::string random_line()
    {
        const std::string port = number(1, 4);
        const std::string vlan = any({"a", "b", "c"});
        const std::string stream = number(1, 2) + "/" + number(1, 2);
        const std::string queue = stream + "/" + number(0, 2);
        const std::string group = number(1, 2);
        const std::string list = number(1, 2);
        const std::string mac = "02:00:00:00:00:0" + number(1, 4);
        const std::string mirror = number(1, 2);
        const std::string on_off = any({"on", "off"});
        switch (below(32)) {
        case 0: return "set ether " + port + " shaping on rate " + number(1, 9);
        case 1:
        case 2:
        case 3:
            return "create port " + port + " npport " + number(1, 4) + any({"", " portType ether", " portType vif"});
        case 4: return "enable port " + port;
        case 5: return "set port " + port + " " + any({"ignoretag ", "ignoreptag ", "cosedit ", "ignorefdb "}) + on_off;
        case 6: return "set port " + port + " aftype " + any({"tagonly", "all"});
        case 7: return "set port " + port + " aging " + number(299, 301);
        case 8:
            return "set port " + port + " default_class " + number(1, 2) + "/" + number(0, 1) + "/" +
                   any({"green", "red"});
        case 9: return "set port " + port + " cosmap bit 3 val " + number(0, 7) + "," + number(0, 7) + ",,,,,,";
        case 10: return "set port " + port + " class_policing class " + number(0, 2) + " on red rate " + number(1, 5);
        case 11:
            return "set port " + port +
                   any({" link_mode or", " link_mode and", " link_depend port 1,2", " link_depend own",
                        " bandwidth frame", " bandwidth frame_gap", " link_frame bpdu forward",
                        " link_frame pae forward", " link_frame lag hold", " tagtype 88a8", " tagtype 8100"});
        case 12:
        case 13: return "create stream " + stream + " qostype " + any({"none", "wfq", "pq"});
        case 14:
            return "set stream " + stream +
                   any({" shaping on rate 5", " shaping on rate 5-7 burst 1-2", " priority 3", " priority 7",
                        " tosmap 1,,,,,,,", " tosmap off"});
        case 15: return "create queue " + queue;
        case 16:
            return "set queue " + queue + any({" pri 5", " pri 2 ratio 3", " queue_length 9", " queue_length 16384"});
        case 17:
            return "set queue " + queue + " color " + any({"green", "red"}) + " drop_type wred thresh " +
                   number(9, 11) + " drop 5";
        case 18: return "create protgroup " + group;
        case 19: return "add protocol " + any({"800", "806", "86dd"}) + " to protgroup " + group;
        case 20:
        case 21: return "create vlan " + vlan + " vid " + number(10, 12);
        case 22: return "set vlan " + vlan + any({" simple_loop_detection ", " ignorefdb ", " learning "}) + on_off;
        case 23:
        case 24:
            return "add port " + port + " to vlan " + vlan +
                   any({" tag off", " tag on", " tag on tagtype 9100", " tag off protgroup 1", " tag off protgroup 2"});
        case 25: return "create clslist " + list;
        case 26:
        case 27:
            return "add classify " + number(1, 3) + "/0/green normal - - - - - - - - - - to clslist " + list +
                   " line " + number(0, 3);
        case 28: return "add clslist " + list + " to port " + port + " vlan " + vlan + any({"", " 7/1,,,"});
        case 29:
            return "create sfdbentry " + mac + " in vlan " + vlan +
                   any({" discard", " port 1 flag 0", " port 2 flag 10"});
        case 30: return "create lfdbentry " + mac + " in port " + port + " dsicard";
        default: break;
        }
        return any({"create mirror " + mirror, "set mirror " + mirror + " source port " + port + " in",
                    "set mirror " + mirror + " source port 3 out vlan " + vlan,
                    "set mirror " + mirror + " source vlan " + vlan,
                    "set mirror " + mirror + " dest port " + number(1, 2), "set mirror " + mirror + " classify 2/1/red",
                    "set mirror " + mirror + " tag on vid 7", "enable mirror " + mirror});
    }

    std::string make_random(u32 lines)
    {
        TearDown();
        SetUp();
        for (u32 i = 0; i < lines; ++i) run(random_line());  // those that cannot be done change nothing
        return replayed();
    }

    zelfdb::Random random_;
};

// Protocol groups and entries stand in the order of their creation, which has no meaning.
std::string sorted_lines(const std::string& text)
{
    std::istringstream in(text);
    Lines lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    std::string sorted;
    for (const std::string& line : lines) sorted += line + "\n";
    return sorted;
}

TEST_F(Ways, LeadFromAnyConfigurationToAnyOther)
{
    u32 commands = 0;
    for (int round = 0; round < 150; ++round) {
        const std::string goal = make_random(below(160));
        const std::string start = make_random(below(160));
        const auto way = commands_between(read_configuration(start), read_configuration(goal));
        for (const PlannedCommand& command : way) {
            const Outcome outcome = run(command.text);
            ASSERT_TRUE(outcome.done) << command.text << ": " << outcome.text << "\nfrom\n"
                                      << start << "\nto\n"
                                      << goal;
        }
        ASSERT_EQ(sorted_lines(goal), sorted_lines(replayed())) << "from\n" << start;
        EXPECT_TRUE(between(replayed(), goal).empty());
        commands += static_cast<u32>(way.size());
    }
    EXPECT_GT(commands, 1000U);
}

// Every line that the replay can print is one of a configuration.
TEST(Difference, KnowsEveryCommandThatItNames)
{
    const Configuration all = read_configuration(
        "set ether 1 shaping on rate 1\ncreate port 1 npport 1 \nset port 1 aftype tagonly\nset port 1 ignoretag on\n"
        "set port 1 ignoreptag on\nset port 1 tagtype 9100\nset port 1 aging 1\nset port 1 default_class 1/1/red\n"
        "set port 1 cosedit on\nset port 1 cosmap bit 1 val 1,,,,,,,\nset port 1 class_policing class 1 on red rate 1\n"
        "set port 1 link_mode or\nset port 1 link_depend port 1\nset port 1 bandwidth frame_gap\n"
        "set port 1 link_frame bpdu forward\nset port 1 ignorefdb on\nenable port 1\ncreate stream 1/1 qostype wfq\n"
        "set stream 1/1 shaping on rate 1\nset stream 1/1 priority 1 \nset stream 1/1 tosmap 1,,,,,,,\n"
        "create queue 1/1/1\nset queue 1/1/1 pri 1 ratio 1\nset queue 1/1/1 queue_length 1\n"
        "set queue 1/1/1 color red drop_type wred thresh 1 drop 1\ncreate protgroup 1\nadd protocol 0800 to protgroup "
        "1\n"
        "create vlan a vid 1\nset vlan a simple_loop_detection on\nset vlan a ignorefdb on\nset vlan a learning off\n"
        "add port 1 to vlan a tag off protgroup 1\nadd port 1 to vlan a tag on tagtype 8100\ncreate clslist 1\n"
        "add classify 1/0/green normal - - - - - - - - - - to clslist 1 line 1 \nadd clslist 1 to port 1 vlan a\n"
        "create sfdbentry 02:00:00:00:00:01 in vlan a discard\ncreate sfdbentry 02:00:00:00:00:02 in vlan a port 1 "
        "flag 0\n"
        "create lfdbentry 02:00:00:00:00:01 in port 1 dsicard\ncreate mirror 1\nset mirror 1 source port 1 in\n"
        "set mirror 1 source port 1 out\nset mirror 1 source vlan a\nset mirror 1 dest port 1\n"
        "set mirror 1 classify 1/1/red\nset mirror 1 tag on vid 1\nenable mirror 1\n");
    EXPECT_EQ(Lines{}, all.unknown);
    for (const PlannedCommand& command : commands_between(all, {}))
        EXPECT_NE(nullptr, read_line(command.text).command) << command.text;
}

TEST(Difference, EveryRuleIsThatOfACommandAndTheOnlyOneForIt)
{
    std::set<std::string_view> commands;
    for (const Command& command : all_commands()) commands.insert(command.row->pattern);
    std::set<std::string_view> seen;
    for (const std::string_view pattern : patterns_of_statements()) {
        EXPECT_TRUE(commands.contains(pattern)) << pattern;
        EXPECT_TRUE(seen.insert(pattern).second) << pattern;
    }
    EXPECT_LT(30u, seen.size());
}

}  // namespace
}  // namespace zelfctl
