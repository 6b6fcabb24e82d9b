#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "trust/faults.h"

namespace own_functions {
namespace {

enum Function { f_write, f_fsync, f_calloc, function_count, unknown = function_count };
constexpr const char* names[function_count] = {"write", "fsync", "calloc"};

struct State {
    u32 calls;
    u32 failing;  // the call that fails, counted from 1; 0 = none
    int error;
};
State states[function_count];

Function index_of(const std::string& name)
{
    for (int k = 0; k < function_count; ++k) {
        if (name == names[k]) return static_cast<Function>(k);
    }
    return unknown;
}

bool refused(Function function)
{
    State& state = states[function];
    if (++state.calls != state.failing) return false;
    errno = state.error;
    return true;
}

}  // namespace

bool knows(const std::string& function) { return index_of(function) != unknown; }

void reset()
{
    for (State& state : states) state = {};
}

void fail(const std::string& function, int error, u32 nth)
{
    State& state = states[index_of(function)];
    state.failing = state.calls + nth;
    state.error = error;
}

u32 calls(const std::string& function) { return states[index_of(function)].calls; }

}  // namespace own_functions

extern "C" {

// The linker sends the calls of the library and the tests here (--wrap).
ssize_t __real_write(int file, const void* bytes, size_t size);
ssize_t __wrap_write(int file, const void* bytes, size_t size);
ssize_t __wrap_write(int file, const void* bytes, size_t size)
{
    return own_functions::refused(own_functions::f_write) ? -1 : __real_write(file, bytes, size);
}

int __real_fsync(int file);
int __wrap_fsync(int file);
int __wrap_fsync(int file) { return own_functions::refused(own_functions::f_fsync) ? -1 : __real_fsync(file); }

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size)
{
    return own_functions::refused(own_functions::f_calloc) ? nullptr : __real_calloc(count, size);
}
}
