// The device's tick: held at a value, or running on from one with the monotonic clock, the same for all processes.
#include "clock.h"
#include "device.h"

#include <ctime>

namespace softnp {

namespace {

u64 monotonic_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<u64>(now.tv_sec) * 1000 + static_cast<u64>(now.tv_nsec) / 1000000;
}

void follow_from(State& state, u32 tick_ms) { state.clock = {tick_ms, 1, monotonic_ms()}; }

}  // namespace

u32 tick_now(const State& state)
{
    if (state.clock.follows == 0) return state.clock.base_tick_ms;
    return state.clock.base_tick_ms + static_cast<u32>(monotonic_ms() - state.clock.base_time_ms);
}

void hold_tick(State& state, u32 tick_ms) { state.clock = {tick_ms, 0, 0}; }

void restart_clock(State& state) { follow_from(state, 0); }

}  // namespace softnp

using namespace softnp;

int softnp_set_tick(uint32_t tick_ms)
{
    const Access device;
    if (!device) return -1;
    hold_tick(*device, tick_ms);
    return 0;
}

int softnp_follow_clock(void)
{
    const Access device;
    if (!device) return -1;
    follow_from(*device, tick_now(*device));
    return 0;
}

int softnp_get_tick(uint32_t* tick_ms)
{
    if (!tick_ms) return -1;
    const Access device;
    if (!device) return -1;
    *tick_ms = tick_now(*device);
    return 0;
}
