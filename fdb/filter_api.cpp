// The exported operations on static and local entries and the three listings. All of them write the final detail code.
#include "core/call.h"
#include "fdb/entries.h"
#include "fdb/listing.h"

namespace zelfdb {
namespace {

struct StaticEntry {
    u32 vid;
    const Mac& mac;
    u32 port;
    u32 flag;
    u32 permit;
};

int create_sfil(const Call& call, const StaticEntry& entry)
{
    if (!call) return call.failed();

    Vlan* const vlan = call.vlan(entry.vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    if (!(entry.flag & fil_flag_no_port) && !call.port(entry.port)) return call.fail(ZELFDB_NO_PORT);

    return call.finish(
        add_fdbentry_static(call.descriptor(), vlan->fdb, entry.mac, entry.flag, entry.permit, entry.port));
}

int delete_sfil(const Call& call, u32 vid, const Mac& mac, u32 permit)
{
    if (!call) return call.failed();

    Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);

    return call.finish(rem_fdbentry(call.descriptor(), fil_static, vlan->fdb, mac, nullptr, permit));
}

int list_vlan(const Call& call, u32 vid, zelfdb_fdb_cursor& cursor, zelfdb_ropebuf& buffer, u32 type)
{
    if (!call) return call.failed();

    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);

    return list_fil_entries(call.descriptor(), vlan->fdb, cursor, buffer, type);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_sfil(uint32_t vid, const uint8_t* mac, uint32_t port, uint32_t flag, uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    return create_sfil(Call{Lock::main_and_fdb, err}, {vid, mac_at(mac), port, flag, permit});
}

int zelfdb_create_sfil2(zelfdb_descriptor* descriptor, uint32_t vid, const uint8_t* mac, uint32_t port, uint32_t flag,
                        uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    return create_sfil(Call{descriptor, Lock::main_and_fdb, err}, {vid, mac_at(mac), port, flag, permit});
}

int zelfdb_delete_sfil(uint32_t vid, const uint8_t* mac, uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    return delete_sfil(Call{Lock::main_and_fdb, err}, vid, mac_at(mac), permit);
}

int zelfdb_delete_sfil2(zelfdb_descriptor* descriptor, uint32_t vid, const uint8_t* mac, uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    return delete_sfil(Call{descriptor, Lock::main_and_fdb, err}, vid, mac_at(mac), permit);
}

int zelfdb_create_lfil(uint32_t port_id, const uint8_t* mac, uint32_t flag, uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    return call.finish(add_fdbentry_local(call.descriptor(), port->fdb, mac_at(mac), flag, permit));
}

int zelfdb_delete_lfil(uint32_t port_id, const uint8_t* mac, uint32_t permit, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    return call.finish(rem_fdbentry(call.descriptor(), fil_local, port->fdb, mac_at(mac), nullptr, permit));
}

int zelfdb_get_all_dfil(uint32_t vid, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    // Gives the locks back main first, on purpose: pollers of this listing hold up nobody who needs the main lock alone.
    return list_vlan(Call{Lock::main_and_fdb, nullptr, Release::main_then_fdb}, vid, *cursor, *buffer, fil_dynamic);
}

int zelfdb_get_all_sfil(uint32_t vid, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    return list_vlan(Call{Lock::main_and_fdb, nullptr}, vid, *cursor, *buffer, fil_static);
}

int zelfdb_get_all_lfil(uint32_t port_id, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer)
{
    using namespace zelfdb;
    // The FDB lock stays with the process until it ends: kept on purpose, callers run this in a process of its own.
    const Call call{Lock::main_and_fdb, nullptr, Release::main_only};
    if (!call) return call.failed();

    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    return list_fil_entries(call.descriptor(), port->fdb, *cursor, *buffer, fil_local);
}

int zelfdb_delete_sfil_select_port(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    delete_sfil_select_port(call.descriptor(), port_id);
    return call.finish(ZELFDB_DONE);
}

int zelfdb_delete_sfil_select_port2(zelfdb_descriptor* descriptor, uint32_t port_id)
{
    using namespace zelfdb;
    const Call call{descriptor, Lock::main_and_fdb, nullptr};
    return delete_sfil_select_port(call.descriptor(), port_id);
}
