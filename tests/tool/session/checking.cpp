// The verb check: what it says of a clean database, of one that bears the traces of operations, and of damaged ones.
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "main_segment.h"
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t link_in_vlan = 0x34;
constexpr std::size_t user_entries_at = 0x197A0;

TEST(Checking, ACleanDatabaseEndsWithZero)
{
    given_office();
    EXPECT_EQ("the database is clean\n", good({"check"}));
    EXPECT_EQ(nlohmann::json::parse(R"({"errors": 0, "notices": 0, "findings": []})"), good_json({"check", "--json"}));
}

TEST(Checking, NoticesEndWithThree)
{
    given_office();
    good({"delete", "port", "3", "from", "vlan", "sales"});
    const Result text = zelfctl({"check"});
    EXPECT_EQ(3, text.code);
    EXPECT_EQ("", text.err);
    EXPECT_THAT(text.out, HasSubstr("notice: VLAN 10: upv is 3, expected 2: "));
    EXPECT_THAT(text.out, HasSubstr("\n0 errors, 2 notices\n"));
    const Result result = zelfctl({"check", "--json"});
    EXPECT_EQ(3, result.code);
    EXPECT_EQ(2, nlohmann::json::parse(result.out)["notices"]);
}

TEST(Checking, ADatabaseWithErrorsIsNotSaved)
{
    given_office();
    const Folder folder;
    const std::string file = folder.file("saved.conf", "before\n");
    MainSegment().put(user_entries_at, 9);
    const Result result = zelfctl({"save", file});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, testing::EndsWith("in the database: see 'zelfctl check'\n"));
    EXPECT_EQ("before\n", content_of(file));
}

// Who replays it would never come to an end, and hold the lock meanwhile.
TEST(Checking, ADatabaseWhoseListsHaveNoEndIsNotReplayed)
{
    given_office();
    const Folder folder;
    const std::string file = folder.file("saved.conf", "create vlan a vid 1\n");
    {
        MainSegment main;
        const std::uint32_t vlan = main.get(vlan_head_at);
        main.put(vlan + link_in_vlan, vlan);
    }
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{"save", file},
                                                                                       {"save", "-"},
                                                                                       {"load", file},
                                                                                       {"diff", file},
                                                                                       {"reload", "--check", file},
                                                                                       {"reload", file}}) {
        std::vector<std::string> within{"timeout", "20", ZELFCTL};
        within.insert(within.end(), words.begin(), words.end());
        const Result result = run(within);
        EXPECT_EQ(words.front() == "diff" ? 2 : 1, result.code) << testing::PrintToString(words);
        EXPECT_EQ("", result.out) << testing::PrintToString(words);
        EXPECT_THAT(result.err, testing::EndsWith("in the database: see 'zelfctl check'\n"));
    }
    EXPECT_EQ("create vlan a vid 1\n", content_of(file));
}

TEST(Checking, ErrorsEndWithFour)
{
    given_office();
    MainSegment().put(vlan_count_at, 9);
    const Result text = zelfctl({"check"});
    EXPECT_EQ(4, text.code);
    EXPECT_EQ("", text.err);
    EXPECT_EQ(
        "error: header: vlan_count is 9, expected 1: it counts the records in use (main 0x1138c)\n"
        "1 error, 0 notices\n",
        text.out);
    const Result result = zelfctl({"check", "--json"});
    EXPECT_EQ(4, result.code);
    EXPECT_EQ(nlohmann::json::parse(R"({"errors": 1, "notices": 0, "findings": [{
                  "severity": "error", "object": "header", "segment": "main", "offset": 70540, "field": "vlan_count",
                  "found": "9", "expected": "1", "rule": "it counts the records in use"}]})"),
              nlohmann::json::parse(result.out));
}

TEST(Checking, ManyErrorsAreCountedAndTheFirstAreListed)
{
    good({"init"});
    {
        MainSegment main;
        for (std::size_t pvid = 0; pvid < 8192; ++pvid) main.put(0x354 + 4 * pvid, 1);
    }
    const Result result = zelfctl({"check"});
    EXPECT_EQ(4, result.code);
    EXPECT_THAT(result.out, HasSubstr("\n8192 errors, 0 notices; the first 500 are listed\n"));
}

TEST(Checking, CountsThatNeedMoreThanTheSegmentAreRefused)
{
    good({"init"});
    MainSegment().put(0, 0xFFFFFFFF);
    const Result result = zelfctl({"check"});
    EXPECT_EQ(4, result.code);
    EXPECT_THAT(result.out, StartsWith("error: header: nport, nvlan and nfil is "));
}

TEST(Checking, ASegmentThatIsNotADatabaseIsRefused)
{
    good({"init"});
    ASSERT_EQ(0, shmctl(shmget(main_key, 0, 0), IPC_RMID, nullptr));
    ASSERT_GE(shmget(main_key, 100, IPC_CREAT), 0);
    const Result result = zelfctl({"check"});
    EXPECT_EQ(4, result.code);
    EXPECT_EQ(
        "error: main segment: size is 100, expected a header's size or more: there is no database without a header "
        "(main 0x0)\n1 error, 0 notices\n",
        result.out);
}

TEST(Checking, ADatabaseWithoutItsEntriesIsDamaged)
{
    good({"init"});
    ASSERT_EQ(0, shmctl(shmget(fdb_key, 0, 0), IPC_RMID, nullptr));
    const Result result = zelfctl({"check"});
    EXPECT_EQ(4, result.code);
    EXPECT_THAT(result.out, StartsWith("error: FDB segment: size is 0, expected "));
}

TEST(Checking, WithoutADatabaseThereIsNothingToCheck)
{
    const Result result = zelfctl({"check"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("zelfctl: there is no database: make one with 'zelfctl init'\n", result.err);
}

TEST(Checking, WithoutItsLocksNothingIsChecked)
{
    good({"init"});
    ASSERT_EQ(0, semctl(semget(fdb_key, 1, 0), 0, IPC_RMID));
    const Result result = zelfctl({"check"});
    EXPECT_EQ(1, result.code);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("zelfctl: the FDB lock cannot be taken: No such file or directory\n", result.err);
}

// Holds the FDB lock while the check waits for it, and looks whether the main lock is held meanwhile.
TEST(Checking, WaitsForTheLocksAndGivesThemBack)
{
    good({"init"});
    const int main_lock = semget(main_key, 1, 0);
    const int fdb_lock = semget(fdb_key, 1, 0);
    sembuf take{0, -1, 0};
    ASSERT_EQ(0, semop(fdb_lock, &take, 1));
    const pid_t holder = fork();
    if (holder == 0) {
        // Another process: this one's zelfctl() waits for the tool to end.
        for (int i = 0; i < 1000 && semctl(fdb_lock, 0, GETNCNT) == 0; ++i) usleep(10000);
        const bool waits = semctl(fdb_lock, 0, GETNCNT) == 1 && semctl(main_lock, 0, GETVAL) == 0;
        sembuf free{0, +1, 0};
        semop(fdb_lock, &free, 1);
        _exit(waits ? 0 : 1);
    }
    EXPECT_EQ("the database is clean\n", good({"check"}));
    int status = -1;
    ASSERT_EQ(holder, waitpid(holder, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(1, semctl(main_lock, 0, GETVAL));
    EXPECT_EQ(1, semctl(fdb_lock, 0, GETVAL));
}

}  // namespace
}  // namespace tool
