// Reading ports: one, and all.
#include <cstring>

#include "core/bounded_rows.h"
#include "core/bulk.h"
#include "core/call.h"

namespace zelfdb {
namespace {

constexpr std::size_t copied_head = offsetof(Port, port_link);  // ID, flags, tag type, PVID and protocol bindings

// What both readers write, up to the breaker's state.
void write_head(const Port& port, u8* record)
{
    static_assert(copied_head == offsetof(zelfdb_port_info, policing));
    std::memcpy(record, &port, copied_head);
    std::memcpy(record + offsetof(zelfdb_port_info, policing), port.policing, sizeof port.policing);
    std::memcpy(record + offsetof(zelfdb_port_info, cosmap), port.cosmap, sizeof port.cosmap);
    BoundedRows words{record, offsetof(zelfdb_port_info, valbit), offsetof(zelfdb_port_info, def_spno)};
    words.put(port.valbit, port.optate, port.aging, port.sldbkr_on, port.sldbkr_state);
}

// The rows that fit, and how many memberships there are.
u32 write_rows(const Call& call, const Port& port, u8* record, std::size_t limit)
{
    u32 count = 0;
    BoundedRows rows{record, offsetof(zelfdb_port_info, member), limit};
    for (const Pv& pv : walk(pvs_of_port, call.base(), port)) {
        rows.put(pv.VID, pv.pv_flag, pv.tagtype);
        ++count;
    }
    return count;
}

void write_count(u8* record, u32 count)
{
    std::memcpy(record + offsetof(zelfdb_port_info, nmember), &count, sizeof count);
}

// The listing leaves the words behind the breaker's state alone, and the count too when there is nothing to count: both
// deliberate, callers depend on finding there what they had put there.
void write_listed(const Call& call, const Port& port, u8* record, std::size_t limit)
{
    write_head(port, record);
    if (const u32 count = write_rows(call, port, record, limit)) write_count(record, count);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_get_portinfo(uint32_t port_id, zelfdb_port_info* info)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();
    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    auto* const record = reinterpret_cast<u8*>(info);
    write_head(*port, record);
    BoundedRows words{record, offsetof(zelfdb_port_info, def_spno), offsetof(zelfdb_port_info, nmember)};
    words.put(port->def_spno, port->def_pri, port->def_color, port->bw_calc_mode, port->link_frames_fwd);
    // A port without memberships reports one, and no row: deliberate, callers compare the count.
    const u32 count = write_rows(call, *port, record, BoundedRows::unbounded);
    write_count(record, count == 0 ? 1 : count);
    return 0;
}

int zelfdb_get_all_portinfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();
    if (buffer->record_size < sizeof(zelfdb_port_info)) return -1;

    Offset first = call.header().port_head;
    if (cursor->calls == 0) {
        if (first == none) return -1;
    } else {
        const Port* const last = call.port(cursor->key);
        if (!last) return -1;
        first = last->port_link.next;
    }
    return fill_from<&Port::port_link>(
        call.base(), first, call.header().port_count, *cursor, *buffer,
        [&](const Port& port, u8* record) { write_listed(call, port, record, buffer->record_size); },
        [](const Port& port) { return port.PortID; });
}
