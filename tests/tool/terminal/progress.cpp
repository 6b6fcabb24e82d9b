// Long work tells a person how far it is, and nobody else.
#include "session/pcap.h"
#include "terminal.h"

namespace tool {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* back_and_clear = "\r\x1b[K";

class ProgressOf : public testing::Test {
protected:
    void SetUp() override { given_office(); }
    Folder folder_;
};

std::string many_lines()
{
    std::string lines;
    for (int i = 0; i < 1024; ++i) lines += "set port 1 aging 30" + std::to_string(i % 10) + "\n";
    return lines;
}

TEST_F(ProgressOf, ApplyingIsShownAndCleared)
{
    const std::string file = folder_.file("a.conf", many_lines());
    Terminal terminal({ZELFCTL, "apply", file}, folder_.path());
    const std::string shown = terminal.rest();
    EXPECT_EQ(0, terminal.code());
    for (const char* const part :
         {": 256 lines, 25 %", ": 512 lines, 50 %", ": 768 lines, 75 %", ": 1024 lines, 100 %"})
        EXPECT_THAT(shown, HasSubstr(back_and_clear + file + part + back_and_clear));
    EXPECT_THAT(shown, EndsWith(std::string(back_and_clear) + "1024 commands done, 0 failed\r\n"));
}

TEST_F(ProgressOf, ApplyingDoesNotStandInTheWayOfErrors)
{
    const std::string file = folder_.file("a.conf", many_lines() + "frob\n");
    Terminal terminal({ZELFCTL, "apply", "--keep-going", file}, folder_.path());
    EXPECT_THAT(terminal.rest(), HasSubstr(" %" + std::string(back_and_clear) + file + ":1025:1: unexpected 'frob'"));
    EXPECT_EQ(1, terminal.code());
}

TEST_F(ProgressOf, ApplyingFewLinesIsNotShown)
{
    const std::string file = folder_.file("a.conf", "set port 1 aging 30\n");
    Terminal terminal({ZELFCTL, "apply", file}, folder_.path());
    EXPECT_EQ("1 command done, 0 failed\r\n", terminal.rest());
    EXPECT_EQ(0, terminal.code());
}

// The library waits a second before it tells the network processor again of a port that it does not know.
TEST_F(ProgressOf, SlowLinesAreShownAfterASecond)
{
    const std::string file = folder_.file("a.conf",
                                          "create port 11 npport 1 portType vif\n"
                                          "create port 12 npport 1 portType vif\n"
                                          "create port 13 npport 1 portType vif\n");
    Terminal terminal({ZELFCTL, "apply", file}, folder_.path());
    EXPECT_THAT(terminal.rest(), HasSubstr(back_and_clear + file + ": 2 lines, 66 %" + back_and_clear));
    EXPECT_EQ(0, terminal.code());
}

TEST_F(ProgressOf, FeedingIsShownAndCleared)
{
    const std::string file = folder_.file("a.pcap", pcap(std::vector<Packet>(300, {1, 0, frame(7)})));
    Terminal terminal({ZELFCTL, "feed", "--port", "1", file}, folder_.path());
    const std::string shown = terminal.rest();
    EXPECT_EQ(0, terminal.code());
    EXPECT_THAT(shown,
                testing::StartsWith(std::string(back_and_clear) + "256 frames, 1 stations learned" + back_and_clear));
    EXPECT_THAT(shown, HasSubstr("300 frames, "));
}

TEST_F(ProgressOf, NothingIsShownInAPipe)
{
    const std::string file = folder_.file("a.conf", many_lines());
    const Result applied = zelfctl({"apply", file});
    EXPECT_EQ("1024 commands done, 0 failed\n", applied.out);
    EXPECT_EQ("", applied.err);
    const Result fed =
        zelfctl({"feed", "--port", "1", folder_.file("a.pcap", pcap(std::vector<Packet>(300, {1, 0, frame(7)})))});
    EXPECT_EQ(0, fed.code);
    EXPECT_EQ("", fed.err);
}

}  // namespace
}  // namespace tool
