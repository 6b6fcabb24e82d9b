// Where random tests start: a seed that every run prints, and that the environment variable ZELFDB_SEED repeats.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "core/types.h"

namespace zelfdb {

class Random {
public:
    Random() : Random(chosen())
    {
        std::printf("ZELFDB_SEED=%u\n", seed_);
        std::fflush(stdout);  // once, not once more in each child process
    }
    explicit Random(u32 seed) : seed_(seed), engine_(seed) {}

    [[nodiscard]] std::string trace() const { return "ZELFDB_SEED=" + std::to_string(seed_); }
    // One of 0..count - 1.
    u32 below(u32 count) { return static_cast<u32>(std::uniform_int_distribution<u64>(0, u64{count} - 1)(engine_)); }
    // True once in so many times.
    bool once_in(u32 times) { return below(times) == 0; }
    u32 word() { return static_cast<u32>(engine_()); }

private:
    static u32 chosen()
    {
        const char* const given = std::getenv("ZELFDB_SEED");
        return given ? static_cast<u32>(std::strtoul(given, nullptr, 0)) : std::random_device{}();
    }
    u32 seed_;
    std::mt19937 engine_;
};

}  // namespace zelfdb
