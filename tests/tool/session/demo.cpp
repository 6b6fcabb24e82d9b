// What 'make run' shows.
#include "tool.h"

namespace tool {
namespace {

Result demo(const Folder& folder) { return run({EXAMPLES "/run-demo.sh", BUILD_DIR, folder.path()}); }

TEST(Demo, ShowsWhatItShouldEveryTime)
{
    const std::string expected = content_of(EXPECTED "/demo.txt");
    for (int round = 0; round < 2; ++round) {
        const Folder folder;
        const Result result = demo(folder);
        EXPECT_EQ(0, result.code);
        EXPECT_EQ("", result.err);
        EXPECT_EQ(expected, result.out);
    }
}

TEST(Demo, LeavesNothingBehind)
{
    const Folder folder;
    ASSERT_EQ(0, demo(folder).code);
    const Result after = zelfctl({"show", "fdb"});
    EXPECT_EQ(1, after.code);
    EXPECT_EQ("zelfctl: there is no database: make one with 'zelfctl init'\n", after.err);
}

TEST(Demo, WantsToKnowWhereTheProgramsAre)
{
    EXPECT_EQ(2, run({EXAMPLES "/run-demo.sh"}).code);
    EXPECT_EQ(2, run({EXAMPLES "/run-demo.sh", "/nowhere"}).code);
}

using Station = std::tuple<std::string, std::string, int>;  // VLAN, address, port

// The story that captures/README.md tells, and nothing but it, is in the database afterwards.
TEST(Demo, TheCapturesTeachTheStationsOfTheirStory)
{
    good({"init"});
    EXPECT_EQ("46 commands done, 0 failed\n", good({"apply", EXAMPLES "/demo.conf"}));
    good({"run", "set", "vlan", "lab", "learninglimit", "0"});
    const std::string captures = EXAMPLES "/captures/port";
    const auto fed =
        good_json({"feed", "--json", "--port", "1", captures + "1.pcap", "--port", "2", captures + "2.pcap", "--port",
                   "3", captures + "3.pcap", "--port", "4", captures + "4.pcap", "--port", "5", captures + "5.pcapng"});
    EXPECT_EQ(1, fed["moved"]);
    EXPECT_EQ(0, fed["refused"]);
    std::vector<Station> stations;
    const auto shown = good_json({"show", "fdb", "--type", "dynamic", "--json"});
    for (const auto& entry : shown["entries"]) stations.emplace_back(entry["vlan"], entry["mac"], entry["port"]);
    const std::vector<Station> expected{
        {"sales", "02:00:00:00:01:01", 1}, {"sales", "02:00:00:00:01:02", 3}, {"sales", "02:00:00:00:02:01", 2},
        {"sales", "02:00:00:00:03:01", 3}, {"lab", "02:00:00:00:04:01", 4},   {"lab", "02:00:00:00:05:01", 5},
        {"lab", "02:00:00:00:05:02", 5},   {"lab", "02:00:00:00:05:03", 5},   {"lab", "02:00:00:00:05:04", 5},
        {"ipv6", "02:00:00:00:02:01", 2},  {"ipv6", "02:00:00:00:03:01", 3}};
    EXPECT_EQ(expected, stations);
}

}  // namespace
}  // namespace tool
