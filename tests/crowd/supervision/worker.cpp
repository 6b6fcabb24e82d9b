#include "crowd/supervision/worker.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "system/operations.h"

namespace crowd {
namespace {

void park_while(const std::atomic<u32>& pause, u32 epoch)
{
    own_place->parked = epoch;
    while (pause == epoch) poll(nullptr, 0, 1);
}

void make_one(Requests& requests, Requested requested)
{
    const std::size_t operation = requests.pick(requested == Requested::values);
    own_place->operation = static_cast<u32>(operation);
    own_place->moved_us = now_us();
    const bool granted = requests.make(operation);
    own_place->holds = 0;  // whatever a child of its own has kept
    ++own_place->completed;
    own_place->moved_us = now_us();
    own_place->operation = no_operation;
    ++board->requested[operation];
    if (granted) ++board->granted[operation];
}

// As long as the NP is the same.
void work_with_one_np(Random& random, Requested requested)
{
    const u32 np = board->np;
    own_place->operation = opening;
    Requests requests(random);
    own_place->operation = no_operation;
    for (;;) {
        // In this order: whoever follows a pause has a session with the NP that there was when it began.
        const u32 pause = board->pause;
        if (board->np != np) return;
        if (pause % 2 != 0)
            park_while(board->pause, pause);
        else
            make_one(requests, requested);
    }
}

}  // namespace

void work(Board& where, u32 place, Requested requested, u32 seed, pid_t supervisor)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != supervisor) _exit(1);
    board = &where;
    own_place = &where.place[place];
    Random random(seed);
    for (;;) work_with_one_np(random, requested);
}

}  // namespace crowd
