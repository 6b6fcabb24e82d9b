// Learn events: what they carry, their order, and their bound.
#include "np_device.h"

#include <cstring>

using namespace softnp_test;

namespace {

class Events : public NpDevice {
protected:
    void SetUp() override
    {
        NpDevice::SetUp();
        given_three_ports_in_a_vlan();
    }
};

TEST_F(Events, CarryWhatTheDatabaseNeedsToLearn)
{
    ASSERT_EQ(0, create_port(15, ETHER_FLAGS, 10));  // port 105 of the database
    ASSERT_EQ(0, join(10, 15));
    const Bytes frame = tagged_frame(HOST_B, HOST_A, 0xA00A);
    receive(15, frame, 0xFFFFFFF0);
    softnp_event event{};
    ASSERT_TRUE(next_event(event));
    EXPECT_EQ(105, event.port_id);
    EXPECT_EQ(15, event.np_port);
    EXPECT_EQ(0xFFFFFFF0u, event.tick_ms);
    EXPECT_EQ(SOFTNP_NO_COOKIE, event.cookie);
    EXPECT_EQ(10, event.FID);
    EXPECT_EQ(10, event.VID);
    EXPECT_EQ(18, event.header_length);
    EXPECT_EQ(0, std::memcmp(event.header, frame.data(), 18));
    EXPECT_FALSE(next_event(event));
}

TEST_F(Events, CarryZerosAfterAShortFrame)
{
    const Bytes frame = frame_of(BROADCAST, HOST_A, 0x0806, 14);
    receive(1, frame);
    softnp_event event{};
    ASSERT_TRUE(next_event(event));
    EXPECT_EQ(14, event.header_length);
    EXPECT_EQ(0, std::memcmp(event.header, frame.data(), 14));
    for (u32 index = 14; index < SOFTNP_EVENT_HEADER; index++) EXPECT_EQ(0, event.header[index]);
}

TEST_F(Events, ComeInTheOrderOfTheirFrames)
{
    for (u32 number = 0; number < 10; number++) receive(1 + number % 3, frame_of(BROADCAST, HOST_A), number);
    softnp_event event{};
    for (u32 number = 0; number < 10; number++) {
        ASSERT_TRUE(next_event(event));
        EXPECT_EQ(number, event.tick_ms);
        EXPECT_EQ(1 + number % 3, event.np_port);
    }
    EXPECT_FALSE(next_event(event));
}

TEST_F(Events, BeyondTheBoundAreLostAndCounted)
{
    for (u32 number = 0; number < SOFTNP_EVENTS; number++)
        ASSERT_EQ(SOFTNP_LEARN_RAISED, static_cast<int>(receive(1, frame_of(BROADCAST, HOST_A), number).learning));
    EXPECT_EQ(SOFTNP_LEARN_LOST, static_cast<int>(receive(1, frame_of(BROADCAST, HOST_A), 9999).learning));
    EXPECT_EQ(SOFTNP_EVENTS, device_counters().events_queued);
    EXPECT_EQ(SOFTNP_EVENTS, device_counters().events_raised);
    EXPECT_EQ(1u, device_counters().events_lost);
    EXPECT_EQ(1u, port_counters(1).learn_lost);

    softnp_event event{};
    ASSERT_TRUE(next_event(event));
    EXPECT_EQ(0u, event.tick_ms);  // the newest was lost, not the oldest
    EXPECT_EQ(SOFTNP_LEARN_RAISED, static_cast<int>(receive(1, frame_of(BROADCAST, HOST_A), 7777).learning));
    for (u32 number = 1; number < SOFTNP_EVENTS; number++) ASSERT_TRUE(next_event(event));
    ASSERT_TRUE(next_event(event));
    EXPECT_EQ(7777u, event.tick_ms);
    EXPECT_FALSE(next_event(event));
}

TEST_F(Events, CanBeForgotten)
{
    receive(1, frame_of(BROADCAST, HOST_A));
    ASSERT_EQ(0, softnp_clear_events());
    softnp_event event{};
    EXPECT_FALSE(next_event(event));
    EXPECT_EQ(-1, softnp_next_event(nullptr));
}

}  // namespace
