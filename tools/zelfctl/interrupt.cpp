#include "interrupt.h"

#include <poll.h>

#include <chrono>
#include <ctime>

#include "times.h"

namespace zelfctl {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int) { interrupted = 1; }

timespec timespec_of(double seconds)
{
    const auto whole = static_cast<std::time_t>(seconds);
    return {whole, static_cast<long>((seconds - static_cast<double>(whole)) * static_cast<double>(ns_per_s))};
}

}  // namespace

UntilInterrupted::UntilInterrupted()
{
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = interrupt;
    sigaction(SIGINT, &action, &before_);
}

UntilInterrupted::~UntilInterrupted() { sigaction(SIGINT, &before_, nullptr); }

bool UntilInterrupted::was_interrupted() { return interrupted != 0; }

void UntilInterrupted::wait(double seconds)
{
    // Blocked but for the wait itself, so that none comes between the look and the wait.
    sigset_t interrupts;
    sigset_t before;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupts, &before);
    const timespec time = timespec_of(seconds);
    if (!was_interrupted()) ppoll(nullptr, 0, &time, &before);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace zelfctl
