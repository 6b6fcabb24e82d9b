#include "crash/stepping.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>

namespace crash {
namespace {

constexpr std::size_t page_bytes = 4096;
constexpr std::size_t instructions_max = 20'000'000;

// ---- Which pages an operation writes ---------------------------------------------------------------------------------

// In the child that finds out: every attachment of a segment, none of which may be written without a fault.
struct Watched {
    u8* start;
    std::size_t bytes;
    bool is_main;
};
constexpr std::size_t watched_max = 64;
Watched watched[watched_max];
std::size_t watched_count = 0;
bool watching = false;
Attached tests_own;
u8* written = nullptr;  // one byte for each page of both segments, shared with the parent

std::size_t pages_of(std::size_t bytes) { return (bytes + page_bytes - 1) / page_bytes; }

void watch(u8* start, bool is_main)
{
    const std::size_t bytes = is_main ? tests_own.main_bytes : tests_own.fdb_bytes;
    if (watched_count == watched_max || mprotect(start, pages_of(bytes) * page_bytes, PROT_READ) != 0) _exit(90);
    watched[watched_count++] = {start, bytes, is_main};
}

void on_fault(int, siginfo_t* info, void*)
{
    u8* const at = static_cast<u8*>(info->si_addr);
    for (std::size_t i = watched_count; i-- > 0;) {
        const Watched& w = watched[i];
        if (at < w.start || at >= w.start + pages_of(w.bytes) * page_bytes) continue;
        const std::size_t number = static_cast<std::size_t>(at - w.start) / page_bytes;
        written[number + (w.is_main ? 0 : pages_of(tests_own.main_bytes))] = 1;
        if (mprotect(w.start + number * page_bytes, page_bytes, PROT_READ | PROT_WRITE) != 0) _exit(91);
        return;
    }
    _exit(92);
}

// ---- Children --------------------------------------------------------------------------------------------------------

void expect_good_end(pid_t child)
{
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    ASSERT_EQ(0, WEXITSTATUS(status));
}

std::vector<Page> pages_written(const Attached& segments, const std::function<void()>& operation)
{
    tests_own = segments;
    const std::size_t main_pages = pages_of(segments.main_bytes);
    const std::size_t all = main_pages + pages_of(segments.fdb_bytes);
    void* const shared = mmap(nullptr, all, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(MAP_FAILED, shared);
    written = static_cast<u8*>(shared);
    const pid_t child = fork();
    if (child == 0) {
        struct sigaction action {};
        action.sa_sigaction = on_fault;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, nullptr);
        watch(segments.main, true);
        watch(segments.fdb, false);
        watching = true;
        operation();
        _exit(0);
    }
    expect_good_end(child);
    std::vector<Page> pages;
    for (std::size_t i = 0; i < all; ++i) {
        if (written[i] != 0) pages.push_back({i < main_pages, i < main_pages ? i : i - main_pages});
    }
    munmap(shared, all);
    return pages;
}

std::size_t bytes_in(const Page& page, std::size_t main_bytes, std::size_t fdb_bytes)
{
    return std::min(page_bytes, (page.in_main ? main_bytes : fdb_bytes) - page.number * page_bytes);
}

// The bytes of these pages, one after another; true if any has changed since the last time.
bool look(const Attached& segments, const std::vector<Page>& pages, std::vector<u8>& bytes)
{
    bool changed = false;
    std::size_t at = 0;
    for (const Page& page : pages) {
        const u8* const from = (page.in_main ? segments.main : segments.fdb) + page.number * page_bytes;
        const std::size_t size = bytes_in(page, segments.main_bytes, segments.fdb_bytes);
        if (std::memcmp(bytes.data() + at, from, size) != 0) {
            std::memcpy(bytes.data() + at, from, size);
            changed = true;
        }
        at += size;
    }
    return changed;
}

void step_to_the_end(pid_t child, const Attached& segments, Steps& steps)
{
    std::vector<u8> bytes(steps.pages.size() * page_bytes);
    look(segments, steps.pages, bytes);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFSTOPPED(status) && WSTOPSIG(status) == SIGSTOP);
    int signal = 0;
    while (steps.instructions < instructions_max) {
        ASSERT_EQ(0, ptrace(PTRACE_SINGLESTEP, child, nullptr, signal));
        ASSERT_EQ(child, waitpid(child, &status, 0));
        if (!WIFSTOPPED(status)) break;
        signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
        ++steps.instructions;
        if (look(segments, steps.pages, bytes)) steps.states.push_back(bytes);
    }
    ASSERT_TRUE(WIFEXITED(status)) << "after " << steps.instructions << " instructions";
    ASSERT_EQ(0, WEXITSTATUS(status));
}

}  // namespace

Bytes copy_of(const Attached& segments)
{
    return {{segments.main, segments.main + segments.main_bytes}, {segments.fdb, segments.fdb + segments.fdb_bytes}};
}

void put_back(const Attached& segments, const Bytes& bytes)
{
    std::copy(bytes.main.begin(), bytes.main.end(), segments.main);
    std::copy(bytes.fdb.begin(), bytes.fdb.end(), segments.fdb);
}

Bytes Steps::at(std::size_t state) const
{
    Bytes bytes = before;
    std::size_t from = 0;
    for (const Page& page : pages) {
        std::vector<u8>& segment = page.in_main ? bytes.main : bytes.fdb;
        const std::size_t size = bytes_in(page, bytes.main.size(), bytes.fdb.size());
        std::copy_n(states[state].begin() + static_cast<std::ptrdiff_t>(from), size,
                    segment.begin() + static_cast<std::ptrdiff_t>(page.number * page_bytes));
        from += size;
    }
    return bytes;
}

Steps step(const Attached& segments, const std::function<void()>& operation)
{
    Steps steps;
    steps.before = copy_of(segments);
    steps.pages = pages_written(segments, operation);
    put_back(segments, steps.before);

    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        operation();
        _exit(0);
    }
    step_to_the_end(child, segments, steps);
    steps.after = copy_of(segments);
    put_back(segments, steps.before);
    if (!steps.states.empty()) {
        EXPECT_EQ(steps.after, steps.at(steps.states.size() - 1)) << "a page was written that no one watched";
    }
    return steps;
}

}  // namespace crash

// The library's own attachments are watched too.
extern "C" void* __real_shmat(int id, const void* address, int flags);
extern "C" void* __wrap_shmat(int id, const void* address, int flags);
extern "C" void* __wrap_shmat(int id, const void* address, int flags)
{
    void* const segment = __real_shmat(id, address, flags);
    if (!crash::watching || segment == reinterpret_cast<void*>(-1)) return segment;
    shmid_ds state{};
    if (shmctl(id, IPC_STAT, &state) != 0) _exit(93);
    crash::watch(static_cast<zelfdb::u8*>(segment), state.shm_segsz == crash::tests_own.main_bytes);
    return segment;
}
