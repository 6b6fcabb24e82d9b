// RED, shaping, scheduling, priority and the TOS map of a stream: stored, then sent, whatever the NP says.
#include <array>

#include "qos_test.h"

namespace zelfdb {
namespace {

class StreamSettings : public Qos {
protected:
    void SetUp() override
    {
        Qos::SetUp();
        given_stream(4);
        given_stream(5);
        given_stream(6);
    }
};
using RedOfStream = StreamSettings;

// ---- RED -------------------------------------------------------------------------------------------------------------

TEST_F(RedOfStream, GoesIntoTheBlockOfItsClassAndColour)
{
    for (u32 class_no = 0; class_no < 8; ++class_no) {
        for (u32 colour = 0; colour < 3; ++colour) {
            SCOPED_TRACE(testing::Message() << "class " << class_no << ", colour " << colour);
            Expected expected = now();
            const u32 first = 10 * class_no + colour;
            EXPECT_EQ(call(zelfdb_set_red_in_stream, 5, class_no, colour, first, 51, 52, 253),
                      done({command("set_red", {5, class_no, colour, first, 51, 52, 253})}));
            u8* const block = expected.base().bytes + at(*stream(5)).value + 92 + 16 * class_no + 4 * colour;
            block[0] = static_cast<u8>(first);  // min_thresh
            block[1] = 52;                      // max_thresh
            block[2] = 51;                      // min_drop
            block[3] = 253;                     // max_drop
            EXPECT_TRUE(expected.is_now());
        }
    }
}

TEST_F(RedOfStream, IsStoredInBytesAndSentWhole)
{
    EXPECT_EQ(call(zelfdb_set_red_in_stream, 0x10005, 1, 2, 0x101, 0x202, 0x303, 0xFFFFFF04),
              done({"set_red(5, 1, 2, 0x101, 0x202, 0x303, 0xffffff04)"}));
    const Red& red = stream(5)->slot[1].red[2];
    EXPECT_EQ(red.min_thresh, 1u);
    EXPECT_EQ(red.min_drop, 2u);
    EXPECT_EQ(red.max_thresh, 3u);
    EXPECT_EQ(red.max_drop, 4u);
}

// Colour 3 is where a slot's queue list is headed, class 8 the TOS map, and so on.
TEST_F(RedOfStream, OfAClassOrColourThatHasNoBlockIsOnlySent)
{
    given_queue(40);
    given_attached(40, 5, 0);
    const Expected unchanged = now();
    const std::vector<std::pair<u32, u32>> places = {{0, 3},
                                                     {7, 3},
                                                     {8, 0},
                                                     {8, 3},
                                                     {11, 2},
                                                     {12, 0},
                                                     {0, 0x100},
                                                     {0, 0xFFFFFFFF},
                                                     {0x100, 0},
                                                     {0xFFFFFFFF, 0},
                                                     {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto& [class_no, colour] : places) {
        EXPECT_EQ(call(zelfdb_set_red_in_stream, 5, class_no, colour, 1, 2, 3, 4),
                  done({command("set_red", {5, class_no, colour, 1, 2, 3, 4})}));
        EXPECT_TRUE(unchanged.is_now()) << "class " << class_no << ", colour " << colour;
    }
}

// ---- Shaping ---------------------------------------------------------------------------------------------------------

struct ShapingRow {
    u32 minrate;
    u32 maxrate;
    u32 excess;
};

TEST_F(StreamSettings, ShapingStoresRatesAndBurstsAndTheExcessWraps)
{
    stream(5)->actual_rate = 0x1111;
    stream(5)->actual_excess = 0x2222;
    for (const ShapingRow& row : {ShapingRow{100, 250, 150}, ShapingRow{250, 250, 0}, ShapingRow{250, 100, 0xFFFFFF6A},
                                  ShapingRow{0, 0xFFFFFFFF, 0xFFFFFFFF}, ShapingRow{0xFFFFFFFF, 0, 1}}) {
        SCOPED_TRACE(testing::Message() << row.minrate << " to " << row.maxrate);
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_set_shaping_in_stream, 0x10005, row.minrate, 8000, row.maxrate, 0x80000000),
                  done({command("set_stream_shaping", {5, row.minrate, 8000, row.maxrate, 0x80000000})}));
        Stream& record = expected.of(*stream(5));
        record.minrate = row.minrate;
        record.minburst = 8000;
        record.maxrate = row.maxrate;
        record.maxburst = 0x80000000;
        record.excess_rate = row.excess;
        EXPECT_TRUE(expected.is_now()) << "the actual rates belong to the rate update";
    }
}

// ---- Scheduling ------------------------------------------------------------------------------------------------------

struct SchedulingRow {
    u32 type;
    u8 stored_type;
    u32 stored_param;
    u16 stored_param2;
};

TEST_F(StreamSettings, OnlyWeightedFairQueueingKeepsTheParameters)
{
    for (const SchedulingRow& row :
         {SchedulingRow{1, 1, 0x12345678, 0x9ABC}, SchedulingRow{2, 2, 0, 0}, SchedulingRow{0, 0, 0, 0},
          SchedulingRow{1, 1, 0x12345678, 0x9ABC}, SchedulingRow{3, 3, 0, 0}, SchedulingRow{255, 255, 0, 0},
          SchedulingRow{0x102, 2, 0, 0}}) {
        SCOPED_TRACE(row.type);
        stream(5)->pad74[0] = 0x55;
        stream(5)->pad74[1] = 0x66;
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_set_qostype_in_stream, 0x10005, row.type, 0x12345678, 0x19ABC),
                  done({command("set_qostype", {5, row.type, 0x12345678, 0x19ABC})}))
            << "the NP gets what was given";
        Stream& record = expected.of(*stream(5));
        record.qos_type = row.stored_type;
        record.qos_param = row.stored_param;
        record.qos_param2 = row.stored_param2;
        EXPECT_TRUE(expected.is_now()) << "six bytes and no more";
    }
}

// ---- Priority --------------------------------------------------------------------------------------------------------

TEST_F(StreamSettings, PriorityIsStoredInAByteAndSentWhole)
{
    for (const u32 priority : {0u, 7u, 255u, 0x1FEu, 0xFFFFFFFFu}) {
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_set_stream_priority, 0x10005, priority),
                  done({command("set_stream_priority", {5, priority})}));
        expected.of(*stream(5)).priority = static_cast<u8>(priority & 0xFF);
        EXPECT_TRUE(expected.is_now());
    }
}

// ---- TOS map ---------------------------------------------------------------------------------------------------------

TEST_F(StreamSettings, TheTosMapIsStoredMaskedAndSentAsGiven)
{
    const std::array<u32, 8> values = {0xFF, 0x12, 0xFFFFFFFF, 0, 0x89ABCDEF, 0x40, 0x80, 3};
    const std::array<u32, 8> masks = {0x0F, 0xFF, 0x80000001, 0xFF, 0xF0F0F0F0, 0, 0xFFFFFFFF, 2};
    const std::array<u32, 8> masked = {0x0F, 0x12, 0x80000001, 0, 0x80A0C0E0, 0, 0x80, 2};
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_set_stream_tosmap, 0x10005, 0xFFFFFF81, values.data(), masks.data()),
              done({"set_stream_tosmap(5, 0xffffff81, [0xff 0x12 0xffffffff 0 0x89abcdef 0x40 0x80 3], "
                    "[0xf 0xff 0x80000001 0xff 0xf0f0f0f0 0 0xffffffff 2])"}));
    Stream& record = expected.of(*stream(5));
    record.tosmap_bits = 0xFFFFFF81;
    std::copy(masked.begin(), masked.end(), record.tos_value);
    std::copy(masks.begin(), masks.end(), record.tos_mask);
    EXPECT_TRUE(expected.is_now());
}

// ---- All of them -----------------------------------------------------------------------------------------------------

TEST_F(StreamSettings, OfAStreamThatDoesNotExistAre106)
{
    const std::array<u32, 8> words{};
    for (const u32 streamno : {0u, 3u, 7u, 1023u, 1024u, 65535u, 0x10007u}) {
        SCOPED_TRACE(streamno);
        EXPECT_TRUE(refuses(106, zelfdb_set_red_in_stream, streamno, 0, 0, 1, 2, 3, 4));
        EXPECT_TRUE(refuses(106, zelfdb_set_red_in_stream, streamno, 9, 9, 1, 2, 3, 4));
        EXPECT_TRUE(refuses(106, zelfdb_set_shaping_in_stream, streamno, 1, 2, 3, 4));
        EXPECT_TRUE(refuses(106, zelfdb_set_qostype_in_stream, streamno, 1, 2, 3));
        EXPECT_TRUE(refuses(106, zelfdb_set_stream_priority, streamno, 1));
        EXPECT_TRUE(refuses(106, zelfdb_set_stream_tosmap, streamno, 1, words.data(), words.data()));
    }
}

}  // namespace
}  // namespace zelfdb
