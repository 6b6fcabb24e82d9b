// Creation and deletion of VLANs.
#include <cstring>

#include "core/call.h"
#include "core/segments.h"
#include "fdb/entries.h"
#include "np/vlan_commands.h"

namespace zelfdb {
namespace {

constexpr std::size_t name_max = 30;

u32 refuse_name(const Call& call, const char* name)
{
    if (strnlen(name, name_max + 1) > name_max) return ZELFDB_NAME_TOO_LONG;
    if (lookup_vlan_by_vlanname(call.base(), call.header(), name)) return ZELFDB_NAME_IN_USE;
    return ZELFDB_DONE;
}

// The VID asked for, or the lowest free one for a negative one.
u32 choose_vid(const Call& call, i32 asked, u16& vid)
{
    const i32 chosen = asked < 0 ? search_free_DOT1QVID(call.header()) : asked;
    if (chosen < 0) return ZELFDB_NO_FREE_VID;
    if (chosen < 1 || chosen > 4094) return ZELFDB_BAD_VID;
    if (call.vlan(static_cast<u32>(chosen))) return ZELFDB_VID_IN_USE;
    vid = static_cast<u16>(chosen);
    return ZELFDB_DONE;
}

void fill(Vlan& vlan, const char* name, u16 vid)
{
    std::memset(vlan.name, 0, sizeof vlan.name);
    std::strcpy(vlan.name, name);
    vlan.npv = 0;
    vlan.upv = 0;
    vlan.VID = vid;
    vlan.vlan_flag = 0;
    vlan.sld_lastMsgTick = 0;
    vlan.sld_msgcnt = 0;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_vlan(const char* name, int32_t* vid, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();
    Header& header = call.header();

    if (!vid) return call.failed();
    if (const u32 code = refuse_name(call, name)) return call.fail(code);
    u16 chosen = 0;
    if (const u32 code = choose_vid(call, *vid, chosen)) return call.fail(code);
    Vlan* const vlan = alloc_vlan(call.base(), header);
    if (!vlan) return call.fail(ZELFDB_VLAN_POOL_EMPTY);

    fill(*vlan, name, chosen);
    init_fdb(&call.descriptor(), vlan->fdb, kind_vlan_fdb, chosen);
    create_vlan_to_NP(call.descriptor(), *vlan);

    enQ_vlan(call.base(), header, *vlan);
    ++header.vlan_count;
    hAdd_vlan_by_vlanname(call.base(), header, *vlan);
    index_vlan(call.base(), header, *vlan);
    *vid = chosen;
    ++header.history[vlans_created];
    return 0;
}

int zelfdb_delete_vlan(uint32_t vid, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();
    Header& header = call.header();

    Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);
    if (vlan->pv_head != none) return call.fail(ZELFDB_VLAN_HAS_PORTS);

    // The NP loses the VLAN, then its STATIC entries, then its learned ones: callers compare the order of the commands.
    delete_vlan_to_NP(call.descriptor(), vlan->VID);
    clear_fdb(call.descriptor(), vlan->fdb, fil_static);
    clear_fdb(call.descriptor(), vlan->fdb, fil_dynamic);
    hRem_vlan_by_vlanname(call.base(), header, *vlan);
    unindex_vlan(header, *vlan);
    deQ_vlan(call.base(), header, *vlan);
    --header.vlan_count;
    free_vlan(call.base(), header, vlan);
    ++header.history[vlans_deleted];
    return 0;
}
