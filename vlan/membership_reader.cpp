// Reading a port's memberships.
#include <cstring>

#include "core/bulk.h"
#include "core/call.h"

namespace zelfdb {
namespace {

void write_pv(const Call& call, const Pv& pv, u8* record)
{
    const u32 vid = pv.VID;
    std::memcpy(record + offsetof(zelfdb_pv_info, VID), &vid, sizeof vid);
    const Vlan* const vlan = vid == 0 ? nullptr : call.vlan(vid);
    if (vlan) std::memcpy(record + offsetof(zelfdb_pv_info, vlan_name), vlan->name, sizeof vlan->name);
    std::memcpy(record + offsetof(zelfdb_pv_info, port_id), &pv.port_id, sizeof pv.port_id);
    record[offsetof(zelfdb_pv_info, pv_flag)] = pv.pv_flag;
    record[offsetof(zelfdb_pv_info, pv_flag2)] = pv.pv_flag2;
    std::memcpy(record + offsetof(zelfdb_pv_info, tagtype), &pv.tagtype, sizeof pv.tagtype);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_get_all_pvinfo_in_a_port(uint32_t port_id, zelfdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();
    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (buffer->record_size < sizeof(zelfdb_pv_info)) return -1;

    Offset first = port->pv_head;
    if (cursor->calls == 0) {
        if (first == none) return -1;
    } else {
        const Vlan* const vlan = call.vlan(cursor->key);
        const Pv* const last = vlan ? lookup_pv_by_vlan_in_a_port(call.base(), call.header(), *port, *vlan) : nullptr;
        if (!last) return -1;
        first = last->port_link.next;
    }
    return fill_from<&Pv::port_link>(
        call.base(), first, port->npv, *cursor, *buffer, [&](const Pv& pv, u8* record) { write_pv(call, pv, record); },
        [](const Pv& pv) { return u32{pv.VID}; });
}
