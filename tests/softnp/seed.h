// Where random tests start: a seed that every run prints, and that SOFTNP_TEST_SEED repeats.
#pragma once

#include "np_device.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace softnp_test {

inline u32 chosen_seed()
{
    const char* given = std::getenv("SOFTNP_TEST_SEED");
    const u32 value = given ? static_cast<u32>(std::strtoul(given, nullptr, 0)) : std::random_device{}();
    std::printf("SOFTNP_TEST_SEED=%u\n", value);
    return value;
}

class Random {
public:
    // One of 0..bound - 1.
    u32 below(u32 bound) { return static_cast<u32>(engine_() % bound); }
    u32 word() { return static_cast<u32>(engine_()); }
    bool once_in(u32 times) { return below(times) == 0; }

private:
    std::mt19937 engine_{chosen_seed()};
};

}  // namespace softnp_test
