// VLANs, their names, and memberships.
#include <set>
#include <string>

#include "check/limits.h"
#include "check/mend_kind.h"
#include "core/chains.h"

namespace zelfdb::audit {
namespace {

// ---- Names -----------------------------------------------------------------------------------------------------------

struct Names {
    std::set<std::string> taken;

    const char* refuse(const Vlan& vlan)
    {
        if (vlan.VID < 1 || vlan.VID > vid_max) return "no VLAN has such a VID: it is dropped";
        if (!std::memchr(vlan.name, 0, name_max + 1)) return "its name has no end: it is dropped";
        return taken.insert(vlan.name).second ? nullptr : "another has its name: it is dropped";
    }
};

void mend_names(Mend& m)
{
    const Store<Vlan>& store = m.stores.vlan;
    std::vector<std::vector<u32>> buckets(bucket_count);
    std::vector<bool> marks(store.count);
    std::vector<bool> in_place(store.count);
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (const u32 number : meet<&Vlan::name_link>(store, marks, m.header.vlan_name[bucket]).numbers) {
            if (!m.vlans.is[number] || name_bucket(record(store, number).name) != bucket) continue;
            buckets[bucket].push_back(number);
            in_place[number] = true;
        }
    }
    for (const u32 number : m.vlans.order) {
        if (in_place[number]) continue;
        std::vector<u32>& bucket = buckets[name_bucket(record(store, number).name)];
        bucket.insert(bucket.begin(), number);
        did(m, {a_vlan, record(store, number).VID}, "it is found by its name again");
    }
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        Offset& head = m.header.vlan_name[bucket];
        const Offset old_head = head;
        const std::vector<u32> moved = write_list<&Vlan::name_link>(store, head, buckets[bucket]);
        if (!moved.empty() || head != old_head) did(m, {"name bucket %d", bucket}, "its links are set");
        for (const u32 place : moved) touch(m, Touched::Kind::vlan, record(store, buckets[bucket][place]).VID, true);
    }
}

// ---- Memberships -----------------------------------------------------------------------------------------------------

bool owns_pvid(const Pv& pv) { return !(pv.pv_flag & (pv_tagged | pv_protocol)); }

// Those that the lists of the ports lead to that they name.
std::vector<bool> pvs_on_ports(const Mend& m)
{
    std::vector<bool> marks(m.stores.pv.count);
    std::vector<bool> on_port(m.stores.pv.count);
    for (const u32 number : m.ports.order) {
        const Port& port = record(m.stores.port, number);
        for (const u32 pv : meet<&Pv::port_link>(m.stores.pv, marks, port.pv_head).numbers)
            on_port[pv] = record(m.stores.pv, pv).port_id == port.PortID;
    }
    return on_port;
}

// The eight memberships of one VLAN record, in use or not, by their numbers there.
struct Own {
    Store<Pv> store;
    u32 first;  // its number among all
};

Own own_pvs(const Mend& m, u32 slot)
{
    const u32 first = slot * pvs_per_vlan;
    return {{"membership", m.stores.pv.base, m.stores.pv.offset(first).value, pvs_per_vlan}, first};
}

const char* refuse(const Mend& m, const Vlan& vlan, const Pv& pv, const std::vector<const Pv*>& members)
{
    if (pv.VID != vlan.VID) return "it is not of this VLAN: it is dropped";
    const Port* const port = m.port(pv.port_id);
    if (!port) return "its port is not there: it is dropped";
    for (const Pv* const other : members) {
        if (other->port_id == pv.port_id) return "it is there twice: one is dropped";
        if (port->p_type == port_type_vif && m.port(other->port_id)->p_type == port_type_vif)
            return "the VLAN has a virtual interface already: it is dropped";
    }
    return nullptr;
}

// A port that is to join gets its PVID first.
void take_pvid_back(Mend& m, const Vlan& vlan, const Pv& pv, const std::vector<const Pv*>& members)
{
    Port* const port = m.port(pv.port_id);
    if (!port || pv.VID != vlan.VID || !owns_pvid(pv) || port->PVID != vlan.VID) return;
    for (const Pv* const other : members) {
        if (other->port_id == pv.port_id && owns_pvid(*other)) return;
    }
    port->PVID = 0;
    did(m, {a_port, port->PortID}, "its PVID is 0 again");
    touch(m, Touched::Kind::port, port->PortID, true);
}

void mend_members(Mend& m, u32 slot, const std::vector<bool>& on_port)
{
    const Own own = own_pvs(m, slot);
    Vlan& vlan = record(m.stores.vlan, slot);
    const bool in_use = m.vlans.is[slot];
    std::vector<bool> on_free(pvs_per_vlan);
    const Met free = meet<&Pv::vlan_link>(own.store, on_free, vlan.pv_free);
    std::vector<bool> on_list(pvs_per_vlan);
    const Met listed = in_use ? meet<&Pv::vlan_link>(own.store, on_list, vlan.pv_head) : Met{};

    std::vector<u32> candidates;
    for (const u32 i : listed.numbers) {
        if (!on_free[i] || on_port[own.first + i]) candidates.push_back(i);
    }
    for (u32 i = 0; i < pvs_per_vlan && listed.cut; ++i) {
        if (!on_list[i] && !on_free[i] && on_port[own.first + i]) candidates.push_back(i);
    }
    std::vector<u32> order;
    std::vector<const Pv*> members;
    std::vector<bool> live(pvs_per_vlan);
    for (const u32 i : candidates) {
        Pv& pv = record(own.store, i);
        if (const char* const why = refuse(m, vlan, pv, members)) {
            dropped(m, called(pv), why);
            continue;
        }
        live[i] = true;
        order.push_back(i);
        members.push_back(&pv);
        if (set(pv.pv_flag, pv.pv_flag & (pv_tagged | pv_protocol))) did(m, called(pv), "flags that are none go");
        if (on_port[own.first + i] && on_list[i]) continue;
        did(m, called(pv), "it is put on both its lists");
        touch(m, Touched::Kind::membership, vlan.VID, true, pv.port_id);
    }

    std::vector<u32> come;
    for (u32 i = 0; i < pvs_per_vlan; ++i) {
        if (live[i] || on_free[i]) continue;
        come.push_back(i);
        const Pv& pv = record(own.store, i);
        if (!in_use) continue;
        const bool again = std::any_of(members.begin(), members.end(),
                                       [&pv](const Pv* other) { return other->port_id == pv.port_id; });
        if (!on_list[i]) dropped(m, called(pv), "it was half made or half removed: its record is freed");
        if (!again) touch(m, Touched::Kind::membership, vlan.VID, false, pv.port_id);
        take_pvid_back(m, vlan, pv, members);
    }
    const Name name = in_use ? Name{a_vlan, vlan.VID} : Name{"unused VLAN record %d", slot};
    sort_by<&Pv::port_id>(own.store, order);
    if (in_use) {
        const Offset old_head = vlan.pv_head;
        const std::vector<u32> moved = write_list<&Pv::vlan_link>(own.store, vlan.pv_head, order);
        if (!moved.empty() || vlan.pv_head != old_head) did(m, name, "the links of its memberships are set");
        for (const u32 place : moved)
            touch(m, Touched::Kind::membership, vlan.VID, true, record(own.store, order[place]).port_id);
        if (set(vlan.npv, static_cast<u32>(order.size()))) did(m, name, "its memberships are counted anew");
    }
    write_free_list<&Pv::vlan_link>(m,
                                    in_use ? Name{"free membership list of VLAN %d", vlan.VID}
                                           : Name{"free membership list of VLAN record %d", slot},
                                    own.store, vlan.pv_free, free.numbers, come, live);
    for (const u32 i : order) {
        m.pvs.is[own.first + i] = true;
        m.pvs.order.push_back(own.first + i);
    }
}

void mend_lists_of_ports(Mend& m)
{
    const PvStore& store = m.stores.pv;
    std::map<u32, std::vector<u32>> of_port;
    for (const u32 number : m.pvs.order) of_port[record(store, number).port_id].push_back(number);
    for (const u32 number : m.ports.order) {
        Port& port = record(m.stores.port, number);
        // What no look-up finds is in no VLAN.
        std::vector<u32> order = m.port(port.PortID) ? of_port[port.PortID] : std::vector<u32>{};
        sort_by<&Pv::VID>(store, order);
        const Name name{a_port, port.PortID};
        const Offset old_head = port.pv_head;
        const std::vector<u32> moved = write_list<&Pv::port_link>(store, port.pv_head, order);
        if (!moved.empty() || port.pv_head != old_head) did(m, name, "the links of its memberships are set");
        for (const u32 place : moved) {
            const Pv& pv = record(store, order[place]);
            touch(m, Touched::Kind::membership, pv.VID, true, pv.port_id);
        }
        if (set(port.npv, static_cast<u32>(order.size()))) did(m, name, "its memberships are counted anew");
    }
}

}  // namespace

void mend_vlans(Mend& m)
{
    Names names;
    m.vlans = mend_kind(m, m.stores.vlan, kind_vlan, Touched::Kind::vlan,
                        [&names](const Vlan& vlan) { return names.refuse(vlan); });
    for (const u32 number : m.vlans.order) {
        Vlan& vlan = record(m.stores.vlan, number);
        if (set(vlan.fdb.FID, vlan.VID)) did(m, {a_vlan, vlan.VID}, "its FID is set");
        if (set(vlan.fdb.kind, kind_vlan_fdb)) did(m, {a_vlan, vlan.VID}, "the kind of its FDB is set");
    }
    mend_names(m);
}

void mend_memberships(Mend& m)
{
    m.pvs.is.assign(m.stores.pv.count, false);
    const std::vector<bool> on_port = pvs_on_ports(m);
    for (u32 slot = 0; slot < m.stores.vlan.count; ++slot) mend_members(m, slot, on_port);
    mend_lists_of_ports(m);
}

}  // namespace zelfdb::audit
