// A device whose port 1 has streams: frames come in by ports 2 and 3 and leave by port 1.
#pragma once

#include "np_device.h"

namespace softnp_test {

struct Traffic {
    u32 class_no = 0;
    u32 colour = 0;
    u32 length = 100;
    u32 stream = 0;
};

class QosDevice : public NpDevice {
protected:
    static constexpr u32 EGRESS = 1;
    static constexpr u32 INGRESS = 2;

    void SetUp() override
    {
        NpDevice::SetUp();
        given_three_ports_in_a_vlan();
        ASSERT_EQ(0, add_mac(10, HOST_A, EGRESS, 1));
        ASSERT_EQ(0, softnp_set_tick(0));
    }

    void given_stream(u32 streamno, u32 qos_type = 0)
    {
        ASSERT_EQ(0, tell(vf_mk_create_stream(streamno)));
        ASSERT_EQ(0, tell(vf_mk_set_qostype(streamno, qos_type, 0, 0)));
    }
    void given_queue(u32 number, u32 streamno, u32 class_no, u32 length = 1000, u32 mode = 1, u32 pri = 0,
                     u32 ratio = 1)
    {
        ASSERT_EQ(0, tell(vf_mk_create_queue(number, 1, length)));
        ASSERT_EQ(0, tell(vf_mk_add_queue(number, streamno, class_no, mode, pri, ratio)));
    }
    void set_rate(u32 streamno, u32 rate, u32 burst = 0)
    {
        ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(streamno, rate, burst, rate, burst)));
    }
    void set_actual_rate(u32 streamno, u32 rate, u32 excess)
    {
        const vf_actual_rate entry{static_cast<u16>(streamno), rate, excess};
        ASSERT_EQ(0, tell(vf_mk_set_stream_actual_rate(1, &entry)));
    }
    // From now on the stream sends nothing.
    void stop(u32 streamno)
    {
        set_rate(streamno, 8000);
        set_actual_rate(streamno, 0, 0);
    }

    // The stream sends all that waits, and then nothing more.
    void empty_queues_of(u32 streamno)
    {
        ASSERT_EQ(0, tell(vf_mk_set_stream_shaping(streamno, 0, 0, 0, 0)));
        set_actual_rate(streamno, 0, 0);
        EXPECT_EQ(0u, stream(streamno).waiting_frames);
        stop(streamno);
    }

    // One frame to the host behind port 1, at the tick that the device is at.
    softnp_verdict send_frame(const Traffic& traffic)
    {
        EXPECT_EQ(0, tell(vf_mk_set_def_class(INGRESS, traffic.stream, traffic.class_no, traffic.colour)));
        return receive_now(frame_of(HOST_A, HOST_B, 0x0800, traffic.length));
    }
    void send_frames(u32 count, const Traffic& traffic)
    {
        for (u32 frame = 0; frame < count; frame++) send_frame(traffic);
    }
    static softnp_verdict receive_now(const Bytes& frame, u32 np_port = INGRESS)
    {
        softnp_verdict verdict{};
        EXPECT_EQ(0, softnp_receive_now(np_port, frame.data(), static_cast<u32>(frame.size()), &verdict));
        return verdict;
    }
    static void pass_to(u32 tick_ms) { ASSERT_EQ(0, softnp_set_tick(tick_ms)); }

    static softnp_stream stream(u32 streamno)
    {
        softnp_stream out{};
        EXPECT_EQ(1, softnp_get_stream(streamno, &out));
        return out;
    }
    static softnp_queue queue(u32 number)
    {
        softnp_queue out{};
        EXPECT_EQ(1, softnp_get_queue(number, &out));
        return out;
    }
};

inline u64 dropped_by(const softnp_queue_counters& counters)
{
    u64 dropped = counters.dropped_length + counters.dropped_buffers;
    for (const u64 red : counters.dropped_red) dropped += red;
    return dropped;
}

}  // namespace softnp_test
