// The frame of the mirror operations: descriptor, locks, error word, and an NP whose refusal is the result.
#include "support/frame_rows.h"

namespace zelfdb {
namespace {

// Mirror 1 is enabled, 2 is complete, 3 and 4 are unused; 3 has values of an earlier life.
class MirrorFrame : public FrameTest {
protected:
    MirrorFrame() : FrameTest(2, 1, 2) {}
    void SetUp() override
    {
        FrameTest::SetUp();
        header().mirror[0] = {3, 1, 5, 10, 6, 0, 0, 0, 0, 0, 0};
        header().mirror[1] = {1, 3, 5, 10, 6, 1, 2, 1, 1, 0x8100, 20};
        header().mirror[2] = {0, 3, 5, 10, 6, 1, 2, 1, 1, 0x8100, 20};
    }
    static std::vector<FrameRow> rows()
    {
        using enum Frame;
        constexpr auto M = Lock::main;
        constexpr auto preset = Word::preset;
        constexpr auto returned = Answer::returned;
        return {
            {"create_mirror", opens, M, preset, returned,  //
             [](With w) { return zelfdb_create_mirror(3, w.err); },
             [](With w) { return zelfdb_create_mirror(2, w.err); }},
            {"delete_mirror", opens, M, preset, returned,  //
             [](With w) { return zelfdb_delete_mirror(2, w.err); },
             [](With w) { return zelfdb_delete_mirror(1, w.err); }},
            {"set_mirror_source", opens, M, preset, returned,
             [](With w) { return zelfdb_set_mirror_source(2, 4, 7, 11, w.err); },
             [](With w) { return zelfdb_set_mirror_source(1, 4, 7, 11, w.err); }},
            {"set_mirror_dest", opens, M, preset, returned, [](With w) { return zelfdb_set_mirror_dest(2, 8, w.err); },
             [](With w) { return zelfdb_set_mirror_dest(1, 8, w.err); }},
            {"set_mirror_classify", opens, M, preset, returned,
             [](With w) { return zelfdb_set_mirror_classify(1, 4, 5, 2, w.err); },
             [](With w) { return zelfdb_set_mirror_classify(3, 4, 5, 2, w.err); }},
            {"set_mirror_tag", opens, M, preset, returned,
             [](With w) { return zelfdb_set_mirror_tag(1, 1, 0x88A8, 30, w.err); },
             [](With w) { return zelfdb_set_mirror_tag(4, 1, 0x88A8, 30, w.err); }},
            {"enable_mirror", opens, M, preset, returned,  //
             [](With w) { return zelfdb_enable_mirror(2, w.err); },
             [](With w) { return zelfdb_enable_mirror(1, w.err); }},
            {"disable_mirror", opens, M, preset, returned,  //
             [](With w) { return zelfdb_disable_mirror(1, w.err); },
             [](With w) { return zelfdb_disable_mirror(2, w.err); }},
        };
    }
};

TEST_F(MirrorFrame, EveryOperationTakesTheMainLockAndGivesItBack)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
}

TEST_F(MirrorFrame, WithoutADescriptorEveryOperationFailsWithOneAndTouchesNothing)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
}

TEST_F(MirrorFrame, TheResultIsTheNPsAndTheSlotKeepsTheNewValuesWhateverItIs)
{
    for (const FrameRow& row : rows()) NP_that_refuses(row);
}

TEST_F(MirrorFrame, TheCommandThatIsRefusedTwiceIsKeptAndAnyOtherFreed)
{
    for (const FrameRow& row : rows()) {
        SCOPED_TRACE(row.name);
        const Expected start = now();
        for (const u32 times : {0u, 1u, 2u}) {
            recorder::reset();
            if (times != 0) recorder::fail("", recorder::Failure::delivery, 1, times);
            Scratch scratch;
            EXPECT_EQ(run(row.succeeds, scratch).result, times == 2 ? -1 : 0);
            EXPECT_EQ(recorder::commands_built(), 1u);
            EXPECT_EQ(recorder::commands_not_freed(), times == 2 ? 1u : 0u);
            start.restore();
        }
        recorder::reset();
        recorder::fail_builders(1);
        Scratch scratch;
        EXPECT_EQ(run(row.succeeds, scratch), (Ran{-1, 1, {}})) << "no command is a refusal too";
        start.restore();
    }
}

}  // namespace
}  // namespace zelfdb
