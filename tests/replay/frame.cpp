// What the nine operations have in common: descriptor, locks, prefix and suffix, and an output that cannot be written.
#include <fcntl.h>
#include <unistd.h>

#include "core/ipc.h"
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

struct Replayed {
    const char* name;
    ReplayOperation operation;
    Lock lock;
    Lines lines;
};

// One object of every kind.
class ReplayFrame : public ReplayTest {
protected:
    void SetUp() override
    {
        ReplayTest::SetUp();
        given_port(3, ZELFDB_PORT_VIF);
        given_vlan(10, "100%s%n");
        given_member(10, 3);
        given_static(10, mac(1), 3);
        given_local(3, mac(2));
        EXPECT_EQ(call(zelfdb_set_ph_shaping, 2, 5000, 8000).result, 0);
        EXPECT_EQ(call(zelfdb_create_stream, 4).result, 0);
        EXPECT_EQ(call(zelfdb_create_protgroup, 6).result, 0);
        EXPECT_EQ(call(zelfdb_create_classify_profile, 7).result, 0);
        EXPECT_EQ(call(zelfdb_create_mirror, 1).result, 0);
    }
    static std::vector<Replayed> all()
    {
        constexpr Lock M = Lock::main;
        constexpr Lock MF = Lock::main_and_fdb;
        return {
            {"ether", zelfdb_reconfig_ether, M, {"set ether 2 shaping on rate 5"}},
            {"port", zelfdb_reconfig_port, M, {"create port 3 npport 0 portType vif"}},
            {"stream", zelfdb_reconfig_stream, M, {"create stream 0/5 qostype none"}},
            {"protgroup", zelfdb_reconfig_protgroup, M, {"create protgroup 6"}},
            {"vlan", zelfdb_reconfig_vlan, M, {"create vlan 100%s%n vid 10", "add port 3 to vlan 100%s%n tag off"}},
            {"classify", zelfdb_reconfig_classify, M, {"create clslist 7"}},
            {"sfil", zelfdb_reconfig_sfil, MF, {"create sfdbentry 00:00:00:00:00:01 in vlan 100%s%n port 3 flag 0"}},
            {"lfil", zelfdb_reconfig_lfil, MF, {"create lfdbentry 00:00:00:00:00:02 in port 3 dsicard"}},
            {"mirror", zelfdb_reconfig_mirror, M, {"create mirror 1"}},
        };
    }
    static std::vector<FrameRow> rows()
    {
        std::vector<FrameRow> all_rows;
        for (const Replayed& one : all()) {
            const ReplayOperation operation = one.operation;
            all_rows.push_back({one.name, Frame::opens, one.lock, Word::absent, Answer::ignored,
                                [operation](With) { return operation("", "\n"); }, nullptr});
        }
        return all_rows;
    }
};

TEST_F(ReplayFrame, EveryOperationTakesItsLocksAndGivesThemBackInReverse)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
}

TEST_F(ReplayFrame, WithoutADescriptorEveryOperationFails)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
}

TEST_F(ReplayFrame, EachCommandStandsBetweenPrefixAndSuffixAndNothingElseIsPrinted)
{
    for (const Replayed& one : all()) {
        SCOPED_TRACE(one.name);
        std::string expected;
        for (const std::string& line : one.lines) expected += "  [" + line + "];\r\n";
        EXPECT_EQ(text_of(one.operation, "  [", "];\r\n"), expected);
        std::string bare;
        for (const std::string& line : one.lines) bare += line;
        EXPECT_EQ(text_of(one.operation, "", ""), bare);
    }
}

TEST_F(ReplayFrame, PercentSignsOfPrefixAndSuffixAreNoFormats)
{
    for (const Replayed& one : all()) {
        SCOPED_TRACE(one.name);
        std::string expected;
        for (const std::string& line : one.lines) expected += "%s%n%d %% " + line + "%p%s%%n\n";
        EXPECT_EQ(text_of(one.operation, "%s%n%d %% ", "%p%s%%n\n"), expected);
    }
}

TEST_F(ReplayFrame, LongPrefixAndSuffixAreNotCut)
{
    const std::string prefix(5000, '<');
    const std::string suffix(5000, '>');
    for (const Replayed& one : all()) {
        SCOPED_TRACE(one.name);
        std::string expected;
        for (const std::string& line : one.lines) expected += prefix + line + suffix;
        EXPECT_EQ(text_of(one.operation, prefix.c_str(), suffix.c_str()), expected);
    }
}

TEST_F(ReplayFrame, AnEmptyDatabaseGivesNothing)
{
    init(default_nport, default_nvlan, default_nfil);
    for (const Replayed& one : all()) EXPECT_EQ(text_of(one.operation, "<", ">"), "") << one.name;
}

TEST_F(ReplayFrame, AnOutputThatCannotBeWrittenLosesNoLock)
{
    for (const Replayed& one : all()) {
        SCOPED_TRACE(one.name);
        for (const bool is_closed : {true, false}) {
            Child child([&] {
                std::fflush(stdout);
                close(STDOUT_FILENO);
                if (!is_closed) dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
                std::setvbuf(stdout, nullptr, _IONBF, 0);
                if (one.operation("<", ">\n") != 0) return 1;
                return semaphore_value(main_key) == 1 && semaphore_value(fdb_key) == 1 ? 0 : 2;
            });
            EXPECT_EQ(child.result(), 0);
        }
        EXPECT_EQ(semaphore_value(main_key), 1);
        EXPECT_EQ(semaphore_value(fdb_key), 1);
    }
}

}  // namespace
}  // namespace zelfdb
