// What diff and reload cannot compare: they say so, and lose nothing of it.
#include <zelfdb/zelfdb.h>

#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;
using testing::Not;

class Reloading : public testing::Test {
protected:
    void SetUp() override { good({"init"}); }
    static void apply(const std::string& text) { good({"apply", "-"}, text); }
    static void expect(int code, const std::string& out, const std::string& err, const Result& result)
    {
        EXPECT_EQ(code, result.code);
        EXPECT_EQ(out, result.out);
        EXPECT_EQ(err, result.err);
    }

    Folder folder_;
};

TEST_F(Reloading, WhatNoCommandCanNameIsNamedAndStays)
{
    std::int32_t vid = 7;
    std::uint32_t code = 0;
    ASSERT_EQ(0, zelfdb_create_vlan("my lan", &vid, &code));
    apply("create vlan a vid 1\n");
    const std::string says =
        "zelfctl: no command can name this of the running configuration: create vlan my lan vid 7\n";
    const std::string same = folder_.file("same.conf", "create vlan a vid 1\n");
    expect(2, "", says, zelfctl({"diff", same}));
    expect(1, "0 commands run\n", says, zelfctl({"reload", same}));
    expect(1, "delete vlan a\n1 command would run; nothing was changed\n", says,
           zelfctl({"reload", "--check", "/dev/null"}));
    expect(1, "1 command run\n", says, zelfctl({"reload", "/dev/null"}));
    EXPECT_EQ("create vlan my lan vid 7\n", zelfctl({"save", "--force", "-"}).out);
}

constexpr const char* untold = ": not compared, for a running configuration does not tell it";

TEST_F(Reloading, LinesThatCannotBeComparedAreNamed)
{
    const std::string text =
        "create vlan a vid 1\n"
        "set vlan a learninglimit 5\n"
        "set fdb userarea 9 # few\n"
        "add prefilter drop - - - - 80 - to list 3\n";
    const std::string file = folder_.file("a.conf", text);
    apply("create vlan a vid 1\n");
    const std::string limit = file + ":2: set vlan a learninglimit 5" + untold;
    const std::string area = file + ":3: set fdb userarea 9" + untold;
    const std::string list = file + ":4: add prefilter drop - - - - 80 - to list 3" + untold;
    expect(0, "", limit + "\n" + area + "\n" + list + "\n", zelfctl({"diff", file}));
    const std::string left = list + "; not run\n";
    const std::string all_left = limit + "; not run without --all\n" + area + "; not run without --all\n" + left;
    expect(0, "0 commands run\n", all_left, zelfctl({"reload", file}));
    EXPECT_THAT(good({"display", "vlan", "a"}), HasSubstr("learnlimit: 0\n"));
    expect(0, "set vlan a learninglimit 5\nset fdb userarea 9\n2 commands would run; nothing was changed\n", left,
           zelfctl({"reload", "--all", "--check", file}));
    expect(0, "2 commands run\n", left, zelfctl({"reload", "--all", file}));
    EXPECT_THAT(good({"display", "vlan", "a"}), HasSubstr("learnlimit: 5\n"));
    expect(0, "2 commands run\n", left, zelfctl({"reload", "--all", file}));
}

// A line is run again only if that changes nothing of what the whole file makes.
TEST_F(Reloading, LinesThatAreNotSoAtTheEndOfTheFileAreNotRunAgain)
{
    const std::string file = folder_.file("a.conf",
                                          "create vlan a vid 1\n"
                                          "set vlans learninglimit 5\n"
                                          "create vlan b vid 2\n"
                                          "set vlan b learninglimit 7\n"
                                          "create port 1 npport 1 portType ether\n"
                                          "enable port 1\n"
                                          "set port 1 learning on\n"
                                          "disable port 1\n");
    const Result result = zelfctl({"reload", "--all", file});
    EXPECT_EQ(0, result.code);
    EXPECT_EQ(file + ":2: set vlans learninglimit 5" + untold + "; not run\n" + file + ":7: set port 1 learning on" +
                  untold + "; not run\n",
              result.err);
    EXPECT_THAT(good({"display", "vlan", "a"}), HasSubstr("learnlimit: 0\n"));
    EXPECT_THAT(good({"display", "vlan", "b"}), HasSubstr("learnlimit: 7\n"));
}

TEST_F(Reloading, WhatFailsOnACopyIsNotBegun)
{
    apply(
        "create port 1 npport 1 portType ether\ncreate vlan a vid 1\nadd port 1 to vlan a tag off\ncreate vlan b vid "
        "2\n"
        "set port 1 uplink on\n");
    const std::string file = folder_.file("wanted.conf", "create vlan c vid 3\n");
    const std::string before = good({"save", "-"});
    const std::string why = "zelfctl: delete port 1 from vlan a: the port is an uplink (1302); nothing was changed\n";
    expect(1, "", why, zelfctl({"reload", file}));
    const Result checked = zelfctl({"reload", "--check", file});
    EXPECT_EQ(1, checked.code);
    EXPECT_EQ(why, checked.err);
    EXPECT_THAT(checked.out, HasSubstr("delete port 1 from vlan a\n"));
    EXPECT_THAT(checked.out, Not(HasSubstr("would run")));
    EXPECT_EQ(before, good({"save", "-"}));
}

TEST_F(Reloading, AFileMayHaveTheNameOfAnOption)
{
    const std::string file = folder_.file("--x", "create vlan a vid 1\n");
    const Result result = run({"/bin/sh", "-c", "cd \"$1\" && exec \"$0\" diff -- --x", ZELFCTL, folder_.path()});
    expect(1, "vlan a\n- delete vlan a\n+ create vlan a vid 1\n", "", result);
}

TEST_F(Reloading, StandardInputCanBeCompared)
{
    expect(1, "vlan a\n- delete vlan a\n+ create vlan a vid 1\n", "", zelfctl({"diff", "-"}, "create vlan a vid 1\n"));
}

}  // namespace
}  // namespace tool
