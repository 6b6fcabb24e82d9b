// The frame of the operations on profiles: descriptor, locks, error word, and an NP that refuses.
#include "classify/classify_test.h"

namespace zelfdb {
namespace {

constexpr u32 unknown_list = 33;

// Profile 1 has three lines and is bound; profile 2 is empty; profile 3 has one line.
class ProfileFrame : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        given_profile(1);
        given_profile(2);
        given_profile(3);
        given_lines(1, 3);
        given_lines(3, 1);
        given_binding(1, 1, 10);
    }
    static std::vector<FrameRow> rows();
};

std::vector<FrameRow> ProfileFrame::rows()
{
    static const zelfdb_classify_line line = numbered_line(9);
    const auto row = [](const char* name, Attempt succeeds, Attempt fails) {
        return FrameRow{
            name, Frame::opens, Lock::main, Word::on_failure, Answer::ignored, std::move(succeeds), std::move(fails)};
    };
    return {
        row(
            "create", [](With w) { return zelfdb_create_classify_profile(64, w.err); },
            [](With w) { return zelfdb_create_classify_profile(1, w.err); }),
        row(
            "delete", [](With w) { return zelfdb_delete_classify_profile(2, w.err); },
            [](With w) { return zelfdb_delete_classify_profile(1, w.err); }),
        row(
            "bind", [](With w) { return zelfdb_add_classify_profile_to_pv(2, 101, 20, words, w.err); },
            [](With w) { return zelfdb_add_classify_profile_to_pv(2, 1, 10, words, w.err); }),
        row(
            "unbind", [](With w) { return zelfdb_rem_classify_profile_from_pv(1, 10, w.err); },
            [](With w) { return zelfdb_rem_classify_profile_from_pv(2, 20, w.err); }),
        row(
            "add line", [](With w) { return zelfdb_add_classify_action_to_profile(1, 2, &line, w.err); },
            [](With w) { return zelfdb_add_classify_action_to_profile(unknown_list, 2, &line, w.err); }),
        row(
            "remove line", [](With w) { return zelfdb_rem_classify_action_from_profile(1, 3, w.err); },
            [](With w) { return zelfdb_rem_classify_action_from_profile(1, 4, w.err); }),
        row(
            "remove all lines", [](With w) { return zelfdb_rem_classify_all_from_profile(1, w.err); },
            [](With w) { return zelfdb_rem_classify_all_from_profile(unknown_list, w.err); }),
    };
}

TEST_F(ProfileFrame, EveryOperationHoldsTheMainLockAndGivesItBack)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
}

TEST_F(ProfileFrame, WithoutADescriptorEveryOperationFailsWithOneAndTouchesNothing)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
}

TEST_F(ProfileFrame, ARefusingNPIsNotReportedAndTheDatabaseChangeStands)
{
    for (const FrameRow& row : rows()) NP_that_refuses(row);
}

TEST_F(ProfileFrame, ACommandThatCannotBeBuiltIsNotReportedEither)
{
    const Expected start = now();
    for (const FrameRow& row : rows()) {
        SCOPED_TRACE(row.name);
        Scratch scratch;
        const Ran accepted = run(row.succeeds, scratch);
        const Expected result = now();
        start.restore();
        recorder::fail_builders(1);
        EXPECT_EQ(run(row.succeeds, scratch), (Ran{accepted.result, accepted.err, {}}));
        EXPECT_TRUE(result.is_now());
        start.restore();
        recorder::reset();
    }
}

TEST_F(ProfileFrame, OneCommandForEachChangeThatTheNPIsToldOfAndNoneForCreationAndDeletion)
{
    const std::vector<u32> commands_of_row{0, 0, 1, 1, 1, 1, 1};
    const Expected start = now();
    std::vector<u32> sent_by_row;
    for (const FrameRow& row : rows()) {
        Scratch scratch;
        sent_by_row.push_back(static_cast<u32>(run(row.succeeds, scratch).commands.size()));
        start.restore();
    }
    EXPECT_EQ(sent_by_row, commands_of_row);
}

}  // namespace
}  // namespace zelfdb
