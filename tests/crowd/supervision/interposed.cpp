// What stands between the library and the system, or the NP, in a worker: it tells the board where the worker is, makes the
// NP slow, and frees what the library leaves to the NP.
#include <fcntl.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "core/descriptor.h"
#include "crowd/supervision/board.h"

extern "C" {
int __real_vf_call(vf_handle* handle, int zero1, vf_cmd* command, int zero2, int zero3);
int __wrap_vf_call(vf_handle* handle, int zero1, vf_cmd* command, int zero2, int zero3);
void __real_vf_cmdNFreeB(vf_cmd* command);
void __wrap_vf_cmdNFreeB(vf_cmd* command);
int __real_semop(int id, sembuf* moves, size_t count);
int __wrap_semop(int id, sembuf* moves, size_t count);
int __wrap_mkstemp(char* path);
}

namespace crowd {
namespace {

u32 next_random()
{
    static u32 state = static_cast<u32>(getpid()) * 2654435761u | 1u;
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

void answer_slowly()
{
    const u32 slowest_us = board ? board->np_delay_us.load() : 0;
    if (slowest_us == 0) return;
    const u32 delay_us = slowest_us / 4 + next_random() % (slowest_us - slowest_us / 4);
    const timespec delay{static_cast<time_t>(delay_us / 1000000), static_cast<long>(delay_us % 1000000) * 1000};
    nanosleep(&delay, nullptr);
}

// Commands that were sent and are not freed, the latest last. The library leaves those that were refused to the NP, and looks
// at none any more when it sends the next but one.
constexpr std::size_t kept_max = 8;
std::vector<vf_cmd*> kept;

void keep(vf_cmd* command)
{
    kept.erase(std::remove(kept.begin(), kept.end(), command), kept.end());
    kept.push_back(command);
    if (kept.size() <= kept_max) return;
    __real_vf_cmdNFreeB(kept.front());
    kept.erase(kept.begin());
}

// Which lock it is; 0 for other semaphores.
u32 lock_of(int id)
{
    static const int main_id = semget(main_key, 1, 0);
    static const int fdb_id = semget(fdb_key, 1, 0);
    if (id == main_id) return main_lock;
    return id == fdb_id ? fdb_lock : 0;
}

}  // namespace
}  // namespace crowd

using namespace crowd;

int __wrap_vf_call(vf_handle* handle, int zero1, vf_cmd* command, int zero2, int zero3)
{
    if (own_place) own_place->in_np = 1;
    answer_slowly();
    const int result = __real_vf_call(handle, zero1, command, zero2, zero3);
    if (own_place) own_place->in_np = 0;
    if (command) keep(command);
    return result;
}

void __wrap_vf_cmdNFreeB(vf_cmd* command)
{
    kept.erase(std::remove(kept.begin(), kept.end(), command), kept.end());
    __real_vf_cmdNFreeB(command);
}

// Said of a lock only while it is certainly held: a kill between the two moments counts as one outside.
int __wrap_semop(int id, sembuf* moves, size_t count)
{
    const u32 lock = own_place && count == 1 ? lock_of(id) : 0;
    if (lock != 0 && moves->sem_op > 0) own_place->holds &= ~lock;
    const int result = __real_semop(id, moves, count);
    if (lock != 0 && moves->sem_op < 0 && result == 0) {
        own_place->holds |= lock;
        if (lock == main_lock) ++board->turns;
    }
    if (lock != 0) own_place->moved_us = now_us();
    return result;
}

// The name is told before there is a file of that name, so that the supervisor can remove what a dead worker has left.
int __wrap_mkstemp(char* path)
{
    static constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    char* const unique = path + std::strlen(path) - 6;
    for (;;) {
        for (int i = 0; i < 6; ++i) unique[i] = letters[next_random() % 36];
        if (own_place) std::strncpy(own_place->file, path, sizeof own_place->file - 1);
        const int file = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file >= 0 || errno != EEXIST) return file;
    }
}
