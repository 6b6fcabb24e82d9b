// Creation and deletion of ports.
#include "core/call.h"
#include "core/segments.h"
#include "fdb/entries.h"
#include "fdb/listing.h"
#include "np/port_commands.h"
#include "vlan/membership.h"  // a port that goes takes its memberships along, which are the VLANs' records

namespace zelfdb {
namespace {

constexpr u16 ether_flags = 0x173;
constexpr u16 vif_flags = 0x232;
constexpr u16 default_tagtype = 0x8100;
constexpr u32 default_aging_s = 300;

u16 initial_flags(i32 p_type)
{
    switch (p_type) {
    case port_type_ether: return ether_flags;
    case port_type_vif: return vif_flags;
    default: return 0;
    }
}

// Marks the physical port at once. The mark stays even when no port record turns out to be free: deliberate, callers depend
// on it.
u32 bind_phport(const Call& call, u32 id)
{
    Phport* const phport = call.phport(id);
    if (!phport) return ZELFDB_PHPORT_UNKNOWN;
    if (phport->bound == 1) return ZELFDB_PHPORT_BOUND;
    phport->bound = 1;
    return ZELFDB_DONE;
}

// Fields that are not named here keep what the record's last user left in them: cosmap and its bits, uplink, the reserved
// word, the link dependency list, upv, the bandwidth mode and the link frames. Deliberate, callers depend on it. The
// forwarding bits are there although the port starts down: deliberate too.
void fill(Port& port, u32 port_id, u32 phport, i32 p_type)
{
    port.PortID = port_id;
    port.p_flag = initial_flags(p_type);
    port.p_type = static_cast<u8>(p_type & 0xFF);
    port.pri = 0;
    port.phport = static_cast<u8>(phport & 0xFF);
    port.pad9 = 0;
    port.tagtype = default_tagtype;
    port.PVID = 0;
    port.pad14[0] = port.pad14[1] = 0;
    port.npg = 0;
    for (ProtBinding& binding : port.prot) binding = {};
    for (Policing& row : port.policing) row = {};
    port.optate = optate_down;
    port.aging = default_aging_s;
    port.sldbkr_on = 0;
    port.sldbkr_state = sldbkr_idle;
    port.def_spno = 0;
    port.def_pri = 0;
    port.def_color = 0;
    port.link_mode = 1;
    port.link_depend = 1;
    port.npv = 0;
}

// The number may have been overwritten since creation: whatever the record names now is unbound, deliberately.
void unbind_phport(const Call& call, const Port& port)
{
    if (port.p_type != port_type_ether) return;
    if (Phport* const phport = call.phport(port.phport)) phport->bound = 0;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_port(uint32_t port_id, uint32_t phport, int32_t p_type, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();
    Header& header = call.header();

    // Not the known port, deliberately: port 0 finds the free list's first record, and is refused by that. The range of
    // the ID is not tested.
    if (lookup_port(call.base(), header, port_id)) return call.fail(ZELFDB_PORT_EXISTS);
    if (p_type == port_type_ether) {
        if (const u32 code = bind_phport(call, phport)) return call.fail(code);
    }
    Port* const port = alloc_port(call.base(), header);
    if (!port) return call.fail(ZELFDB_PORT_POOL_EMPTY);

    fill(*port, port_id, phport, p_type);
    init_fdb(&call.descriptor(), port->fdb, kind_port_fdb, port_FID_base + port_id);
    create_port_to_NP(call.descriptor(), *port);

    enQ_port(call.base(), header, *port);
    enQ_port_by_pvid(call.base(), header, *port);
    ++header.port_count;
    index_port(call.base(), header, *port);
    ++header.history[ports_created];
    return 0;
}

int zelfdb_delete_port(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();
    Header& header = call.header();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->pv_head != none) return call.fail(ZELFDB_PORT_IN_VLAN);
    if (port->uplink == 1) return call.fail(ZELFDB_PORT_IS_UPLINK);

    // Learned entries and bound streams stay behind, deliberately: callers depend on it.
    unbind_phport(call, *port);
    delete_sfil_select_port(call.descriptor(), port_id);
    delete_port_to_NP(call.descriptor(), port_id);
    delete_all_pv_in_a_port(call.descriptor(), *port);

    unindex_port(header, *port);
    deQ_port(call.base(), header, *port);
    deQ_port_by_pvid(call.base(), header, *port);
    --header.port_count;
    clear_fdb(call.descriptor(), port->fdb, fil_local);
    free_port(call.base(), header, port);
    ++header.history[ports_deleted];
    return 0;
}
