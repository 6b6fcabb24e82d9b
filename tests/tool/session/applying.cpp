// Commands from files, from standard input and from the command line: what is done, what is said, how it ends.
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

class Applying : public testing::Test {
protected:
    void SetUp() override { good({"init"}); }
    Folder folder_;
};

TEST_F(Applying, GoodLinesAreDoneInTheirOrder)
{
    const std::string file = folder_.file("a.conf",
                                          "# the office\n"
                                          "\n"
                                          "create vlan sales vid 10   # ten\n"
                                          "\tcreate port 1 npport 1 portType ether\r\n"
                                          "add port 1 to vlan sales tag off");
    EXPECT_EQ("3 commands done, 0 failed\n", good({"apply", file}));
    EXPECT_EQ(1U, good_json({"show", "vlan", "sales", "--json"})["members"].size());
}

TEST_F(Applying, SeveralFilesAndStandardInput)
{
    const std::string first = folder_.file("a.conf", "create vlan sales vid 10\n");
    const std::string last = folder_.file("b.conf", "delete vlan lab\n");
    EXPECT_EQ("3 commands done, 0 failed\n", good({"apply", first, "-", last}, "create vlan lab vid 20\n"));
    EXPECT_EQ(1U, good_json({"show", "vlan", "--json"})["vlans"].size());
}

TEST_F(Applying, AWrongLineIsToldWithFileLineAndColumnAndEndsIt)
{
    const std::string file =
        folder_.file("a.conf", "create vlan sales vid 10\n\ncreate prt 1\ncreate vlan lab vid 20\n");
    const Result result = zelfctl({"apply", file});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ(file +
                  ":3:8: unexpected 'prt', expected 'port', 'stream', 'queue', 'protgroup', 'vlan', "
                  "'sfdbentry', 'lfdbentry', 'clslist' or 'mirror'\n",
              result.err);
    EXPECT_EQ("1 command done, 1 failed\n", result.out);
    EXPECT_EQ(1U, good_json({"show", "vlan", "--json"})["vlans"].size());
}

TEST_F(Applying, ACommandThatFailsIsToldWithReasonAndCode)
{
    const Result result = zelfctl({"apply", "-"}, "create vlan sales vid 10\n  create vlan lab vid 10  # twice\n");
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("standard input:2: create vlan lab vid 10: the VID is in use (1402)\n", result.err);
}

TEST_F(Applying, KeepsGoingWhenAsked)
{
    const Result result =
        zelfctl({"apply", "--keep-going", "-"}, "nonsense\ndelete vlan lab\ncreate vlan sales vid 10\n");
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("1 command done, 2 failed\n", result.out);
    EXPECT_THAT(result.err, HasSubstr("standard input:1:1: unexpected 'nonsense'"));
    EXPECT_THAT(result.err, HasSubstr("standard input:2: delete vlan lab: no VLAN 'lab' (103)"));
    EXPECT_EQ(1U, good_json({"show", "vlan", "--json"})["vlans"].size());
}

TEST_F(Applying, CheckingTellsWhatIsWrongAndDoesNothing)
{
    const Result wrong = zelfctl({"apply", "--check", "-"}, "create vlan a\nfrob\ncreate vlan b vid x\n");
    EXPECT_EQ(1, wrong.code);
    EXPECT_THAT(wrong.err, HasSubstr("standard input:2:1: unexpected 'frob'"));
    EXPECT_THAT(wrong.err, HasSubstr("standard input:3:19: unexpected 'x', expected a VID, 1 to 4094"));
    EXPECT_EQ("2 lines are wrong; nothing was tried or applied\n", wrong.out);
    EXPECT_EQ("create vlan a\nset vlan a learning off\n2 commands would run, 0 would fail; nothing was applied\n",
              good({"apply", "--check", "-"}, "create vlan a # new\nset vlan a learning off\n"));
    EXPECT_EQ(0U, good_json({"show", "vlan", "--json"})["vlans"].size());
}

TEST_F(Applying, CheckingTriesTheLinesOnACopy)
{
    given_office();
    good({"set", "port", "1", "uplink", "on"});  // no text carries that
    const std::string file = folder_.file("b.conf", "create vlan lab vid 20\n");
    const Result result = zelfctl({"apply", "--check", "-", file},
                                  "add port 1 to vlan nowhere tag off\nset port 1 aging 10\n"
                                  "delete port 1 from vlan sales\ndelete port 2 from vlan sales\n");
    EXPECT_EQ(1, result.code);
    EXPECT_EQ(
        "standard input:1: add port 1 to vlan nowhere tag off: no VLAN 'nowhere' (103)\n"
        "standard input:3: delete port 1 from vlan sales: the port is an uplink (1302)\n",
        result.err);
    EXPECT_EQ(
        "set port 1 aging 10\ndelete port 2 from vlan sales\ncreate vlan lab vid 20\n"
        "3 commands would run, 2 would fail; nothing was applied\n",
        result.out);
    EXPECT_EQ(3U, good_json({"show", "vlan", "sales", "--json"})["members"].size());
    EXPECT_EQ("the database is clean\n", good({"check"}));
}

TEST_F(Applying, CheckingTriesWhatDoesNotFit)
{
    good({"init", "--vlans", "1"});
    const Result result = zelfctl({"apply", "--check", "-"}, "create vlan a vid 1\ncreate vlan b vid 2\n");
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("standard input:2: create vlan b vid 2: "));
    EXPECT_THAT(result.err, HasSubstr(" (1404)\n"));
}

TEST_F(Applying, FilesThatCannotBeReadAreTold)
{
    const Result missing = zelfctl({"apply", folder_.path() + "/none"});
    EXPECT_EQ(1, missing.code);
    EXPECT_EQ("zelfctl: " + folder_.path() + "/none: No such file or directory\n", missing.err);
    const Result directory = zelfctl({"apply", folder_.path()});
    EXPECT_EQ(1, directory.code);
    EXPECT_EQ("zelfctl: " + folder_.path() + ": Is a directory\n", directory.err);
    EXPECT_EQ("0 commands done, 0 failed\n", good({"apply", folder_.file("empty", "")}));
}

TEST_F(Applying, AnEndlessLineAndBytesThatAreNoTextAreRefused)
{
    const Result endless = zelfctl({"apply", "-"}, "create vlan " + std::string(70000, 'x') + "\n");
    EXPECT_EQ(1, endless.code);
    EXPECT_EQ("standard input:1: the line is longer than 65536 characters\n", endless.err);
    const Result bytes = zelfctl({"apply", "-"}, std::string("create\0port 1\n", 14));
    EXPECT_EQ(1, bytes.code);
    EXPECT_THAT(bytes.err, HasSubstr("standard input:1:1: unexpected 'create"));
}

TEST_F(Applying, OneCommandOnTheCommandLine)
{
    EXPECT_EQ("", good({"run", "create vlan sales vid 10"}));
    EXPECT_EQ("", good({"run", "create", "vlan", "lab", "vid", "20"}));
    EXPECT_EQ("vlan guests has vid 1\n", good({"create", "vlan", "guests"}));
    EXPECT_EQ("", good({"clear", "fdb", "vlan", "lab"}));
    EXPECT_EQ(3U, good_json({"show", "vlan", "--json"})["vlans"].size());
}

TEST_F(Applying, AWrongCommandOnTheCommandLineIsAUsageError)
{
    const Result result = zelfctl({"create", "vlan", "sales", "vid", "4095"});
    EXPECT_EQ(2, result.code);
    EXPECT_EQ(
        "zelfctl: create vlan sales vid 4095\n"
        "                               ^ unexpected '4095', expected a VID, 1 to 4094\n",
        result.err);
    const Result failed = zelfctl({"delete", "vlan", "sales"});
    EXPECT_EQ(1, failed.code);
    EXPECT_EQ("zelfctl: delete vlan sales: no VLAN 'sales' (103)\n", failed.err);
}

TEST(WithoutDatabase, CheckingTriesTheLinesOnAnEmptyOne)
{
    const Result result = zelfctl({"apply", "--check", "-"}, "create vlan a\n");
    EXPECT_EQ(0, result.code);
    EXPECT_EQ("zelfctl: note: there is no database that could be used; it is tried on an empty one\n", result.err);
    EXPECT_EQ("create vlan a\n1 command would run, 0 would fail; nothing was applied\n", result.out);
}

}  // namespace
}  // namespace tool
