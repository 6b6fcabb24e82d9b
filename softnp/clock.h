// The device's tick. Called by every part of it that stamps or measures.
#pragma once

#include "state.h"

namespace softnp {

u32 tick_now(const State& state);
// Holds the tick at a value.
void hold_tick(State& state, u32 tick_ms);
// The tick of a device just switched on: 0, following the monotonic clock.
void restart_clock(State& state);

}  // namespace softnp
