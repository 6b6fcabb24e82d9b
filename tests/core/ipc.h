// The segments and semaphores as the system has them, and child processes to share them with.
#pragma once

#include <dlfcn.h>
#include <poll.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "core/types.h"

namespace zelfdb {

// The system's own function, past whatever a test has put in its place.
template <class Function>
Function* systems(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

inline std::optional<shmid_ds> segment(int key)
{
    shmid_ds state{};
    const int id = systems<int(key_t, size_t, int)>("shmget")(key, 0, 0);
    if (id < 0 || shmctl(id, IPC_STAT, &state) != 0) return std::nullopt;
    return state;
}
inline bool segment_exists(int key) { return segment(key).has_value(); }
// Processes' attachments of a segment.
inline u64 attachments(int key) { return segment(key)->shm_nattch; }

union SemaphoreArgument {
    int value;
    semid_ds* state;
};

// -1 when there is no such semaphore.
inline int semaphore_control(int key, int command, semid_ds* state = nullptr)
{
    const int id = systems<int(key_t, int, int)>("semget")(key, 1, 0);
    SemaphoreArgument argument{};
    argument.state = state;
    return id < 0 ? -1 : systems<int(int, int, int, ...)>("semctl")(id, 0, command, argument);
}
inline int semaphore_value(int key) { return semaphore_control(key, GETVAL); }
inline int semaphore_waiters(int key) { return semaphore_control(key, GETNCNT); }
inline u32 semaphore_mode(int key)
{
    semid_ds state{};
    if (semaphore_control(key, IPC_STAT, &state) != 0) return 0xFFFFFFFF;
    return state.sem_perm.mode & 0777u;
}

inline void pause_ms(u32 duration_ms) { poll(nullptr, 0, static_cast<int>(duration_ms)); }

// Waits for a condition, for at most some seconds.
template <class Condition>
bool soon(Condition condition, u32 limit_s = 20)
{
    for (u32 i = 0; i < limit_s * 100; ++i) {
        if (condition()) return true;
        pause_ms(10);
    }
    return condition();
}

// A child process that runs a function and ends with its result. Killed and collected at the end, whatever it does.
class Child {
public:
    template <class Function>
    explicit Child(Function run) : pid_(fork())
    {
        if (pid_ == 0) _exit(run());
    }
    ~Child() { kill_now(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }

    void kill_now()
    {
        if (collected_) return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        collected_ = true;
    }

    // Whether it has not ended yet.
    bool running() { return !collect(WNOHANG); }

    // Its result, or -1 if it was killed or did not end in time.
    int result(u32 limit_s = 60)
    {
        if (!soon([this] { return !running(); }, limit_s)) return -1;
        return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
    }

private:
    bool collect(int options)
    {
        if (!collected_ && waitpid(pid_, &status_, options) == pid_) collected_ = true;
        return collected_;
    }

    pid_t pid_;
    int status_ = 0;
    bool collected_ = false;
};

// A one-way signal between processes.
class Signal {
public:
    Signal()
    {
        if (pipe(ends_) != 0) _exit(99);
    }
    ~Signal()
    {
        close(ends_[0]);
        close(ends_[1]);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void give() const
    {
        const char byte = 0;
        if (write(ends_[1], &byte, 1) != 1) _exit(98);
    }
    [[nodiscard]] bool await(u32 limit_s = 20) const
    {
        pollfd ready{ends_[0], POLLIN, 0};
        char byte = 0;
        int waited = 0;
        do {
            waited = poll(&ready, 1, static_cast<int>(limit_s * 1000));
        } while (waited < 0);
        return waited == 1 && read(ends_[0], &byte, 1) == 1;
    }

private:
    int ends_[2];
};

}  // namespace zelfdb
