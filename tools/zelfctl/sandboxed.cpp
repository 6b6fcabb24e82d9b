#include "sandboxed.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>

#include "database.h"
#include "sandbox.h"
#include "softnp/softnp.h"
#include "whole_io.h"

namespace {

bool waiting_helps = true;

}  // namespace

// In the place of the C library's, for the shared library too: it waits a second before it tells the network processor a
// second time of a port that was refused. That of a sandbox will not think otherwise by then.
extern "C" __attribute__((visibility("default"))) unsigned int sleep(unsigned int seconds)
{
    timespec rest{static_cast<std::time_t>(seconds), 0};
    if (!waiting_helps || nanosleep(&rest, &rest) == 0) return 0;
    return static_cast<unsigned int>(rest.tv_sec) + (rest.tv_nsec > 0 ? 1 : 0);
}

namespace zelfctl {
namespace {

int work_apart(const std::function<int()>& work)
{
    try {
        waiting_helps = false;
        if (!enter_sandbox()) return exit_failed;
        const int code = work();
        if (std::fflush(stdout) == 0) return code;
        complain("standard output cannot be written");
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return exit_failed;
}

}  // namespace

int in_sandbox(const std::function<int()>& work, std::string* text)
{
    int ends[2] = {-1, -1};
    if (text && pipe2(ends, O_CLOEXEC) != 0) {
        complain(std::string("no pipe: ") + std::strerror(errno));
        return exit_failed;
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (text) dup2(ends[1], STDOUT_FILENO);
        const int code = work_apart(work);
        std::fflush(stderr);
        _exit(code);  // what the parent has begun is its own to end
    }
    if (child < 0) complain(std::string("no process: ") + std::strerror(errno));
    bool whole = true;
    if (text) {
        close(ends[1]);
        whole = read_to_end(ends[0], *text);
        close(ends[0]);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0 || !whole) return exit_failed;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    complain("what was tried in a sandbox broke off");
    return exit_failed;
}

bool make_database(const zelfdb_counts& room)
{
    // One that this process has open already would be the real one.
    if (softnp_set_mac_capacity(room.nfil) == 0 && softnp_use_private() == 0 && zelfdb_init(&room) == 0) return true;
    complain("no database can be made to try it on");
    return false;
}

}  // namespace zelfctl
