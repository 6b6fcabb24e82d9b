// The two locks: how they are asked for, what a failure does, and that no process can leave one held.
#include <sys/time.h>

#include <cerrno>

#include "core/furnished.h"
#include "core/ipc.h"
#include "support/namespace.h"

namespace zelfdb {
namespace {

using testing::SizeIs;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// One lock: its key and how it is taken and given.
struct TheLock {
    const char* name;
    int key;
    void (*begin)();
    void (*end)();
};

void PrintTo(const TheLock& lock, std::ostream* out) { *out << lock.name; }

class Critical : public Database, public testing::WithParamInterface<TheLock> {
protected:
    static void begin() { GetParam().begin(); }
    static void end() { GetParam().end(); }
    static int key() { return GetParam().key; }
    static int value() { return semaphore_value(key()); }
};

std::vector<std::string> moves()
{
    std::vector<std::string> texts;
    for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
        char text[64];
        std::snprintf(text, sizeof text, "0x%X %+d 0x%X", move.key, move.by, move.flags);
        texts.emplace_back(text);
    }
    return texts;
}

TEST_P(Critical, TakingMakesItHeldAndGivingMakesItFree)
{
    EXPECT_EQ(1, value());
    begin();
    EXPECT_EQ(0, value());
    end();
    EXPECT_EQ(1, value());
}

TEST_P(Critical, BothMovesAreUndoneForAProcessThatEnds)
{
    begin();
    end();
    const std::string hex = key() == 0x5A454C01 ? "0x5A454C01" : "0x5A454C02";
    EXPECT_THAT(moves(), testing::ElementsAre(hex + " -1 0x1000", hex + " +1 0x1000"));
}

TEST_P(Critical, SemaphoreIsLookedUpByItsKeyEveryTimeWithFlags0x200)
{
    for (int i = 0; i < 3; ++i) {
        begin();
        end();
    }
    ASSERT_THAT(environment::get_calls(), SizeIs(6));
    for (const environment::GetCall& call : environment::get_calls()) {
        EXPECT_EQ("semget", call.function);
        EXPECT_EQ(key(), call.key);
        EXPECT_EQ(1, call.size);
        EXPECT_EQ(0x200, call.flags);
    }
}

TEST_P(Critical, InterruptedMoveIsRepeatedAndNothingIsSaid)
{
    CaptureStdout();
    environment::fail("semop", EINTR, 1, 3);
    begin();
    EXPECT_EQ(4u, environment::calls("semop"));
    EXPECT_EQ(0, value());
    environment::fail("semop", EINTR, 1, 2);
    end();
    EXPECT_EQ(7u, environment::calls("semop"));
    EXPECT_EQ(1, value());
    EXPECT_EQ("", GetCapturedStdout());
}

TEST_P(Critical, SemaphoreThatCannotBeFoundIsSaidAndNotMoved)
{
    CaptureStdout();
    environment::fail("semget", ENOSPC, 1, 2);
    begin();
    EXPECT_EQ(1, value());
    end();
    EXPECT_EQ("semget failure\nsemget failure\n", GetCapturedStdout());
    EXPECT_EQ(0u, environment::calls("semop"));
}

TEST_P(Critical, TakingThatFailsIsSaidAndTriedOnce)
{
    CaptureStdout();
    environment::fail("semop", EIDRM);
    begin();
    EXPECT_EQ("semaphore get NG\n", GetCapturedStdout());
    EXPECT_EQ(1u, environment::calls("semop"));
    EXPECT_EQ(1, value());
}

TEST_P(Critical, GivingThatFailsIsSaidAndLeavesTheLockHeld)
{
    begin();
    CaptureStdout();
    environment::fail("semop", ERANGE);
    end();
    EXPECT_EQ("semaphore release NG\n", GetCapturedStdout());
    EXPECT_EQ(0, value());
    end();
}

TEST_P(Critical, SecondProcessWaitsUntilTheFirstIsDone)
{
    begin();
    Child second([] {
        begin();
        end();
        return 0;
    });
    ASSERT_TRUE(soon([] { return semaphore_waiters(key()) == 1; }));
    EXPECT_TRUE(second.running());
    end();
    EXPECT_EQ(0, second.result());
    EXPECT_EQ(1, value());
}

TEST_P(Critical, SignalsDoNotEndTheWait)
{
    begin();
    Child second([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);  // without SA_RESTART: every signal interrupts
        const itimerval every_10_ms{{0, 10000}, {0, 10000}};
        setitimer(ITIMER_REAL, &every_10_ms, nullptr);
        begin();
        const bool held = value() == 0;
        end();
        return held ? 0 : 1;
    });
    ASSERT_TRUE(soon([] { return semaphore_waiters(key()) == 1; }));
    pause_ms(200);
    EXPECT_TRUE(second.running());
    EXPECT_EQ(0, value());
    end();
    EXPECT_EQ(0, second.result());
    EXPECT_EQ(1, value());
}

TEST_P(Critical, ProcessKilledWithTheLockGivesItBack)
{
    Signal held;
    Child holder([&held] {
        begin();
        held.give();
        pause();
        return 0;
    });
    ASSERT_TRUE(held.await());
    EXPECT_EQ(0, value());
    holder.kill_now();
    EXPECT_EQ(1, value());
}

TEST_P(Critical, ProcessThatEndsWithTheLockGivesItBack)
{
    Child holder([] {
        begin();
        return 0;
    });
    EXPECT_EQ(0, holder.result());
    EXPECT_EQ(1, value());
}

TEST_P(Critical, ProcessKilledWhileItWaitsChangesNothing)
{
    begin();
    Child waiting([] {
        begin();
        return 0;
    });
    ASSERT_TRUE(soon([] { return semaphore_waiters(key()) == 1; }));
    waiting.kill_now();
    EXPECT_EQ(0, value());
    end();
    EXPECT_EQ(1, value());
}

TEST_P(Critical, TakenBeforeTheDatabaseExistsIsALockWithoutPermissionsThatNobodyEverGives)
{
    ASSERT_TRUE(enter_ipc_namespace());
    Child early([] {
        begin();
        return 0;
    });
    ASSERT_TRUE(soon([] { return semaphore_waiters(key()) == 1; }));
    EXPECT_EQ(0, value());
    EXPECT_EQ(0u, semaphore_mode(key()));
    pause_ms(100);
    EXPECT_TRUE(early.running());
}

INSTANTIATE_TEST_SUITE_P(Of, Critical,
                         testing::Values(TheLock{"main", main_key, &begin_critical, &end_critical},
                                         TheLock{"fdb", fdb_key, &begin_critical_fdb, &end_critical_fdb}),
                         [](const testing::TestParamInfo<TheLock>& lock) { return lock.param.name; });

using Operation = FurnishedDatabase;

TEST_F(Operation, GoesOnWithoutTheLocksWhenTheyCannotBeTaken)
{
    environment::fail("semop", EIDRM, 1, 4);
    u32 err = 0;
    CaptureStdout();
    EXPECT_EQ(0, zelfdb_create_port(4, 0, ZELFDB_PORT_NONE, &err));
    EXPECT_EQ("semaphore get NG\nsemaphore get NG\nsemaphore release NG\nsemaphore release NG\n", GetCapturedStdout());
    EXPECT_NE(nullptr, port(4));
}

TEST_F(Operation, GoesOnWithoutTheLocksWhenTheyCannotBeFound)
{
    environment::fail("semget", EACCES, 1, 2);
    zelfdb_summary summary{};
    CaptureStdout();
    EXPECT_EQ(0, zelfdb_get_summary(&summary));
    EXPECT_EQ("semget failure\nsemget failure\n", GetCapturedStdout());
    EXPECT_EQ(3u, summary.vlan_count);
}

TEST_F(Operation, KilledBetweenItsTwoLocksLeavesNeitherHeld)
{
    begin_critical_fdb();
    Child stuck([] {
        u32 err = 0;
        return zelfdb_create_port(5, 0, ZELFDB_PORT_NONE, &err);
    });
    ASSERT_TRUE(soon([] { return semaphore_waiters(fdb_key) == 1; }));
    EXPECT_EQ(0, semaphore_value(main_key));
    stuck.kill_now();
    EXPECT_EQ(1, semaphore_value(main_key));
    EXPECT_EQ(0, semaphore_value(fdb_key));
    end_critical_fdb();
    EXPECT_EQ(nullptr, port(5));
}

// Wherever it is when it dies. What it was changing may be left half changed, so that only the locks are looked at.
TEST_F(Operation, KilledAnywhereLeavesNoLockHeld)
{
    expect_damage();
    for (int round = 0; round < 40; ++round) {
        Signal working;
        Child worker([&working] {
            recorder::reset();
            for (u32 i = 0; i < 1000000; ++i) {
                u32 err = 0;
                zelfdb_create_lfil(1, mac(0x02AA).byte, 0, 0, &err);
                zelfdb_delete_lfil(1, mac(0x02AA).byte, 0, &err);
                if (i == 2) working.give();
            }
            return 0;
        });
        ASSERT_TRUE(working.await());
        pause_ms(static_cast<u32>(round % 7));
        worker.kill_now();
        ASSERT_EQ(1, semaphore_value(main_key));
        ASSERT_EQ(1, semaphore_value(fdb_key));
    }
    zelfdb_summary summary{};
    EXPECT_EQ(0, zelfdb_get_summary(&summary));
}

// Each adds to a word that only the lock protects.
TEST_F(Operation, ProcessesNeverMeetInsideTheMainLock)
{
    constexpr u32 processes = 4;
    constexpr u32 rounds = 300;
    header().fdb_userarea = 0;
    const auto add = [this] {
        for (u32 i = 0; i < rounds; ++i) {
            begin_critical();
            volatile u32& word = header().fdb_userarea;
            const u32 before = word;
            if (i % 10 == 0) pause_ms(1);
            word = before + 1;
            end_critical();
        }
        return 0;
    };
    Child first(add), second(add), third(add), fourth(add);
    for (Child* const child : {&first, &second, &third, &fourth}) EXPECT_EQ(0, child->result());
    EXPECT_EQ(processes * rounds, header().fdb_userarea);
}

}  // namespace
}  // namespace zelfdb
