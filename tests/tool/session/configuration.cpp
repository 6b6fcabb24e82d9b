// The configuration as a file: saved, loaded, compared, reloaded.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "tool.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class Configuration : public testing::Test {
protected:
    void SetUp() override { good({"init"}); }
    [[nodiscard]] std::string path(const std::string& name) const { return folder_.path() + "/" + name; }
    static void apply(const std::string& text) { good({"apply", "-"}, text); }
    static std::string running() { return good({"save", "-"}); }

    Folder folder_;
};

TEST_F(Configuration, IsSavedAndLoadedAgain)
{
    good({"apply", EXAMPLES "/demo.conf"});
    const std::string before = running();
    const std::string file = path("saved.conf");
    EXPECT_EQ("36 commands saved to " + file + "\n", good({"save", file}));
    EXPECT_EQ(before, content_of(file));
    good({"init"});
    EXPECT_EQ("", running());
    EXPECT_EQ("36 commands done, 0 failed\n", good({"load", file}));
    EXPECT_EQ(before, running());
}

TEST_F(Configuration, WhatAFileHeldIsKept)
{
    const std::string file = folder_.file("saved.conf", "# mine\n");
    ASSERT_EQ(0, chmod(file.c_str(), 0600));
    apply("create vlan a vid 1\n");
    good({"save", file});
    EXPECT_EQ("# mine\n", content_of(file + "~"));
    EXPECT_EQ("create vlan a vid 1\n", content_of(file));
    apply("create vlan b vid 2\n");
    good({"save", file});
    EXPECT_EQ("create vlan a vid 1\n", content_of(file + "~"));
    struct stat status {};
    ASSERT_EQ(0, stat(file.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 0777);
    good({"save", file});  // the same again
    EXPECT_EQ(content_of(file), content_of(file + "~"));
}

TEST_F(Configuration, WhatCannotBeSavedLeavesTheFileAlone)
{
    apply("create vlan a vid 1\n");
    const Result nowhere = zelfctl({"save", "/nowhere/saved.conf"});
    EXPECT_EQ(1, nowhere.code);
    EXPECT_EQ("zelfctl: /nowhere/saved.conf: No such file or directory; nothing was saved\n", nowhere.err);
    const Result folder = zelfctl({"save", folder_.path()});
    EXPECT_EQ(1, folder.code);
    EXPECT_THAT(folder.err, HasSubstr("nothing was saved"));

    const std::string file = folder_.file("saved.conf", "before\n");
    // No byte may be written anywhere: not even the library's text can be held.
    const Result full = run({"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" save \"$1\"", ZELFCTL, file});
    EXPECT_EQ(1, full.code);
    EXPECT_THAT(full.err, testing::StartsWith("zelfctl: the configuration could not be read\n"));
    EXPECT_EQ("before\n", content_of(file));
    EXPECT_EQ("1\n", run({"/bin/sh", "-c", "ls -A \"$0\" | wc -l", folder_.path()}).out);  // no leftovers
}

// On a file system that is full.
TEST_F(Configuration, WhatDoesNotFitLeavesTheFileAlone)
{
    apply("create vlan a vid 1\n");
    const std::string place = folder_.path() + "/small";
    ASSERT_EQ(0, mkdir(place.c_str(), 0700));
    const Result full =
        run({"unshare", "-m", "/bin/sh", "-c",
             "mount -t tmpfs -o size=4k,nr_inodes=8 tmpfs \"$1\" && echo before > \"$1/saved.conf\" && "
             "\"$0\" save \"$1/saved.conf\"; echo \"ended with $?\"; cat \"$1/saved.conf\"; ls -A \"$1\"",
             ZELFCTL, place});
    EXPECT_EQ("ended with 1\nbefore\nsaved.conf\n", full.out);
    EXPECT_THAT(full.err, HasSubstr("No space left on device; nothing was saved"));
}

TEST_F(Configuration, IsLoadedIntoAnEmptyDatabaseAlone)
{
    apply("create vlan a vid 1\n");
    const std::string file = folder_.file("a.conf", "create vlan b vid 2\n");
    const Result result = zelfctl({"load", file});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: the database is not empty (1 VLAN): use reload, or init first\n", result.err);
    EXPECT_EQ("create vlan a vid 1\n", running());
}

// Nothing of it is in a text, but it would be in the way, or stay.
TEST_F(Configuration, WhatNoTextCarriesIsInTheWayOfLoading)
{
    const std::string file = folder_.file("a.conf", "create vlan b vid 2\n");
    const auto refused = [&](const std::string& what) {
        for (const std::vector<std::string>& words :
             std::vector<std::vector<std::string>>{{"load", file}, {"load", "--check", file}}) {
            const Result result = zelfctl(words);
            EXPECT_EQ(1, result.code);
            EXPECT_EQ("", result.out);
            EXPECT_EQ("zelfctl: the database is not empty (" + what + "): use reload, or init first\n", result.err);
        }
    };
    good({"set", "fdb", "userarea", "1"});
    refused("a limit of user entries");
    good({"set", "fdb", "userarea", "0"});
    good({"set", "ether", "2", "shaping", "on", "rate", "5"});
    apply("create mirror 1\ncreate clslist 7\n");
    refused("1 shaped physical port, 1 classify list and 1 mirror");
    good({"init"});
    EXPECT_EQ("create vlan b vid 2\n1 command would run, 0 would fail; nothing was applied\n",
              good({"load", "--check", file}));
    EXPECT_EQ("1 command done, 0 failed\n", good({"load", file}));
}

TEST_F(Configuration, LoadingChecksWithoutTouching)
{
    const std::string file = folder_.file("a.conf", "create vlan b vid 2\nnonsense\n");
    const Result result = zelfctl({"load", "--check", file});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr(":2:1: unexpected 'nonsense'"));
    EXPECT_EQ("", running());
}

TEST_F(Configuration, DifferencesAreShownInBothDirections)
{
    apply("create port 1 npport 1 portType ether\nset port 1 aging 100\ncreate vlan a vid 1\n");
    const std::string file = folder_.file(
        "wanted.conf", "# wanted\ncreate  port 1 npport 1 portType ether   # the same\ncreate vlan b vid 2\n");
    const Result result = zelfctl({"diff", file});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(
        "vlan a\n"
        "- create vlan a vid 1\n"
        "+ delete vlan a\n"
        "port 1\n"
        "- set port 1 aging 100\n"
        "+ set port 1 aging 300\n"
        "vlan b\n"
        "- delete vlan b\n"
        "+ create vlan b vid 2\n",
        result.out);
    const json shown = json::parse(zelfctl({"diff", "--json", file}).out)["differences"];
    EXPECT_EQ("port 1", shown[1]["object"]);
    EXPECT_EQ("set port 1 aging 300", shown[1]["to_file"][0]);
    EXPECT_EQ("set port 1 aging 100", shown[1]["to_running"][0]);
}

TEST_F(Configuration, AReloadRunsTheDifferenceOnce)
{
    apply("create port 1 npport 1 portType ether\ncreate vlan a vid 1\nadd port 1 to vlan a tag off\n");
    const std::string file = folder_.file("wanted.conf",
                                          "create port 1 npport 1 portType ether\ncreate vlan a vid 1\n"
                                          "add port 1 to vlan a tag off\nenable port 1\n");
    EXPECT_EQ("enable port 1\n1 command would run; nothing was changed\n", good({"reload", "--check", file}));
    EXPECT_EQ("1 command run\n", good({"reload", file}));
    EXPECT_EQ("0 commands run\n", good({"reload", file}));
    EXPECT_EQ("", good({"diff", file}));
}

TEST_F(Configuration, AReloadBetweenTheExamplesAndBack)
{
    good({"apply", EXAMPLES "/quality.conf"});
    const std::string before = path("before.conf");
    good({"save", before});
    good({"reload", "--all", EXAMPLES "/demo.conf"});
    const Result same = zelfctl({"diff", EXAMPLES "/demo.conf"});
    EXPECT_EQ(0, same.code);
    EXPECT_EQ("", same.out);
    EXPECT_THAT(same.err, HasSubstr(": set vlan lab learninglimit 5: not compared"));
    good({"reload", before});
    EXPECT_EQ("0 commands run\n", good({"reload", before}));
    EXPECT_EQ(content_of(before), running());
}

TEST_F(Configuration, AFileWithErrorsChangesNothing)
{
    apply("create vlan a vid 1\n");
    const std::string file = folder_.file("bad.conf", "create vlan b vid 2\nadd port 1 to vlan b tag off\n");
    for (const char* const verb : {"reload", "diff"}) {
        const Result result = zelfctl({verb, file});
        EXPECT_EQ(std::string("diff") == verb ? 2 : 1, result.code);
        EXPECT_THAT(result.err, HasSubstr(file + ":2: add port 1 to vlan b tag off: no such port (102)\n"));
        EXPECT_THAT(result.err, HasSubstr("nothing was done"));
    }
    EXPECT_EQ(2, zelfctl({"diff", "/nowhere/a.conf"}).code);
    EXPECT_EQ("create vlan a vid 1\n", running());
}

TEST_F(Configuration, AReloadThatCannotBeDoneChangesNothing)
{
    apply(
        "create port 1 npport 1 portType ether\ncreate vlan a vid 1\nadd port 1 to vlan a tag off\nset port 1 uplink "
        "on\n");
    const std::string file = folder_.file("wanted.conf", "create vlan b vid 2\n");
    const Result result = zelfctl({"reload", file});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("zelfctl: delete port 1 from vlan a: the port is an uplink (1302); nothing was changed\n", result.err);
}

TEST_F(Configuration, AVirtualInterfaceThatJoinedTaggedFirstIsLoadedAgain)
{
    apply(
        "create port 1 npport 9 portType vif\ncreate vlan late vid 20\nadd port 1 to vlan late tag on\n"
        "create vlan early vid 10\nadd port 1 to vlan early tag off\n");
    const std::string file = path("saved.conf");
    good({"save", file});
    const std::string before = running();
    good({"init"});
    good({"load", file});
    EXPECT_EQ(before, running());
}

}  // namespace
}  // namespace tool
