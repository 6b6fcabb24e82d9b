// Processes that all work on one database at once, and their supervisor, who kills one after the other, sees to it that none
// waits for a dead one, and repairs what the dead have left.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "check/repair.h"
#include "crowd/supervision/worker.h"
#include "support/random.h"

namespace crowd {

using Clock = std::chrono::steady_clock;

// How a worker meets its death: with the others running on, or stopped until what it left is repaired.
enum class Others { run_on, are_stopped };

struct Casting {
    u32 workers = 6;
    u32 of_values = 2;                    // the first so many ask for values only
    u32 spared = 0;                       // the last so many are not killed
    Others others = Others::are_stopped;  // when one dies that asks for anything
};

struct Figures {
    u64 kills = 0;
    u64 in_a_call = 0;  // of these
    u64 holding_a_lock = 0;
    u64 in_the_np = 0;
    u64 while_others_ran = 0;
    u64 checks = 0;
    u64 repairs = 0;
    std::map<std::string, u64> kills_by_operation;
    std::map<std::string, u64> errors_by_kind;  // found by checks
    std::map<std::string, u64> deeds_by_kind;   // of repairs
    std::vector<std::string> astray;            // workers that crashed, or did not come to an end of a call
    std::vector<std::string> failures;          // anything else that may not be
};

class Crowd {
public:
    // On the database and NP that are there, in an IPC namespace of the test's own.
    Crowd(Random& random, const Casting& casting);
    ~Crowd();
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    // Waits for a moment, looks after everybody, and kills one, if there was time for anything since the last.
    void step(u32 pause_us);
    // Makes all wait between two calls, and repairs the database if it needs it. False if one cannot be made to.
    bool pause();
    void resume();

    // From now on the NP answers after up to so long.
    void slow_the_np(u32 delay_us) { board_.np_delay_us = delay_us; }
    // There is another NP: everybody opens a session with it.
    void change_the_np() { ++board_.np; }

    [[nodiscard]] const Figures& figures() const { return figures_; }
    [[nodiscard]] bool has_failed() const { return !figures_.failures.empty(); }
    [[nodiscard]] u64 completed() const;
    [[nodiscard]] std::vector<pid_t> spared() const;
    // Operations that nobody has been granted.
    [[nodiscard]] std::vector<std::string> never_granted() const;
    void print() const;

private:
    struct Worker {
        pid_t pid = -1;
        u64 kills = 0;
    };

    void start(u32 place);
    void remove_file_of(u32 place);
    void forgive_all();
    void look_after_all();
    void look_after(u32 place);
    void kill_one();
    void kill_now(u32 place);
    void kill_stopped();
    void kill_running(u32 from, u32 to);
    // Any of these, or whoever of them has a lock.
    u32 victim(u32 from, u32 to);
    void stop(u32 place);
    void end_astray(u32 place, const std::string& why);
    void judge_standstill(u32 place);
    void expect_no_lock_held_by(pid_t dead);
    void repair();
    void fail(const std::string& what);
    [[nodiscard]] std::string operation_of(u32 place) const;
    [[nodiscard]] std::string state() const;

    Random& random_;
    Casting casting_;
    Board& board_;
    std::vector<Worker> workers_;
    zelfdb_descriptor* database_;
    u64 turns_at_last_kill_ = 0;
    Figures figures_;
};

}  // namespace crowd
