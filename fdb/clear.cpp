// Clearing whole databases in batches, and the user-entry limit.
#include <unistd.h>

#include <cstdlib>

#include "core/call.h"
#include "fdb/entries.h"
#include "np/fdb_commands.h"

namespace zelfdb {

int remove_fil_batch(const Descriptor& d, const FilBatch& batch)
{
    vf_cmd* joined = nullptr;
    for (u32 i = 0; i < batch.count; ++i) {
        vf_cmd* const removal = removal_of(d, *batch.entry[i]);
        if (!removal) continue;
        joined = joined ? vf_Joint(joined, removal) : removal;
    }
    if (joined) deliver(d, joined);  // the entries go whatever the NP says
    for (u32 i = 0; i < batch.count; ++i) drop_entry(d, fdb_of(d, *batch.entry[i]), *batch.entry[i]);
    if (joined) vf_cmdNFreeB(joined);
    return 0;
}

int clear_fdb(const Descriptor& d, FdbHead& fdb, u32 type)
{
    constexpr u32 batches_between_pauses = 10;
    auto* const batch = static_cast<FilBatch*>(std::malloc(sizeof(FilBatch)));
    if (!batch) return -1;
    batch->count = 0;
    u32 batches = 0;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (Fil& fil : chain(fils_by_mac, fdb_base(d), fdb, bucket)) {
            if (fil.fil_type != type) continue;
            batch->entry[batch->count++] = &fil;
            if (batch->count < batch_max) continue;
            remove_fil_batch(d, *batch);
            batch->count = 0;
            if (++batches % batches_between_pauses == 0) sleep(1);
        }
    }
    if (batch->count != 0) remove_fil_batch(d, *batch);
    std::free(batch);
    return 0;
}

}  // namespace zelfdb

int zelfdb_clear_fdb(void)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, nullptr};
    if (!call) return call.failed();

    for (Vlan& vlan : walk(all_vlans, call.base(), call.header())) {
        if (vlan.fdb.nfil != 0) clear_fdb(call.descriptor(), vlan.fdb, fil_dynamic);
    }
    return 0;
}

int zelfdb_clear_fdb_vlan(uint32_t vid)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, nullptr};
    if (!call) return call.failed();

    Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);

    clear_fdb(call.descriptor(), vlan->fdb, fil_dynamic);
    return 0;
}

int zelfdb_set_fdb_userarea(uint32_t limit, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err, Release::fdb_then_main, Open::database_only};
    if (!call) return call.failed();

    call.header().fdb_userarea = limit;
    return 0;
}
