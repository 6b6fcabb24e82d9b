// The commands of streams and queues: what they store, what they refuse, and the answers of the two queries.
#include "np_device.h"
#include "qos_device.h"

using namespace softnp_test;

namespace {

using Streams = QosDevice;
using Queues = QosDevice;

std::vector<u32> info_of(vf_handle* handle, u32 streamno)
{
    vf_cmd* command = vf_mk_get_stream_info(streamno);
    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));
    std::vector<u32> words(18, 0xEEEEEEEE);
    EXPECT_EQ(0, vf_rd_get_stream_info(command, words.data()));
    vf_cmdNFreeB(command);
    return words;
}

std::vector<u32> busy_info_of(vf_handle* handle, u32 streamno)
{
    vf_cmd* command = vf_mk_get_stream_busy_info(streamno);
    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));
    std::vector<u32> words(3, 0xEEEEEEEE);
    EXPECT_EQ(0, vf_rd_get_stream_busy_info(command, words.data()));
    vf_cmdNFreeB(command);
    return words;
}

}  // namespace

TEST_F(Streams, StartUnshapedWithoutQueuesAndDroppingNothing)
{
    ASSERT_EQ(0, tell(vf_mk_create_stream(1023)));
    const softnp_stream made = stream(1023);
    EXPECT_EQ(1023u, made.streamno);
    EXPECT_EQ(7u, made.priority);
    EXPECT_EQ(0u, made.qos_type);
    EXPECT_EQ(0u, made.is_shaped);
    EXPECT_EQ(0u, made.has_actual_rate);
    for (u32 class_no = 0; class_no < SOFTNP_CLASSES; class_no++) {
        EXPECT_EQ(SOFTNP_NO_QUEUE, made.queue[class_no]);
        for (const softnp_red& red : made.red[class_no]) {
            EXPECT_EQ(100, red.min_thresh);
            EXPECT_EQ(0, red.max_thresh + red.min_drop + red.max_drop);
        }
    }
    EXPECT_EQ(1u, device_counters().streams);
}

TEST_F(Streams, AreMadeAndDeletedOnce)
{
    softnp_stream none{};
    EXPECT_EQ(0, softnp_get_stream(5, &none));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_delete_stream(5)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_create_stream(1024)));
    EXPECT_EQ(0, tell(vf_mk_create_stream(5)));
    EXPECT_EQ(SOFTNP_ERR_STREAM_EXISTS, tell(vf_mk_create_stream(5)));
    EXPECT_EQ(0, tell(vf_mk_delete_stream(5)));
    EXPECT_EQ(0, softnp_get_stream(5, &none));
    EXPECT_EQ(0u, device_counters().streams);
}

TEST_F(Streams, KeepTheirSettings)
{
    const u32 values[8] = {1, 2, 3, 4, 5, 6, 7, 0x1FF};
    const u32 masks[8] = {255, 254, 253, 252, 251, 250, 249, 248};
    ASSERT_EQ(0, tell(vf_mk_create_stream(5)));
    EXPECT_EQ(0, tell(vf_mk_set_qostype(5, 1, 70000, 9)));
    EXPECT_EQ(0, tell(vf_mk_set_stream_priority(5, 3)));
    EXPECT_EQ(0, tell(vf_mk_set_stream_shaping(5, 1000, 2, 3000, 4)));
    EXPECT_EQ(0, tell(vf_mk_set_red(5, 7, 2, 10, 20, 30, 40)));
    EXPECT_EQ(0, tell(vf_mk_set_stream_tosmap(5, 0xA5, values, masks)));
    const softnp_stream got = stream(5);
    EXPECT_EQ(1u, got.qos_type);
    EXPECT_EQ(70000u, got.qos_param);
    EXPECT_EQ(9u, got.qos_param2);
    EXPECT_EQ(3u, got.priority);
    EXPECT_EQ(1000u, got.minrate);
    EXPECT_EQ(2u, got.minburst);
    EXPECT_EQ(3000u, got.maxrate);
    EXPECT_EQ(4u, got.maxburst);
    EXPECT_EQ(3000u, got.rate);
    EXPECT_EQ(10, got.red[7][2].min_thresh);
    EXPECT_EQ(30, got.red[7][2].max_thresh);
    EXPECT_EQ(20, got.red[7][2].min_drop);
    EXPECT_EQ(40, got.red[7][2].max_drop);
    EXPECT_EQ(0xA5u, got.tosmap_bits);
    EXPECT_TRUE(std::equal(values, values + 8, got.tos_value));
    EXPECT_TRUE(std::equal(masks, masks + 8, got.tos_mask));
    EXPECT_EQ(0, tell(vf_mk_set_qostype(5, 2, 70000, 9)));
    EXPECT_EQ(2u, stream(5).qos_type);
    EXPECT_EQ(0u, stream(5).qos_param + stream(5).qos_param2);
}

TEST_F(Streams, SettingsNeedTheStreamAndItsBounds)
{
    const u32 eight[8] = {};
    for (vf_cmd* command :
         {vf_mk_set_qostype(5, 1, 0, 0), vf_mk_set_stream_priority(5, 1), vf_mk_set_stream_shaping(5, 1, 1, 1, 1),
          vf_mk_set_red(5, 0, 0, 0, 0, 0, 0), vf_mk_set_stream_tosmap(5, 0, eight, eight), vf_mk_get_stream_info(5),
          vf_mk_get_stream_busy_info(1024)})
        EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(command));
    ASSERT_EQ(0, tell(vf_mk_create_stream(5)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_red(5, 8, 0, 0, 0, 0, 0)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_red(5, 0, 3, 0, 0, 0, 0)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_red(5, 0, 0, 0, 0, 256, 0)));
    EXPECT_EQ(100, stream(5).red[0][0].min_thresh);
}

TEST_F(Streams, ABatchOfRatesIsTakenWholeOrNotAtAll)
{
    ASSERT_EQ(0, tell(vf_mk_create_stream(5)));
    ASSERT_EQ(0, tell(vf_mk_create_stream(6)));
    const vf_actual_rate good[] = {{5, 100, 1}, {6, 200, 2}};
    const vf_actual_rate bad[] = {{5, 300, 3}, {7, 400, 4}};
    EXPECT_EQ(0, tell(vf_mk_set_stream_actual_rate(2, good)));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_set_stream_actual_rate(2, bad)));
    EXPECT_EQ(0, tell(vf_mk_set_stream_actual_rate(0, nullptr)));
    EXPECT_EQ(1u, stream(5).has_actual_rate);
    EXPECT_EQ(100u, stream(5).actual_rate);
    EXPECT_EQ(1u, stream(5).actual_excess);
    EXPECT_EQ(200u, stream(6).actual_rate);
    EXPECT_EQ(2u, stream(6).actual_excess);
}

// A port's streams have the rate that the shaping of its physical port leaves them.
TEST_F(Streams, TheRateFollowsActualRateExcessAndPhysicalPort)
{
    given_stream(0);
    EXPECT_EQ(0u, stream(0).is_shaped);
    set_actual_rate(0, 0, 0);  // an update names streams that are not shaped, too
    EXPECT_EQ(0u, stream(0).is_shaped);
    set_actual_rate(0, 500, 0);
    EXPECT_EQ(1u, stream(0).is_shaped);
    EXPECT_EQ(500u, stream(0).rate);

    ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(0, 8000, 0, 16000, 0)));
    EXPECT_EQ(1u, stream(0).is_shaped);
    set_actual_rate(0, 10000, 6000);
    EXPECT_EQ(16000u, stream(0).rate);
    ASSERT_EQ(0, tell(vf_mk_set_ph_shaping(1, 50000, 8000)));
    EXPECT_EQ(10000u, stream(0).rate);
    set_actual_rate(0, 0, 16000);
    EXPECT_EQ(1u, stream(0).is_shaped);
    EXPECT_EQ(0u, stream(0).rate);
    ASSERT_EQ(0, tell(vf_mk_set_ph_shaping(1, 0, 8000)));
    EXPECT_EQ(16000u, stream(0).rate);
    set_actual_rate(0, 10000, 0xFFFFFFFF);  // a peak below the actual rate: no excess
    EXPECT_EQ(10000u, stream(0).rate);
}

TEST_F(Streams, WithoutAnActualRateThePeakOrTheCommittedRateCounts)
{
    given_stream(0);
    ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(0, 8000, 0, 0, 0)));
    EXPECT_EQ(8000u, stream(0).rate);
    ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(0, 8000, 0, 9000, 0)));
    EXPECT_EQ(9000u, stream(0).rate);
}

TEST_F(Streams, DeletionTakesTheirQueuesOutAndFlushesThem)
{
    given_stream(0);
    given_queue(8, 0, 3);
    stop(0);
    send_frames(4, {.class_no = 3});
    EXPECT_EQ(4u, queue(8).waiting_frames);
    ASSERT_EQ(0, tell(vf_mk_delete_stream(0)));
    EXPECT_EQ(SOFTNP_NO_STREAM, queue(8).streamno);
    EXPECT_EQ(0u, queue(8).waiting_frames);
    EXPECT_EQ(4u, queue(8).counters.flushed_frames);
    EXPECT_EQ(0u, device_counters().buffers_used);
}

TEST_F(Queues, AreMadeAndDeletedOnce)
{
    softnp_queue none{};
    EXPECT_EQ(0, softnp_get_queue(8191, &none));
    EXPECT_EQ(SOFTNP_ERR_NO_QUEUE, tell(vf_mk_delete_queue(8191)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_create_queue(8192, 1, 1)));
    EXPECT_EQ(0, tell(vf_mk_create_queue(8191, 65536, 50)));
    EXPECT_EQ(SOFTNP_ERR_QUEUE_EXISTS, tell(vf_mk_create_queue(8191, 1, 1)));
    const softnp_queue made = queue(8191);
    EXPECT_EQ(65536u, made.size);
    EXPECT_EQ(50u, made.queue_length);
    EXPECT_EQ(SOFTNP_NO_STREAM, made.streamno);
    EXPECT_EQ(1u, device_counters().queues);
    EXPECT_EQ(0, tell(vf_mk_delete_queue(8191)));
    EXPECT_EQ(0u, device_counters().queues);
}

TEST_F(Queues, KeepOfTheirWeightWhatTheirModeUses)
{
    given_stream(0);
    for (u32 number = 0; number < 3; number++) ASSERT_EQ(0, tell(vf_mk_create_queue(number, 1, 10)));
    EXPECT_EQ(0, tell(vf_mk_add_queue(0, 0, 0, 1, 5, 6)));
    EXPECT_EQ(0, tell(vf_mk_add_queue(1, 0, 1, 2, 5, 6)));
    EXPECT_EQ(0, tell(vf_mk_add_queue(2, 0, 2, 3, 5, 6)));
    EXPECT_EQ(5, queue(0).pri);
    EXPECT_EQ(6, queue(0).ratio);
    EXPECT_EQ(5, queue(1).pri);
    EXPECT_EQ(0, queue(1).ratio);
    EXPECT_EQ(0, queue(2).pri + queue(2).ratio);
    for (u32 number = 0; number < 3; number++) EXPECT_EQ(0, tell(vf_mk_set_esparam(number, 0, 7, 8)));
    EXPECT_EQ(7, queue(0).pri);
    EXPECT_EQ(8, queue(0).ratio);
    EXPECT_EQ(7, queue(1).pri);
    EXPECT_EQ(0, queue(1).ratio);
    EXPECT_EQ(0, queue(2).pri + queue(2).ratio);
    EXPECT_EQ(0, tell(vf_mk_set_qmax(0, 0, 0, 70000, 80000)));
    EXPECT_EQ(70000u, queue(0).size);
    EXPECT_EQ(80000u, queue(0).queue_length);
}

TEST_F(Queues, AttachingHasItsRules)
{
    given_stream(0);
    given_stream(1);
    ASSERT_EQ(0, tell(vf_mk_create_queue(1, 1, 10)));
    ASSERT_EQ(0, tell(vf_mk_create_queue(2, 1, 10)));
    EXPECT_EQ(SOFTNP_ERR_NO_QUEUE, tell(vf_mk_add_queue(3, 0, 0, 1, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_add_queue(1, 2, 0, 1, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_queue(1, 0, 8, 1, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_queue(1, 0, 0, 256, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_queue(1, 0, 0, 1, 256, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_add_queue(1, 0, 0, 1, 0, 256)));
    EXPECT_EQ(SOFTNP_ERR_QUEUE_NOT_ATTACHED, tell(vf_mk_add_queue(1, 0, 0, 0, 0, 0)));
    EXPECT_EQ(0, tell(vf_mk_add_queue(1, 0, 4, 1, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_QUEUE_ATTACHED, tell(vf_mk_add_queue(1, 1, 4, 1, 0, 1)));
    EXPECT_EQ(SOFTNP_ERR_CLASS_IN_USE, tell(vf_mk_add_queue(2, 0, 4, 1, 0, 1)));
    EXPECT_EQ(1u, stream(0).queue[4]);
    EXPECT_EQ(0, tell(vf_mk_add_queue(1, 1, 7, 0, 0, 0)));  // the slot that it is in, not the one named
    EXPECT_EQ(SOFTNP_NO_QUEUE, stream(0).queue[4]);
    EXPECT_EQ(SOFTNP_NO_STREAM, queue(1).streamno);
    EXPECT_EQ(0, queue(1).mode);
    EXPECT_EQ(1, queue(1).ratio);
}

TEST_F(Queues, OtherSettingsNeedQueueAndStream)
{
    given_stream(0);
    ASSERT_EQ(0, tell(vf_mk_create_queue(1, 1, 10)));
    EXPECT_EQ(SOFTNP_ERR_NO_QUEUE, tell(vf_mk_set_esparam(2, 0, 1, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_set_esparam(1, 1, 1, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_esparam(1, 0, 1, 256)));
    EXPECT_EQ(0, tell(vf_mk_set_esparam(1, 0, 1, 1)));  // in no stream: nothing to keep
    EXPECT_EQ(0, queue(1).pri + queue(1).ratio);
    EXPECT_EQ(SOFTNP_ERR_NO_QUEUE, tell(vf_mk_set_qmax(2, 0, 0, 1, 1)));
    EXPECT_EQ(SOFTNP_ERR_NO_STREAM, tell(vf_mk_set_qmax(1, 1, 0, 1, 1)));
}

TEST_F(Queues, DeletionOfAnAttachedOneFreesItsClass)
{
    given_stream(0);
    given_queue(8, 0, 3);
    stop(0);
    send_frames(4, {.class_no = 3});
    ASSERT_EQ(0, tell(vf_mk_delete_queue(8)));
    EXPECT_EQ(SOFTNP_NO_QUEUE, stream(0).queue[3]);
    EXPECT_EQ(4u, stream(0).counters.flushed_frames);
    EXPECT_EQ(0u, device_counters().buffers_used);
    given_queue(9, 0, 3);
    send_frames(1, {.class_no = 3});
    EXPECT_EQ(1u, queue(9).waiting_frames);
}

TEST_F(Streams, TheQueriesAnswerWithWhatWaitsWasDroppedAndSent)
{
    given_stream(0);
    given_queue(1, 0, 1, 3);
    given_queue(7, 0, 7, 10);
    send_frames(2, {.class_no = 1});
    stop(0);
    send_frames(5, {.class_no = 1, .length = 100});
    send_frames(4, {.class_no = 7, .length = 200});
    std::vector<u32> expected(18, 0);
    expected[0] = 7;
    expected[1] = 2;
    expected[2 + 2 * 1] = 1;
    expected[3 + 2 * 1] = 3;
    expected[2 + 2 * 7] = 1;
    expected[3 + 2 * 7] = 4;
    EXPECT_EQ(expected, info_of(handle, 0));
    EXPECT_EQ((std::vector<u32>{7, 3 * 100 + 4 * 200, 2}), busy_info_of(handle, 0));
}
