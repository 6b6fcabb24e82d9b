// Learning: one indication of the NP becomes a DYNAMIC entry, moves one, or is ignored.
#include "fdb/learning.h"

#include <sys/time.h>

#include "core/call.h"
#include "fdb/entries.h"
#include "np/fdb_commands.h"

namespace zelfdb {

int get_time_sec(u32* seconds)
{
    timeval now{};
    gettimeofday(&now, nullptr);
    *seconds = static_cast<u32>(now.tv_sec);
    return 0;
}

namespace {

constexpr u8 group_address_bit = 0x01;

// What the search for the source address decides.
struct Move {
    bool ignored;  // the indication says nothing new, or nothing that may be acted on
    bool moved;
    Port* old_port;  // null when the port that the entry named is gone
};

// A known station on another port leaves its old place, so that it can be learned anew.
Move leave_old_place(const Call& call, FdbHead& fdb, const Mac& source, const zelfdb_learn_ind& indication)
{
    Fil* const known = lookup_fil_by_mac(call.fdb(), call.header(), fdb, source);
    if (!known) return {false, false, nullptr};
    if (static_cast<u32>(indication.cookie) != offset_of(call.fdb(), *known).value) return {true, false, nullptr};

    Port* const old_port = call.port(known->port);
    if (old_port && old_port->PortID == indication.port) return {true, false, nullptr};
    if (known->fil_type == fil_static) return {true, false, nullptr};
    if (rem_fdbentry(call.descriptor(), fil_dynamic, fdb, source, known, 0) != ZELFDB_DONE)
        return {true, false, nullptr};
    return {false, true, old_port};
}

// All entries of the VLAN count, static ones too.
bool learn_limit_reached(const FdbHead& fdb) { return fdb.learnlimit != 0 && fdb.nfil >= fdb.learnlimit; }

bool user_limit_reached(const Header& header)
{
    return header.fdb_userarea != 0 && header.nfil_usr_all >= header.fdb_userarea;
}

// Unlike the other adds, learning never makes room by evicting. A record that the NP refused stays taken, as there.
int add_dynamic(const Call& call, FdbHead& fdb, const Mac& source, const zelfdb_learn_ind& indication, u32 now_s)
{
    Fil* const fil = alloc_fil(call.fdb(), call.header());
    if (!fil) return -1;
    fil->mac = source;
    fil->offset = offset_of(call.base(), fdb);
    fil->fil_type = fil_dynamic;
    fil->lastValidate = indication.tick_ms;
    fil->port = indication.port;
    fil->fil_permit = 0;
    fil->last_seen = now_s;
    fil->fil_flag = 0;
    if (add_fil_to_NP(call.descriptor(), *fil) != 0) return -1;

    hAdd_fil_by_mac(call.fdb(), call.header(), fdb, *fil);
    count_entry(call.header(), fdb, *fil);
    return 0;
}

int learn(const Call& call, const FrameHeader& frame, const zelfdb_learn_ind& indication, u32 now_s)
{
    Port* const port = call.port(indication.port);
    if (!port || !(port->p_flag & pflag_learn)) return 0;
    if (frame.source.byte[0] & group_address_bit) return 0;
    Vlan* const vlan = call.vlan(ingress_rules(call.descriptor(), frame, indication));
    if (!vlan) return 0;

    const Move move = leave_old_place(call, vlan->fdb, frame.source, indication);
    if (move.ignored) return 0;
    if (learn_limit_reached(vlan->fdb)) return 0;  // a full VLAN is not an error
    if (user_limit_reached(call.header())) return -1;
    if (add_dynamic(call, vlan->fdb, frame.source, indication, now_s) != 0) return -1;

    if (move.moved && move.old_port) {
        report_simple_loop(call.descriptor(), *vlan, frame.source, *move.old_port, *port, indication.tick_ms, {});
    }
    return 0;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_add_dfil_by_learn_ind(zelfdb_descriptor* descriptor, const void* frame_header,
                                 const zelfdb_learn_ind* indication)
{
    using namespace zelfdb;
    u32 now_s = 0;
    get_time_sec(&now_s);  // before the locks, which may be long in coming
    // Gives the locks back main first, unlike other operations: readers of the main segment need not wait for the FDB.
    const Call call{descriptor, Lock::main_and_fdb, nullptr, Release::main_then_fdb};

    return learn(call, *static_cast<const FrameHeader*>(frame_header), *indication, now_s);
}
