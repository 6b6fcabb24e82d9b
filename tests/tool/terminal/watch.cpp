// What watch shows and marks, at a terminal and in a pipe; and how it ends.
#include <cstdio>
#include <memory>

#include "terminal.h"

namespace tool {
namespace {

using testing::HasSubstr;
using testing::Not;

class Watch : public testing::Test {
protected:
    void SetUp() override { good({"init", "--vlans", "64"}); }
    Folder home_;
};

TEST_F(Watch, MarksWhatChangedOnTheTerminalAndEndsWithCtrlC)
{
    good({"create", "vlan", "sales", "vid", "10"});
    Terminal terminal({ZELFCTL, "watch", "--interval", "0.3", "vlan"}, home_.path());
    const std::string first = terminal.until("1 VLAN\r\n");
    EXPECT_THAT(first, HasSubstr("\x1b[H\x1b[2JEvery 0.3 s: show vlan   (Ctrl-C ends)\r\n\r\n"));
    EXPECT_THAT(first, Not(HasSubstr("\x1b[7m")));
    good({"create", "vlan", "accounting", "vid", "20"});
    const std::string changed = terminal.until("\x1b[7m2 VLANs\x1b[0m\r\n");
    EXPECT_THAT(changed, HasSubstr("\x1b[7m 20  accounting"));
    EXPECT_THAT(changed, Not(HasSubstr("\x1b[7m 10  sales")));                  // wider columns are no change
    EXPECT_THAT(terminal.until("\r\n2 VLANs\r\n"), Not(HasSubstr("\x1b[7m")));  // nor is it news any more
    terminal.type(ctrl_c);
    EXPECT_EQ(0, terminal.code());
}

TEST_F(Watch, EndsAtOnceHoweverLongTheIntervalIs)
{
    Terminal terminal({ZELFCTL, "watch", "--interval", "3600", "summary"}, home_.path());
    terminal.until("VLANs  0 of 64");
    terminal.type(ctrl_c);
    EXPECT_EQ(0, terminal.code());
}

TEST_F(Watch, ShowsAsMuchAsThereIsRoomFor)
{
    std::string vlans;
    for (int i = 1; i <= 40; ++i) vlans += "create vlan v" + std::to_string(i) + "\n";
    good({"apply", "-"}, vlans);
    Terminal terminal({ZELFCTL, "watch", "--count", "1", "vlan"}, home_.path(), 80, 14);
    const std::string screen = terminal.rest();
    EXPECT_EQ(0, terminal.code());
    EXPECT_THAT(screen, HasSubstr("  v9 "));
    EXPECT_THAT(screen, Not(HasSubstr("  v10 ")));
    EXPECT_THAT(screen, HasSubstr("... and 32 lines more\r\n"));
    EXPECT_EQ(13, std::count(screen.begin(), screen.end(), '\n'));
}

TEST_F(Watch, MarksWithAStarInAPipe)
{
    const std::string command = std::string(ZELFCTL) + " watch --interval 0.2 --count 40 show vlan";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    const auto next_round = [&] {
        std::string round;
        char line[256];
        while (std::fgets(line, sizeof line, pipe.get()) && line[0] != '\n') round += line;
        return round;
    };
    EXPECT_EQ(" VID  NAME  MEMBERS  ENTRIES  LEARNING  IGNOREFDB  LOOPS\n 0 VLANs\n", next_round());
    good({"create", "vlan", "sales", "vid", "10"});
    std::string marked;
    int rounds = 1;
    int with_marks = 0;
    for (std::string round = next_round(); !round.empty(); round = next_round(), ++rounds) {
        if (round.find('*') == std::string::npos) continue;
        ++with_marks;
        marked = round;
    }
    EXPECT_EQ(40, rounds);
    EXPECT_EQ(1, with_marks);
    EXPECT_EQ(
        " VID  NAME   MEMBERS  ENTRIES  LEARNING  IGNOREFDB  LOOPS\n"
        "* 10  sales                 0  on        off        -\n"
        "*1 VLAN\n",
        marked);
}

TEST_F(Watch, NothingIsMarkedWhereNothingChanges)
{
    EXPECT_EQ(" VIDs   1 to 4094\n VLANs  0 of 64\n\n VIDs   1 to 4094\n VLANs  0 of 64\n",
              good({"watch", "--interval", "0.1", "--count", "2", "summary"}));
}

TEST_F(Watch, EndsAsTheShowDoesThatFails)
{
    const Result none = zelfctl({"watch", "--count", "3", "vlan", "nowhere"});
    EXPECT_EQ(1, none.code);
    EXPECT_EQ("", none.out);
    EXPECT_EQ("zelfctl: no VLAN 'nowhere'\n", none.err);
    EXPECT_EQ(2, zelfctl({"watch", "frob"}).code);
    EXPECT_EQ(2, zelfctl({"watch", "--interval", "0", "vlan"}).code);
    const Result nothing = zelfctl({"watch"});
    EXPECT_EQ(2, nothing.code);
    EXPECT_THAT(nothing.err, HasSubstr("watch: what is to be shown?"));
}

}  // namespace
}  // namespace tool
