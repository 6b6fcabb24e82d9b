// The host's clock is read before the locks, however long they take to come.
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>

#include "core/critical.h"
#include "fdb_test.h"

namespace zelfdb {
namespace {

using testing::IsEmpty;

void pause_ms(long milliseconds)
{
    const timespec pause{milliseconds / 1000, milliseconds % 1000 * 1000000};
    nanosleep(&pause, nullptr);
}

class HostClock : public Fdb {
protected:
    void SetUp() override
    {
        Fdb::SetUp();
        given_open_port(3);
        given_vlan(10, "sales");
        given_member(10, 3);
        environment::reset();
    }
    // Runs the operation, started early in a second, while another process holds the main lock for longer than
    // the rest of that second. Returns the second in which it started.
    template <class Operation>
    static u32 while_locked(Operation operation)
    {
        int ready[2];
        int started[2];
        EXPECT_EQ(0, pipe(ready));
        EXPECT_EQ(0, pipe(started));
        const pid_t holder = fork();
        if (holder == 0) {
            alarm(30);
            char byte = 0;
            begin_critical();
            const bool told = write(ready[1], &byte, 1) == 1 && read(started[0], &byte, 1) == 1;
            pause_ms(1300);
            end_critical();
            _exit(told ? 0 : 1);
        }
        char byte = 0;
        EXPECT_EQ(1, read(ready[0], &byte, 1));
        timeval now{};
        for (int tries = 0; tries < 1000; ++tries) {
            gettimeofday(&now, nullptr);
            if (now.tv_usec < 200000) break;
            pause_ms(5);
        }
        EXPECT_EQ(1, write(started[1], &byte, 1));
        operation();
        int status = -1;
        EXPECT_EQ(holder, waitpid(holder, &status, 0));
        EXPECT_EQ(0, status);
        for (const int end : {ready[0], ready[1], started[0], started[1]}) close(end);
        timeval after{};
        gettimeofday(&after, nullptr);
        EXPECT_GT(after.tv_sec, now.tv_sec) << "the lock was held into the next second";
        return static_cast<u32>(now.tv_sec);
    }
};

TEST_F(HostClock, IsReadInWholeSeconds)
{
    u32 seconds = 0;
    environment::set_time_s(0xFFFFFFFE);
    EXPECT_EQ(0, get_time_sec(&seconds));
    EXPECT_EQ(0xFFFFFFFE, seconds);
    environment::set_time_s(0);
    const auto before = static_cast<u32>(std::time(nullptr));
    EXPECT_EQ(0, get_time_sec(&seconds));
    EXPECT_LE(seconds - before, 60u);
}

TEST_F(HostClock, IsReadBeforeALearnIndicationWaitsForTheLocks)
{
    const u32 started_s = while_locked([this] { EXPECT_EQ(0, learn(3, mac(2))); });
    EXPECT_EQ(started_s, fil(10, mac(2))->last_seen);
}

TEST_F(HostClock, IsReadBeforeASweepWaitsForTheLocks)
{
    recorder::answer_find(0, 1000, 1000);
    given_learned(10, mac(2), 3);
    const u32 started_s = while_locked([this] { EXPECT_EQ(0, zelfdb_do_aging(&d())); });
    EXPECT_EQ(started_s, fil(10, mac(2))->last_seen);
}

}  // namespace
}  // namespace zelfdb
