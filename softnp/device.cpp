// Attaching, making, locking and removing the device. One process-local record says what this process is attached to.
#include "device.h"
#include "clock.h"
#include "mac_table.h"

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <atomic>
#include <cerrno>
#include <ctime>

namespace softnp {

namespace {

constexpr u32 MAX_MAC_CAPACITY = 1048576;
constexpr int OPEN_ATTEMPTS = 5;
constexpr int MODE = 0600;

// What this process knows of the device. users counts sessions and running calls; a private device outlives them.
struct Local {
    pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
    State* state = nullptr;
    u32 users = 0;
    State* private_state = nullptr;
    size_t private_size = 0;
    u32 mac_capacity = SOFTNP_MAC_ENTRIES;
};
Local local;

struct LocalLock {
    LocalLock() { pthread_mutex_lock(&local.lock); }
    ~LocalLock() { pthread_mutex_unlock(&local.lock); }
    LocalLock(const LocalLock&) = delete;
    LocalLock& operator=(const LocalLock&) = delete;
};

size_t device_size(u32 mac_capacity) { return sizeof(State) + static_cast<size_t>(mac_table_size(mac_capacity)); }

// Not every kernel that runs us keeps lists of robust locks (an emulated one may not). Without them the lock works,
// but the death of its owner is not noticed.
bool make_lock(pthread_mutex_t& lock)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    int failed = pthread_mutex_init(&lock, &attributes);
    if (failed != 0) {
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_STALLED);
        failed = pthread_mutex_init(&lock, &attributes);
    }
    pthread_mutexattr_destroy(&attributes);
    return failed == 0;
}

bool is_ready(State& state)
{
    return std::atomic_ref<u32>(state.header.ready).load(std::memory_order_acquire) == STATE_READY;
}

bool is_ours(const State& state)
{
    return state.header.state_size == sizeof(State) && state.header.pointer_size == sizeof(void*);
}

// New memory is zero, and stays untouched where nothing is ever put.
bool format(State& state, u32 mac_capacity)
{
    if (!make_lock(state.header.lock)) return false;
    state.header.state_size = sizeof(State);
    state.header.pointer_size = sizeof(void*);
    state.header.mac_capacity = mac_capacity;
    format_mac_table(state);
    restart_clock(state);
    std::atomic_ref<u32>(state.header.ready).store(STATE_READY, std::memory_order_release);
    return true;
}

// Two processes that make the device at once are ordered by a semaphore, which the system undoes if one dies.
// It is free at 0, the value that a new semaphore has.
struct CreationLock {
    CreationLock() : semaphore(semget(SOFTNP_KEY, 1, IPC_CREAT | MODE))
    {
        sembuf take[2] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
        held = semaphore >= 0 && operate(take, 2);
    }
    ~CreationLock()
    {
        sembuf give = {0, -1, SEM_UNDO};
        if (held) operate(&give, 1);
    }
    CreationLock(const CreationLock&) = delete;
    CreationLock& operator=(const CreationLock&) = delete;

    bool operate(sembuf* operations, size_t count) const
    {
        int failed = semop(semaphore, operations, count);
        while (failed != 0 && errno == EINTR) failed = semop(semaphore, operations, count);
        return failed == 0;
    }

    int semaphore;
    bool held;
};

// The segment's size in bytes, 0 if it cannot be told.
size_t size_of_segment(int id)
{
    shmid_ds status{};
    return shmctl(id, IPC_STAT, &status) == 0 ? status.shm_segsz : 0;
}

// What is smaller than what will be looked at is somebody else's, and is not read.
State* map_segment(int id, size_t looked_at)
{
    if (size_of_segment(id) < looked_at) return nullptr;
    void* address = shmat(id, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : static_cast<State*>(address);
}

State* unless_ours(State* state)
{
    if (is_ours(*state)) return state;
    shmdt(state);
    return nullptr;
}

State* open_ready_segment()
{
    const int id = shmget(SOFTNP_KEY, 0, MODE);
    State* state = id < 0 ? nullptr : map_segment(id, sizeof(State));
    if (!state) return nullptr;
    if (is_ready(*state) && size_of_segment(id) >= sizeof(State) + mac_table_size(state->header.mac_capacity))
        return state;
    shmdt(state);
    return nullptr;
}

// What a maker who died has left: still unmarked, so nobody uses it. A segment with any other mark is not ours.
void remove_unmarked_segment()
{
    const int id = shmget(SOFTNP_KEY, 0, MODE);
    State* state = id < 0 ? nullptr : map_segment(id, sizeof(Header));
    if (!state) return;
    const bool unmarked = state->header.ready == 0;
    shmdt(state);
    if (unmarked) shmctl(id, IPC_RMID, nullptr);
}

State* make_segment(u32 mac_capacity)
{
    const CreationLock creation;
    if (!creation.held) return nullptr;
    State* state = open_ready_segment();
    if (state) return state;

    remove_unmarked_segment();
    const int id = shmget(SOFTNP_KEY, device_size(mac_capacity), IPC_CREAT | IPC_EXCL | MODE);
    state = id < 0 ? nullptr : map_segment(id, sizeof(State));
    if (state && !format(*state, mac_capacity)) {
        shmdt(state);
        return nullptr;
    }
    return state;
}

// The segment may be removed between two steps here by another process; then it is looked for again.
State* open_shared()
{
    for (int attempt = 0; attempt < OPEN_ATTEMPTS; attempt++) {
        State* state = open_ready_segment();
        if (!state) state = make_segment(local.mac_capacity);
        if (state) return unless_ours(state);
    }
    return nullptr;
}

timespec monotonic_in(u32 time_ms)
{
    timespec until;
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_sec += static_cast<time_t>(time_ms / 1000);
    until.tv_nsec += static_cast<long>(time_ms % 1000) * 1000000;
    if (until.tv_nsec >= 1000000000) {
        until.tv_nsec -= 1000000000;
        until.tv_sec++;
    }
    return until;
}

bool lock_device(State& state, u32 timeout_ms)
{
    int result = pthread_mutex_trylock(&state.header.lock);
    if (result == EBUSY) {
        const timespec until = monotonic_in(timeout_ms);
        result = pthread_mutex_clocklock(&state.header.lock, CLOCK_MONOTONIC, &until);
    }
    if (result == EOWNERDEAD) {
        rebuild(state);
        state.header.owner_deaths++;
        pthread_mutex_consistent(&state.header.lock);
        return true;
    }
    return result == 0;
}

}  // namespace

State* attach()
{
    const LocalLock guard;
    if (!local.state) local.state = local.private_state ? local.private_state : open_shared();
    if (local.state) local.users++;
    return local.state;
}

void detach()
{
    const LocalLock guard;
    if (local.users == 0 || --local.users != 0) return;
    if (local.state != local.private_state) shmdt(local.state);
    local.state = nullptr;
}

State* attached()
{
    const LocalLock guard;
    return local.state;
}

namespace {

void drop_private_device()
{
    if (local.private_state) munmap(local.private_state, local.private_size);
    local.private_state = nullptr;
}

}  // namespace

DeviceLock::DeviceLock(State* device, u32 timeout_ms)
    : state(device && lock_device(*device, timeout_ms) ? device : nullptr)
{
}

DeviceLock::~DeviceLock()
{
    if (state) pthread_mutex_unlock(&state->header.lock);
}

}  // namespace softnp

using namespace softnp;

int softnp_use_private(void)
{
    const LocalLock guard;
    if (local.users != 0) return -1;
    const size_t size = device_size(local.mac_capacity);
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return -1;
    auto* state = static_cast<State*>(memory);
    if (!format(*state, local.mac_capacity)) {
        munmap(memory, size);
        return -1;
    }
    drop_private_device();
    local.private_state = state;
    local.private_size = size;
    return 0;
}

int softnp_use_shared(void)
{
    const LocalLock guard;
    if (local.users != 0) return -1;
    drop_private_device();
    return 0;
}

int softnp_set_mac_capacity(uint32_t entries)
{
    if (entries == 0 || entries > MAX_MAC_CAPACITY) return -1;
    const LocalLock guard;
    local.mac_capacity = entries;
    return 0;
}

int softnp_reset(void)
{
    const Access device;
    if (!device) return -1;
    wipe(*device);
    return 0;
}

int softnp_remove_device(void)
{
    const int segment = shmget(SOFTNP_KEY, 0, 0);
    if (segment < 0 ? errno != ENOENT : shmctl(segment, IPC_RMID, nullptr) != 0) return -1;
    const int semaphore = semget(SOFTNP_KEY, 0, 0);
    if (semaphore < 0 ? errno != ENOENT : semctl(semaphore, 0, IPC_RMID) != 0) return -1;
    return 0;
}

int softnp_refuse_init(uint32_t count)
{
    const Access device;
    if (!device) return -1;
    device->header.refuse_init = count;
    return 0;
}
