// A crowd of processes on one database, of which one is killed every few milliseconds. No other ever waits for a dead one,
// whatever it was doing. What it has left half done is another matter: the others work on with that until it is repaired. No
// half-made change is known to mislead them (tests/crash lets others work on after every one that there is), but nothing keeps
// a list from becoming a ring once several are left lying, and whoever walks a ring does so for ever, with the locks in his
// hands. So whoever watches over the processes of a database does well to stop the others when one has died in a call, to
// repair the database, and to let them go on: then nobody meets anything half made.
//
// ZELFDB_CROWD_MS says how long each test goes on at least.
#include <cstdlib>

#include "crowd/supervision/on_a_database.h"

namespace crowd {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

milliseconds duration()
{
    const char* const given = std::getenv("ZELFDB_CROWD_MS");
    return milliseconds(given ? std::atol(given) : 2500);
}

// What must have happened for a test to tell anything. A slow machine goes on until it has.
struct Enough {
    u64 operations = 0;
    u64 kills = 0;
    u64 in_a_call = 0;
    u64 holding_a_lock = 0;
    u64 in_the_np = 0;
    u64 repairs = 0;
    u64 np_deaths = 0;
    bool every_operation = true;  // granted to somebody
};

struct Np {
    u32 delay_us = 0;  // of its slowest answers
    bool dies = false;
};

class KilledOne : public OnADatabase {
protected:
    void run(const Casting& casting, const Np& its_np, const Enough& enough)
    {
        SCOPED_TRACE(random_.trace());
        ASSERT_NO_FATAL_FAILURE(lay_out(its_np.dies ? many_entries : few_entries));
        Crowd crowd(random_, casting);
        NpLife np(random_, crowd);
        crowd.slow_the_np(its_np.delay_us);
        const auto start = Clock::now();
        auto pause_at = start + pause_interval;
        while (!is_over(start, crowd, np, enough)) {
            if (its_np.dies) np.go_on();
            crowd.step(kill_interval_us);
            if (Clock::now() < pause_at || !crowd.pause()) continue;
            crowd.resume();
            pause_at = Clock::now() + pause_interval;
        }
        np.come_back();
        if (crowd.pause()) np.expect_all_of_the_database_in_a_new_np();
        crowd.print();
        np.print();
        judge(crowd, np, enough);
    }

    Figures figures_;

private:
    static constexpr milliseconds pause_interval{250};
    static constexpr u32 kill_interval_us = 2000;
    static constexpr seconds patience{120};

    static bool is_over(Clock::time_point start, const Crowd& crowd, const NpLife& np, const Enough& enough)
    {
        const auto passed = Clock::now() - start;
        if (crowd.has_failed() || !np.failures().empty() || passed > duration() + patience) return true;
        const Figures& f = crowd.figures();
        return passed > duration() && crowd.completed() >= enough.operations && f.kills >= enough.kills &&
               f.in_a_call >= enough.in_a_call && f.holding_a_lock >= enough.holding_a_lock &&
               f.in_the_np >= enough.in_the_np && f.repairs >= enough.repairs && np.deaths() >= enough.np_deaths &&
               (!enough.every_operation || crowd.never_granted().size() <= 1);
    }

    void judge(const Crowd& crowd, const NpLife& np, const Enough& enough)
    {
        figures_ = crowd.figures();
        RecordProperty("operations", std::to_string(crowd.completed()));
        RecordProperty("kills", std::to_string(figures_.kills));
        RecordProperty("kills_in_a_call", std::to_string(figures_.in_a_call));
        RecordProperty("kills_holding_a_lock", std::to_string(figures_.holding_a_lock));
        RecordProperty("kills_in_the_np", std::to_string(figures_.in_the_np));
        RecordProperty("repairs", std::to_string(figures_.repairs));
        RecordProperty("np_deaths", std::to_string(np.deaths()));

        EXPECT_THAT(figures_.failures, IsEmpty());
        EXPECT_THAT(np.failures(), IsEmpty());
        EXPECT_GE(crowd.completed(), enough.operations);
        EXPECT_GE(figures_.kills, enough.kills);
        EXPECT_GE(figures_.in_a_call, enough.in_a_call);
        EXPECT_GE(figures_.holding_a_lock, enough.holding_a_lock);
        EXPECT_GE(figures_.in_the_np, enough.in_the_np);
        EXPECT_GE(figures_.repairs, enough.repairs);
        EXPECT_GE(np.deaths(), enough.np_deaths);
        if (enough.every_operation) {
            // All but one, which says that it is not whatever it does.
            EXPECT_THAT(crowd.never_granted(), ElementsAre("recover_port_sldbkr"));
        }
    }
};

// The others run on, and the database is repaired four times a second only, as if nobody had noticed the deaths. One who is
// led astray for all that is ended like a dead one and told; more than one is no accident.
TEST_F(KilledOne, IsNeverWaitedFor)
{
    run({.workers = 6, .of_values = 0, .others = Others::run_on}, {},
        {.operations = 2000, .kills = 50, .in_a_call = 25, .holding_a_lock = 5});
    for (const std::string& astray : figures_.astray) std::printf("led astray: %s\n", astray.c_str());
    EXPECT_LE(figures_.astray.size(), 1u);
}

// The others are stopped until the database is repaired, here and in the following; but not for those that ask for values
// only, who leave nothing half made.
TEST_F(KilledOne, HarmsNobodyWhenRepairedAtOnce)
{
    run({.workers = 6, .of_values = 2, .others = Others::are_stopped}, {},
        {.operations = 2000, .kills = 50, .in_a_call = 25, .holding_a_lock = 5});
    EXPECT_THAT(figures_.astray, IsEmpty());
}

// With the locks held while it answers, this is where most are when they are killed.
TEST_F(KilledOne, HarmsNobodyWhileTheNPIsSlow)
{
    run({.workers = 6, .of_values = 2, .others = Others::are_stopped}, {.delay_us = 1000},
        {.operations = 200,
         .kills = 50,
         .in_a_call = 25,
         .holding_a_lock = 10,
         .in_the_np = 5,
         .repairs = 1,
         .every_operation = false});
    EXPECT_THAT(figures_.astray, IsEmpty());
}

// It is resynced with the crowd at work.
TEST_F(KilledOne, HarmsNobodyWhileTheNPDiesAndComesBack)
{
    run({.workers = 6, .of_values = 2, .others = Others::are_stopped}, {.dies = true},
        {.operations = 2000,
         .kills = 50,
         .in_a_call = 25,
         .holding_a_lock = 5,
         .np_deaths = 3,
         .every_operation = false});
    EXPECT_THAT(figures_.astray, IsEmpty());
}

}  // namespace
}  // namespace crowd
