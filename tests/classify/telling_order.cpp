// What the database holds at the moment when the NP is told: a binding is stored before, an unbinding is stored after.
//
// The recording NP allocates when it is handed a command, so an allocation of this program that falls between the building
// of a command and its entry in the log is an occasion to look at the database.
#include <cstdlib>
#include <new>

#include "classify/classify_test.h"

namespace {

void (*on_allocation)() = nullptr;

void* allocate(std::size_t size)
{
    if (on_allocation) on_allocation();
    return std::malloc(size != 0 ? size : 1);
}

}  // namespace

// Ours from end to end, which g++ does not see when it inlines only one of them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size)
{
    if (void* const memory = allocate(size)) return memory;
    std::abort();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace zelfdb {
namespace {

struct Watched {
    const Pv* pv;
    const Classify* profile;
    u32 built;
    std::size_t logged;
    u32 looks;
    u32 looks_when_bound;
};
Watched watched{};

void look()
{
    if (recorder::commands_built() == watched.built || recorder::log().size() != watched.logged) return;
    ++watched.looks;
    if (watched.pv->classify == 2 && watched.pv->classify_words[0] != 0 && watched.profile->pv_head != none) {
        ++watched.looks_when_bound;
    }
}

class TellingOrder : public ProfileTest {
protected:
    void SetUp() override
    {
        ProfileTest::SetUp();
        given_profile(2);
    }
    template <class Operation>
    void watch(Operation operation)
    {
        recorder::log().clear();
        watched = {membership(10, 3), profile(2), recorder::commands_built(), 0, 0, 0};
        on_allocation = look;
        const int result = operation();
        on_allocation = nullptr;
        EXPECT_EQ(result, 0);
        EXPECT_EQ(sent().size(), 1u);
        EXPECT_GT(watched.looks, 0u);
    }
};

TEST_F(TellingOrder, ABindingIsStoredBeforeTheNPIsToldOfIt)
{
    u32 err = 0;
    watch([&] { return zelfdb_add_classify_profile_to_pv(2, 3, 10, words, &err); });
    EXPECT_EQ(watched.looks_when_bound, watched.looks);
}

TEST_F(TellingOrder, AnUnbindingIsToldToTheNPBeforeTheDatabaseForgetsTheBinding)
{
    given_binding(2, 3, 10);
    u32 err = 0;
    watch([&] { return zelfdb_rem_classify_profile_from_pv(3, 10, &err); });
    EXPECT_EQ(watched.looks_when_bound, watched.looks);
    EXPECT_EQ(membership(10, 3)->classify, 0u);
    EXPECT_EQ(profile(2)->pv_head, none);
}

}  // namespace
}  // namespace zelfdb
