#include "crowd/supervision/crowd.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <new>

#include "core/critical.h"
#include "core/descriptor.h"
#include "core/ipc.h"
#include "system/operations.h"

namespace crowd {
namespace {

// Far longer than any call takes on a loaded machine. The wait for an NP's lock that its owner took to the grave is longer.
constexpr i64 progress_limit_us = 15000000;

Board& new_board()
{
    void* const memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return *new (memory) Board{};
}

// "VLAN 10: its index slot is set" without the number, so that all of its kind count together.
std::string kind_of(const std::string& text)
{
    std::string kind;
    for (std::size_t i = 0; i < text.size();) {
        if (std::isdigit(static_cast<unsigned char>(text[i])) == 0) {
            kind += text[i++];
            continue;
        }
        kind += 'N';
        while (i < text.size() &&
               (std::isxdigit(static_cast<unsigned char>(text[i])) != 0 || text[i] == ':' || text[i] == 'x'))
            ++i;
    }
    return kind;
}

// The state letter that the system gives a process: R, S, D, T, Z; ? when there is none.
char system_state(pid_t pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string word;
    stat >> word >> word >> word;
    return word.empty() ? '?' : word[0];
}

std::string describe_lock(const char* name, int key)
{
    return std::string(name) + " lock: " + (semaphore_value(key) == 1 ? "free" : "held") + ", last moved by " +
           std::to_string(semaphore_control(key, GETPID)) + ", waited for by " +
           std::to_string(semaphore_waiters(key)) + "\n";
}

bool is_alive(pid_t pid)
{
    const char letter = system_state(pid);
    return letter != '?' && letter != 'Z' && letter != 'X';
}

// Without a wait: false if somebody has it.
bool take_main_lock_at_once()
{
    sembuf take{0, -1, SEM_UNDO | IPC_NOWAIT};
    return semop(semget(main_key, 1, 0), &take, 1) == 0;
}

void signal_group(pid_t leader, int number) { kill(-leader, number); }

}  // namespace

Crowd::Crowd(Random& random, const Casting& casting)
    : random_(random), casting_(casting), board_(new_board()), workers_(casting.workers), database_(open_descriptor2())
{
    if (!database_) std::abort();
    // What a dead worker was the parent of is collected here.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    for (u32 place = 0; place < casting_.workers; ++place) start(place);
}

Crowd::~Crowd()
{
    for (const Worker& worker : workers_) signal_group(worker.pid, SIGKILL);
    while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
    }
    for (u32 place = 0; place < casting_.workers; ++place) remove_file_of(place);
    close_descriptor(database_);
    munmap(&board_, sizeof board_);
}

void Crowd::start(u32 place)
{
    Place& own = board_.place[place];
    own.operation = opening;
    own.holds = own.in_np = own.parked = 0;
    own.moved_us = now_us();
    const Requested requested = place < casting_.of_values ? Requested::values : Requested::anything;
    const u32 seed = random_.word();
    const pid_t supervisor = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        work(board_, place, requested, seed, supervisor);
    }
    if (pid < 0) return fail("no process can be started");
    setpgid(pid, pid);
    workers_[place].pid = pid;
}

void Crowd::remove_file_of(u32 place)
{
    char* const file = board_.place[place].file;
    if (file[0] != 0) unlink(file);
    file[0] = 0;
}

void Crowd::fail(const std::string& what) { figures_.failures.push_back(what + "\n" + state()); }

std::string Crowd::operation_of(u32 place) const
{
    static const std::vector<const char*> names = Requests::names();
    const u32 operation = board_.place[place].operation;
    if (operation == opening) return "open_descriptor";
    return operation < names.size() ? names[operation] : "none";
}

std::string Crowd::state() const
{
    std::string text = describe_lock("main", main_key) + describe_lock("FDB", fdb_key);
    for (u32 place = 0; place < workers_.size(); ++place) {
        const Place& own = board_.place[place];
        text += "worker " + std::to_string(place) + ": process " + std::to_string(workers_[place].pid) + " " +
                system_state(workers_[place].pid) + ", in " + operation_of(place) + ", locks " +
                std::to_string(own.holds) + ", in the NP " + std::to_string(own.in_np) + ", has not moved for " +
                std::to_string((now_us() - own.moved_us) / 1000) + " ms\n";
    }
    return text;
}

// ---- Looking after the living ------------------------------------------------------------------------------------------

void Crowd::forgive_all()
{
    for (u32 place = 0; place < workers_.size(); ++place) board_.place[place].moved_us = now_us();
}

// Ends and replaces one that has been led astray by what another one left.
void Crowd::end_astray(u32 place, const std::string& why)
{
    figures_.astray.push_back(operation_of(place) + ": " + why);
    signal_group(workers_[place].pid, SIGKILL);
    waitpid(workers_[place].pid, nullptr, 0);
    remove_file_of(place);
    begin_critical();
    begin_critical_fdb();
    repair();
    end_critical_fdb();
    end_critical();
    forgive_all();
    start(place);
}

// Of one that makes no progress: it waits for somebody, or is on a way without an end.
void Crowd::judge_standstill(u32 place)
{
    for (const int key : {main_key, fdb_key}) {
        if (semaphore_value(key) != 0) continue;
        const pid_t holder = semaphore_control(key, GETPID);
        if (!is_alive(holder)) return fail("worker " + std::to_string(place) + " waits for a dead one");
        for (u32 other = 0; other < workers_.size(); ++other) {
            if (workers_[other].pid == holder) place = other;
        }
        break;
    }
    std::printf("%s", state().c_str());
    end_astray(place, "no end");
}

void Crowd::look_after(u32 place)
{
    Worker& worker = workers_[place];
    int status = 0;
    if (waitpid(worker.pid, &status, WNOHANG) == worker.pid) {
        end_astray(place, WIFSIGNALED(status) ? strsignal(WTERMSIG(status))
                                              : "exit status " + std::to_string(WEXITSTATUS(status)));
        return;
    }
    const Place& own = board_.place[place];
    const bool is_told_to_wait = board_.pause % 2 != 0 && own.parked == board_.pause;
    if (!is_told_to_wait && now_us() - own.moved_us > progress_limit_us) judge_standstill(place);
}

void Crowd::look_after_all()
{
    for (u32 place = 0; place < workers_.size() && !has_failed(); ++place) look_after(place);
    // Children that dead workers have left.
    siginfo_t ended{};
    while (waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid != 0) {
        const auto is_it = [&ended](const Worker& worker) { return worker.pid == ended.si_pid; };
        if (std::any_of(workers_.begin(), workers_.end(), is_it)) break;
        waitpid(ended.si_pid, nullptr, 0);
        ended = {};
    }
}

// ---- Killing -----------------------------------------------------------------------------------------------------------

void Crowd::expect_no_lock_held_by(pid_t dead)
{
    for (const int key : {main_key, fdb_key}) {
        if (semaphore_value(key) == 0 && semaphore_control(key, GETPID) == dead)
            fail("process " + std::to_string(dead) + " is dead and holds a lock");
    }
}

// The board is read when nobody writes there any more.
void Crowd::kill_now(u32 place)
{
    Worker& worker = workers_[place];
    signal_group(worker.pid, SIGKILL);
    int status = 0;
    waitpid(worker.pid, &status, 0);
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL)
        figures_.astray.push_back(operation_of(place) + ": ended by itself with status " + std::to_string(status));
    expect_no_lock_held_by(worker.pid);

    const Place& own = board_.place[place];
    ++worker.kills;
    ++figures_.kills;
    ++figures_.kills_by_operation[operation_of(place)];
    figures_.in_a_call += own.operation != no_operation;
    figures_.holding_a_lock += own.holds != 0;
    figures_.in_the_np += own.in_np != 0;
    remove_file_of(place);
}

u32 Crowd::victim(u32 from, u32 to)
{
    if (random_.once_in(2)) {
        for (u32 place = from; place < to; ++place) {
            if (board_.place[place].holds != 0) return place;
        }
    }
    return from + random_.below(to - from);
}

void Crowd::stop(u32 place)
{
    signal_group(workers_[place].pid, SIGSTOP);
    siginfo_t stopped{};
    waitid(P_PID, static_cast<id_t>(workers_[place].pid), &stopped, WSTOPPED | WEXITED | WNOWAIT);
}

// A stopped process waits for no lock: its call is interrupted, and made again when it goes on. So whoever finds the main lock
// free here has it before all others, and they go on with a repaired database.
void Crowd::kill_stopped()
{
    for (u32 place = 0; place < workers_.size(); ++place) stop(place);
    const u32 dead = victim(casting_.of_values, casting_.workers - casting_.spared);
    kill_now(dead);
    const bool taken = take_main_lock_at_once();
    for (u32 place = 0; place < workers_.size(); ++place) {
        if (place != dead) signal_group(workers_[place].pid, SIGCONT);
    }
    // If another has it, the dead one had not.
    if (taken) {
        begin_critical_fdb();
        repair();
        end_critical_fdb();
        end_critical();
    }
    start(dead);
}

void Crowd::kill_running(u32 from, u32 to)
{
    const u32 dead = victim(from, to);
    ++figures_.while_others_ran;
    kill_now(dead);
    start(dead);
}

// As long as the lock goes round. When it does not, somebody is perhaps on a way without an end, and is to be found there.
void Crowd::kill_one()
{
    const u64 turns = board_.turns;
    if (turns == turns_at_last_kill_) return;
    turns_at_last_kill_ = turns;
    const u32 mortal = casting_.workers - casting_.spared;
    if (casting_.others == Others::run_on)
        kill_running(0, mortal);
    else if (random_.below(mortal) < casting_.of_values)
        kill_running(0, casting_.of_values);
    else
        kill_stopped();
}

void Crowd::step(u32 pause_us)
{
    usleep(random_.below(2 * pause_us));
    look_after_all();
    if (!has_failed()) kill_one();
}

// ---- Repairing ---------------------------------------------------------------------------------------------------------

// Both locks are held.
void Crowd::repair()
{
    const Segments segments{database_->main_segment, segment(main_key)->shm_segsz, database_->fdb_segment,
                            segment(fdb_key)->shm_segsz};
    ++figures_.checks;
    const Repair repair = plan_repair(segments);
    if (!repair.needed()) return;
    ++figures_.repairs;
    for (const Finding& finding : repair.before.findings) {
        if (finding.severity == Severity::error)
            ++figures_.errors_by_kind[kind_of(finding.object + ": " + finding.field)];
    }
    for (const Deed& deed : repair.deeds) ++figures_.deeds_by_kind[kind_of(text_of(deed))];
    if (!repair.possible()) return fail("the database cannot be repaired");
    make_repair(repair, database_->main_segment, database_->fdb_segment);
    for (const Finding& finding : check(segments).findings) {
        if (finding.severity == Severity::error) fail("after the repair: " + text_of(finding));
    }
}

bool Crowd::pause()
{
    const u32 epoch = ++board_.pause;
    for (u32 place = 0; place < workers_.size(); ++place) {
        while (board_.place[place].parked != epoch && !has_failed()) {
            look_after_all();
            poll(nullptr, 0, 1);
        }
    }
    const auto are_free = [] { return semaphore_value(main_key) == 1 && semaphore_value(fdb_key) == 1; };
    if (!has_failed() && !soon(are_free, 10)) fail("all wait, and a lock is held");
    if (has_failed()) return false;
    begin_critical();
    begin_critical_fdb();
    repair();
    end_critical_fdb();
    end_critical();
    return !has_failed();
}

void Crowd::resume()
{
    forgive_all();
    ++board_.pause;
}

// ---- Telling -----------------------------------------------------------------------------------------------------------

u64 Crowd::completed() const
{
    u64 all = 0;
    for (u32 place = 0; place < workers_.size(); ++place) all += board_.place[place].completed;
    return all;
}

std::vector<pid_t> Crowd::spared() const
{
    std::vector<pid_t> pids;
    for (u32 place = casting_.workers - casting_.spared; place < casting_.workers; ++place)
        pids.push_back(workers_[place].pid);
    return pids;
}

std::vector<std::string> Crowd::never_granted() const
{
    std::vector<std::string> all;
    const std::vector<const char*> names = Requests::names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (board_.granted[i] == 0) all.emplace_back(names[i]);
    }
    return all;
}

namespace {

void print_counts(const char* title, const std::map<std::string, u64>& counts)
{
    std::printf("%s:\n", title);
    for (const auto& [what, count] : counts)
        std::printf("  %6llu %s\n", static_cast<unsigned long long>(count), what.c_str());
}

unsigned long long number(u64 count) { return count; }

}  // namespace

void Crowd::print() const
{
    for (u32 place = 0; place < workers_.size(); ++place)
        std::printf("worker %u: %llu operations, killed %llu times\n", place, number(board_.place[place].completed),
                    number(workers_[place].kills));
    const Figures& f = figures_;
    std::printf(
        "%llu operations, %llu kills: %llu in a call, %llu holding a lock, %llu in the NP; %llu while all others ran\n",
        number(completed()), number(f.kills), number(f.in_a_call), number(f.holding_a_lock), number(f.in_the_np),
        number(f.while_others_ran));
    std::printf("%llu checks, %llu repairs, %zu led astray\n", number(f.checks), number(f.repairs), f.astray.size());
    print_counts("found", f.errors_by_kind);
    print_counts("repaired", f.deeds_by_kind);
}

}  // namespace crowd
