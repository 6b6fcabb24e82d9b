// A process may die after any instruction of any operation: what it leaves is repaired, nothing that the operation did not
// change is harmed, and what it was changing is as before, as after, or gone and told. Others who come before the repair may
// make of the database what they will, but each of their requests comes to an end.
//
// ZELFDB_CRASH_POINTS says how many moments of each operation are tried, evenly spread over all; "all" of them.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "check/repair.h"
#include "core/records.h"
#include "crash/objects.h"
#include "crash/site.h"
#include "crash/survivor.h"

namespace crash {
namespace {

constexpr std::size_t points_by_default = 12;

std::size_t points_wanted()
{
    const char* const given = std::getenv("ZELFDB_CRASH_POINTS");
    if (!given) return points_by_default;
    return std::strcmp(given, "all") == 0 ? SIZE_MAX : std::strtoul(given, nullptr, 10);
}

struct Totals {
    std::size_t operations = 0;
    std::size_t instructions = 0;
    std::size_t points = 0;
    std::size_t tried = 0;
    std::size_t repaired = 0;
    std::size_t survivors = 0;
};
Totals totals;

class PrintTotals : public testing::Environment {
public:
    void TearDown() override
    {
        std::printf(
            "%zu operations, %zu instructions, %zu crash points, %zu tried, of which %zu needed repair; %zu "
            "survivors\n",
            totals.operations, totals.instructions, totals.points, totals.tried, totals.repaired, totals.survivors);
    }
};
[[maybe_unused]] const auto* const print_totals = testing::AddGlobalTestEnvironment(new PrintTotals);

Segments segments_of(const Bytes& bytes)
{
    return {bytes.main.data(), bytes.main.size(), bytes.fdb.data(), bytes.fdb.size()};
}

std::string listed(const Repair& repair)
{
    std::string all = "\nfound:";
    for (const Finding& finding : repair.before.findings) {
        if (finding.severity == Severity::error) all += "\n  " + text_of(finding);
    }
    all += "\ndone:";
    for (const Deed& deed : repair.deeds) all += "\n  " + text_of(deed);
    all += "\nleft:";
    for (const Finding& finding : repair.after.findings) {
        if (finding.severity == Severity::error) all += "\n  " + text_of(finding);
    }
    return all;
}

const Object* find(const Objects& objects, const std::string& key)
{
    const auto found = objects.find(key);
    return found == objects.end() ? nullptr : &found->second;
}

bool is_told(const Repair& repair, const std::string& name)
{
    return std::any_of(repair.deeds.begin(), repair.deeds.end(),
                       [&name](const Deed& deed) { return deed.object == name; });
}

// A setting of several words may be half made, and nothing tells: each byte is as before or as after.
bool is_between(const Object& found, const Object& before, const Object& after)
{
    if (found.payload.size() != before.payload.size() || found.payload.size() != after.payload.size()) return false;
    for (std::size_t i = 0; i < found.payload.size(); ++i) {
        if (found.payload[i] != before.payload[i] && found.payload[i] != after.payload[i]) return false;
    }
    return true;
}

// A station that moves is forgotten in one place before it is learned in the next, and may be forgotten again there: of an
// entry that the operation changes any moment of that is a sound database.
bool is_on_its_way(const Object* either, const std::string& key)
{
    if (!either || key.compare(0, 6, "entry ") != 0) return false;
    Fil fil{};
    std::memcpy(&fil, either->payload.data(), sizeof fil);
    return fil.fil_type == fil_dynamic;
}

class Killed : public testing::TestWithParam<Operation> {
protected:
    // One object that is there before, after, or in what was found.
    void judge(const std::string& key, const Objects& found, const Repair& repair) const
    {
        const Object* const was = find(before_, key);
        const Object* const becomes = find(after_, key);
        const Object* const is = find(found, key);
        if (was && becomes && *was == *becomes) {
            EXPECT_TRUE(is && *is == *was) << key << (is ? " has changed" : " is gone") << listed(repair);
        } else if (is_on_its_way(was, key)) {
            EXPECT_TRUE(!is || is_on_its_way(is, key) || (becomes && *is == *becomes)) << key << listed(repair);
        } else if (was && becomes) {
            EXPECT_TRUE(is ? is_between(*is, *was, *becomes) : is_told(repair, was->told_as))
                << key << (is ? " is neither as before nor as after" : " is gone and not told") << listed(repair);
        } else if (is) {
            const Object* const either = was ? was : becomes;
            EXPECT_TRUE(either && *is == *either) << key << " is neither as before nor as after" << listed(repair);
        }
    }

    void judge(const Bytes& state)
    {
        repaired_ = false;
        const Repair repair = plan_repair(segments_of(state));
        ASSERT_EQ(repair.needed(), repair.possible()) << listed(repair);
        ASSERT_EQ(0u, repair.after.errors) << listed(repair);
        Bytes mended = state;
        if (repair.needed()) {
            ++totals.repaired;
            repaired_ = true;
            make_repair(repair, mended.main.data(), mended.fdb.data());
            EXPECT_EQ(repair.after.findings, check(segments_of(mended)).findings);
        }
        const Objects found = objects_of(mended);
        Objects all = before_;
        all.insert(after_.begin(), after_.end());
        all.insert(found.begin(), found.end());
        for (const auto& [key, object] : all) judge(key, found, repair);
    }

    // Only a database that needs repair can mislead anybody.
    void let_others_go_on(const Site& site, const Bytes& state, u32 seed) const
    {
        if (!repaired_) return;
        ++totals.survivors;
        EXPECT_EQ("", survive(site.segments(), state, seed)) << "seed " << seed;
    }

    Objects before_;
    Objects after_;
    bool repaired_ = false;
};

TEST_P(Killed, AnywhereIsMended)
{
    const Operation& operation = GetParam();
    const Site site;
    operation.prepare(site);
    ASSERT_FALSE(HasFailure());
    const auto start = std::chrono::steady_clock::now();
    const Steps steps = step(site.segments(), [&] {
        if (operation.perform(site) != 0) _exit(1);
    });
    const std::chrono::duration<double> stepped = std::chrono::steady_clock::now() - start;
    ASSERT_FALSE(HasFailure());
    ASSERT_FALSE(steps.states.empty());
    ASSERT_EQ(0u, check(segments_of(steps.before)).errors);
    ASSERT_EQ(0u, check(segments_of(steps.after)).errors);
    before_ = objects_of(steps.before);
    after_ = objects_of(steps.after);

    const std::size_t points = steps.states.size();
    const std::size_t tried = std::min(points, points_wanted());
    for (std::size_t i = 0; i < tried && !HasFailure(); ++i) {
        const std::size_t point = i * points / tried;
        SCOPED_TRACE("crash point " + std::to_string(point + 1) + " of " + std::to_string(points));
        const Bytes state = steps.at(point);
        judge(state);
        let_others_go_on(site, state, static_cast<u32>(point));
    }
    put_back(site.segments(), steps.before);
    const std::chrono::duration<double> all = std::chrono::steady_clock::now() - start;
    std::printf("%s: %zu instructions, %zu crash points, %zu tried, %.2f s stepping, %.2f s in all\n", operation.name,
                steps.instructions, points, tried, stepped.count(), all.count());
    ++totals.operations;
    totals.instructions += steps.instructions;
    totals.points += points;
    totals.tried += tried;
}

INSTANTIATE_TEST_SUITE_P(In, Killed, testing::ValuesIn(operations()),
                         [](const testing::TestParamInfo<Operation>& operation) {
                             return std::string(operation.param.name);
                         });

}  // namespace
}  // namespace crash
