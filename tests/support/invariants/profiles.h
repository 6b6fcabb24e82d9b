// Classify profiles: list, index, lines, and the memberships bound to them.
#pragma once

#include "support/invariants/vlans.h"

namespace zelfdb::audit {

inline std::string called(const Classify& classify) { return "profile " + dec(classify.ID); }

inline void check_lines(Audit& a, const Classify& classify, const Pool<Action>& pool, Marks& marks)
{
    constexpr u32 lines_max = 256;
    const std::string list = "line list of " + called(classify);
    const auto lines = walk<&Action::link>(a, list, pool, marks, classify.action_head);
    for (u32 i = 0; i < lines.size(); ++i) {
        if (lines[i]->position != i + 1) {
            note(a, list + ": line " + dec(i + 1) + " has position " + dec(lines[i]->position));
        }
    }
    expect_equal(a, called(classify) + ": naction", classify.naction, lines.size());
    if (lines.size() > lines_max) note(a, list + " has " + dec(lines.size()) + " lines");
}

inline void check_bound(Audit& a, const Classify& classify, const std::set<const Pv*>& in_use, Marks& marks)
{
    if (classify.pv_head == none) return;
    const std::string list = "pv list of " + called(classify);
    const auto pvs = walk<&Pv::classify_link>(a, list, pvs_of(a), marks, classify.pv_head);
    expect_order<&Pv::VID>(a, list, pvs, Order::ascending_or_equal);
    for (const Pv* pv : pvs) {
        if (!in_use.count(pv)) note(a, list + " leads to " + hex(offset_of(a.main, *pv)) + ", where no pv is in use");
        if (pv->classify != classify.ID) note(a, list + " holds a " + called(*pv) + ", bound to " + dec(pv->classify));
    }
}

inline void check_profiles(Audit& a, const std::vector<Membership>& memberships)
{
    Header& h = a.header;
    const Pool<Classify> pool{"classify", a.main, static_cast<u32>(a.layout.classify), classify_count};
    const auto used = records_in_use<&Classify::classify_link>(a, pool, h.classify_free, h.classify_head);
    expect_order<&Classify::ID>(a, "classify list", used.records, Order::ascending_or_equal);
    expect_index<&Classify::ID>(a, pool, used, h.classify_index, {1, classify_count, classify_count});

    const Pool<Action> actions{"action", a.main, static_cast<u32>(a.layout.action), action_count};
    Marks on_profile(actions.count);
    walk<&Action::link>(a, "free action list", actions, on_profile, h.action_free);
    for (const Classify* classify : used.records) check_lines(a, *classify, actions, on_profile);
    const auto lost = std::count(on_profile.begin(), on_profile.end(), 0u);
    if (lost != 0) note(a, dec(static_cast<u64>(lost)) + " action records are neither free nor in use");

    std::set<const Pv*> in_use;
    for (const Membership& membership : memberships) in_use.insert(membership.pv);
    const PvPool pvs = pvs_of(a);
    Marks bound(pvs.count);
    for (const Classify* classify : used.records) check_bound(a, *classify, in_use, bound);
    for (const Pv* pv : in_use) {
        const bool listed = bound[pvs.number(offset_of(a.main, *pv))] != 0;
        if (listed != (pv->classify != 0)) {
            note(a, called(*pv) + " names profile " + dec(pv->classify) + " and is " + (listed ? "on" : "not on") +
                        " a profile's list");
        }
    }
}

}  // namespace zelfdb::audit
