// Classify profiles: list, index, lines, and the memberships bound to them.
#include "check/audit.h"
#include "check/limits.h"

namespace zelfdb::audit {
namespace {

constexpr const char* a_profile = "profile %d";

void check_lines(Audit& a, const Classify& profile, Marks& marks)
{
    const Name name{a_profile, profile.ID};
    const auto lines = walk_list<&Action::link>(a, {"line list of profile %d", profile.ID}, a.stores.action, marks,
                                                profile.action_head);
    for (u32 i = 0; i < lines.size(); ++i) {
        expect_equal(a, {"line %d of profile %d", i + 1, profile.ID}, "position", lines[i]->position, i + 1,
                     "lines are numbered from 1 on");
    }
    expect_equal(a, name, "naction", profile.naction, lines.size(), "it counts the lines");
    if (lines.size() > lines_max) {
        error(a, name, "number of lines", &profile.action_head, dec(static_cast<i64>(lines.size())), at_most(lines_max),
              "a profile takes no more");
    }
}

void check_bound(Audit& a, const Classify& profile, Marks& marks)
{
    if (profile.pv_head == none) return;
    const PvStore& store = a.stores.pv;
    const Name list{"membership list of profile %d", profile.ID};
    const auto pvs = walk_list<&Pv::classify_link>(a, list, store, marks, profile.pv_head);
    expect_order<&Pv::VID>(a, list, pvs, Order::ascending_or_equal);
    for (const Pv* pv : pvs) {
        if (!a.pvs[store.number(*pv)]) {
            error(a, list, "membership", pv, at(offset_of(store.base, *pv)), text("a membership in use"),
                  "a list leads to memberships in use");
        } else if (pv->classify != profile.ID) {
            error(a, {"membership of port %d in VLAN %d", pv->port_id, pv->VID}, "classify", &pv->classify,
                  dec(pv->classify), dec(profile.ID), "it is on the list of that profile");
        }
    }
}

}  // namespace

void check_profiles(Audit& a)
{
    const InUse<Classify> used = check_kind(a, a.stores.classify, kind_classify);
    const Store<Action>& lines = a.stores.action;
    Marks on_profile(lines.count);
    walk_list<&Action::link>(a, "free line list", lines, on_profile, a.header.action_free);
    for (const Classify* profile : used.records) check_lines(a, *profile, on_profile);
    expect_none_lost(a, "line records", lines, on_profile);

    const PvStore& pvs = a.stores.pv;
    Marks bound(pvs.count);
    for (const Classify* profile : used.records) check_bound(a, *profile, bound);
    for (u32 i = 0; i < pvs.count; ++i) {
        const Pv& pv = pvs.at(pvs.offset(i));
        if (!a.pvs[i] || pv.classify == 0 || bound[i] != 0) continue;
        error(a, {"membership of port %d in VLAN %d", pv.port_id, pv.VID}, "classify", &pv.classify, dec(pv.classify),
              text("a profile whose list it is on"), "a bound membership is on its profile's list");
    }
}

}  // namespace zelfdb::audit
