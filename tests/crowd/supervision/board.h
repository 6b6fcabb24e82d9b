// What the workers of a crowd say of themselves, in memory that outlives them: the supervisor reads it when one is dead.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>

#include "core/types.h"

namespace crowd {

using namespace zelfdb;

inline constexpr u32 workers_max = 16;
inline constexpr u32 operations_max = 200;

// What an operation's number may be instead of one.
inline constexpr u32 no_operation = 0xFFFFFFFF;
inline constexpr u32 opening = 0xFFFFFFFE;  // its descriptor

inline constexpr u32 main_lock = 1;
inline constexpr u32 fdb_lock = 2;

// One worker's. The counters go on over all processes that have had the place, one after the other.
struct Place {
    std::atomic<u32> operation;  // that is being made
    std::atomic<u32> holds;      // of the two locks
    std::atomic<u32> in_np;      // 1 while the NP is asked
    std::atomic<u32> parked;     // the pause that it has followed
    std::atomic<i64> moved_us;   // when it last began or completed an operation, or got or gave a lock
    std::atomic<u64> completed;
    char file[24];  // that it has made last
};

struct Board {
    std::atomic<u32> pause;        // odd: all are to wait
    std::atomic<u32> np;           // the NP's number: a new one asks for new sessions
    std::atomic<u32> np_delay_us;  // of the slowest answer
    std::atomic<u64> turns;        // times that somebody got the main lock
    Place place[workers_max];
    std::atomic<u64> requested[operations_max];
    std::atomic<u64> granted[operations_max];
};

// This process's place; null in the supervisor.
inline Place* own_place = nullptr;
inline Board* board = nullptr;

inline i64 now_us()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

}  // namespace crowd
