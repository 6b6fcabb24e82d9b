// Random operations on profiles, lines and bindings against a model of standard containers.
#include <map>

#include "classify/classify_test.h"
#include "support/invariants.h"
#include "support/random.h"

namespace zelfdb {
namespace {

struct ModelProfile {
    std::vector<u32> lines;
    std::vector<std::pair<u32, u32>> bindings;
};

// Profiles 1..6 are used, of eight numbers that are asked for, so that each code comes up.
class ClassifyModel : public ProfileTest {
protected:
    using Membership = std::pair<u32, u32>;
    static constexpr u32 steps = 4000;

    u32 some_number() { return random_.below(8); }
    Membership some_membership()
    {
        static constexpr u32 vids[] = {10, 20, 30};
        static constexpr u32 port_ids[] = {1, 2, 3, 5, 77, 101};
        return {vids[random_.below(random_.once_in(8) ? 3 : 2)], port_ids[random_.below(6)]};
    }
    u32 check(u32 code, const Outcome& outcome, const std::string& command)
    {
        EXPECT_EQ(outcome, code != 0 ? refused(code) : command.empty() ? done() : done({command}));
        return code;
    }
    [[nodiscard]] u32 membership_code(const Membership& member) const
    {
        if (member.second == 77) return 102;
        if (member.first == 30) return 103;
        return memberships_.count(member) ? 0 : 1701;
    }

    void create(u32 number)
    {
        const u32 code = number == 0 || profiles_.count(number) ? 2601 : 0;
        if (check(code, call(zelfdb_create_classify_profile, number), "") == 0) profiles_[number] = {};
    }
    void destroy(u32 number)
    {
        const auto found = profiles_.find(number);
        const bool exists = found != profiles_.end();
        const u32 code = !exists                           ? 109
                         : !found->second.bindings.empty() ? 2607
                         : !found->second.lines.empty()    ? 2604
                                                           : 0;
        if (check(code, call(zelfdb_delete_classify_profile, number), "") == 0) profiles_.erase(found);
    }
    void bind(u32 number, const Membership& member)
    {
        u32 code = membership_code(member);
        if (code == 0 && memberships_[member] != 0) code = 2701;
        if (code == 0 && !profiles_.count(number)) code = 109;
        const std::string command = "add_classify_prof(" + number_in_log(number) + ", " + NP(member) + ", " +
                                    number_in_log(member.first) + ", [0x30001 0x40002 0x50004 0x60000])";
        const Outcome outcome = call(zelfdb_add_classify_profile_to_pv, number, member.second, member.first, words);
        if (check(code, outcome, command) != 0) return;
        memberships_[member] = number;
        auto& bindings = profiles_[number].bindings;
        const auto behind = std::upper_bound(bindings.begin(), bindings.end(), member,
                                             [](const auto& a, const auto& b) { return a.first < b.first; });
        bindings.insert(behind, member);
    }
    void unbind(const Membership& member)
    {
        u32 code = membership_code(member);
        if (code == 0 && memberships_[member] == 0) code = 2702;
        const std::string command = "rem_classify_prof(" + NP(member) + ", " + number_in_log(member.first) + ")";
        const Outcome outcome = call(zelfdb_rem_classify_profile_from_pv, member.second, member.first);
        if (check(code, outcome, command) != 0) return;
        auto& bindings = profiles_[memberships_[member]].bindings;
        bindings.erase(std::find(bindings.begin(), bindings.end(), member));
        memberships_[member] = 0;
    }
    void add(u32 number, u32 line_no)
    {
        const auto found = profiles_.find(number);
        const u32 code = found == profiles_.end() ? 109 : found->second.lines.size() >= 256 ? 2603 : 0;
        const zelfdb_classify_line line = numbered_line(++last_line_);
        const Outcome outcome = call(zelfdb_add_classify_action_to_profile, number, line_no, &line);
        if (check(code, outcome, add_line_command(number, line_no, line)) != 0) return;
        auto& lines = found->second.lines;
        const bool inside = line_no >= 1 && line_no <= lines.size();
        lines.insert(inside ? lines.begin() + line_no - 1 : lines.end(), last_line_);
    }
    void rem(u32 number, u32 line_no)
    {
        const auto found = profiles_.find(number);
        const bool exists = found != profiles_.end();
        const u32 code = !exists ? 109 : line_no < 1 || line_no > found->second.lines.size() ? 110 : 0;
        const Outcome outcome = call(zelfdb_rem_classify_action_from_profile, number, line_no);
        if (check(code, outcome, remove_line_command(number, line_no)) != 0) return;
        found->second.lines.erase(found->second.lines.begin() + line_no - 1);
    }
    void rem_all(u32 number)
    {
        const auto found = profiles_.find(number);
        const u32 code = found == profiles_.end() ? 109 : 0;
        const Outcome outcome = call(zelfdb_rem_classify_all_from_profile, number);
        if (check(code, outcome, remove_line_command(number, 0)) == 0) found->second.lines.clear();
    }
    void some_operation()
    {
        switch (random_.below(32)) {
        case 0: return destroy(some_number());
        case 1: return rem_all(some_number());
        case 2:
        case 3: return create(some_number());
        case 4:
        case 5:
        case 6: return bind(some_number(), some_membership());
        case 7:
        case 8:
        case 9: return unbind(some_membership());
        case 10:
        case 11:
        case 12:
        case 13:
        case 14: return rem(some_number(), random_.below(20));
        default: return add(random_.once_in(3) ? some_number() : 1, random_.below(40));
        }
    }
    void compare() const
    {
        EXPECT_EQ(ids(all_classifies, header()).size(), profiles_.size());
        for (const auto& [number, expected] : profiles_) {
            ASSERT_NE(profile(number), nullptr);
            EXPECT_EQ(lines_of(number), expected.lines);
            EXPECT_EQ(bindings_of(number), expected.bindings);
        }
        for (const auto& [member, number] : memberships_) {
            EXPECT_EQ(membership(static_cast<u16>(member.first), member.second)->classify, number);
        }
    }

    static std::string NP(const Membership& member)
    {
        return member.second == 101 ? "0xb" : std::to_string(member.second);
    }

    Random random_;

private:
    std::map<u32, ModelProfile> profiles_;
    std::map<Membership, u32> memberships_{{{10, 1}, 0}, {{10, 3}, 0}, {{10, 101}, 0}, {{20, 2}, 0}, {{20, 101}, 0}};
    u32 last_line_ = 0;
};

TEST_F(ClassifyModel, RandomOperationsGiveWhatTheModelGives)
{
    SCOPED_TRACE(random_.trace());
    for (u32 step = 0; step < steps && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        some_operation();
        compare();
        if (step % 50 == 0) {
            EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
        }
    }
}

}  // namespace
}  // namespace zelfdb
