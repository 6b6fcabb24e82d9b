#include "crash/survivor.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "softnp/softnp.h"
#include "system/operations.h"

// The NP of these tests has no wires.
int softnp_receive_now(uint32_t, const void*, uint32_t, softnp_verdict*) { return 0; }
int softnp_next_event(softnp_event*) { return 0; }
uint32_t softnp_np_port(uint32_t port_id) { return port_id; }

namespace crash {
namespace {

constexpr u32 requests = 200;
// All of them take some milliseconds of work: whoever works for seconds does not come to an end. Who waits for that long may
// have a busy machine.
constexpr rlim_t work_limit_s = 4;
constexpr unsigned limit_s = 120;

// Outlives the survivor: the request that it is making.
std::size_t& current()
{
    static void* const memory =
        mmap(nullptr, sizeof(std::size_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return *static_cast<std::size_t*>(memory);
}

[[noreturn]] void make_requests(u32 seed)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit limit{work_limit_s, work_limit_s};
    setrlimit(RLIMIT_CPU, &limit);
    alarm(limit_s);
    Random random(seed);
    Requests asking(random);
    for (u32 i = 0; i < requests; ++i) {
        current() = asking.pick(false);
        asking.make(current());
    }
    _exit(0);
}

}  // namespace

std::string survive(const Attached& segments, const Bytes& state, u32 seed)
{
    put_back(segments, state);
    current() = 0;
    const pid_t child = fork();
    if (child == 0) make_requests(seed);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return "no process can be started";
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return "";
    const std::string how = WIFSIGNALED(status) ? strsignal(WTERMSIG(status)) : "exit " + std::to_string(status);
    return std::string(Requests::names()[current()]) + ": " + how;
}

}  // namespace crash
