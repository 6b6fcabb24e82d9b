// What the database holds at the moment when the NP is told of a change. Included by one file of a program.
//
// The recording NP allocates when it is handed a command, so an allocation of this program that falls between the building
// of a command and its entry in the log is an occasion to look at the database.
#pragma once

#include <cstdlib>
#include <new>

#include "support/recorder.h"

namespace zelfdb {

class Telling {
public:
    // Runs an operation that sends one command, and expects the condition at every look that was taken meanwhile.
    template <class Operation>
    static void expect(bool (*condition)(), Operation operation)
    {
        recorder::log().clear();
        built_before_ = recorder::commands_built();
        looks_ = 0;
        held_ = 0;
        condition_ = condition;
        const int result = operation();
        condition_ = nullptr;
        EXPECT_EQ(result, 0);
        EXPECT_EQ(recorder::log().size(), 1u);
        EXPECT_GT(looks_, 0u);
        EXPECT_EQ(held_, looks_);
    }

    static void look()
    {
        if (!condition_ || recorder::commands_built() == built_before_ || !recorder::log().empty()) return;
        ++looks_;
        if (condition_()) ++held_;
    }

private:
    static inline bool (*condition_)() = nullptr;
    static inline u32 built_before_ = 0;
    static inline u32 looks_ = 0;
    static inline u32 held_ = 0;
};

inline void* allocate(std::size_t size)
{
    Telling::look();
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace zelfdb

// Ours from end to end, which g++ does not see when it inlines only one of them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size)
{
    if (void* const memory = zelfdb::allocate(size)) return memory;
    std::abort();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return zelfdb::allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
