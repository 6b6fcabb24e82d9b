// Reading VLANs: one, all, by name, by port.
#include <cstring>

#include "core/bounded_rows.h"
#include "core/bulk.h"
#include "core/call.h"

namespace zelfdb {
namespace {

constexpr std::size_t rows_at = offsetof(zelfdb_vlan_info, member);
constexpr std::size_t pvid_list_at = sizeof(zelfdb_vlan_info);

void add_to_word(u8* at, u32 by)
{
    u32 word = 0;
    std::memcpy(&word, at, sizeof word);
    word += by;
    std::memcpy(at, &word, sizeof word);
}

// Records may lie at any address, so they are written by copying.
void write_vlan(const Call& call, const Vlan& vlan, u8* record, std::size_t limit)
{
    u32 members = 0;
    u32 untagged = 0;
    BoundedRows rows{record, rows_at, limit};
    for (const Pv& pv : walk(pvs_of_vlan, call.base(), vlan)) {
        const Port* const port = call.port(pv.port_id);
        rows.put(pv.port_id, port ? port->p_type : 0, pv.pv_flag, pv.tagtype);
        ++members;
        if (!(pv.pv_flag & pv_tagged)) ++untagged;
    }
    u32 npvid = 0;
    BoundedRows pvid_list{record, pvid_list_at, limit};
    for (const Port& port : ports_of_pvid(call.base(), call.header(), vlan.VID)) {
        pvid_list.put(port.PortID);
        ++npvid;
    }
    std::memcpy(record, vlan.name, sizeof vlan.name);
    BoundedRows head{record, offsetof(zelfdb_vlan_info, vlan_flag), limit};
    head.put(vlan.vlan_flag, vlan.VID, members, untagged);
    // Added to, not stored: deliberate, callers depend on it and pass zeroed records.
    add_to_word(record + offsetof(zelfdb_vlan_info, npvid), npvid);
    BoundedRows{record, offsetof(zelfdb_vlan_info, nfil), limit}.put(vlan.fdb.nfil);
}

int get_vid(const Call& call, const char* name, u32* vid)
{
    if (!call) return call.failed();
    const Vlan* const vlan = lookup_vlan_by_vlanname(call.base(), call.header(), name);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    *vid = vlan->VID;
    return 0;
}

int get_vlanname(const Call& call, u32 vid, char* name)
{
    if (!call) return call.failed();
    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    std::memcpy(name, vlan->name, strnlen(vlan->name, 30));
    name[strnlen(vlan->name, 30)] = '\0';
    return 0;
}

int get_port_ids(const Call& call, i32 max, u32 vid, u32* port_ids)
{
    if (!call) return call.failed();
    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    if (vlan->pv_head == none) return call.fail(ZELFDB_NOT_MEMBER);
    i32 written = 0;
    for (const Pv& pv : walk(pvs_of_vlan, call.base(), *vlan)) {
        if (written == max) break;
        port_ids[written++] = pv.port_id;
    }
    return static_cast<int>(vlan->npv);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_get_vlan_info(uint32_t vid, zelfdb_vlan_info* info)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);

    write_vlan(call, *vlan, reinterpret_cast<u8*>(info), BoundedRows::unbounded);
    return 0;
}

int zelfdb_get_all_vlaninfo(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();
    if (buffer->record_size < ZELFDB_VLAN_INFO_SIZE) return -1;

    Offset first = call.header().vlan_head;
    if (cursor->calls == 0) {
        if (first == none) return -1;
    } else {
        const Vlan* const last = call.vlan(cursor->key);
        if (!last) return -1;
        first = last->vlan_link.next;
    }
    return fill_from<&Vlan::vlan_link>(
        call.base(), first, call.header().vlan_count, *cursor, *buffer,
        [&](const Vlan& vlan, u8* record) { write_vlan(call, vlan, record, buffer->record_size); },
        [](const Vlan& vlan) { return u32{vlan.VID}; });
}

int zelfdb_get_vid(const char* name, uint32_t* vid, uint32_t* err)
{
    using namespace zelfdb;
    return get_vid(Call{Lock::main, err}, name, vid);
}

int zelfdb_get_vid2(zelfdb_descriptor* descriptor, const char* name, uint32_t* vid, uint32_t* err)
{
    using namespace zelfdb;
    return get_vid(Call{descriptor, Lock::main, err}, name, vid);
}

int zelfdb_get_vlanname(uint32_t vid, char* name, uint32_t* err)
{
    using namespace zelfdb;
    return get_vlanname(Call{Lock::main, err}, vid, name);
}

int zelfdb_get_vlanname2(zelfdb_descriptor* descriptor, uint32_t vid, char* name, uint32_t* err)
{
    using namespace zelfdb;
    return get_vlanname(Call{descriptor, Lock::main, err}, vid, name);
}

int zelfdb_get_portID_from_vid(int32_t max, uint32_t vid, uint32_t* port_ids, uint32_t* err)
{
    using namespace zelfdb;
    // Tested before a descriptor is opened, and told by the code of one that could not be: callers know it by that.
    if (max < 1) {
        *err = ZELFDB_NO_DESCRIPTOR;
        return -1;
    }
    return get_port_ids(Call{Lock::main, err}, max, vid, port_ids);
}

int zelfdb_get_portID_from_vid2(zelfdb_descriptor* descriptor, int32_t max, uint32_t vid, uint32_t* port_ids,
                                uint32_t* err)
{
    using namespace zelfdb;
    if (max < 1) return -1;
    return get_port_ids(Call{descriptor, Lock::main, err}, max, vid, port_ids);
}

int zelfdb_get_vid_from_portID2(zelfdb_descriptor* descriptor, int32_t max, uint32_t port_id, uint32_t* vids,
                                uint32_t* err)
{
    using namespace zelfdb;
    if (max < 1) return -1;
    const Call call{descriptor, Lock::main, err};
    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    if (port->pv_head == none) return call.fail(ZELFDB_NOT_MEMBER);

    i32 written = 0;
    for (const Pv& pv : walk(pvs_of_port, call.base(), *port)) {
        if (written == max) break;
        vids[written++] = pv.VID;
    }
    return static_cast<int>(port->npv);
}
