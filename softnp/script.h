// Refusals on order. Called by the execution of commands.
#pragma once

#include "state.h"

namespace softnp {

// Counts one command of the kind down in all orders, and says what the oldest that it meets decides.
Ruling ruling_for(State& state, Kind kind);

}  // namespace softnp
