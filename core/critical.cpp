// The two semaphore-guarded critical sections.
#include "core/critical.h"

#include <sys/sem.h>

#include <cerrno>
#include <cstdio>

#include "core/descriptor.h"

namespace zelfdb {
namespace {

constexpr int create_flags = IPC_CREAT | IPC_EXCL | 0666;
constexpr int existing_flags = IPC_CREAT | 0666;

// Passed by value, as semctl wants it: on the product's processor an int in its place is taken for an address.
union SemctlArgument {
    int value;
    void* unused;
};

// An existing semaphore keeps its value: laying the database out again does not free a lock that somebody holds.
void init_lock(int key)
{
    const int id = semget(key, 1, create_flags);
    if (id >= 0) {
        SemctlArgument free_lock{};
        free_lock.value = 1;
        if (semctl(id, 0, SETVAL, free_lock) < 0) std::puts("semctl failure");
        return;
    }
    if (errno == EEXIST && semget(key, 1, existing_flags) < 0) std::puts("semget failure");
}

// A signal does not end the wait. Going on without the lock because of one, and giving it back later all the same, would
// let two processes in for ever after.
void move_lock(int key, short by, const char* failure)
{
    const int id = semget(key, 1, IPC_CREAT);
    if (id < 0) {
        std::puts("semget failure");
        return;
    }
    sembuf move{0, by, SEM_UNDO};
    int result = 0;
    do {
        result = semop(id, &move, 1);
    } while (result < 0 && errno == EINTR);
    if (result < 0) std::puts(failure);
}

constexpr const char* get_failure = "semaphore get NG";
constexpr const char* release_failure = "semaphore release NG";

}  // namespace

void init_critical() { init_lock(main_key); }
void init_critical_fdb() { init_lock(fdb_key); }
void begin_critical() { move_lock(main_key, -1, get_failure); }
void end_critical() { move_lock(main_key, +1, release_failure); }
void begin_critical_fdb() { move_lock(fdb_key, -1, get_failure); }
void end_critical_fdb() { move_lock(fdb_key, +1, release_failure); }

}  // namespace zelfdb
