// MAC entries, learning and aging.
#include <algorithm>

#include "plain.h"

namespace fuzz {
namespace {

constexpr u32 record_bytes = 44;

u32 bucket_of(const Address& mac)
{
    u32 sum = 0;
    for (const u8 byte : mac) sum += byte;
    return sum % 256;
}

}  // namespace

u32 PlainTable::size() const
{
    std::size_t sum = 0;
    for (const auto& [bucket, chain] : buckets) sum += chain.size();
    return static_cast<u32>(sum);
}

bool PlainTable::has_dynamic() const
{
    for (const auto& [bucket, chain] : buckets)
        for (const PlainEntry& entry : chain)
            if (entry.type == ZELFDB_FIL_DYNAMIC) return true;
    return false;
}

PlainEntry* PlainTable::find(const Address& mac)
{
    const auto chain = buckets.find(bucket_of(mac));
    if (chain == buckets.end()) return nullptr;
    const auto at =
        std::find_if(chain->second.begin(), chain->second.end(), [&](const PlainEntry& e) { return e.mac == mac; });
    return at == chain->second.end() ? nullptr : &*at;
}

Plain::Plain(const zelfdb_counts& c) : counts(c), free_ports_(c.nport)
{
    for (u32 i = 0; i < c.nfil; ++i) free_cookies_.push_back(i * record_bytes);
}

u32 Plain::users() const
{
    u32 sum = 0;
    const auto add_users = [&sum](const PlainTable& table) {
        for (const auto& [bucket, chain] : table.buckets)
            for (const PlainEntry& entry : chain) sum += entry.permit == ZELFDB_FIL_SYSTEM ? 0 : 1;
    };
    for (const auto& [vid, one] : vlans) add_users(one.table);
    for (const auto& [id, one] : ports) add_users(one.local);
    return sum;
}

// Only permit 0 is held to the limit. A table that is full makes room by giving up a learned entry, its own first.
u32 Plain::add(PlainTable& table, PlainEntry entry)
{
    if (entry.permit == 0 && user_limit != 0 && users() >= user_limit) return ZELFDB_FDB_FULL;
    if (free_cookies_.empty()) evict(table);
    if (free_cookies_.empty()) return ZELFDB_FDB_FULL;
    entry.cookie = free_cookies_.back();
    free_cookies_.pop_back();
    table.buckets[bucket_of(entry.mac)].push_back(entry);
    return ZELFDB_DONE;
}

void Plain::drop(PlainTable& table, const Address& mac)
{
    auto& chain = table.buckets[bucket_of(mac)];
    const auto at = std::find_if(chain.begin(), chain.end(), [&](const PlainEntry& e) { return e.mac == mac; });
    free_cookies_.push_back(at->cookie);
    chain.erase(at);
}

u32 Plain::remove(PlainTable& table, const Address& mac, u32 type, u32 permit)
{
    const PlainEntry* const entry = table.find(mac);
    if (!entry) return ZELFDB_NO_MAC;
    if (entry->permit != permit) return ZELFDB_PERMIT_DIFFERS;
    if (entry->type != type) return ZELFDB_TYPE_DIFFERS;
    drop(table, mac);
    return ZELFDB_DONE;
}

void Plain::drop_where(PlainTable& table, u32 type, std::optional<u32> port)
{
    for (auto& [bucket, chain] : table.buckets) {
        for (auto at = chain.begin(); at != chain.end();) {
            if (at->type != type || (port && at->port != *port)) {
                ++at;
                continue;
            }
            free_cookies_.push_back(at->cookie);
            at = chain.erase(at);
        }
    }
}

void Plain::evict(PlainTable& table)
{
    PlainTable* from = table.has_dynamic() ? &table : nullptr;
    for (auto& [vid, one] : vlans)
        if (!from && one.table.has_dynamic()) from = &one.table;
    if (!from) return;
    for (const auto& [bucket, chain] : from->buckets) {
        for (const PlainEntry& entry : chain) {
            if (entry.type != ZELFDB_FIL_DYNAMIC) continue;
            const Address mac = entry.mac;
            return drop(*from, mac);
        }
    }
}

void Plain::flush(u32 port, u32 type)
{
    for (auto& [vid, one] : vlans) drop_where(one.table, type, port);
}

u32 Plain::create_static(u32 vid, const Address& mac, u32 to, u32 flag, u32 permit)
{
    PlainVlan* const in = vlan(vid);
    if (!in) return ZELFDB_NO_VLAN;
    if (!(flag & ZELFDB_FIL_FLAG_NO_PORT) && !port(to)) return ZELFDB_NO_PORT;
    if (const PlainEntry* const present = in->table.find(mac)) {
        if (present->type != ZELFDB_FIL_DYNAMIC) return ZELFDB_MAC_EXISTS;
        drop(in->table, mac);  // gone even if there is no room for the new one
    }
    return add(in->table, {mac, ZELFDB_FIL_STATIC, to, flag, permit, 0, 0});
}

u32 Plain::delete_static(u32 vid, const Address& mac, u32 permit)
{
    PlainVlan* const in = vlan(vid);
    return in ? remove(in->table, mac, ZELFDB_FIL_STATIC, permit) : u32{ZELFDB_NO_VLAN};
}

u32 Plain::create_local(u32 id, const Address& mac, u32 flag, u32 permit)
{
    PlainPort* const of = port(id);
    if (!of) return ZELFDB_NO_PORT;
    if (of->local.find(mac)) return ZELFDB_MAC_EXISTS;
    return add(of->local, {mac, ZELFDB_FIL_LOCAL, 0, flag, permit, 0, 0});
}

u32 Plain::delete_local(u32 id, const Address& mac, u32 permit)
{
    PlainPort* const of = port(id);
    return of ? remove(of->local, mac, ZELFDB_FIL_LOCAL, permit) : u32{ZELFDB_NO_PORT};
}

// ---- learning ----

// The VLAN of a frame that the port admits; 0 otherwise. A priority tag names no VLAN.
u32 Plain::vid_of(const PlainPort& on, const PlainFrame& frame)
{
    u32 vid = on.pvid;
    bool tagged = false;
    if ((on.p_flag & ZELFDB_P_TAG_AWARE) && frame.type == on.tagtype) {
        const u32 named = frame.tag_control & 0xFFF;
        tagged = named != 0;
        if (tagged) vid = named;
    } else {
        // A protocol is in one group at most; of several bindings to it the oldest counts.
        for (const PlainGroup& one : groups) {
            if (std::find(one.protocols.begin(), one.protocols.end(), frame.type) == one.protocols.end()) continue;
            const auto bound = std::find_if(on.bindings.begin(), on.bindings.end(),
                                            [&one](const zelfdb_prot_binding& b) { return b.group == one.id; });
            if (bound != on.bindings.end()) vid = bound->VID;
        }
    }
    if (!tagged && !(on.p_flag & ZELFDB_P_UNTAGGED)) return 0;
    if (!(on.p_flag & ZELFDB_P_INGRESS_FILTER)) return vid;
    const PlainVlan* const in = vlan(vid);
    return in && in->members.contains(on.id) ? vid : 0;
}

void Plain::trip(PlainPort* which)
{
    if (which->breaker_on != 1 || which->breaker == 2) return;
    which->breaker = 2;
    lower_flags(*which);
}

int Plain::learn(const PlainFrame& frame, u32 id, u32 cookie, u32 now_s)
{
    PlainPort* const on = port(id);
    if (!on || !(on->p_flag & ZELFDB_P_LEARN) || (frame.source[0] & 1)) return 0;
    PlainVlan* const in = vlan(vid_of(*on, frame));
    if (!in) return 0;
    PlainPort* from = nullptr;
    if (const PlainEntry* const known = in->table.find(frame.source)) {
        if (known->cookie != cookie || known->type == ZELFDB_FIL_STATIC) return 0;
        from = port(known->port);
        if (from == on) return 0;
        drop(in->table, frame.source);
    }
    if (in->table.learn_limit != 0 && in->table.size() >= in->table.learn_limit) return 0;
    if (user_limit != 0 && users() >= user_limit) return -1;
    if (free_cookies_.empty()) return -1;
    in->table.buckets[bucket_of(frame.source)].push_front(
        {frame.source, ZELFDB_FIL_DYNAMIC, id, 0, 0, now_s, free_cookies_.back()});
    free_cookies_.pop_back();
    if (from && (in->flag & 0x2)) {
        trip(from);
        trip(on);
    }
    return 0;
}

// ---- aging ----

void Plain::age_chain(std::deque<PlainEntry>& chain, u32 now_s, const PlainAnswer& answer)
{
    for (auto at = chain.begin(); at != chain.end();) {
        const PlainPort* const on = at->type == ZELFDB_FIL_DYNAMIC ? port(at->port) : nullptr;
        if (at->type == ZELFDB_FIL_DYNAMIC && !on) return;  // the rest waits until somebody flushes that port's entries
        const bool due = on && now_s - at->seen_s > on->aging_s;
        if (!due || answer.status != 0) {
            ++at;
            continue;
        }
        const u32 idle_ms = answer.tick_ms - answer.last_hit_ms;
        if (idle_ms > u64{on->aging_s} * 1000) {
            free_cookies_.push_back(at->cookie);
            at = chain.erase(at);
        } else {
            at->seen_s = now_s - idle_ms / 1000;
            ++at;
        }
    }
}

void Plain::age(u32 now_s, const PlainAnswer& answer)
{
    for (auto& [vid, one] : vlans)
        for (auto& [bucket, chain] : one.table.buckets) age_chain(chain, now_s, answer);
}

}  // namespace fuzz
