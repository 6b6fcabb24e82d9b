// The device's tick: held, or following the clock, and going on after a feed.
#include "np_device.h"

#include <time.h>

using namespace softnp_test;

namespace {

u32 tick()
{
    u32 tick_ms = 0;
    EXPECT_EQ(0, softnp_get_tick(&tick_ms));
    return tick_ms;
}

void rest(long time_ms)
{
    const timespec time{0, time_ms * 1000000};
    nanosleep(&time, nullptr);
}

}  // namespace

using Tick = NpDevice;

TEST_F(Tick, OfANewDeviceFollowsTheClockFromZero)
{
    EXPECT_LT(tick(), 60000u);
    const u32 before = tick();
    rest(60);
    EXPECT_GE(tick() - before, 50u);
}

TEST_F(Tick, IsHeldWhereItWasSet)
{
    ASSERT_EQ(0, softnp_set_tick(1000));
    rest(20);
    EXPECT_EQ(1000u, tick());
}

TEST_F(Tick, IsHeldByAFrameOfAGivenTime)
{
    given_three_ports_in_a_vlan();
    EXPECT_EQ(777u, receive(1, frame_of(BROADCAST, HOST_A), 777).tick_ms);
    rest(20);
    EXPECT_EQ(777u, tick());
}

TEST_F(Tick, GoesOnFromTheLastFrameInRealTime)
{
    given_three_ports_in_a_vlan();
    receive(1, frame_of(BROADCAST, HOST_A), 5000000);
    ASSERT_EQ(0, softnp_follow_clock());
    rest(60);
    EXPECT_GE(tick(), 5000050u);
    EXPECT_LT(tick(), 5060000u);
}

TEST_F(Tick, IsLeftAloneByAFrameOfNow)
{
    given_three_ports_in_a_vlan();
    softnp_verdict verdict{};
    const Bytes frame = frame_of(BROADCAST, HOST_A);
    ASSERT_EQ(0, softnp_follow_clock());
    ASSERT_EQ(0, softnp_receive_now(1, frame.data(), 64, &verdict));
    const u32 stamped = verdict.tick_ms;
    rest(60);
    EXPECT_GE(tick() - stamped, 50u);  // it still follows
    ASSERT_EQ(0, softnp_set_tick(42));
    ASSERT_EQ(0, softnp_receive_now(1, frame.data(), 64, &verdict));
    EXPECT_EQ(42u, verdict.tick_ms);
}

TEST_F(Tick, WrapsAround)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, softnp_set_tick(0xFFFFFFFA));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, softnp_follow_clock());
    rest(60);
    EXPECT_LT(tick(), 60000u);
    vf_cmd* find = vf_mk_findFDB(10, HOST_A.data(), nullptr, nullptr, nullptr);
    ASSERT_EQ(0, vf_call(handle, 0, find, 0, 0));
    u32 words[6] = {};
    vf_rd_findFDB(find, words);
    EXPECT_EQ(0xFFFFFFFAu, words[1]);
    EXPECT_GE(words[3] - words[1], 50u);
    EXPECT_LT(words[3] - words[1], 60000u);
    vf_cmdNFreeB(find);
}

TEST_F(Tick, NullIsRefused) { EXPECT_EQ(-1, softnp_get_tick(nullptr)); }
