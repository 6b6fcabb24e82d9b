// The system as the library's code sees it in a test: time, sleep, syslog, IPC and malloc, each of which a test can watch or
// make fail. Without a test's wish they behave as ever, but sleep, which returns at once.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "core/types.h"

namespace environment {

using zelfdb::u32;

// Everything back to normal, everything recorded forgotten.
void reset();

// Seconds asked of sleep, one element for each call.
std::vector<unsigned>& sleeps();

struct SyslogMessage {
    int priority;
    std::string text;    // as written
    std::string format;  // as given to syslog
};
std::vector<SyslogMessage>& syslog_messages();

// From now on gettimeofday says this; 0 = the real time again.
void set_time_s(u32 seconds);

// The nth call from now (1 = the next) of that function fails with that errno, and the times - 1 after it.
// Functions: "shmget", "shmat", "semget", "semop", "semctl", "malloc", "mkstemp",
// "gettimeofday". malloc counts the library's and the tests' calls.
void fail(const std::string& function, int error, u32 nth = 1, u32 times = 1);

// Calls of those functions since the last reset, and "shmdt".
u32 calls(const std::string& function);

// semop calls in order: the semaphore's key and what was added. Filled from the last reset on.
struct SemaphoreMove {
    int key;
    int by;
    int flags;
};
std::vector<SemaphoreMove>& semaphore_moves();

// The flag words given to semget and shmget, in order.
struct GetCall {
    std::string function;
    int key;
    long size;
    int flags;
};
std::vector<GetCall>& get_calls();

}  // namespace environment
