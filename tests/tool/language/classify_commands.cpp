// What the commands on classify, prefilter and loc lists do, seen through the replay and the software NP.
#include "language/classify_commands.h"

#include <netdb.h>

#include <cstring>

#include "fixture.h"

namespace zelfctl {
namespace {

const std::string any_fields = " - - - - - - - - - - ";
const std::vector<std::string> list5{"create clslist 5"};
const std::vector<std::string> list_and_member{"create clslist 5", "create port 1 npport 1 portType ether",
                                               "create vlan sales vid 10", "add port 1 to vlan sales tag off"};

std::string add_line(const std::string& fields, const std::string& where = "5 line 1 ")
{
    return "add classify 2/3/yellow normal" + fields + "to clslist " + where;
}

class ClassifyCommands : public Commands {
protected:
    static Effect replayed_as_written(const std::vector<std::string>& before, const std::string& line)
    {
        return {before, line, [line] { return replays(line); }};
    }

    static softnp_line line_in_NP(int kind, u32 list, u32 number)
    {
        softnp_line line{};
        softnp_get_line(kind, list, number, &line);
        return line;
    }
    template <class Word>
    static u32 word(const softnp_line& line, std::size_t offset)
    {
        Word word = 0;
        std::memcpy(&word, line.data + offset, sizeof word);
        return word;
    }
    static u32 lines_in_NP(int kind)
    {
        softnp_list list{};
        return softnp_get_list(kind, 0, &list) == 1 ? list.lines : 0;
    }

    static std::vector<Effect> effects()
    {
        const std::string line = add_line(any_fields);
        return {
            replayed_as_written({}, "create clslist 64"),
            {list5, "delete clslist 5", [] { return !replays("create clslist 5"); }},
            replayed_as_written(list5, line),
            replayed_as_written(list5, add_line(" 10.1.2.3 10.0.0.1-10.0.0.9 - - - - - - - - ")),
            replayed_as_written(list5, add_line(" 10.1.2.3/24 0.0.0.0/0 - - - - - - - - ")),
            replayed_as_written(list5, add_line(" - - 3-9/f 200 80 1000-2000/ff0 10-20 7 800-86dd/fff0 - ")),
            replayed_as_written(list5, add_line(" - - - 3-9 - - - 7/3 800 1a,,ff/f0, ")),
            replayed_as_written(list5, "add classify 1/0/red dscp" + any_fields + "to clslist 5 line 1 "),
            replayed_as_written(list5, "add classify 1/-1/green dot1p" + any_fields + "to clslist 5 line 1 "),
            {after(list5, line), "add classify 9/0/green normal" + any_fields + "to clslist 5",
             [] { return replays("add classify 9/0/green normal" + any_fields + "to clslist 5 line 2 "); }},
            {after(list5, line), "add classify 9/0/green normal" + any_fields + "to clslist 5 line 1",
             [] { return replays(add_line(any_fields, "5 line 2 ")); }},
            {after(list5, line), "delete classify line 1 from clslist 5",
             [line] { return !replays(line) && lines_in_NP(SOFTNP_CLASSIFY) == 0; }},
            {after(after(list5, line), line), "delete classify all from clslist 5",
             [line] { return !replays(line) && lines_in_NP(SOFTNP_CLASSIFY) == 0; }},
            replayed_as_written(list_and_member, "add clslist 5 to port 1 vlan sales"),
            replayed_as_written(list_and_member, "add clslist 5 to port 1 vlan sales 7/1,,9,0/2"),
            {after(list_and_member, "add clslist 5 to port 1 vlan sales"), "delete clslist from port 1 vlan sales",
             [] { return !replays("add clslist 5 to port 1 vlan sales"); }},
            {{},
             "add prefilter drop 10.0.0.0/8 192.168.0.1-192.168.0.9 184/fc 3-9 80 - to list 3",
             [] {
                 const softnp_line got = line_in_NP(SOFTNP_PREFILTER, 3, 1);
                 return lines_in_NP(SOFTNP_PREFILTER) == 1 && word<u32>(got, 0) == 1 && word<u32>(got, 4) == 0x2F &&
                        word<u32>(got, 32) == 0x0A000000 && word<u32>(got, 16) == 0xC0A80001 &&
                        word<u32>(got, 20) == 0xC0A80009;
             }},
            {{"add prefilter drop - - - - - - to list 3", "add prefilter drop - - - - - - to list 3"},
             "add prefilter pass - - - - - - to list 3 index 0",
             [] {
                 return lines_in_NP(SOFTNP_PREFILTER) == 1 && word<u32>(line_in_NP(SOFTNP_PREFILTER, 3, 1), 0) == 0;
             }},
            {{},
             "add loc on 10.0.0.1/8 6 80 to list 4",
             [] {
                 const softnp_line got = line_in_NP(SOFTNP_LOC, 4, 1);
                 return word<u16>(got, 0) == 1 && word<u16>(got, 2) == 7 && word<u16>(got, 4) == 6 &&
                        word<u16>(got, 6) == 80 && word<u32>(got, 8) == 0x0A000001 && word<u32>(got, 12) == 0xFF000000;
             }},
            {{"add loc on - - - to list 4", "add loc on - - - to list 4"},
             "add loc off - - - to list 4 index 0",
             [] { return lines_in_NP(SOFTNP_LOC) == 1 && word<u16>(line_in_NP(SOFTNP_LOC, 4, 1), 0) == 0; }},
        };
    }
};

TEST_F(ClassifyCommands, DoWhatTheySay) { expect_all(effects()); }
TEST_F(ClassifyCommands, AreAllTested) { expect_effects_of({"Classify, prefilter and loc lists"}, effects()); }

TEST_F(ClassifyCommands, SayWhyTheyCannotBeDone)
{
    const std::string line = add_line(any_fields);
    const std::vector<std::string> bound = after(list_and_member, "add clslist 5 to port 1 vlan sales");
    expect_all(std::vector<Refusal>{
        {list5, "create clslist 5", ZELFDB_CLASSIFY_EXISTS, "the classify list exists already"},
        {{}, "delete clslist 5", ZELFDB_NO_CLASSIFY, "no such classify list"},
        {after(list5, line), "delete clslist 5", ZELFDB_CLASSIFY_HAS_LINES, "the classify list still has lines"},
        {bound, "delete clslist 5", ZELFDB_CLASSIFY_BOUND, "the classify list is still bound to a membership"},
        {{}, line, ZELFDB_NO_CLASSIFY, "no such classify list"},
        {after(list5, line), "delete classify line 2 from clslist 5", ZELFDB_NO_LINE,
         "the classify list has no such line"},
        {{}, "delete classify all from clslist 5", ZELFDB_NO_CLASSIFY, "no such classify list"},
        {list_and_member, "add clslist 5 to port 1 vlan lab", ZELFDB_NO_VLAN, "no VLAN 'lab'"},
        {list_and_member, "add clslist 6 to port 1 vlan sales", ZELFDB_NO_CLASSIFY, "no such classify list"},
        {list_and_member, "add clslist 5 to port 2 vlan sales", ZELFDB_NO_PORT, "no such port"},
        {bound, "add clslist 5 to port 1 vlan sales", ZELFDB_PV_HAS_CLASSIFY,
         "the membership has a classify list already"},
        {list_and_member, "delete clslist from port 1 vlan sales", ZELFDB_PV_NO_CLASSIFY,
         "the membership has no classify list"},
        {bound, "delete port 1 from vlan sales", ZELFDB_PV_CLASSIFIED,
         "a classify list is still bound to the membership"},
        {{},
         "add prefilter drop - - 2/" + std::string(30, '0') + "f - - - to list 1",
         0,
         "a field has more than 30 characters"},
    });
}

TEST_F(ClassifyCommands, AProtocolIsReadByItsNameAndByItsNumber)
{
    given(list5);
    given(add_line(" - - - 6 - - - - - - "));
    const protoent* const known = getprotobynumber(6);  // a machine without a table of protocols knows none
    const std::string as_replayed = known ? known->p_name : "6";
    EXPECT_TRUE(replays(add_line(" - - - " + as_replayed + " - - - - - - ")));
    given(add_line(" - - - " + as_replayed + " - - - - - - ", "5 line 2 "));
    EXPECT_TRUE(replays(add_line(" - - - " + as_replayed + " - - - - - - ", "5 line 2 ")));
}

TEST(ClassifyValues, ThatAreWrongAreNotRead)
{
    for (const char* const line : {"create clslist 0",
                                   "create clslist 65",
                                   "add classify 1/1 normal - - - - - - - - - - to clslist 1",
                                   "add classify 1/1/ normal - - - - - - - - - - to clslist 1",
                                   "add classify 65536/1/red normal - - - - - - - - - - to clslist 1",
                                   "add classify -32769/1/red normal - - - - - - - - - - to clslist 1",
                                   "add classify 1/256/red normal - - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal 10.0.0 - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal 10.0.0.256 - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal 10.0.0.1.2 - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal 10.0.0.1/33 - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal 10.0.0.1- - - - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - 256 - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - 1/100 - - - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - - nonesuch - - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - - - 65536 - - - - - to clslist 1",
                                   "add classify 1/1/red normal - - - - - - - - 10000 - to clslist 1",
                                   "add classify 1/1/red normal - - - - - - - - - 1,2 to clslist 1",
                                   "add clslist 1 to port 1 vlan a 1,2",
                                   "add clslist 1 to port 1 vlan a 1/3,,,",
                                   "add clslist 1 to port 1 vlan a 65536,,,",
                                   "add prefilter drop - - 9-3 - - - to list 1",
                                   "add prefilter drop 10.0.0.9-10.0.0.1 - - - - - to list 1",
                                   "add prefilter drop - - - tcp - - to list 1",
                                   "add prefilter drop - - 19-21/f - - - to list 1x",
                                   "add prefilter drop - - - - - - to list 1 index 129",
                                   "add loc on 10.0.0.1-10.0.0.2 - - to list 1",
                                   "add loc on - 256 - to list 1",
                                   "add loc on - 1/1 - to list 1",
                                   "add loc on - - 65536 to list 1",
                                   "add loc on - - - to list 1 index 16"})
        EXPECT_EQ(nullptr, read_line(line).command) << line;
    // Ascending before the mask, descending under it.
    EXPECT_EQ(nullptr, read_line("add prefilter drop - - 15-16/f - - - to list 1").command);
}

}  // namespace
}  // namespace zelfctl
