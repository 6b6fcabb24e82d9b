// Queues at work: which one a frame goes to, shaping, scheduling, RED, limits, and that no frame is ever lost count of.
#include "qos_device.h"
#include "support/random.h"

#include <cmath>
#include <random>

using namespace softnp_test;
using zelfdb::Random;

namespace {

using Queueing = QosDevice;

bool waits(const softnp_verdict& verdict, u32 np_port)
{
    return (verdict.egress_waiting[np_port / 32] >> (np_port % 32) & 1) != 0;
}
bool is_dropped(const softnp_verdict& verdict, u32 np_port)
{
    return (verdict.egress_dropped[np_port / 32] >> (np_port % 32) & 1) != 0;
}

Bytes ipv4_frame(u8 tos)
{
    Bytes frame = frame_of(HOST_A, HOST_B, 0x0800, 64);
    frame[14] = 0x45;
    frame[15] = tos;
    return frame;
}

void expect_conservation(const softnp_queue_counters& counters, u64 waiting_frames, u64 waiting_bytes)
{
    EXPECT_EQ(counters.offered_frames,
              counters.sent_frames + waiting_frames + dropped_by(counters) + counters.flushed_frames);
    EXPECT_EQ(counters.offered_bytes, counters.sent_bytes + waiting_bytes + counters.lost_bytes);
}

}  // namespace

// ---- to which queue

TEST_F(Queueing, WithoutAStreamFramesPassUnqueued)
{
    const softnp_verdict verdict = send_frame({});
    EXPECT_TRUE(sent_by(verdict, EGRESS));
    EXPECT_FALSE(waits(verdict, EGRESS));
    EXPECT_EQ(1u, device_counters().unqueued);
    EXPECT_EQ(1u, port_counters(EGRESS).tx_frames);
}

TEST_F(Queueing, WithoutAQueueForTheClassFramesPassUnqueued)
{
    given_stream(0);
    given_queue(1, 0, 1);
    stop(0);
    send_frame({.class_no = 2});
    send_frame({.class_no = 8});  // no class at all
    EXPECT_EQ(2u, stream(0).unqueued);
    EXPECT_EQ(2u, device_counters().unqueued);
    EXPECT_EQ(2u, port_counters(EGRESS).tx_frames);
    EXPECT_EQ(0u, stream(0).counters.offered_frames);
}

TEST_F(Queueing, TheReceivingPortsDefaultNamesAStreamOfTheSendingPort)
{
    given_stream(0);
    given_stream(255);
    given_stream(256);  // the first of port 2
    given_queue(1, 0, 5);
    given_queue(2, 255, 5);
    given_queue(3, 256, 5);
    send_frame({.class_no = 5, .stream = 0});
    send_frames(2, {.class_no = 5, .stream = 255});
    send_frame({.class_no = 5, .stream = 256});
    send_frame({.class_no = 5, .stream = 0xFFFFFFFF});
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    EXPECT_EQ(2u, queue(2).counters.sent_frames);
    EXPECT_EQ(0u, queue(3).counters.offered_frames);
    EXPECT_EQ(2u, device_counters().unqueued);
}

TEST_F(Queueing, AFloodedFrameGoesToAStreamOfEveryPort)
{
    given_stream(0);
    given_stream(512);
    given_queue(1, 0, 0);
    given_queue(2, 512, 0, 1);
    stop(512);
    receive_now(frame_of(BROADCAST, HOST_B));
    const softnp_verdict verdict = receive_now(frame_of(BROADCAST, HOST_B));
    EXPECT_EQ(2u, verdict.egress_count);
    EXPECT_FALSE(waits(verdict, 1));
    EXPECT_FALSE(is_dropped(verdict, 1));
    EXPECT_FALSE(waits(verdict, 3));
    EXPECT_TRUE(is_dropped(verdict, 3));
    EXPECT_EQ(2u, queue(1).counters.sent_frames);
    EXPECT_EQ(1u, queue(2).waiting_frames);
    EXPECT_EQ(1u, queue(2).counters.dropped_length);
    EXPECT_EQ(0u, port_counters(3).tx_frames);
}

TEST_F(Queueing, APriorityThatIsMappedDecidesTheClass)
{
    const u32 map[8] = {0, 1, 2, 6, 4, 9, 6, 7};
    ASSERT_EQ(0, tell(vf_mk_set_def_class(INGRESS, 0, 3, 2)));
    ASSERT_EQ(0, tell(vf_mk_set_cosmap(INGRESS, 0x28, map)));  // priorities 3 and 5
    EXPECT_EQ(6, receive_now(tagged_frame(HOST_A, HOST_B, 3u << 13 | 10)).class_no);
    EXPECT_EQ(3, receive_now(tagged_frame(HOST_A, HOST_B, 4u << 13 | 10)).class_no);
    EXPECT_EQ(3, receive_now(tagged_frame(HOST_A, HOST_B, 5u << 13 | 10)).class_no);  // mapped to no class
    EXPECT_EQ(6, receive_now(tagged_frame(HOST_A, HOST_B, 3u << 13)).class_no);       // a priority tag
    const softnp_verdict untagged = receive_now(frame_of(HOST_A, HOST_B));
    EXPECT_EQ(3, untagged.class_no);
    EXPECT_EQ(2, untagged.colour);
}

TEST_F(Queueing, TheStreamsTosMapDecidesTheClassOfIpv4)
{
    const u32 values[8] = {0, 0x10, 0xB8, 0xB0, 0, 0, 0, 0};
    const u32 masks[8] = {0xFF, 0xFC, 0xFC, 0xF0, 0xFF, 0xFF, 0xFF, 0};
    given_stream(0);
    for (u32 class_no = 0; class_no < 8; class_no++) given_queue(class_no, 0, class_no);
    ASSERT_EQ(0, tell(vf_mk_set_def_class(INGRESS, 0, 5, 0)));
    ASSERT_EQ(0, tell(vf_mk_set_stream_tosmap(0, 0x0E, values, masks)));
    receive_now(ipv4_frame(0xBB));  // entry 2 before entry 3
    receive_now(ipv4_frame(0xB0));
    receive_now(ipv4_frame(0x13));
    receive_now(ipv4_frame(0));  // entry 0 is not in use
    Bytes other = ipv4_frame(0xBB);
    other[12] = 0x86;
    other[13] = 0xDD;
    receive_now(other);
    EXPECT_EQ(1u, queue(1).counters.offered_frames);
    EXPECT_EQ(1u, queue(2).counters.offered_frames);
    EXPECT_EQ(1u, queue(3).counters.offered_frames);
    EXPECT_EQ(2u, queue(5).counters.offered_frames);
}

// ---- limits

TEST_F(Queueing, ALengthIsKeptToTheFrame)
{
    given_stream(0);
    given_queue(1, 0, 0, 3);
    stop(0);
    for (u32 frame = 0; frame < 3; frame++) EXPECT_TRUE(waits(send_frame({}), EGRESS));
    const softnp_verdict fourth = send_frame({});
    EXPECT_TRUE(sent_by(fourth, EGRESS));
    EXPECT_TRUE(is_dropped(fourth, EGRESS));
    EXPECT_EQ(1u, queue(1).counters.dropped_length);
    EXPECT_EQ(100u, queue(1).counters.lost_bytes);
    EXPECT_EQ(0u, port_counters(EGRESS).tx_frames);
    ASSERT_EQ(0, tell(vf_mk_set_qmax(1, 0, 0, 1, 4)));
    EXPECT_TRUE(waits(send_frame({}), EGRESS));
    ASSERT_EQ(0, tell(vf_mk_set_qmax(1, 0, 0, 1, 2)));
    EXPECT_EQ(4u, queue(1).waiting_frames);
    EXPECT_TRUE(is_dropped(send_frame({}), EGRESS));
}

TEST_F(Queueing, AQueueWithoutLengthTakesNothing)
{
    given_stream(0);
    given_queue(1, 0, 0, 0);
    EXPECT_TRUE(is_dropped(send_frame({}), EGRESS));
    EXPECT_EQ(1u, queue(1).counters.dropped_length);
}

TEST_F(Queueing, BuffersRunOutAndComeBack)
{
    given_stream(0);
    given_queue(1, 0, 0, 100000);
    stop(0);
    const Bytes frame = frame_of(HOST_A, HOST_B);
    for (u32 count = 0; count < SOFTNP_BUFFERS; count++) receive_now(frame);
    EXPECT_EQ(SOFTNP_BUFFERS, device_counters().buffers_used);
    EXPECT_TRUE(is_dropped(receive_now(frame), EGRESS));
    EXPECT_EQ(1u, queue(1).counters.dropped_buffers);
    set_actual_rate(0, 64 * 8, 0);
    pass_to(2000);  // two frames
    EXPECT_EQ(SOFTNP_BUFFERS - 2, device_counters().buffers_used);
    EXPECT_TRUE(waits(receive_now(frame), EGRESS));
    EXPECT_TRUE(waits(receive_now(frame), EGRESS));
    EXPECT_TRUE(is_dropped(receive_now(frame), EGRESS));
}

// ---- the shaper

TEST_F(Queueing, AnUnshapedStreamSendsAtOnce)
{
    given_stream(0);
    given_queue(1, 0, 0);
    const softnp_verdict verdict = send_frame({});
    EXPECT_FALSE(waits(verdict, EGRESS));
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    EXPECT_EQ(1u, port_counters(EGRESS).tx_frames);
}

TEST_F(Queueing, FramesLeaveWhenTheRateHasPaidForThem)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);  // a byte a millisecond
    send_frames(3, {.length = 100});
    pass_to(99);
    EXPECT_EQ(0u, queue(1).counters.sent_frames);
    pass_to(100);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    pass_to(299);
    EXPECT_EQ(2u, queue(1).counters.sent_frames);
    EXPECT_EQ(100u, queue(1).waiting_bytes);
    pass_to(300);
    EXPECT_EQ(3u, port_counters(EGRESS).tx_frames);
    EXPECT_EQ(300u, port_counters(EGRESS).tx_bytes);
}

TEST_F(Queueing, AFrameGapCostsWhereThePortReckonsWithIt)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);
    ASSERT_EQ(0, tell(vf_mk_set_bandwidth_calc_mode(EGRESS, 1)));
    send_frame({.length = 100});
    pass_to(119);
    EXPECT_EQ(0u, queue(1).counters.sent_frames);
    pass_to(120);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, AnIdleStreamSavesUpItsBurst)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000, 250);
    pass_to(100000);
    send_frames(4, {.length = 100});
    EXPECT_EQ(2u, queue(1).counters.sent_frames);
    pass_to(100050);
    EXPECT_EQ(3u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, TheBurstIsThePeaksWhereThePeakIsSent)
{
    given_stream(0);
    given_queue(1, 0, 0);
    ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(0, 4000, 100, 8000, 300)));
    pass_to(100000);
    send_frames(5, {.length = 100});
    EXPECT_EQ(3u, queue(1).counters.sent_frames);
    ASSERT_EQ(0, tell(vf_mk_set_ph_shaping(1, 100000, 0)));
    set_actual_rate(0, 4000, 4000);
    pass_to(200000);
    EXPECT_EQ(5u, queue(1).counters.sent_frames);
    send_frames(5, {.length = 100});
    EXPECT_EQ(6u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, AnUpdateOfTheRateCountsFromItsOwnTime)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);
    send_frames(100, {.length = 100});
    pass_to(1000);
    set_actual_rate(0, 80000, 0);
    EXPECT_EQ(10u, queue(1).counters.sent_frames);
    pass_to(1500);
    EXPECT_EQ(60u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, AChangeOfShapingCountsFromItsOwnTime)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);
    send_frames(100, {.length = 100});
    pass_to(1000);
    set_rate(0, 80000);
    pass_to(1500);
    EXPECT_EQ(10u + 50u, queue(1).counters.sent_frames);
    set_actual_rate(0, 8000, 72000);
    pass_to(1600);
    ASSERT_EQ(0, tell(vf_mk_set_ph_shaping(1, 1, 0)));  // the excess is gone
    pass_to(2600);
    EXPECT_EQ(60u + 10u + 10u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, AChangeOfTheTypeCountsFromItsOwnTime)
{
    given_stream(0);
    given_queue(0, 0, 0, 100, 2, 0);
    given_queue(7, 0, 7, 100, 2, 7);
    set_rate(0, 8000);
    send_frames(10, {.class_no = 0});
    send_frames(10, {.class_no = 7});
    pass_to(500);
    ASSERT_EQ(0, tell(vf_mk_set_qostype(0, 2, 0, 0)));
    pass_to(1000);
    EXPECT_EQ(5u, queue(0).counters.sent_frames);
    EXPECT_EQ(5u, queue(7).counters.sent_frames);
}

TEST_F(Queueing, ATickThatGoesBackSendsNothingAndAWrapIsTime)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);
    pass_to(0xFFFFFFCE);  // 50 before the wrap, but far in the past of 0
    send_frames(3, {.length = 100});
    EXPECT_EQ(0u, queue(1).counters.sent_frames);
    pass_to(50);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    pass_to(10);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    pass_to(109);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    pass_to(110);
    EXPECT_EQ(2u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, RatesHoldOverTimeWhateverTheTicks)
{
    std::mt19937 random(4711);
    given_stream(0);
    given_queue(1, 0, 0, 5000);
    const u32 rate = 1234567;
    set_rate(0, rate);
    const Bytes frame = frame_of(HOST_A, HOST_B, 0x0800, 777);
    for (u32 count = 0; count < 5000; count++) receive_now(frame);
    u32 tick_ms = 0;
    while (tick_ms < 15000) {
        tick_ms += 1 + static_cast<u32>(random() % 40);
        pass_to(tick_ms);
        const u64 sent = queue(1).counters.sent_frames;
        EXPECT_EQ(u64{rate} * tick_ms / (777 * 8000), sent) << tick_ms;
    }
}

// ---- schedulers

namespace {

struct Share {
    u32 class_no;
    u32 ratio;
    u32 length;
};

}  // namespace

TEST_F(Queueing, FairSharesFollowTheRatios)
{
    const Share shares[] = {{0, 1, 64}, {2, 2, 1500}, {5, 4, 300}, {7, 8, 999}};
    given_stream(0, 1);
    for (const Share& share : shares) {
        given_queue(share.class_no, 0, share.class_no, 20000, 1, share.class_no, share.ratio);
        ASSERT_EQ(0, tell(vf_mk_set_def_class(INGRESS, 0, share.class_no, 0)));
        set_rate(0, 1);
        for (u32 bytes = 0; bytes < 1200000; bytes += share.length)
            receive_now(frame_of(HOST_A, HOST_B, 0x0800, share.length));
    }
    set_rate(0, 8000000);
    pass_to(1000);  // a megabyte; every queue has work all the time
    double total = 0;
    for (const Share& share : shares) total += static_cast<double>(queue(share.class_no).counters.sent_bytes);
    EXPECT_NEAR(1e6, total, 2000);
    for (const Share& share : shares) {
        const double part = static_cast<double>(queue(share.class_no).counters.sent_bytes) / total;
        EXPECT_NEAR(share.ratio / 15.0, part, 0.005) << "class " << share.class_no;
        EXPECT_GT(queue(share.class_no).waiting_frames, 0u);
    }
}

TEST_F(Queueing, AQueueThatWasIdleGetsItsShareAndNoMore)
{
    given_stream(0, 1);
    given_queue(0, 0, 0, 5000);
    given_queue(1, 0, 1, 5000);
    set_rate(0, 800000);
    send_frames(3000, {.class_no = 0});
    pass_to(1000);
    EXPECT_EQ(1000u, queue(0).counters.sent_frames);
    send_frames(1000, {.class_no = 1});
    pass_to(2000);
    EXPECT_NEAR(1500, static_cast<double>(queue(0).counters.sent_frames), 2);
    EXPECT_NEAR(500, static_cast<double>(queue(1).counters.sent_frames), 2);
}

TEST_F(Queueing, StrictPriorityStarvesTheLower)
{
    given_stream(0, 2);
    given_queue(0, 0, 0, 2000, 2, 0);
    given_queue(1, 0, 1, 2000, 2, 9);
    given_queue(7, 0, 7, 2000, 2, 7);
    set_rate(0, 800000);
    for (const u32 class_no : {0u, 7u, 1u}) send_frames(600, {.class_no = class_no});
    pass_to(600);
    EXPECT_EQ(600u, queue(1).counters.sent_frames);  // the highest priority, whatever the class
    EXPECT_EQ(0u, queue(7).counters.sent_frames);
    EXPECT_EQ(0u, queue(0).counters.sent_frames);
    pass_to(900);
    EXPECT_EQ(300u, queue(7).counters.sent_frames);
    send_frames(100, {.class_no = 1});
    pass_to(1300);
    EXPECT_EQ(700u, queue(1).counters.sent_frames);
    EXPECT_EQ(600u, queue(7).counters.sent_frames);
    EXPECT_EQ(0u, queue(0).counters.sent_frames);
    pass_to(1400);
    EXPECT_EQ(100u, queue(0).counters.sent_frames);
}

TEST_F(Queueing, EqualPrioritiesGoByClass)
{
    given_stream(0, 2);
    given_queue(0, 0, 0, 100, 2, 3);
    given_queue(1, 0, 1, 100, 2, 3);
    set_rate(0, 800);
    send_frames(1, {.class_no = 0});
    send_frames(1, {.class_no = 1});
    pass_to(1000);
    EXPECT_EQ(0u, queue(0).counters.sent_frames);
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
}

TEST_F(Queueing, WithoutATypeFramesLeaveAsTheyCame)
{
    given_stream(0);
    for (const u32 class_no : {0u, 3u, 7u}) given_queue(class_no, 0, class_no);
    set_rate(0, 800);  // a frame of 100 bytes a second
    const u32 order[] = {3, 0, 7, 7, 0, 3};
    for (const u32 class_no : order) send_frames(1, {.class_no = class_no});
    u64 expected[8] = {};
    for (u32 second = 1; second <= 6; second++) {
        expected[order[second - 1]]++;
        pass_to(second * 1000);
        for (const u32 class_no : {0u, 3u, 7u})
            EXPECT_EQ(expected[class_no], queue(class_no).counters.sent_frames) << second;
    }
}

// ---- RED

TEST_F(Queueing, RedDropsTheShareThatItsThresholdsSay)
{
    struct Row {
        u32 waiting;  // of 1000 that may
        u32 dropped;  // of 100
    };
    given_stream(0);
    given_queue(1, 0, 4, 1000);
    ASSERT_EQ(0, tell(vf_mk_set_red(0, 4, 1, 20, 10, 60, 50)));
    u64 all_dropped = 0;
    for (const Row& row : {Row{0, 0}, Row{190, 0}, Row{200, 10}, Row{400, 30}, Row{600, 50}, Row{890, 50}}) {
        u32 dropped = 0;
        for (u32 round = 0; round < 10; round++) {  // ten frames at a time, so that the fill stays within its percent
            empty_queues_of(0);
            send_frames(row.waiting, {.class_no = 4, .colour = 0});
            for (u32 frame = 0; frame < 10; frame++)
                dropped += is_dropped(send_frame({.class_no = 4, .colour = 1}), EGRESS) ? 1 : 0;
        }
        EXPECT_EQ(row.dropped, dropped) << row.waiting;
        all_dropped += dropped;
    }
    EXPECT_EQ(0u, queue(1).counters.dropped_red[0]);
    EXPECT_EQ(all_dropped, queue(1).counters.dropped_red[1]);
    EXPECT_EQ(0u, queue(1).counters.dropped_red[2]);
}

TEST_F(Queueing, RedIsThatOfTheClassAndColour)
{
    given_stream(0);
    given_queue(1, 0, 4, 10);
    stop(0);
    ASSERT_EQ(0, tell(vf_mk_set_red(0, 4, 2, 0, 100, 0, 100)));
    ASSERT_EQ(0, tell(vf_mk_set_red(0, 5, 0, 0, 100, 0, 100)));
    EXPECT_TRUE(waits(send_frame({.class_no = 4, .colour = 0}), EGRESS));
    EXPECT_TRUE(waits(send_frame({.class_no = 4, .colour = 1}), EGRESS));
    EXPECT_TRUE(is_dropped(send_frame({.class_no = 4, .colour = 2}), EGRESS));
    EXPECT_TRUE(waits(send_frame({.class_no = 4, .colour = 3}), EGRESS));  // no colour is green
    EXPECT_EQ(1u, stream(0).counters.dropped_red[2]);
}

TEST_F(Queueing, RedThatStepsDropsAtAndAboveItsThreshold)
{
    given_stream(0);
    given_queue(1, 0, 0, 10);
    stop(0);
    ASSERT_EQ(0, tell(vf_mk_set_red(0, 0, 0, 50, 200, 50, 200)));  // more than all is all
    send_frames(20, {});
    EXPECT_EQ(5u, queue(1).waiting_frames);
    EXPECT_EQ(15u, queue(1).counters.dropped_red[0]);
}

// ---- every frame counts once

TEST_F(Queueing, NoFrameIsEverLostCountOf)
{
    Random random;
    const auto below = [&random](u32 bound) { return random.below(bound); };
    const auto any_stream = [&below] { return below(2) * 3; };
    given_stream(0, 1);
    given_stream(3, 2);
    for (u32 number = 0; number < 16; number++)
        given_queue(number, number < 8 ? 0 : 3, number % 8, 5 + below(50), 1, below(8), below(10));
    u32 tick_ms = 0;
    u64 forwarded = 0;
    for (u32 step = 0; step < 6000; step++) {
        switch (below(40)) {
        case 0: set_rate(any_stream(), below(3) * below(2000000), below(5000)); break;
        case 1: set_actual_rate(any_stream(), below(1000000), below(1000000)); break;
        case 2:
            tell(vf_mk_set_red(any_stream(), below(8), below(3), below(120), below(120), below(120), below(120)));
            break;
        case 3: tell(vf_mk_set_qostype(any_stream(), below(4), 0, 0)); break;
        case 4: tell(vf_mk_set_qmax(below(16), 0, 0, 1, below(60))); break;
        case 5: tell(vf_mk_add_queue(below(16), 0, 0, 0, 0, 0)); break;
        case 6: tell(vf_mk_add_queue(below(16), any_stream(), below(8), 1 + below(3), below(8), below(10))); break;
        case 7: tell(vf_mk_set_esparam(below(16), 0, below(8), below(10))); break;
        case 8: tell(vf_mk_set_ph_shaping(1, below(2), 0)); break;
        default:
            send_frame({below(9), below(3), 64 + below(1400), below(5)});
            forwarded++;
            pass_to(tick_ms += below(8));
        }
        if (step % 100 != 0) continue;
        u64 waiting = 0;
        for (u32 number = 0; number < 16; number++) {
            const softnp_queue at = queue(number);
            expect_conservation(at.counters, at.waiting_frames, at.waiting_bytes);
            waiting += at.waiting_frames;
        }
        u64 settled = device_counters().unqueued;
        for (const u32 streamno : {0u, 3u}) {
            const softnp_stream at = stream(streamno);
            expect_conservation(at.counters, at.waiting_frames, at.waiting_bytes);
            settled += at.counters.sent_frames + dropped_by(at.counters) + at.counters.flushed_frames;
        }
        EXPECT_EQ(waiting, device_counters().buffers_used);
        EXPECT_EQ(forwarded, settled + waiting);
        u64 left = device_counters().unqueued;
        for (const u32 streamno : {0u, 3u}) left += stream(streamno).counters.sent_frames;
        EXPECT_EQ(left, port_counters(EGRESS).tx_frames);
        ASSERT_FALSE(HasFailure()) << "step " << step;
    }
}

TEST_F(Queueing, TheSameTrafficGivesTheSameDrops)
{
    std::vector<u64> outcomes[2];
    for (std::vector<u64>& outcome : outcomes) {
        ASSERT_EQ(0, softnp_reset());
        ASSERT_EQ(0, softnp_set_tick(0));
        given_three_ports_in_a_vlan();
        ASSERT_EQ(0, add_mac(10, HOST_A, EGRESS, 1));
        given_stream(0, 1);
        given_queue(1, 0, 1, 40, 1, 0, 3);
        given_queue(2, 0, 2, 40, 1, 0, 5);
        for (const u32 class_no : {1u, 2u}) ASSERT_EQ(0, tell(vf_mk_set_red(0, class_no, 0, 20, 5, 80, 60)));
        set_rate(0, 300000);
        std::mt19937 random(99);
        for (u32 step = 0; step < 2000; step++) {
            send_frame(
                {.class_no = 1 + static_cast<u32>(random() % 2), .length = 64 + static_cast<u32>(random() % 900)});
            pass_to(step * 7);
        }
        for (const u32 number : {1u, 2u}) {
            const softnp_queue_counters counters = queue(number).counters;
            outcome.insert(outcome.end(), {counters.sent_frames, counters.sent_bytes, counters.dropped_red[0],
                                           counters.dropped_length});
        }
    }
    EXPECT_EQ(outcomes[0], outcomes[1]);
    EXPECT_GT(outcomes[0][2], 0u);
}

TEST_F(Queueing, ClearedCountersKeepWhatWaits)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 8000);
    send_frames(3, {.length = 100});
    pass_to(100);
    ASSERT_EQ(0, softnp_clear_counters());
    EXPECT_EQ(2u, queue(1).counters.offered_frames);
    EXPECT_EQ(0u, queue(1).counters.sent_frames);
    EXPECT_EQ(200u, stream(0).counters.offered_bytes);
    expect_conservation(queue(1).counters, 2, 200);
}

TEST_F(Queueing, TheClockRunsOnForWhatWaits)
{
    given_stream(0);
    given_queue(1, 0, 0);
    set_rate(0, 80000);
    send_frames(1, {.length = 500});  // 50 ms
    ASSERT_EQ(0, softnp_follow_clock());
    u32 polls = 0;
    while (queue(1).waiting_frames != 0 && polls < 10000000) polls++;
    EXPECT_EQ(1u, queue(1).counters.sent_frames);
    u32 tick_ms = 0;
    ASSERT_EQ(0, softnp_get_tick(&tick_ms));
    EXPECT_GE(tick_ms, 50u);
}
