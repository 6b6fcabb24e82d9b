// The log of commands. Called by the execution of commands.
#pragma once

#include "state.h"

namespace softnp {

void log_command(State& state, const vf_cmd& command, u32 tick_ms, u32 chain_index, int error);

}  // namespace softnp
