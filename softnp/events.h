// Learn events. Called by the frame path.
#pragma once

#include "state.h"

namespace softnp {

// False if the queue is full; the event is then lost and counted.
bool raise_event(State& state, const softnp_event& event);

}  // namespace softnp
