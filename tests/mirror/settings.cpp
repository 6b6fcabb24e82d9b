// Source, destination, classification and tag of a mirror: which words they write, and what the NP is told.
#include "mirror_test.h"

namespace zelfdb {
namespace {

class MirrorSettings : public MirrorTest {
protected:
    // The bytes of a slot are eleven 16-bit words, the slots lie one behind the other.
    static u16& word(Expected& expected, u32 id, u32 at_byte)
    {
        return *reinterpret_cast<u16*>(expected.base().bytes + 0x19942 + 22 * id + at_byte);
    }
};

TEST_F(MirrorSettings, SourceIsKindPortAndVid)
{
    for (u32 id = 1; id <= 4; ++id) {
        for (const State state : {State::bare, State::complete}) {
            given_mirror(id, state);
            Expected expected = now();
            EXPECT_EQ(call(zelfdb_set_mirror_source, id, 4, 105, 4094),
                      done_preset({"set_mirror_source(" + std::to_string(id) + ", 4, 0x69, 0xffe)"}));
            word(expected, id, 2) = 4;
            word(expected, id, 4) = 105;
            word(expected, id, 6) = 4094;
            EXPECT_TRUE(expected.is_now()) << "port IDs are the database's";
            EXPECT_EQ(call(zelfdb_delete_mirror, id).result, 0);
        }
    }
}

TEST_F(MirrorSettings, DestinationIsAPort)
{
    for (u32 id = 1; id <= 4; ++id) {
        given_mirror(id, State::complete);
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_set_mirror_dest, id, 105),
                  done_preset({"set_mirror_dest(" + std::to_string(id) + ", 0x69)"}));
        word(expected, id, 8) = 105;
        EXPECT_TRUE(expected.is_now());
    }
}

TEST_F(MirrorSettings, ClassificationIsThreeWordsAndMayChangeWhileEnabled)
{
    for (u32 id = 1; id <= 4; ++id) {
        for (const State state : {State::bare, State::enabled}) {
            if (slot(id).state == 0) given_mirror(id, state);
            Expected expected = now();
            const u32 first = state == State::bare ? 7 : 3;
            EXPECT_EQ(call(zelfdb_set_mirror_classify, id, first, 0x1234, 2),
                      done_preset({"set_mirror_classify(" + std::to_string(id) + ", " + std::to_string(first) +
                                   ", 0x1234, 2)"}));
            word(expected, id, 10) = static_cast<u16>(first);
            word(expected, id, 12) = 0x1234;
            word(expected, id, 14) = 2;
            EXPECT_TRUE(expected.is_now());
            if (state == State::bare) {
                EXPECT_EQ(call(zelfdb_delete_mirror, id).result, 0);
            }
        }
        EXPECT_EQ(slot(id).state, 3u) << "still enabled";
    }
}

TEST_F(MirrorSettings, TagIsThreeWordsAndMayChangeWhileEnabled)
{
    for (u32 id = 1; id <= 4; ++id) {
        for (const State state : {State::bare, State::enabled}) {
            if (slot(id).state == 0) given_mirror(id, state);
            Expected expected = now();
            const u32 vid = state == State::bare ? 100 : 200;
            EXPECT_EQ(call(zelfdb_set_mirror_tag, id, 2, 0x88A8, vid),
                      done_preset({"set_mirror_tag(" + std::to_string(id) + ", 2, 0x88a8, " +
                                   (state == State::bare ? "0x64)" : "0xc8)")}))
                << "the switch is stored and sent as given";
            word(expected, id, 16) = 2;
            word(expected, id, 18) = 0x88A8;
            word(expected, id, 20) = static_cast<u16>(vid);
            EXPECT_TRUE(expected.is_now());
            if (state == State::bare) {
                EXPECT_EQ(call(zelfdb_delete_mirror, id).result, 0);
            }
        }
        EXPECT_EQ(slot(id).state, 3u) << "still enabled";
    }
}

TEST_F(MirrorSettings, AreFrozenOrNotByWhetherTheMirrorIsEnabled)
{
    given_mirror(1, State::enabled);
    EXPECT_TRUE(refuses(2910, zelfdb_set_mirror_source, 1, 1, 5, 10)) << "not even to what it is";
    EXPECT_TRUE(refuses(2910, zelfdb_set_mirror_dest, 1, 5));
    EXPECT_EQ(call(zelfdb_disable_mirror, 1).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 1, 5, 0, 10).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 1, 9).result, 0);
    EXPECT_EQ(call(zelfdb_enable_mirror, 1).result, 0);
    EXPECT_EQ(slot(1).source_kind, 5u);
    EXPECT_EQ(slot(1).dest_port, 9u);
}

TEST_F(MirrorSettings, MayBeTakenAwayAgain)
{
    given_mirror(1, State::complete);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 1, 0, 0, 0), done_preset({"set_mirror_source(1, 0, 0, 0)"}));
    EXPECT_TRUE(refuses(2904, zelfdb_enable_mirror, 1));
    EXPECT_EQ(call(zelfdb_set_mirror_source, 1, 1, 0, 0).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 1, 0), done_preset({"set_mirror_dest(1, 0)"}));
    EXPECT_TRUE(refuses(2905, zelfdb_enable_mirror, 1));
}

// 16 bits of each number are kept, and those are what the NP is told.
TEST_F(MirrorSettings, AreStoredAndSentIn16Bits)
{
    given_mirror(3, State::bare);
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_set_mirror_source, 3, 0x10001, 0xABCD0005, 0xFFFFF00A),
              done_preset({"set_mirror_source(3, 1, 5, 0xf00a)"}));
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 3, 0x7FFF0006), done_preset({"set_mirror_dest(3, 6)"}));
    EXPECT_EQ(call(zelfdb_set_mirror_classify, 3, 0x10007, 0x28001, 0x40002),
              done_preset({"set_mirror_classify(3, 7, 0x8001, 2)"}));
    EXPECT_EQ(call(zelfdb_set_mirror_tag, 3, 0x10000, 0x18100, 0x20FFF),
              done_preset({"set_mirror_tag(3, 0, 0x8100, 0xfff)"}));
    expected.header().mirror[2] = {1, 1, 5, 0xF00A, 6, 7, 0x8001, 2, 0, 0x8100, 0xFFF};
    EXPECT_TRUE(expected.is_now());
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 3, 0x10000).result, 0);
    EXPECT_TRUE(refuses(2905, zelfdb_enable_mirror, 3));
}

}  // namespace
}  // namespace zelfdb
