// The life of a mirror: which operation is refused in which state, and what creating, enabling and deleting write.
#include "mirror_test.h"

namespace zelfdb {
namespace {

struct Operation {
    const char* name;
    std::function<int(u32 id, u32* err)> run;
    u32 codes[std::size(states)];  // by state; 0 = done
};

// The codes: unused, bare, source only, destination only, onto itself, complete, enabled.
const Operation operations[] = {
    {"create", [](u32 id, u32* err) { return zelfdb_create_mirror(id, err); }, {0, 2902, 2902, 2902, 2902, 2902, 2902}},
    {"delete", [](u32 id, u32* err) { return zelfdb_delete_mirror(id, err); }, {2903, 0, 0, 0, 0, 0, 2907}},
    {"set source",
     [](u32 id, u32* err) { return zelfdb_set_mirror_source(id, 2, 7, 20, err); },
     {2903, 0, 0, 0, 0, 0, 2910}},
    {"set dest", [](u32 id, u32* err) { return zelfdb_set_mirror_dest(id, 8, err); }, {2903, 0, 0, 0, 0, 0, 2910}},
    {"set classify",
     [](u32 id, u32* err) { return zelfdb_set_mirror_classify(id, 1, 2, 1, err); },
     {2903, 0, 0, 0, 0, 0, 0}},
    {"set tag",
     [](u32 id, u32* err) { return zelfdb_set_mirror_tag(id, 1, 0x88A8, 30, err); },
     {2903, 0, 0, 0, 0, 0, 0}},
    {"enable",
     [](u32 id, u32* err) { return zelfdb_enable_mirror(static_cast<i32>(id), err); },
     {2903, 2904, 2905, 2904, 2906, 0, 2908}},
    {"disable",
     [](u32 id, u32* err) { return zelfdb_disable_mirror(id, err); },
     {2903, 2909, 2909, 2909, 2909, 2909, 0}},
};

class MirrorStates : public MirrorTest {
protected:
    static Outcome run(const Operation& operation, u32 id)
    {
        u32 err = untouched;
        recorder::log().clear();
        const int result = operation.run(id, &err);
        return {result, err, sent()};
    }
};

TEST_F(MirrorStates, EveryOperationInEveryStateAndEveryMirror)
{
    const Expected start = now();
    for (u32 id = 1; id <= 4; ++id) {
        for (std::size_t state = 0; state < std::size(states); ++state) {
            given_mirror(id, states[state]);
            const Expected in_state = now();
            for (const Operation& operation : operations) {
                SCOPED_TRACE(testing::Message()
                             << operation.name << " mirror " << id << ", " << name_of(states[state]));
                const Mirror before = slot(id);
                const Outcome outcome = run(operation, id);
                if (const u32 code = operation.codes[state]) {
                    EXPECT_EQ(outcome, refused(code));
                    EXPECT_TRUE(in_state.is_now());
                } else {
                    EXPECT_EQ(outcome.result, 0);
                    EXPECT_EQ(outcome.err, 1u) << "stored first and left there";
                    EXPECT_EQ(outcome.commands.size(), 1u);
                    const Mirror after = slot(id);
                    EXPECT_NE(std::memcmp(&before, &after, sizeof before), 0);
                    slot(id) = before;
                    EXPECT_TRUE(in_state.is_now()) << "no byte outside of the slot is written";
                }
                in_state.restore();
            }
            start.restore();
        }
    }
}

TEST_F(MirrorStates, OtherMirrorsThanOneToFourAreRefusedInEveryState)
{
    for (const State state : states) {
        for (u32 id = 1; id <= 4; ++id) given_mirror(id, state);
        const Expected unchanged = now();
        for (const Operation& operation : operations) {
            for (const u32 id :
                 {0u, 5u, 6u, 0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0xFFFFFFFEu, 0xFFFFFFFFu, 0x10001u}) {
                EXPECT_EQ(run(operation, id), refused(2901)) << operation.name << " mirror " << id;
            }
        }
        EXPECT_TRUE(unchanged.is_now());
        for (Mirror& mirror : header().mirror) mirror = {};
    }
    EXPECT_EQ(call(zelfdb_enable_mirror, -1), refused(2901));
}

// ---- The order of the checks where several apply ---------------------------------------------------------------------

struct EnableRow {
    Mirror slot;
    u32 code;
};

TEST_F(MirrorStates, EnablingTestsStateThenSourceThenDestinationThenWhetherTheyAreTheSame)
{
    const EnableRow rows[] = {
        // state, kind, port, VID, dest
        {{2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2903}, {{2, 1, 5, 0, 6, 0, 0, 0, 0, 0, 0}, 2903},
        {{3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2908}, {{3, 3, 5, 0, 5, 0, 0, 0, 0, 0, 0}, 2908},
        {{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2904}, {{1, 0, 5, 0, 5, 0, 0, 0, 0, 0, 0}, 2904},
        {{1, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 2905}, {{1, 4, 5, 0, 0, 0, 0, 0, 0, 0, 0}, 2905},
        {{1, 3, 5, 0, 5, 0, 0, 0, 0, 0, 0}, 2906}, {{1, 4, 5, 9, 5, 0, 0, 0, 0, 0, 0}, 2906},
    };
    for (const EnableRow& row : rows) {
        slot(2) = row.slot;
        EXPECT_TRUE(refuses(row.code, zelfdb_enable_mirror, 2))
            << "state " << row.slot.state << ", kind " << row.slot.source_kind;
    }
    slot(2) = {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_TRUE(refuses(2903, zelfdb_delete_mirror, 2)) << "not created is tested before enabled";
    EXPECT_TRUE(refuses(2903, zelfdb_set_mirror_source, 2, 1, 1, 1));
    EXPECT_TRUE(refuses(2903, zelfdb_set_mirror_dest, 2, 1));
    EXPECT_TRUE(refuses(2903, zelfdb_disable_mirror, 2));
    slot(2) = {};
}

struct SameRow {
    u32 kind;
    bool egress;
};

TEST_F(MirrorStates, OnlyAnEgressSourceMayNotBeTheDestination)
{
    for (const SameRow& row : {SameRow{1, false}, SameRow{2, false}, SameRow{3, true}, SameRow{4, true},
                               SameRow{5, false}, SameRow{6, false}, SameRow{0xFFFF, false}}) {
        SCOPED_TRACE(row.kind);
        given_mirror(1, State::bare);
        EXPECT_EQ(call(zelfdb_set_mirror_source, 1, row.kind, 5, 10).result, 0);
        EXPECT_EQ(call(zelfdb_set_mirror_dest, 1, 5).result, 0);
        if (row.egress) {
            EXPECT_TRUE(refuses(2906, zelfdb_enable_mirror, 1));
            EXPECT_EQ(call(zelfdb_set_mirror_dest, 1, 6).result, 0);
        }
        EXPECT_EQ(call(zelfdb_enable_mirror, 1), done_preset({"enable_mirror(1)"}));
        EXPECT_EQ(call(zelfdb_disable_mirror, 1).result, 0);
        EXPECT_EQ(call(zelfdb_delete_mirror, 1).result, 0);
    }
}

// ---- What is written -------------------------------------------------------------------------------------------------

// A slot with all its words set, as it may be when it is deleted.
constexpr Mirror full{1, 3, 0x1111, 0x2222, 0x3333, 0x4444, 0x5555, 0x6666, 0x7777, 0x8888, 0x9999};

TEST_F(MirrorStates, CreationClearsAllButSourcePortSourceVidTagTypeAndTagVid)
{
    for (u32 id = 1; id <= 4; ++id) {
        slot(id) = full;
        slot(id).state = 0;
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_create_mirror, id), done_preset({"create_mirror(" + std::to_string(id) + ")"}));
        expected.header().mirror[id - 1] = {1, 0, 0x1111, 0x2222, 0, 0, 0, 0, 0, 0x8888, 0x9999};
        EXPECT_TRUE(expected.is_now());
    }
}

TEST_F(MirrorStates, CreationOverwritesTheWholeStateWord)
{
    slot(3).state = 0xFFFC;
    EXPECT_EQ(call(zelfdb_create_mirror, 3).result, 0);
    EXPECT_EQ(slot(3).state, 1u);
}

TEST_F(MirrorStates, DeletionClearsTheStateWordOnly)
{
    for (u32 id = 1; id <= 4; ++id) {
        slot(id) = full;
        slot(id).state = 0xFFFD;
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_delete_mirror, id), done_preset({"delete_mirror(" + std::to_string(id) + ")"}));
        expected.header().mirror[id - 1].state = 0;
        EXPECT_TRUE(expected.is_now());
    }
}

TEST_F(MirrorStates, ARecreatedMirrorHasItsOldSourcePortButNoSource)
{
    given_mirror(2, State::complete);
    EXPECT_EQ(call(zelfdb_delete_mirror, 2).result, 0);
    EXPECT_EQ(call(zelfdb_create_mirror, 2).result, 0);
    EXPECT_EQ(slot(2).source_port, 5u);
    EXPECT_EQ(slot(2).source_VID, 10u);
    EXPECT_TRUE(refuses(2904, zelfdb_enable_mirror, 2));
}

TEST_F(MirrorStates, EnablingAndDisablingMoveOneBit)
{
    for (u32 id = 1; id <= 4; ++id) {
        slot(id) = full;
        slot(id).state = 0xFF01;
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_enable_mirror, static_cast<i32>(id)),
                  done_preset({"enable_mirror(" + std::to_string(id) + ")"}));
        expected.header().mirror[id - 1].state = 0xFF03;
        EXPECT_TRUE(expected.is_now());
        EXPECT_EQ(call(zelfdb_disable_mirror, id), done_preset({"disable_mirror(" + std::to_string(id) + ")"}));
        expected.header().mirror[id - 1].state = 0xFF01;
        EXPECT_TRUE(expected.is_now());
        slot(id) = {};
    }
}

TEST_F(MirrorStates, MirrorsAreIndependentOfEachOther)
{
    given_mirror(1, State::enabled);
    given_mirror(2, State::complete);
    given_mirror(4, State::bare);
    EXPECT_EQ(call(zelfdb_enable_mirror, 2).result, 0) << "the same source and destination as another";
    EXPECT_TRUE(refuses(2903, zelfdb_enable_mirror, 3));
    EXPECT_TRUE(refuses(2904, zelfdb_enable_mirror, 4));
    EXPECT_EQ(call(zelfdb_disable_mirror, 1).result, 0);
    EXPECT_EQ(slot(1).state, 1u);
    EXPECT_EQ(slot(2).state, 3u);
    EXPECT_EQ(slot(3).state, 0u);
    EXPECT_EQ(slot(4).state, 1u);
}

}  // namespace
}  // namespace zelfdb
