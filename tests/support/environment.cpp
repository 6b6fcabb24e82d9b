#include "support/environment.h"

#include <dlfcn.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/time.h>
#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>

namespace environment {
namespace {

struct Scripted {
    int error;
    u32 countdown;
    u32 times;
};

// Plain counters, since malloc itself passes here.
enum Function {
    f_shmget,
    f_shmat,
    f_shmdt,
    f_semget,
    f_semop,
    f_semctl,
    f_malloc,
    f_mkstemp,
    f_gettimeofday,
    function_count
};
constexpr const char* names[function_count] = {"shmget", "shmat",  "shmdt",   "semget",      "semop",
                                               "semctl", "malloc", "mkstemp", "gettimeofday"};
Scripted scripts[function_count];
u32 counts[function_count];
u32 time_s;

std::map<int, int>& key_of_semaphore()
{
    static std::map<int, int> keys;
    return keys;
}

Function index_of(const std::string& name)
{
    for (int i = 0; i < function_count; ++i) {
        if (name == names[i]) return static_cast<Function>(i);
    }
    std::fprintf(stderr, "environment: no function %s\n", name.c_str());
    std::abort();
}

bool refused(Function function)
{
    ++counts[function];
    Scripted& script = scripts[function];
    if (script.times == 0) return false;
    if (script.countdown > 1) {
        --script.countdown;
        return false;
    }
    --script.times;
    errno = script.error;
    return true;
}

template <class Signature>
Signature* real(const char* name)
{
    return reinterpret_cast<Signature*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void reset()
{
    sleeps().clear();
    syslog_messages().clear();
    semaphore_moves().clear();
    get_calls().clear();
    key_of_semaphore().clear();
    time_s = 0;
    for (int i = 0; i < function_count; ++i) {
        scripts[i] = {};
        counts[i] = 0;
    }
}

std::vector<unsigned>& sleeps()
{
    static std::vector<unsigned> all;
    return all;
}
std::vector<SyslogMessage>& syslog_messages()
{
    static std::vector<SyslogMessage> all;
    return all;
}
std::vector<SemaphoreMove>& semaphore_moves()
{
    static std::vector<SemaphoreMove> all;
    return all;
}
std::vector<GetCall>& get_calls()
{
    static std::vector<GetCall> all;
    return all;
}
void set_time_s(u32 seconds) { time_s = seconds; }
void fail(const std::string& function, int error, u32 nth, u32 times)
{
    scripts[index_of(function)] = {error, nth, times};
}
u32 calls(const std::string& function) { return counts[index_of(function)]; }

namespace {

void note_syslog(int priority, const char* format, va_list arguments)
{
    char text[1024];
    std::vsnprintf(text, sizeof text, format, arguments);
    syslog_messages().push_back({priority, text, format});
}

}  // namespace

}  // namespace environment

using namespace environment;

extern "C" {

unsigned sleep(unsigned seconds)
{
    sleeps().push_back(seconds);
    return 0;
}

void syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    note_syslog(priority, format, arguments);
    va_end(arguments);
}

// What the same call becomes when the library is built with FORTIFY.
void __syslog_chk(int priority, int, const char* format, ...)  // NOLINT(bugprone-reserved-identifier)
{
    va_list arguments;
    va_start(arguments, format);
    note_syslog(priority, format, arguments);
    va_end(arguments);
}

int gettimeofday(struct timeval* now, void*) noexcept
{
    if (refused(f_gettimeofday)) return -1;
    timespec real_now{};
    clock_gettime(CLOCK_REALTIME, &real_now);
    now->tv_sec = time_s != 0 ? static_cast<time_t>(time_s) : real_now.tv_sec;
    now->tv_usec = static_cast<suseconds_t>(real_now.tv_nsec / 1000);
    return 0;
}

int shmget(key_t key, size_t size, int flags) noexcept
{
    get_calls().push_back({"shmget", static_cast<int>(key), static_cast<long>(size), flags});
    return refused(f_shmget) ? -1 : real<int(key_t, size_t, int)>("shmget")(key, size, flags);
}

void* shmat(int id, const void* address, int flags) noexcept
{
    if (refused(f_shmat)) return reinterpret_cast<void*>(-1);
    return real<void*(int, const void*, int)>("shmat")(id, address, flags);
}

int shmdt(const void* address) noexcept
{
    refused(f_shmdt);
    return real<int(const void*)>("shmdt")(address);
}

int semget(key_t key, int count, int flags) noexcept
{
    get_calls().push_back({"semget", static_cast<int>(key), count, flags});
    if (refused(f_semget)) return -1;
    const int id = real<int(key_t, int, int)>("semget")(key, count, flags);
    if (id >= 0) key_of_semaphore()[id] = static_cast<int>(key);
    return id;
}

int semop(int id, struct sembuf* moves, size_t count) noexcept
{
    if (refused(f_semop)) return -1;
    semaphore_moves().push_back({key_of_semaphore()[id], moves[0].sem_op, moves[0].sem_flg});
    return real<int(int, struct sembuf*, size_t)>("semop")(id, moves, count);
}

int semctl(int id, int number, int command, ...) noexcept
{
    union Argument {
        int value;
        void* pointer;
    };
    va_list arguments;
    va_start(arguments, command);
    const Argument argument = va_arg(arguments, Argument);
    va_end(arguments);
    if (refused(f_semctl)) return -1;
    return real<int(int, int, int, ...)>("semctl")(id, number, command, argument);
}

int mkstemp(char* path)
{
    if (refused(f_mkstemp)) return -1;
    return real<int(char*)>("mkstemp")(path);
}

// The linker sends the malloc calls of the library and the tests here (--wrap=malloc).
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size);
void* __wrap_malloc(size_t size) { return refused(f_malloc) ? nullptr : __real_malloc(size); }
}
