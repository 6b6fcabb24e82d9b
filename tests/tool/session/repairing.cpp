// The verb check with --repair and --restore: what is mended, what is asked, what can be taken back.
#include <pty.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "main_segment.h"
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

constexpr std::size_t vlan_index_at = 0x11798;
constexpr std::uint32_t no_record = 0xFFFFFFFF;

// VLAN 10 as a deletion leaves it that died before its record was free.
void half_delete_the_vlan()
{
    MainSegment main;
    main.put(vlan_head_at, no_record);
    main.put(vlan_index_at + 4 * 10, no_record);
}

class Repairing : public testing::Test {
protected:
    void SetUp() override { given_office(); }
    [[nodiscard]] std::string backup() const { return folder_.path() + "/backup"; }
    [[nodiscard]] bool no_backup() const { return !std::filesystem::exists(backup()); }
    Folder folder_;
};

TEST_F(Repairing, AHealthyDatabaseIsLeftAlone)
{
    const std::string before = MainSegment().copy();
    EXPECT_EQ("there is nothing to repair: no error, 0 notices\n", good({"check", "--repair", "--backup", backup()}));
    EXPECT_EQ(before, MainSegment().copy());
    EXPECT_TRUE(no_backup());
}

TEST_F(Repairing, WhatDropsNothingIsMadeWithoutAsking)
{
    const std::string healthy = MainSegment().copy();
    MainSegment().put(vlan_count_at, 9);
    const std::string damaged = MainSegment().copy();
    EXPECT_EQ("vlan_count: it is counted anew\nthe database as it was is in " + backup() +
                  "\nthe database is repaired: 1 error, 1 change, of which 0 dropped something\n",
              good({"check", "--repair", "--backup", backup()}));
    EXPECT_EQ(healthy, MainSegment().copy());

    struct stat state {};
    ASSERT_EQ(0, stat(backup().c_str(), &state));
    EXPECT_EQ(0600u, state.st_mode & 0777);
    EXPECT_EQ("the database is as it was when " + backup() + " was written\n", good({"check", "--restore", backup()}));
    EXPECT_EQ(damaged, MainSegment().copy());
}

TEST_F(Repairing, NothingIsDroppedWhereNobodyCanBeAsked)
{
    half_delete_the_vlan();
    const std::string damaged = MainSegment().copy();
    const Result result = zelfctl({"check", "--repair", "--backup", backup()});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.out, HasSubstr("VLAN 10: it was half made or half deleted: its record is freed\n"));
    EXPECT_THAT(result.err, HasSubstr("--yes is needed where nobody can be asked; nothing was changed\n"));
    EXPECT_EQ(damaged, MainSegment().copy());
    EXPECT_TRUE(no_backup());

    EXPECT_THAT(good({"check", "--repair", "--yes", "--backup", backup()}),
                HasSubstr("the network processor may differ: VLAN 10, which does not exist\n"));
    EXPECT_NE(4, zelfctl({"check"}).code);
}

// The exit status of a repair on a terminal that is answered so.
int answered(const std::string& answer, const std::string& file)
{
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl(ZELFCTL, ZELFCTL, "check", "--repair", "--backup", file.c_str(), nullptr);
        _exit(127);
    }
    EXPECT_EQ(static_cast<ssize_t>(answer.size()), write(terminal, answer.data(), answer.size()));
    char bytes[4096];
    while (read(terminal, bytes, sizeof bytes) > 0) {
    }
    int status = -1;
    waitpid(child, &status, 0);
    close(terminal);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Repairing, OnATerminalItIsAsked)
{
    half_delete_the_vlan();
    const std::string damaged = MainSegment().copy();
    EXPECT_EQ(1, answered("n\n", backup()));
    EXPECT_EQ(1, answered("\n", backup()));
    EXPECT_EQ(damaged, MainSegment().copy());
    EXPECT_TRUE(no_backup());
    EXPECT_EQ(0, answered("y\n", backup()));
    EXPECT_NE(4, zelfctl({"check"}).code);
}

TEST_F(Repairing, ABackupReplacesNoFile)
{
    MainSegment().put(vlan_count_at, 9);
    const std::string damaged = MainSegment().copy();
    const std::string file = folder_.file("taken", "content");
    const Result result = zelfctl({"check", "--repair", "--backup", file});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("File exists; nothing was changed\n"));
    EXPECT_EQ("content", content_of(file));
    EXPECT_EQ(damaged, MainSegment().copy());
}

TEST_F(Repairing, WhatIsNoBackupIsNotRestored)
{
    MainSegment().put(vlan_count_at, 9);
    good({"check", "--repair", "--backup", backup()});
    const std::string before = MainSegment().copy();
    const std::string whole = content_of(backup());
    std::string spoilt = whole;
    spoilt[spoilt.size() / 2] ^= 1;
    const struct {
        std::string content;
        const char* why;
    } files[] = {{"", "it is no backup"},
                 {"zelfdb backup 1", "it is no backup"},
                 {whole.substr(0, whole.size() - 1), "it is not whole"},
                 {whole + "x", "it is not whole"},
                 {spoilt, "it has been spoilt"}};
    for (const auto& [content, why] : files) {
        const Result result = zelfctl({"check", "--restore", folder_.file("other", content)});
        EXPECT_EQ(1, result.code);
        EXPECT_THAT(result.err, HasSubstr(std::string(why) + "; nothing was restored\n"));
    }
    good({"init", "--replace", "--ports", "9"});
    const Result result = zelfctl({"check", "--restore", backup()});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("it is of a database of another size; nothing was restored\n"));
}

TEST_F(Repairing, CountsThatNeedMoreThanTheSegmentAreNotRepaired)
{
    MainSegment().put(0, 0xFFFFFFFF);
    const Result result = zelfctl({"check", "--repair", "--yes", "--backup", backup()});
    EXPECT_EQ(1, result.code);
    EXPECT_THAT(result.err, HasSubstr("the database cannot be repaired"));
    EXPECT_TRUE(no_backup());
}

}  // namespace
}  // namespace tool
