// Replay of streams with their queues and RED.
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

class ReplayedStreams : public ReplayTest {
protected:
    Lines streams() { return lines_of(zelfdb_reconfig_stream); }

    // Made and bound through the API.
    Stream& bound(u16 streamno, u32 port_id, u32 sno_port)
    {
        EXPECT_EQ(call(zelfdb_create_stream, streamno).result, 0);
        if (!port(port_id)) given_port(port_id, ZELFDB_PORT_VIF);
        EXPECT_EQ(call(zelfdb_add_stream_to_port, streamno, port_id, sno_port).result, 0);
        return *lookup_stream(base(), header(), streamno);
    }
    Queue& attached(u16 streamno, u32 class_no, u32 mode, u32 pri, u32 ratio)
    {
        const u32 number = streamno * 8u + class_no;
        EXPECT_EQ(call(zelfdb_create_queue, number, 8, 16384).result, 0);
        EXPECT_EQ(call(zelfdb_add_queue_to_stream, number, streamno, class_no, mode, pri, ratio).result, 0);
        return *lookup_queue(base(), header(), number);
    }

    struct Row {
        const char* what;
        std::function<void(Stream&)> edit;
        Lines lines;  // after the creation line
    };
    void expect_each_alone(Stream& stream, const std::string& creation, const std::vector<Row>& rows)
    {
        const Expected start = now();
        for (const Row& row : rows) {
            SCOPED_TRACE(row.what);
            row.edit(stream);
            Lines expected{creation};
            expected.insert(expected.end(), row.lines.begin(), row.lines.end());
            EXPECT_EQ(streams(), expected);
            start.restore();
        }
    }
};

TEST_F(ReplayedStreams, NoStreamNoLine) { EXPECT_EQ(streams(), Lines{}); }

TEST_F(ReplayedStreams, AnUntouchedStreamIsNamedByItsPortAndTheLowByteOfItsNumberPlusOne)
{
    bound(0x3FF, 4, 256);
    bound(0, 1, 1);
    bound(256, 2, 1);
    bound(5, 1, 77);
    EXPECT_EQ(call(zelfdb_create_stream, 7).result, 0);
    EXPECT_EQ(streams(), (Lines{"create stream 1/1 qostype none", "create stream 1/6 qostype none",
                                "create stream 0/8 qostype none", "create stream 2/1 qostype none",
                                "create stream 4/256 qostype none"}));
}

TEST_F(ReplayedStreams, TheKindOfScheduling)
{
    Stream& stream = bound(0, 1, 1);
    const auto type = [&](u8 qos_type) {
        stream.qos_type = qos_type;
        return streams();
    };
    EXPECT_EQ(type(1), (Lines{"create stream 1/1 qostype wfq"}));
    EXPECT_EQ(type(2), (Lines{"create stream 1/1 qostype pq"}));
    EXPECT_EQ(type(3), (Lines{"create stream 1/1 qostype none"}));
    EXPECT_EQ(type(255), (Lines{"create stream 1/1 qostype none"}));
}

TEST_F(ReplayedStreams, Shaping)
{
    const auto shape = [](u32 minrate, u32 minburst, u32 maxrate, u32 maxburst) {
        return [=](Stream& s) {
            s.minrate = minrate;
            s.minburst = minburst;
            s.maxrate = maxrate;
            s.maxburst = maxburst;
        };
    };
    expect_each_alone(
        bound(2, 1, 3), "create stream 1/3 qostype none",
        {
            {"bursts alone", shape(0, 1, 0, 2), {}},
            {"one rate", shape(5000, 8000, 5000, 8000), {"set stream 1/3 shaping on rate 5"}},
            {"two rates", shape(5000, 8000, 9999, 8000), {"set stream 1/3 shaping on rate 5-9"}},
            {"only committed", shape(5000, 8000, 0, 8000), {"set stream 1/3 shaping on rate 5-0"}},
            {"only peak", shape(0, 8000, 5000, 8000), {"set stream 1/3 shaping on rate 0-5"}},
            {"rates that differ below a thousand",
             shape(5000, 8000, 5001, 8000),
             {"set stream 1/3 shaping on rate 5-5"}},
            {"committed burst", shape(5000, 8001, 5000, 8000), {"set stream 1/3 shaping on rate 5 burst 8001-8000"}},
            {"peak burst", shape(5000, 8000, 5000, 0), {"set stream 1/3 shaping on rate 5 burst 8000-0"}},
            {"equal bursts", shape(5000, 7, 6000, 7), {"set stream 1/3 shaping on rate 5-6 burst 7"}},
            {"all different", shape(1000, 2, 3000, 4), {"set stream 1/3 shaping on rate 1-3 burst 2-4"}},
            {"32 bits",
             shape(0xFFFFFFFF, 0xFFFFFFFF, 0x80000000, 0x80000000),
             {"set stream 1/3 shaping on rate 4294967-2147483 burst -1--2147483648"}},
        });
}

TEST_F(ReplayedStreams, APriorityOtherThanSevenEndsInABlank)
{
    const auto priority = [](u8 value) { return [value](Stream& s) { s.priority = value; }; };
    expect_each_alone(bound(2, 1, 3), "create stream 1/3 qostype none",
                      {{"7", priority(7), {}},
                       {"6", priority(6), {"set stream 1/3 priority 6 "}},
                       {"0", priority(0), {"set stream 1/3 priority 0 "}},
                       {"255", priority(255), {"set stream 1/3 priority 255 "}}});
}

TEST_F(ReplayedStreams, TheTOSMapHasSevenCommasAndNamesMasksOtherThan255)
{
    const auto map = [](u32 bits, u32 mask) {
        return [=](Stream& s) {
            s.tosmap_bits = bits;
            for (u32 i = 0; i < 8; ++i) {
                s.tos_value[i] = 0x10 + i;
                s.tos_mask[i] = mask;
            }
        };
    };
    expect_each_alone(bound(2, 1, 3), "create stream 1/3 qostype none",
                      {
                          {"none", map(0, 255), {}},
                          {"all", map(0xFF, 255), {"set stream 1/3 tosmap 10,11,12,13,14,15,16,17"}},
                          {"masked", map(0x81, 0xFC), {"set stream 1/3 tosmap 10/fc,,,,,,,17/fc"}},
                          {"mask 0", map(0x02, 0), {"set stream 1/3 tosmap ,11/0,,,,,,"}},
                          {"wide mask", map(0x02, 0xFFFFFFFF), {"set stream 1/3 tosmap ,11/ffffffff,,,,,,"}},
                          {"only bits beyond the map", map(0x100, 255), {"set stream 1/3 tosmap ,,,,,,,"}},
                      });
}

TEST_F(ReplayedStreams, QueuesOfAStreamWithoutSchedulingHaveOnlyTheirLength)
{
    bound(2, 1, 3);
    attached(2, 7, 1, 3, 5);
    attached(2, 0, 2, 4, 6).queue_length = 100;
    EXPECT_EQ(streams(), (Lines{"create stream 1/3 qostype none", "create queue 1/3/0",
                                "set queue 1/3/0 queue_length 100", "create queue 1/3/7"}));
}

TEST_F(ReplayedStreams, QueuesUnderStrictPriorityHaveTheirPriorityUnlessItIsTheirClass)
{
    bound(2, 1, 3).qos_type = 2;
    attached(2, 0, 2, 0, 9);
    attached(2, 1, 2, 0, 1);
    attached(2, 2, 2, 255, 0).queue_length = 0xFFFFFFFF;
    EXPECT_EQ(streams(), (Lines{"create stream 1/3 qostype pq", "create queue 1/3/0", "create queue 1/3/1",
                                "set queue 1/3/1 pri 0", "create queue 1/3/2", "set queue 1/3/2 pri 255",
                                "set queue 1/3/2 queue_length -1"}));
}

TEST_F(ReplayedStreams, QueuesUnderFairQueueingHaveTheirPriorityAndRatioUnlessTheyAreTheirClassAndOne)
{
    bound(2, 1, 3).qos_type = 1;
    attached(2, 0, 1, 0, 1);
    attached(2, 1, 1, 1, 2);
    attached(2, 2, 1, 1, 1);
    attached(2, 3, 1, 1, 0).queue_length = 0;
    EXPECT_EQ(streams(),
              (Lines{"create stream 1/3 qostype wfq", "create queue 1/3/0", "create queue 1/3/1",
                     "set queue 1/3/1 pri 1 ratio 2", "create queue 1/3/2", "set queue 1/3/2 pri 1",
                     "create queue 1/3/3", "set queue 1/3/3 pri 1 ratio 0", "set queue 1/3/3 queue_length 0"}));
}

TEST_F(ReplayedStreams, ASlotThatTwoQueuesServeIsTheFirstOnesAndItsClassIsTheSlots)
{
    bound(2, 1, 3).qos_type = 2;
    EXPECT_EQ(call(zelfdb_create_queue, 900, 8, 300).result, 0);
    EXPECT_EQ(call(zelfdb_create_queue, 100, 8, 200).result, 0);
    EXPECT_EQ(call(zelfdb_add_queue_to_stream, 900, 2, 4, 2, 5, 0).result, 0);
    EXPECT_EQ(call(zelfdb_add_queue_to_stream, 100, 2, 4, 2, 6, 0).result, 0);
    lookup_queue(base(), header(), 100)->class_no = 1;
    EXPECT_EQ(streams(), (Lines{"create stream 1/3 qostype pq", "create queue 1/3/4", "set queue 1/3/4 pri 6",
                                "set queue 1/3/4 queue_length 200"}));
    lookup_queue(base(), header(), 100)->class_no = 4;
}

TEST_F(ReplayedStreams, REDOtherThanTheDefaultAlsoWithoutAQueue)
{
    const auto red = [](u32 slot, u32 colour, Red value) {
        return [=](Stream& s) { s.slot[slot].red[colour] = value; };
    };
    expect_each_alone(
        bound(2, 1, 3), "create stream 1/3 qostype none",
        {
            {"the default", red(0, 0, {100, 0, 0, 0}), {}},
            {"green", red(0, 0, {99, 0, 0, 0}), {"set queue 1/3/0 color green drop_type wred thresh 99-0 drop 0"}},
            {"yellow", red(7, 1, {100, 1, 0, 0}), {"set queue 1/3/7 color yellow drop_type wred thresh 100-1 drop 0"}},
            {"red", red(3, 2, {100, 0, 1, 0}), {"set queue 1/3/3 color red drop_type wred thresh 100-0 drop 1-0"}},
            {"maximal drop",
             red(3, 2, {100, 0, 0, 1}),
             {"set queue 1/3/3 color red drop_type wred thresh 100-0 drop 0-1"}},
            {"equal thresholds",
             red(3, 2, {50, 50, 10, 20}),
             {"set queue 1/3/3 color red drop_type wred thresh 50 drop 10-20"}},
            {"all 0", red(3, 2, {0, 0, 0, 0}), {"set queue 1/3/3 color red drop_type wred thresh 0 drop 0"}},
            {"all 255",
             red(3, 2, {255, 254, 255, 254}),
             {"set queue 1/3/3 color red drop_type wred thresh 255-254 drop 255-254"}},
        });
}

TEST_F(ReplayedStreams, REDFollowsTheQueueOfItsSlot)
{
    Stream& stream = bound(2, 1, 3);
    attached(2, 1, 0, 0, 0).queue_length = 5;
    for (const u32 slot : {0u, 1u}) {
        for (Red& red : stream.slot[slot].red) red = {10, 90, 0, 5};
    }
    EXPECT_EQ(
        streams(),
        (Lines{"create stream 1/3 qostype none", "set queue 1/3/0 color green drop_type wred thresh 10-90 drop 0-5",
               "set queue 1/3/0 color yellow drop_type wred thresh 10-90 drop 0-5",
               "set queue 1/3/0 color red drop_type wred thresh 10-90 drop 0-5", "create queue 1/3/1",
               "set queue 1/3/1 queue_length 5", "set queue 1/3/1 color green drop_type wred thresh 10-90 drop 0-5",
               "set queue 1/3/1 color yellow drop_type wred thresh 10-90 drop 0-5",
               "set queue 1/3/1 color red drop_type wred thresh 10-90 drop 0-5"}));
}

// The interface of RED alternates thresholds and drops; the text has the pairs together.
TEST_F(ReplayedStreams, EverythingAtOnceThroughTheAPI)
{
    constexpr u32 values[8] = {0xFF, 0, 0xB8, 0, 0, 0, 0, 4};
    constexpr u32 masks[8] = {255, 0, 0xFC, 0, 0, 0, 0, 255};
    bound(257, 2, 2);
    EXPECT_EQ(call(zelfdb_set_qostype_in_stream, 257, 1, 5, 6).result, 0);
    EXPECT_EQ(call(zelfdb_set_shaping_in_stream, 257, 10000, 100, 20000, 200).result, 0);
    EXPECT_EQ(call(zelfdb_set_stream_priority, 257, 3).result, 0);
    EXPECT_EQ(call(zelfdb_set_stream_tosmap, 257, 0x85, values, masks).result, 0);
    EXPECT_EQ(call(zelfdb_set_red_in_stream, 257, 6, 1, 20, 2, 80, 8).result, 0);
    attached(257, 6, 1, 0, 30);
    EXPECT_EQ(call(zelfdb_set_queue_size, 257 * 8 + 6, 257, 6, 8, 64).result, 0);
    EXPECT_EQ(streams(),
              (Lines{"create stream 2/2 qostype wfq", "set stream 2/2 shaping on rate 10-20 burst 100-200",
                     "set stream 2/2 priority 3 ", "set stream 2/2 tosmap ff,,b8/fc,,,,,4", "create queue 2/2/6",
                     "set queue 2/2/6 pri 0 ratio 30", "set queue 2/2/6 queue_length 64",
                     "set queue 2/2/6 color yellow drop_type wred thresh 20-80 drop 2-8"}));
}

}  // namespace
}  // namespace zelfdb
