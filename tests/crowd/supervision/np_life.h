// The software NP as one that dies while a crowd works with it, and comes back to be told the database again.
#pragma once

#include <map>
#include <string>

#include "crowd/supervision/crowd.h"
#include "resync/resync.h"

namespace crowd {

struct NpFigures {
    std::map<std::string, u64> deaths;  // by their kind
    u64 commands = 0;                   // that resyncs and audits sent
    u64 findings = 0;                   // of audits with the crowd at work, mended
    u64 left = 0;                       // of those, refused by the NP
    u64 lock_owner_deaths = 0;          // workers that were killed while they had the device's lock
};

class NpLife {
public:
    NpLife(Random& random, Crowd& crowd) : random_(random), crowd_(crowd) {}
    ~NpLife() { revive(); }
    NpLife(const NpLife&) = delete;
    NpLife& operator=(const NpLife&) = delete;

    // Lets it die, or come back, when it is time for that.
    void go_on();
    // It is there again, resynced and audited, with everybody at work. Nothing to do when it is.
    void come_back();
    // For a crowd that is paused: an NP that lost everything is told everything, and then lacks just what it refused.
    void expect_all_of_the_database_in_a_new_np();

    [[nodiscard]] const NpFigures& figures() const { return figures_; }
    [[nodiscard]] u64 deaths() const;
    [[nodiscard]] const std::vector<std::string>& failures() const { return failures_; }
    void print() const;

private:
    void die();
    void revive();
    void count_lock_owner_deaths();

    Random& random_;
    Crowd& crowd_;
    bool is_dead_ = false;
    Clock::time_point next_ = Clock::now() + std::chrono::milliseconds(100);
    NpFigures figures_;
    std::vector<std::string> failures_;
};

}  // namespace crowd
