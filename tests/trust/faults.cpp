// Every call that an operation makes to the system, failing once, at each of its uses in turn: the operation answers as
// documented, holds no lock that it could give back, leaves no file open, and the database is in order.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <regex>

#include "support/invariants.h"
#include "trust/faults.h"
#include "trust/switch_test.h"

namespace zelfdb::trust {
namespace {

struct Fault {
    const char* function;
    int error;
};
constexpr Fault faults[] = {{"shmget", ENOENT}, {"shmat", EACCES},        {"malloc", ENOMEM}, {"calloc", ENOMEM},
                            {"semget", ENOSPC}, {"semop", EIDRM},         {"semctl", EPERM},  {"mkstemp", EMFILE},
                            {"write", ENOSPC},  {"gettimeofday", EFAULT}, {"fsync", EIO}};

// What an operation makes of it.
enum class Then {
    refused,   // as when no descriptor can be opened: nothing has changed
    not_made,  // null
    went_on,   // as if nothing had happened
    did_less,  // entries stay that should have gone: without memory a database is not cleared
    half_made  // zelfdb_init without the FDB segment: a success that is only told in a message
};

class Faults : public Switch, public testing::WithParamInterface<std::size_t> {
protected:
    [[nodiscard]] const Row& row() const { return rows()[GetParam()]; }

    static u32 calls(const Fault& fault)
    {
        return own_functions::knows(fault.function) ? own_functions::calls(fault.function)
                                                    : environment::calls(fault.function);
    }
    static void arm(const Fault& fault, u32 nth)
    {
        if (own_functions::knows(fault.function)) return own_functions::fail(fault.function, fault.error, nth);
        environment::fail(fault.function, fault.error, nth);
    }
    static void disarm()
    {
        environment::reset();
        own_functions::reset();
    }

    [[nodiscard]] Then expected(const std::string& function, u32 nth) const
    {
        const std::string name = row().name;
        const bool opening = function == "shmget" || function == "shmat" || function == "malloc";
        if (name == "zelfdb_init" && opening) return nth == 1 ? Then::refused : Then::half_made;
        if (row().result == Result::handle && opening) return Then::not_made;
        if (row().result == Result::nothing) return Then::went_on;
        if (function == "malloc" && nth > 1) return Then::did_less;
        if (opening) return Then::refused;
        if (function == "mkstemp") return Then::refused;
        return Then::went_on;
    }

    // Where the locks are after moves of which one failed: every one that succeeded counts, and no other.
    static int expected_lock(int key)
    {
        int value = 1;
        for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
            if (move.key == key) value += move.by;
        }
        return value;
    }

    void one_fault(const Fault& fault, u32 nth, const Ran& usual, const Image& changed)
    {
        SCOPED_TRACE(std::string(row().name) + ": " + fault.function + " fails at use " + std::to_string(nth));
        const std::size_t files = open_files();
        const Ran ran = run(row(), good(row()), [&] { arm(fault, nth); });
        EXPECT_EQ(expected_lock(main_key), value_of_lock(main_key));
        EXPECT_EQ(expected_lock(fdb_key), value_of_lock(fdb_key));
        const std::string function = fault.function;
        const bool of_locks = function == "semop" || function == "semget";
        if (!of_locks) {
            EXPECT_EQ(1, value_of_lock(main_key));
            const bool keeps_fdb = std::string(row().name) == "zelfdb_get_all_lfil" && ran.result >= 0;
            EXPECT_EQ(keeps_fdb ? 0 : 1, value_of_lock(fdb_key));
        }
        disarm();
        set_lock(main_key, 1);
        set_lock(fdb_key, 1);
        EXPECT_EQ(files, open_files());
        remove_document(ran, function);
        compare(expected(function, nth), function, ran, usual, changed);
        restore(start_);
        script_NP();
        ++injected_;
    }

    // The document of the classify lists stays, under the name that was told, unless it could not be made.
    static void remove_document(const Ran& ran, const std::string& function)
    {
        std::smatch file;
        if (std::regex_search(ran.printed, file, std::regex("/tmp/clsline-\\w+"))) {
            EXPECT_NE("mkstemp", function);
            EXPECT_EQ(0, ::unlink(file.str().c_str()));
        }
    }

    void compare(Then then, const std::string& function, const Ran& ran, const Ran& usual, const Image& changed)
    {
        switch (then) {
        case Then::refused:
            EXPECT_EQ(-1, ran.result);
            EXPECT_EQ(row().word == Word::absent ? untouched : 1, ran.err);
            EXPECT_TRUE(is_now(start_));
            EXPECT_EQ(0u, recorder::log().size());
            EXPECT_THAT(environment::semaphore_moves(), testing::IsEmpty());
            break;
        case Then::not_made:
            EXPECT_EQ(0, ran.result);
            EXPECT_TRUE(is_now(start_));
            break;
        case Then::did_less: {
            EXPECT_EQ(usual.result, ran.result);
            EXPECT_EQ(usual.err, ran.err);
            const Image now = image();
            Changes changes(start_, now);
            row().changes(good(row()).data(), changes);
            EXPECT_THAT(changes.trespasses(), testing::IsEmpty());
            break;
        }
        case Then::half_made: EXPECT_EQ(0, ran.result); return;
        case Then::went_on:
            EXPECT_EQ(usual.result, ran.result);
            EXPECT_EQ(usual.err, ran.err);
            // Without the time of day an entry is as old as can be, and is asked after.
            if (function != "gettimeofday") {
                EXPECT_TRUE(is_now(changed));
            }
            break;
        }
        EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
    }

    u32 injected_ = 0;
};

TEST_P(Faults, AtEveryUseOfEveryFunctionAreAnsweredAsDocumented)
{
    // A time of its own, so that what is stored can be compared.
    const auto usual_time = [] { environment::set_time_s(5000); };
    disarm();
    const Ran usual = run(row(), good(row()), [&] {
        disarm();
        usual_time();
    });
    ASSERT_TRUE(succeeded(row(), usual));
    const Image changed{{base().bytes, base().bytes + start_.main.size()},
                        {fdb().bytes, fdb().bytes + start_.fdb.size()}};
    u32 uses[std::size(faults)];
    for (std::size_t k = 0; k < std::size(faults); ++k) uses[k] = calls(faults[k]);
    remove_document(usual, "");
    disarm();
    set_lock(main_key, 1);
    set_lock(fdb_key, 1);
    restore(start_);
    recorder::log().clear();
    for (std::size_t k = 0; k < std::size(faults); ++k) {
        for (u32 nth = 1; nth <= uses[k]; ++nth) {
            usual_time();
            one_fault(faults[k], nth, usual, changed);
        }
    }
    std::string by_function;
    for (std::size_t k = 0; k < std::size(faults); ++k) {
        if (uses[k] != 0) by_function += std::string(" ") + faults[k].function + " " + std::to_string(uses[k]);
    }
    std::printf("injected: %u faults:%s\n", injected_, by_function.c_str());
    if (row().frame == Frame::opens) {
        EXPECT_LE(5u, injected_);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Faults, testing::Range(std::size_t{0}, rows().size()), name_of_row);

}  // namespace
}  // namespace zelfdb::trust
