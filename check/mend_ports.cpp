// Ports, physical ports, the chains of ports with one PVID, and the ports' bindings to protocol groups.
#include <array>

#include "check/mend_kind.h"

namespace zelfdb::audit {
namespace {

constexpr const char* a_phport = "physical port %d";

// The numbers 1 to 4, each once: those that records have already stay.
void number_phports(Mend& m)
{
    std::array<bool, phport_count + 1> taken{};
    std::vector<Phport*> without;
    for (u32 number = 0; number < phport_count; ++number) {
        Phport& phport = record(m.stores.phport, number);
        const bool fits = phport.ID >= 1 && phport.ID <= phport_count && !taken[phport.ID];
        if (fits)
            taken[phport.ID] = true;
        else
            without.push_back(&phport);
    }
    for (Phport* const phport : without) {
        u16 id = 1;
        while (taken[id]) ++id;
        taken[id] = true;
        phport->ID = id;
        did(m, {a_phport, id}, "a record without a number gets it");
    }
}

void mend_phports(Mend& m)
{
    const Store<Phport>& store = m.stores.phport;
    Header& header = m.header;
    number_phports(m);
    std::vector<u32> order(phport_count);
    for (u32 number = 0; number < phport_count; ++number) order[record(store, number).ID - 1u] = number;
    const Offset old_head = header.phport_head;
    const bool moved = !write_list<&Phport::phport_link>(store, header.phport_head, order).empty();
    if (moved || header.phport_head != old_head) did(m, "physical port list", "its links are set");
    if (set(header.phport_free, none)) did(m, "free physical port list", "it is empty again");
    for (u32 i = 0; i < phport_count; ++i) {
        if (set(header.phport_index[i], store.offset(order[i])))
            did(m, {"physical port index slot %d", i + 1}, "it leads to its physical port");
    }
}

void mark_phports(Mend& m)
{
    std::array<bool, 0x100> named{};
    for (const u32 number : m.ports.order) {
        const Port& port = record(m.stores.port, number);
        if (port.p_type == port_type_ether) named[port.phport] = true;
    }
    for (u32 number = 0; number < phport_count; ++number) {
        Phport& phport = record(m.stores.phport, number);
        if (set(phport.bound, named[phport.ID] ? 1u : 0u))
            did(m, {a_phport, phport.ID}, phport.bound ? "it is marked as used" : "its mark as used is taken away");
    }
}

void mend_fields(Mend& m, Port& port)
{
    const Name name{a_port, port.PortID};
    if (set(port.fdb.FID, port_FID_base + port.PortID)) did(m, name, "its FID is set");
    if (set(port.fdb.kind, kind_port_fdb)) did(m, name, "the kind of its FDB is set");
    for (u8& pad : port.pad14) pad = 0;
    if (port.sldbkr_state <= sldbkr_tripped) return;
    port.sldbkr_state = port.sldbkr_on == 1 ? sldbkr_armed : sldbkr_idle;
    did(m, name, "the state of its breaker was none");
    touch(m, Touched::Kind::port, port.PortID, true);
}

}  // namespace

void mend_ports(Mend& m)
{
    m.ports =
        mend_kind(m, m.stores.port, kind_port, Touched::Kind::port, [](const Port&) -> const char* { return nullptr; });
    for (const u32 number : m.ports.order) {
        Port& port = record(m.stores.port, number);
        if (port.PortID <= mended_port_id_max) m.port_by_id[port.PortID] = &port;
        mend_fields(m, port);
    }
    mend_phports(m);
    mark_phports(m);
}

void mend_pvids(Mend& m)
{
    const Store<Port>& store = m.stores.port;
    std::map<u32, std::vector<u32>> chains;
    for (const u32 number : m.ports.order) chains[record(store, number).PVID].push_back(number);
    const std::vector<u32> empty;
    for (u32 pvid = 0; pvid < pvid_chain_count; ++pvid) {
        const auto found = chains.find(pvid);
        const std::vector<u32>& chain = found == chains.end() ? empty : found->second;
        Offset& head = m.header.pvid_chain[pvid];
        const Offset old_head = head;
        const std::vector<u32> moved = write_list<&Port::pvid_link>(store, head, chain);
        if (!moved.empty() || head != old_head) did(m, {"chain of PVID %d", pvid}, "its links are set");
        for (const u32 place : moved) touch(m, Touched::Kind::port, record(store, chain[place]).PortID, true);
    }
}

namespace {

bool stands(const Mend& m, const Port& port, const ProtBinding& row)
{
    const ProtGroupTable& table = m.header.prot_groups;
    const auto* const groups_end = table.group + table.count;
    if (std::none_of(table.group, groups_end, [&row](const ProtGroup& g) { return g.group == row.group; }))
        return false;
    return std::any_of(m.pvs.order.begin(), m.pvs.order.end(), [&](u32 number) {
        const Pv& pv = record(m.stores.pv, number);
        return pv.VID == row.VID && pv.port_id == port.PortID && (pv.pv_flag & pv_protocol);
    });
}

void mend_bindings(Mend& m, Port& port)
{
    ProtBinding kept[prot_bindings_per_port] = {};
    u32 count = 0;
    for (u32 i = 0; i < prot_bindings_per_port; ++i) {
        const ProtBinding& row = port.prot[i];
        const auto same = [&row](const ProtBinding& other) { return std::memcmp(&other, &row, sizeof row) == 0; };
        if (row.VID != 0 && std::none_of(kept, kept + count, same) && stands(m, port, row)) kept[count++] = row;
    }
    if (port.npg == count && std::memcmp(port.prot, kept, sizeof kept) == 0) return;
    port.npg = count;
    std::memcpy(port.prot, kept, sizeof kept);
    did(m, {a_port, port.PortID}, "its bindings to protocol groups are those of its memberships");
    touch(m, Touched::Kind::port, port.PortID, true);
}

}  // namespace

void mend_bindings_to_groups(Mend& m)
{
    for (const u32 number : m.ports.order) mend_bindings(m, record(m.stores.port, number));
}

}  // namespace zelfdb::audit
