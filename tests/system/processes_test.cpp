// Several processes on one database: whatever they ask for at once, it stays whole, and one that is killed stops nobody.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <numeric>

#include "core/critical.h"
#include "core/descriptor.h"
#include "core/ipc.h"
#include "softnp/softnp.h"
#include "support/invariants.h"
#include "support/namespace.h"
#include "support/random.h"
#include "system/operations.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

constexpr u32 nfil = 48;

class Processes : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(enter_ipc_namespace());
        ASSERT_EQ(0, softnp_use_shared());
        const zelfdb_counts counts{12, 6, nfil};
        ASSERT_EQ(0, zelfdb_init(&counts));
    }

    void expect_both_locks_free()
    {
        EXPECT_EQ(1, semaphore_value(main_key));
        EXPECT_EQ(1, semaphore_value(fdb_key));
    }

    // What can be said of a database that only the operations have worked on.
    void expect_whole()
    {
        std::unique_ptr<Descriptor, void (*)(Descriptor*)> d(open_descriptor2(), close_descriptor);
        ASSERT_NE(nullptr, d);
        EXPECT_THAT(broken_invariants(*d), IsEmpty());
        const Header& header = header_of(*d);
        EXPECT_EQ(header.history[ports_created] - header.history[ports_deleted], header.port_count);
        EXPECT_EQ(header.history[vlans_created] - header.history[vlans_deleted], header.vlan_count);
    }
};

// Shared by parent and children: what became of each operation's requests, over all processes.
struct Tally {
    static constexpr u32 operations_max = 200;
    u32 requested[operations_max];
    u32 granted[operations_max];
};

// Operations that were requested all in vain.
std::vector<std::string> never_granted(const Tally& tally)
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < Requests::names().size(); ++i) {
        if (tally.granted[i] == 0) names.emplace_back(Requests::names()[i]);
    }
    return names;
}

class SharedTally {
public:
    SharedTally() : id_(shmget(IPC_PRIVATE, sizeof(Tally), IPC_CREAT | 0600)), tally_(shmat(id_, nullptr, 0))
    {
        shmctl(id_, IPC_RMID, nullptr);
    }
    ~SharedTally() { shmdt(tally_); }
    SharedTally(const SharedTally&) = delete;
    SharedTally& operator=(const SharedTally&) = delete;

    Tally& operator*() const { return *static_cast<Tally*>(tally_); }

    // One process at a time: called with the main lock held.
    void add(const std::vector<Requests::Count>& counts) const
    {
        for (std::size_t i = 0; i < counts.size() && i < Tally::operations_max; ++i) {
            (**this).requested[i] += counts[i].requested;
            (**this).granted[i] += counts[i].granted;
        }
    }

private:
    int id_;
    void* tally_;
};

constexpr u32 processes = 4;
constexpr u32 requests_in_a_round = 8000;

void ask_for_everything(Random& random, const SharedTally& tally)
{
    std::vector<std::unique_ptr<Child>> children;
    for (u32 i = 0; i < processes; ++i) {
        const u32 seed = random.word();
        children.push_back(std::make_unique<Child>([seed, &tally] {
            Random own(seed);
            Requests requests(own);
            for (u32 request = 0; request < requests_in_a_round; ++request) requests.any();
            begin_critical();
            tally.add(requests.counts());
            end_critical();
            return 0;
        }));
    }
    for (const auto& child : children) ASSERT_EQ(0, child->result(200));
}

// Some requests are rarely granted: chance has some more rounds to come by all of them.
TEST_F(Processes, FourThatAskForEverythingAtOnceLeaveAWholeDatabase)
{
    constexpr u32 rounds_max = 8;
    Random random;
    SCOPED_TRACE(random.trace());
    const SharedTally tally;
    const std::vector<std::string> in_vain{"recover_port_sldbkr"};  // which says so whatever it does
    u32 rounds = 0;
    while (rounds < rounds_max && never_granted(*tally) != in_vain) {
        ASSERT_NO_FATAL_FAILURE(ask_for_everything(random, tally));
        ++rounds;
        expect_both_locks_free();
        expect_whole();
    }
    EXPECT_EQ(in_vain, never_granted(*tally));
    EXPECT_EQ(rounds * processes * requests_in_a_round,
              std::accumulate(std::begin((*tally).requested), std::end((*tally).requested), 0u));
}

// Those that are killed change values only, so that what they leave half done misleads nobody; their NP is their own, so
// that they die with no lock of the device.
TEST_F(Processes, KilledAtAnyMomentHoldNoLockAndTheOthersGoOn)
{
    constexpr u32 requests_each = 1200;
    constexpr u32 victims = 40;
    Random random;
    SCOPED_TRACE(random.trace());
    std::vector<std::unique_ptr<Child>> survivors;
    for (u32 i = 0; i < 2; ++i) {
        const u32 seed = random.word();
        survivors.push_back(std::make_unique<Child>([seed] {
            Random own(seed);
            Requests requests(own);
            for (u32 request = 0; request < requests_each; ++request) requests.any();
            return 0;
        }));
    }
    const auto victim = [](u32 seed) {
        return [seed] {
            softnp_use_private();
            Random own(seed);
            Requests requests(own);
            for (u32 request = 0; request < 10000000; ++request) requests.any_of_values();
            return 0;
        };
    };
    Child first(victim(random.word()));
    for (u32 i = 0; i < victims; ++i) {
        Child second(victim(random.word()));
        pause_ms(5 + random.below(40));
        EXPECT_TRUE(second.running());
        second.kill_now();
    }
    EXPECT_TRUE(first.running());
    first.kill_now();
    for (const auto& survivor : survivors) ASSERT_EQ(0, survivor->result(200));

    expect_both_locks_free();
    expect_whole();
}

}  // namespace
}  // namespace zelfdb
