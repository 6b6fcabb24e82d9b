#include "terminal.h"

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::seconds(45);
constexpr int look_ms = 50;

[[noreturn]] void become(const std::vector<std::string>& words, const std::string& home)
{
    setenv("TERM", "xterm", 1);
    setenv("HOME", home.c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    signal(SIGPIPE, SIG_DFL);
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

}  // namespace

Terminal::Terminal(const std::vector<std::string>& words, const std::string& home, unsigned short columns,
                   unsigned short rows)
{
    const winsize size{rows, columns, 0, 0};
    child_ = forkpty(&file_, nullptr, nullptr, &size);
    if (child_ == 0) become(words, home);
    EXPECT_GT(child_, 0);
}

Terminal::~Terminal()
{
    if (child_ > 0) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    close(file_);
}

void Terminal::type(const std::string& keys)
{
    EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(file_, keys.data(), keys.size()));
}

bool Terminal::take(int wait_ms)
{
    pollfd file{file_, POLLIN, 0};
    if (poll(&file, 1, wait_ms) <= 0) return false;
    char bytes[4096];
    const ssize_t count = read(file_, bytes, sizeof bytes);
    if (count > 0) unread_.append(bytes, static_cast<std::size_t>(count));
    at_end_ = count <= 0;
    return !at_end_;
}

std::string Terminal::until(const std::string& text)
{
    const auto deadline = Clock::now() + patience;
    std::size_t found = std::string::npos;
    while ((found = unread_.find(text)) == std::string::npos && !at_end_ && Clock::now() < deadline) take(look_ms);
    if (found == std::string::npos) {
        ADD_FAILURE() << "'" << text << "' did not come, but: " << testing::PrintToString(unread_);
        return unread_;
    }
    const std::string taken = unread_.substr(0, found + text.size());
    unread_.erase(0, taken.size());
    return taken;
}

void Terminal::until_lines()
{
    const auto deadline = Clock::now() + patience;
    termios mode{};
    while (tcgetattr(file_, &mode) == 0 && (mode.c_lflag & ICANON) == 0 && Clock::now() < deadline) take(look_ms);
    EXPECT_NE(0U, mode.c_lflag & ICANON);
}

std::string Terminal::rest()
{
    const auto deadline = Clock::now() + patience;
    while (!at_end_ && Clock::now() < deadline) take(look_ms);
    EXPECT_TRUE(at_end_) << "it goes on: " << testing::PrintToString(unread_);
    return std::move(unread_);
}

int Terminal::code()
{
    const auto deadline = Clock::now() + patience;
    while (child_ > 0) {
        int status = 0;
        if (waitpid(child_, &status, WNOHANG) == child_) {
            code_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
            child_ = -1;
        } else if (Clock::now() > deadline) {
            ADD_FAILURE() << "it does not end";
            break;
        } else if (at_end_ || !take(look_ms)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(look_ms));
        }
    }
    return code_;
}

}  // namespace tool
