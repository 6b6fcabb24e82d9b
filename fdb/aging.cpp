// Aging: DYNAMIC entries whose station is no longer heard leave the database and the NP.
#include "core/call.h"
#include "fdb/entries.h"
#include "fdb/learning.h"
#include "np/fdb_commands.h"

namespace zelfdb {
namespace {

// Asks the NP for how long the entry was idle, then removes it or notes when it was last in use. Kept out of the sweep's
// loop, which passes over most entries.
[[gnu::noinline]] void age_entry(const Call& call, Fil& fil, u32 aging_s, u32 now_s)
{
    u32 tick_ms = 0;
    u32 last_hit_ms = 0;
    if (search_fil_to_NP(call.descriptor(), fil, &tick_ms, &last_hit_ms, nullptr) != 0) return;

    const u32 idle_ms = tick_ms - last_hit_ms;
    if (idle_ms > u64{aging_s} * 1000) {
        rem_fil_from_NP(call.descriptor(), fil);  // the database entry goes whatever the NP says
        drop_entry(call.descriptor(), fdb_of(call.descriptor(), fil), fil);
        return;
    }
    fil.lastValidate = last_hit_ms;
    fil.last_seen = now_s - idle_ms / 1000;
}

void age_chain(const Call& call, const FdbHead& fdb, u32 bucket, u32 now_s)
{
    const Base base = call.base();
    Header& header = call.header();
    for (Fil& fil : chain(fils_by_mac, call.fdb(), fdb, bucket)) {
        if (fil.fil_type != fil_dynamic) continue;
        const Port* const port = known_port(base, header, fil.port);
        // The rest of the chain waits for the next sweep: kept so, since daemons flush a deleted port's entries themselves.
        if (!port) return;
        // Not due yet by the host's clock, so the NP is not asked: this is what keeps the sweep of a large table cheap.
        if (now_s - fil.last_seen <= port->aging) [[likely]]
            continue;
        age_entry(call, fil, port->aging, now_s);
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_do_aging(zelfdb_descriptor* descriptor)
{
    using namespace zelfdb;
    u32 now_s = 0;
    get_time_sec(&now_s);  // before the locks, which may be long in coming
    const Call call{descriptor, Lock::main_and_fdb, nullptr};

    for (const Vlan& vlan : walk(all_vlans, call.base(), call.header())) {
        for (u32 bucket = 0; bucket < bucket_count; ++bucket) age_chain(call, vlan.fdb, bucket, now_s);
    }
    return 0;
}
