#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace zelfctl {
namespace {

constexpr u64 steps_between_looks = 256;
constexpr auto time_between_looks = std::chrono::seconds(1);  // a step may wait for a network processor
constexpr const char* back_and_clear = "\r\x1b[K";

}  // namespace

Progress::Progress() : on_(isatty(STDERR_FILENO) == 1), last_look_(std::chrono::steady_clock::now()) {}

Progress::~Progress() { clear(); }

bool Progress::is_due(u64 steps)
{
    if (!on_) return false;
    const auto now = std::chrono::steady_clock::now();
    if (steps % steps_between_looks != 0 && now - last_look_ < time_between_looks) return false;
    last_look_ = now;
    return true;
}

void Progress::show(const std::string& text)
{
    std::fprintf(stderr, "%s%s", back_and_clear, text.c_str());
    shown_ = true;
}

void Progress::clear()
{
    if (shown_) std::fputs(back_and_clear, stderr);
    shown_ = false;
}

}  // namespace zelfctl
