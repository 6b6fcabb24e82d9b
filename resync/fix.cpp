#include "resync/fix.h"

#include "np/classify_commands.h"
#include "np/fdb_commands.h"
#include "np/mirror_commands.h"
#include "np/port_commands.h"
#include "np/qos_commands.h"
#include "np/vlan_commands.h"

namespace zelfdb {
namespace {

struct Plan {
    std::set<Object> remove;  // as the NP numbers them
    std::set<Object> send;
    std::set<std::pair<Object, std::string>> adjust;  // single settings
};

// Items by their objects.
using ItemIndex = std::map<Object, const Item*>;

ItemIndex index_of(const Wanted& wanted)
{
    ItemIndex index;
    for (const Item& item : wanted.items) index[item.object] = &item;
    return index;
}

const Setting* find(const Item& item, const std::string& name)
{
    for (const Setting& setting : item.settings)
        if (setting.name == name) return &setting;
    return nullptr;
}

// With all that needs it. Entries stay in an NP when their port or VLAN goes.
void make_anew(Plan& plan, const Found& found, const Object& object)
{
    if (!plan.remove.insert(object).second) return;
    plan.send.insert(object);
    for (const auto& [other, item] : found.objects) {
        if (other.kind == ObjectKind::entry) continue;
        for (const Object& need : item.needs)
            if (need == object) make_anew(plan, found, other);
    }
}

void plan_difference(Plan& plan, const ItemIndex& index, const Found& found, const Difference& finding)
{
    if (finding.object.kind == ObjectKind::entry) {  // an entry that is there is replaced
        plan.send.insert(finding.object);
        return;
    }
    if (finding.object.kind == ObjectKind::line) {
        plan.remove.insert(finding.np_object);
        plan.send.insert(finding.object);
        return;
    }
    const auto item = index.find(finding.object);
    const Setting* const setting = item == index.end() ? nullptr : find(*item->second, finding.setting);
    if (setting && setting->adjustable && setting->send)
        plan.adjust.insert({finding.object, finding.setting});
    else if (finding.object.kind != ObjectKind::binding)
        make_anew(plan, found, finding.object);
}

// A binding comes after those that are there, and goes only with its membership. Where that will not do, all memberships by
// protocol of its port are made anew.
bool needs_all_anew(const Wanted& wanted, const Found& found, const Plan& plan, const Difference& finding)
{
    const Object& binding = finding.object;
    if (binding.kind != ObjectKind::binding) return false;
    if (finding.what == What::different) return true;
    if (finding.what == What::extra) return !plan.remove.contains(member_object(binding.a, binding.b));
    bool later = false;
    for (const Item& item : wanted.items) {
        if (item.object.kind != ObjectKind::binding || item.object.a != binding.a || item.object.c != binding.c)
            continue;
        if (later && found.objects.contains(item.object)) return true;
        later |= item.object == binding;
    }
    return false;
}

void make_bindings_anew(Plan& plan, const Wanted& wanted, const Found& found, u32 port_id)
{
    const std::set<Object> untold(wanted.untold.begin(), wanted.untold.end());
    for (const Object& binding : found.bindings) {
        const Object member = member_object(port_id, binding.b);
        if (binding.a == port_id && !untold.contains(member)) make_anew(plan, found, member);
    }
}

Plan plan_of(const Wanted& wanted, const Found* found, const std::vector<Difference>& findings)
{
    Plan plan;
    const ItemIndex index = index_of(wanted);
    for (const Difference& finding : findings) {
        if (finding.what == What::missing) plan.send.insert(finding.object);
        if (finding.what == What::extra) plan.remove.insert(finding.np_object);
        if (finding.what == What::different && found) plan_difference(plan, index, *found, finding);
    }
    for (const Difference& finding : findings)
        if (found && needs_all_anew(wanted, *found, plan, finding))
            make_bindings_anew(plan, wanted, *found, finding.object.a);
    return plan;
}

// ---- Removing: one function for each kind of object -----------------------------------------------------------------------

struct Removal {
    const char* command;
    int result;
};

Removal remove_entry(const Descriptor& d, const Object& entry)
{
    return {"removeFDB", rem_address_from_NP(d, static_cast<u16>(entry.a), mac_of(entry))};
}

Removal remove_attachment(const Descriptor& d, const Object& object, const FoundItem& item)
{
    return {"add_queue", rem_queue_to_stream_to_NP(d, object.a, item.needs.front().a, item.class_no)};
}

// An enabled one is not deleted.
Removal remove_mirror(const Descriptor& d, const Object& object, const FoundItem& item)
{
    if (item.settings.at("enabled") == "yes" && disable_mirror_to_NP(d, object.a) != 0) return {"disable_mirror", -1};
    return {"delete_mirror", delete_mirror_to_NP(d, object.a)};
}

Removal remove(const Descriptor& d, const Object& o, const FoundItem& item)
{
    switch (o.kind) {
    case ObjectKind::port: return {"delete_port", delete_port_to_NP(d, o.a)};
    case ObjectKind::vlan: return {"delete_vlan", delete_vlan_to_NP(d, o.a)};
    case ObjectKind::group: return {"delete_protgroup", delete_protgroup_to_NP(d, o.a)};
    case ObjectKind::protocol: return {"remove_prot_from_group", remove_prot_from_group_to_NP(d, o.b, o.a)};
    case ObjectKind::member: return {"remove_port_vlan", rem_port_from_vlan_to_NP(d, o.b, o.a)};
    case ObjectKind::stream: return {"delete_stream", delete_stream_to_NP(d, o.a)};
    case ObjectKind::queue: return {"delete_queue", delete_queue_to_NP(d, o.a)};
    case ObjectKind::attachment: return remove_attachment(d, o, item);
    case ObjectKind::line: return {"rem_classify_act", rem_classify_act_to_NP(d, o.a, o.b)};
    case ObjectKind::list_binding: return {"rem_classify_prof", rem_classify_prof_to_NP(d, o.a, o.b)};
    case ObjectKind::entry: return remove_entry(d, o);
    case ObjectKind::mirror: return remove_mirror(d, o, item);
    case ObjectKind::phport:
    case ObjectKind::binding:
    case ObjectKind::port_state: break;  // these go with something else, or never
    }
    return {"", 0};
}

// Backwards through the kinds, and through a list's lines: what others need goes after them.
void remove_all(Sending& sending, const Found& found, const std::set<Object>& objects)
{
    for (auto object = objects.rbegin(); object != objects.rend(); ++object) {
        const Removal removal = remove(sending.d, *object, found.objects.at(*object));
        if (*removal.command == '\0') continue;
        ++sending.commands;
        if (removal.result != 0) sending.refused.push_back({*object, removal.command});
    }
}

}  // namespace

void fix(Sending& sending, const Wanted& wanted, const Found* found, const std::vector<Difference>& findings)
{
    const Plan plan = plan_of(wanted, found, findings);
    if (found) remove_all(sending, *found, plan.remove);
    const auto send = [&](const Item& item) {
        if (plan.send.contains(item.object)) return send_item(sending, item);
        for (const Setting& setting : item.settings)
            if (plan.adjust.contains({item.object, setting.name})) send_setting(sending, item, setting);
    };
    send_in_order(sending, wanted, send, [&](const Object& entry) { return plan.send.contains(entry); });
}

}  // namespace zelfdb
