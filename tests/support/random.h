// The numbers of random tests: the same in every run, and others in each test, so that what passed once passes again. Other
// numbers come with ZELFDB_SEED=new in the environment; what the run then prints, ZELFDB_SEED=<number>, repeats it.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "core/types.h"

namespace zelfdb {

class Random {
public:
    Random() : Random(next_of_this_test()) {}
    explicit Random(u32 seed) : engine_(seed) {}

    // How to repeat what this run does.
    [[nodiscard]] static std::string trace() { return "ZELFDB_SEED=" + std::to_string(seed_of_this_run()); }

    // One of 0..count - 1.
    u32 below(u32 count) { return static_cast<u32>(std::uniform_int_distribution<u64>(0, u64{count} - 1)(engine_)); }
    // True once in so many times.
    bool once_in(u32 times) { return below(times) == 0; }
    u32 word() { return static_cast<u32>(engine_()); }

private:
    static constexpr u32 usual_seed = 1;

    static u32 seed_of_this_run()
    {
        static const u32 seed = chosen();
        return seed;
    }
    static u32 chosen()
    {
        const char* const given = std::getenv("ZELFDB_SEED");
        u32 seed = usual_seed;
        if (given) seed = std::string_view{given} == "new" ? std::random_device{}() : number(given);
        std::printf("ZELFDB_SEED=%u\n", seed);
        std::fflush(stdout);  // once, not once more in each child process
        return seed;
    }
    static u32 number(const char* given)
    {
        char* end = nullptr;
        const unsigned long long value = std::strtoull(given, &end, 0);
        if (end == given || *end != '\0' || value > 0xFFFFFFFF) {
            std::fprintf(stderr, "ZELFDB_SEED=%s is neither a number of 32 bits nor \"new\"\n", given);
            std::exit(2);
        }
        return static_cast<u32>(value);
    }

    // A test that asks several times gets other numbers each time, wherever in the run it stands.
    static u32 next_of_this_test()
    {
        static const testing::TestInfo* test = nullptr;
        static u32 asked = 0;
        const testing::TestInfo* const now = testing::UnitTest::GetInstance()->current_test_info();
        asked = now == test ? asked + 1 : 0;
        test = now;
        std::string name = now ? std::string{now->test_suite_name()} + "." + now->name() : std::string{};
        std::seed_seq mixed{seed_of_this_run(), asked, hash(name)};
        u32 seed = 0;
        mixed.generate(&seed, &seed + 1);
        return seed;
    }
    // FNV-1a: std::hash is another one on 32 bits.
    static u32 hash(std::string_view text)
    {
        u32 value = 2166136261U;
        for (const char c : text) value = (value ^ static_cast<unsigned char>(c)) * 16777619U;
        return value;
    }

    std::mt19937 engine_;
};

}  // namespace zelfdb
