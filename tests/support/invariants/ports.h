// Ports and physical ports: lists, indexes, PVID chains, fields.
#pragma once

#include "core/lists.h"
#include "support/invariants/audit.h"

namespace zelfdb::audit {

inline Pool<Port> ports_of(const Audit& a) { return {"port", a.main, static_cast<u32>(a.layout.port), a.header.nport}; }

inline std::string called(const Port& port) { return "port " + std::to_string(static_cast<i32>(port.PortID)); }

inline void check_phports(Audit& a)
{
    Header& h = a.header;
    const Pool<Phport> pool{"phport", a.main, static_cast<u32>(a.layout.phport), phport_count};
    const auto used = records_in_use<&Phport::phport_link>(a, pool, h.phport_free, h.phport_head);
    expect_order<&Phport::ID>(a, "phport list", used.records, Order::ascending);
    expect_index<&Phport::ID>(a, pool, used, h.phport_index, {1, phport_count, phport_count});
    expect_equal(a, "number of phports", static_cast<u32>(used.records.size()), phport_count);
    for (const Phport* phport : used.records) {
        if (phport->ID < 1 || phport->ID > phport_count) note(a, "phport " + dec(phport->ID) + " has no such ID");
        if (phport->bound > 1) note(a, "phport " + dec(phport->ID) + ": bound is " + dec(phport->bound));
    }
}

inline void check_pvid_chains(Audit& a, const Pool<Port>& pool, const InUse<Port>& used)
{
    Marks marks(pool.count);
    for (u32 pvid = 0; pvid < pvid_chain_count; ++pvid) {
        if (a.header.pvid_chain[pvid] == none) continue;
        const std::string chain = "chain of PVID " + dec(pvid);
        const auto ports = walk<&Port::pvid_link>(a, chain, pool, marks, a.header.pvid_chain[pvid]);
        expect_order<signed_port_id>(a, chain, ports, Order::ascending_or_equal);
        for (const Port* port : ports) {
            if (!used.by_number[pool.number(offset_of(a.main, *port))]) {
                note(a, chain + " leads to " + hex(offset_of(a.main, *port)) + ", where no port is in use");
            }
            if (port->PVID != pvid) note(a, chain + " holds " + called(*port) + ", whose PVID is " + dec(port->PVID));
        }
    }
    for (const Port* port : used.records) {
        const bool chained = marks[pool.number(offset_of(a.main, *port))] != 0;
        if (!chained && port->PVID < pvid_chain_count) {
            note(a, called(*port) + " is not in the chain of its PVID " + dec(port->PVID));
        }
    }
}

inline void check_port_fields(Audit& a, const Port& port)
{
    if (port.fdb.FID != port_FID_base + port.PortID) note(a, called(port) + ": FID is " + hex(port.fdb.FID));
    if (port.fdb.kind != kind_port_fdb) note(a, called(port) + ": kind of FDB is " + dec(port.fdb.kind));
    if (port.npg > prot_bindings_per_port) note(a, called(port) + ": npg is " + dec(port.npg));
    if (port.sldbkr_state > sldbkr_tripped) note(a, called(port) + ": sldbkr_state is " + dec(port.sldbkr_state));
    if (port.pad14[0] != 0 || port.pad14[1] != 0) note(a, called(port) + ": bytes 14 and 15 are not 0");
}

inline InUse<Port> check_ports(Audit& a)
{
    Header& h = a.header;
    check_phports(a);
    const Pool<Port> pool = ports_of(a);
    auto used = records_in_use<&Port::port_link>(a, pool, h.port_free, h.port_head);
    // IDs that no look-up finds can be given out twice.
    expect_order<signed_port_id>(a, "port list", used.records, Order::ascending_or_equal);
    expect_index<&Port::PortID>(a, pool, used, h.port_index, {1, 200, 199});
    expect_equal(a, "port_count", h.port_count, used.records.size());
    check_pvid_chains(a, pool, used);
    for (const Port* port : used.records) check_port_fields(a, *port);
    return used;
}

}  // namespace zelfdb::audit
