// A worker of a crowd: a process that makes random requests until it is killed.
#pragma once

#include "crowd/supervision/board.h"

namespace crowd {

// What a worker asks for.
enum class Requested {
    anything,
    values,  // single values, and answers: nothing that is half made when it is cut short
};

[[noreturn]] void work(Board& where, u32 place, Requested requested, u32 seed, pid_t supervisor);

}  // namespace crowd
