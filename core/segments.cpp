// zelfdb_init: gets the two segments, wipes them and lays out every pool, list and index.
#include "core/segments.h"

#include <sys/shm.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "core/critical.h"
#include "core/indexes.h"
#include "core/lists.h"
#include "core/pools.h"

namespace zelfdb {
namespace {

// Mode 000: only privileged processes attach the database.
constexpr int segment_flags = IPC_CREAT;

// Where the process that laid out the database has it; for whoever looks at it with a debugger.
void* attached_main = nullptr;
void* attached_fdb = nullptr;

// A zeroed segment of that size at an address of the system's choice, or null with a message.
void* get_segment(int key, u32 size_bytes)
{
    const int id = shmget(key, size_bytes, segment_flags);
    if (id < 0) {
        std::fprintf(stderr, "Error: shmget %d size:%ld\n", errno, static_cast<long>(size_bytes));
        return nullptr;
    }
    void* const segment = shmat(id, nullptr, SHM_RND);
    if (segment == reinterpret_cast<void*>(-1)) {
        std::fprintf(stderr, "Error: shmat %d\n", errno);
        return nullptr;
    }
    std::memset(segment, 0, size_bytes);
    return segment;
}

// The counts need more bytes than a 32-bit offset can reach.
bool overruns(u64 end, const char* where)
{
    if (end == static_cast<u32>(end)) return false;
    std::fprintf(stderr, "#### %s : BUG found! #####\n", where);
    return true;
}

// Every failure detaches what it has; with nothing attached that is a null address, which the system refuses harmlessly.
int give_up(const void* segment)
{
    shmdt(segment);
    return -1;
}

Offset at(u64 offset) { return {static_cast<u32>(offset)}; }

template <std::size_t count>
void clear(Offset (&slots)[count])
{
    std::fill(std::begin(slots), std::end(slots), none);
}

void thread_vlans(Base base, Header& header, Offset first)
{
    header.vlan_free = none;
    for (u32 i = 0; i < header.nvlan; ++i) {
        const Offset slot_at{first.value + i * static_cast<u32>(sizeof(VlanSlot))};
        auto& slot = record_at<VlanSlot>(base, slot_at);
        thread(pv_pool, base, slot.vlan, offset_of(base, slot.pv[0]), pvs_per_vlan);
        give_back(vlan_pool, base, header, &slot.vlan);
    }
}

void thread_pools(Base base, Header& header, const Layout& layout)
{
    // The fil reserve is abandoned as soon as the FDB segment exists. Its space stays, so that no later pool moves.
    thread(fil_pool, base, header, at(layout.fil_reserve), header.nfil);
    thread(port_pool, base, header, at(layout.port), header.nport);
    thread(stream_pool, base, header, at(layout.stream), stream_count);
    thread(queue_pool, base, header, at(layout.queue), queue_count);
    thread_vlans(base, header, at(layout.vlan));
    thread(phport_pool, base, header, at(layout.phport), phport_count);
    thread(classify_pool, base, header, at(layout.classify), classify_count);
    thread(action_pool, base, header, at(layout.action), action_count);
}

void clear_lists_and_indexes(Header& header)
{
    header.port_head = none;
    header.phport_head = none;
    header.stream_head = none;
    header.queue_head = none;
    header.vlan_head = none;
    header.classify_head = none;
    clear(header.port_index);
    clear(header.pvid_chain);
    clear(header.phport_index);
    clear(header.stream_index);
    clear(header.queue_index);
    clear(header.vlan_name);
    clear(header.vlan_index);
    clear(header.classify_index);
}

void create_phports(Base base, Header& header)
{
    for (u16 id = 1; id <= phport_count; ++id) {
        Phport* phport = alloc_phport(base, header);
        phport->ID = id;
        enQ_phport(base, header, *phport);
        index_phport(base, header, *phport);
    }
}

constexpr i32 queue_budget = 65536;

}  // namespace

Layout layout_of(u32 nport, u32 nvlan, u32 nfil)
{
    Layout layout{};
    layout.fil_reserve = sizeof(Header);
    layout.port = layout.fil_reserve + u64{nfil} * sizeof(Fil);
    layout.stream = layout.port + u64{nport} * sizeof(Port);
    layout.queue = layout.stream + u64{stream_count} * sizeof(Stream);
    layout.vlan = layout.queue + u64{queue_count} * sizeof(Queue);
    layout.phport = layout.vlan + u64{nvlan} * sizeof(VlanSlot);
    layout.classify = layout.phport + u64{phport_count} * sizeof(Phport);
    layout.action = layout.classify + u64{classify_count} * sizeof(Classify);
    layout.end = layout.action + u64{action_count} * sizeof(Action);
    return layout;
}

int initial_fdb(Base main, u32 nfil)
{
    init_critical_fdb();
    const u64 end = u64{nfil} * sizeof(Fil);
    if (overruns(end, "initial_fdb")) return give_up(nullptr);
    void* const segment = get_segment(fdb_key, static_cast<u32>(end));
    if (!segment) return give_up(nullptr);
    attached_fdb = segment;
    thread(fil_pool, Base{static_cast<u8*>(segment)}, record_at<Header>(main, Offset{0}), Offset{0}, nfil);
    return 0;
}

void init_fdb(const Descriptor*, FdbHead& fdb, u32 kind, u32 FID)
{
    fdb = {};
    fdb.FID = FID;
    fdb.kind = kind;
    clear(fdb.bucket);
}

}  // namespace zelfdb

int zelfdb_init(const zelfdb_counts* counts)
{
    using namespace zelfdb;
    init_critical();
    const Layout layout = layout_of(counts->nport, counts->nvlan, counts->nfil);
    if (overruns(layout.end, "zelfdb_init")) return give_up(nullptr);
    attached_main = get_segment(main_key, static_cast<u32>(layout.end));
    if (!attached_main) return give_up(nullptr);

    const Base base{static_cast<u8*>(attached_main)};
    auto& header = record_at<Header>(base, Offset{0});
    header.nport = counts->nport;
    header.nvlan = counts->nvlan;
    header.nfil = counts->nfil;
    thread_pools(base, header, layout);
    header.free_qsize = queue_budget;
    clear_lists_and_indexes(header);
    create_phports(base, header);

    // Without the FDB segment the main database is ready all the same: callers take 0 to mean just that. The failure
    // shows in the message and in every descriptor that cannot be opened.
    initial_fdb(base, counts->nfil);
    return 0;
}
