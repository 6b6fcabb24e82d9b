#include "database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "language/captured_output.h"
#include "softnp/softnp.h"
#include "trusted.h"

namespace zelfctl {

namespace {

// The library says on standard output that it cannot open something. That is told better here, and a program that reads
// our output must not find it there.
class SilentOutput {
public:
    SilentOutput() : saved_(-1)
    {
        std::fflush(stdout);
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere < 0) return;
        saved_ = dup(STDOUT_FILENO);
        if (saved_ >= 0) dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~SilentOutput()
    {
        std::fflush(stdout);
        if (saved_ < 0) return;
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
    }
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;

private:
    int saved_;
};

// 0, or why there is no descriptor to be had.
int try_to_open()
{
    const SilentOutput silent;
    errno = 0;
    return Descriptor(zelfdb_open_descriptor2()) ? 0 : errno;
}

bool NP_answers()
{
    u32 tick_ms = 0;
    return softnp_get_tick(&tick_ms) == 0;
}

}  // namespace

void complain(const std::string& message)
{
    std::fflush(stdout);
    std::fprintf(stderr, "zelfctl: %s\n", message.c_str());
}

std::optional<std::string> read_running()
{
    auto text = running_configuration();
    if (!text) complain("the configuration could not be read");
    return text;
}

std::string counted(u64 number, const char* one, const char* several)
{
    return std::to_string(number) + " " + (number == 1 ? one : several);
}

bool is_database_there()
{
    return may_use_database() && why_not_a_database().empty() && try_to_open() == 0 && NP_answers();
}

bool has_privilege()
{
    if (may_use_database()) return true;
    complain("the database is for root (CAP_IPC_OWNER) only; --sandbox works on one of its own");
    return false;
}

bool database_is_ready()
{
    if (!has_privilege()) return false;
    if (const std::string why = why_not_a_database(); !why.empty()) {
        complain(why);
        return false;
    }
    if (const int error = try_to_open()) {
        complain(std::string("the database cannot be opened: ") + std::strerror(error));
        return false;
    }
    if (NP_answers()) return true;
    complain("the network processor cannot be reached");
    return false;
}

}  // namespace zelfctl
