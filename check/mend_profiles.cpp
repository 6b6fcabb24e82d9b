// Classify profiles: their lines, and the memberships bound to them.
#include "check/limits.h"
#include "check/mend_kind.h"

namespace zelfdb::audit {
namespace {

void mend_lines_of(Mend& m, Classify& profile, const std::vector<bool>& on_free, std::vector<bool>& marks,
                   std::vector<bool>& live)
{
    const Store<Action>& store = m.stores.action;
    std::vector<u32> order;
    for (const u32 number : meet<&Action::link>(store, marks, profile.action_head).numbers) {
        if (!on_free[number] && order.size() < lines_max) order.push_back(number);
    }
    const Name name{"profile %d", profile.ID};
    const Offset old_head = profile.action_head;
    const std::vector<u32> moved = write_list<&Action::link>(store, profile.action_head, order);
    bool changed = !moved.empty() || profile.action_head != old_head;
    if (changed) did(m, name, "the links of its lines are set");
    bool numbered = set(profile.naction, static_cast<u32>(order.size()));
    for (u32 i = 0; i < order.size(); ++i) {
        live[order[i]] = true;
        numbered |= set(record(store, order[i]).position, i + 1);
    }
    if (numbered) did(m, name, "its lines are numbered anew");
    if (changed || numbered) touch(m, Touched::Kind::profile, profile.ID, true);
}

void mend_lines(Mend& m)
{
    const Store<Action>& store = m.stores.action;
    std::vector<bool> on_free(store.count);
    const Met free = meet<&Action::link>(store, on_free, m.header.action_free);
    std::vector<bool> marks(store.count);
    std::vector<bool> live(store.count);
    for (const u32 number : m.profiles.order) mend_lines_of(m, record(m.stores.classify, number), on_free, marks, live);
    std::vector<u32> come;
    for (u32 number = 0; number < store.count; ++number) {
        if (!live[number] && !on_free[number]) come.push_back(number);
    }
    for (const u32 number : come) {
        if (come.size() <= lost_told_max)
            dropped(m, {"line record %d", number}, "it was on its way into a profile or out of one: it is freed");
    }
    if (come.size() > lost_told_max) dropped(m, "line records", "those that were neither in use nor free are freed");
    // Nothing says whose they were.
    for (const u32 number : m.profiles.order) {
        if (!come.empty()) touch(m, Touched::Kind::profile, record(m.stores.classify, number).ID, true);
    }
    write_free_list<&Action::link>(m, "free line list", store, m.header.action_free, free.numbers, come, live);
}

void mend_bound_to(Mend& m, Classify& profile, std::vector<bool>& marks, std::vector<bool>& bound)
{
    const PvStore& store = m.stores.pv;
    const Met met = meet<&Pv::classify_link>(store, marks, profile.pv_head);
    const auto belongs = [&](u32 number) { return m.pvs.is[number] && record(store, number).classify == profile.ID; };
    std::vector<u32> order;
    for (const u32 number : met.numbers) {
        if (belongs(number)) order.push_back(number);
    }
    for (const u32 number : m.pvs.order) {
        if (!met.cut || marks[number] || !belongs(number)) continue;
        marks[number] = true;
        order.push_back(number);
    }
    for (const u32 number : order) bound[number] = true;
    sort_by<&Pv::VID>(store, order);
    const Offset old_head = profile.pv_head;
    const std::vector<u32> moved = write_list<&Pv::classify_link>(store, profile.pv_head, order);
    if (!moved.empty() || profile.pv_head != old_head)
        did(m, {"membership list of profile %d", profile.ID}, "its links are set");
    for (const u32 place : moved) {
        const Pv& pv = record(store, order[place]);
        touch(m, Touched::Kind::membership, pv.VID, true, pv.port_id);
    }
}

}  // namespace

void mend_profiles(Mend& m)
{
    m.profiles = mend_kind(m, m.stores.classify, kind_classify, Touched::Kind::profile,
                           [](const Classify&) -> const char* { return nullptr; });
    mend_lines(m);

    std::vector<bool> marks(m.stores.pv.count);
    std::vector<bool> bound(m.stores.pv.count);
    for (const u32 number : m.profiles.order) mend_bound_to(m, record(m.stores.classify, number), marks, bound);
    for (const u32 number : m.pvs.order) {
        Pv& pv = record(m.stores.pv, number);
        if (pv.classify == 0 || bound[number]) continue;
        pv.classify = 0;
        std::fill(std::begin(pv.classify_words), std::end(pv.classify_words), 0);
        dropped(m, called(pv), "its binding to a profile was half made or half removed: it is dropped");
        touch(m, Touched::Kind::membership, pv.VID, true, pv.port_id);
    }
}

}  // namespace zelfdb::audit
