#include "model.h"

#include <algorithm>
#include <numeric>

namespace zelfdb {
namespace {

u32 bucket_of(const Mac& mac) { return std::accumulate(std::begin(mac.byte), std::end(mac.byte), 0u) % 256; }

u32 port_number(u32 port)
{
    if (port >= 1 && port <= 10) return port;
    if (port >= 101 && port <= 164) return port - 90;
    return 0xFFFF;
}

auto with(const Mac& mac)
{
    return [&mac](const ModelEntry& entry) { return std::equal(mac.byte, mac.byte + 6, entry.mac.byte); };
}

}  // namespace

Model::Model(const std::set<u32>& vids, std::vector<u32> free_records) : free(std::move(free_records))
{
    for (const u32 vid : vids) vlans[vid];
}

Counts Model::counts(const ModelTable& table)
{
    Counts result{};
    for (const auto& [bucket, chain] : table.chains) {
        for (const ModelEntry& entry : chain) {
            ++result.nfil;
            if (entry.type == 3) ++result.nfil_d;
            ++(entry.permit == 1 ? result.nfil_sys : result.nfil_usr);
        }
    }
    return result;
}

const ModelEntry* Model::find(u32 FID, const Mac& mac) const
{
    const auto& tables = FID < 0xC000 ? vlans : locals;
    const auto place = tables.find(FID);
    if (place == tables.end()) return nullptr;
    const auto chain = place->second.chains.find(bucket_of(mac));
    if (chain == place->second.chains.end()) return nullptr;
    const auto entry = std::find_if(chain->second.begin(), chain->second.end(), with(mac));
    return entry == chain->second.end() ? nullptr : &*entry;
}

std::vector<ModelEntry> Model::listed(u32 FID, u32 type) const
{
    std::vector<ModelEntry> all;
    const auto& tables = FID < 0xC000 ? vlans : locals;
    const auto place = tables.find(FID);
    if (place == tables.end()) return all;
    for (const auto& [bucket, chain] : place->second.chains) {
        for (const ModelEntry& entry : chain) {
            if (entry.type == type) all.push_back(entry);
        }
    }
    return all;
}

void Model::drop(ModelTable& from, const Mac& mac)
{
    const auto chain = from.chains.find(bucket_of(mac));
    const auto entry = std::find_if(chain->second.begin(), chain->second.end(), with(mac));
    free.insert(free.begin(), entry->offset);
    chain->second.erase(entry);
    if (chain->second.empty()) from.chains.erase(chain);
}

u32 Model::remove(u32 FID, const Mac& mac, u32 type, u32 permit)
{
    const ModelEntry* const entry = find(FID, mac);
    if (!entry) return 105;
    if (entry->permit != permit) return 2101;
    if (entry->type != type) return 2102;
    sent.push_back(remove_line(FID, mac));
    drop(table(FID), mac);
    return 0;
}

void Model::evict(u32 FID)
{
    std::vector<u32> where;
    if (FID < 0xC000) where.push_back(FID);
    for (const auto& [vid, table] : vlans) where.push_back(vid);
    for (const u32 vid : where) {
        const std::vector<ModelEntry> learned = listed(vid, 3);
        if (learned.empty()) continue;
        evicted = true;
        remove(vid, learned.front().mac, 3, 0);
        return;
    }
}

u32 Model::add(u32 FID, ModelEntry entry)
{
    if (entry.permit == 0 && limit != 0 && users() >= limit) return 2002;
    if (free.empty()) evict(FID);
    if (free.empty()) return 2002;
    entry.offset = free.front();
    free.erase(free.begin());
    sent.push_back(add_line(FID, entry.mac, port_number(entry.port), entry.offset, entry.flag & 0xFF));
    if (refuse_addition) {
        refuse_addition = false;
        ++lost;
        return 2002;
    }
    table(FID).chains[bucket_of(entry.mac)].push_back(entry);
    return 0;
}

Said Model::create_static(u32 vid, const Mac& mac, u32 port, u32 flag, u32 permit)
{
    if (!vlans.count(vid)) return {-1, 103};
    if (!(flag & 4) && !ports.count(port)) return {-1, 102};
    if (const ModelEntry* const present = find(vid, mac)) {
        if (present->type == 2) return {-1, 2001};
        remove(vid, mac, 3, 0);
    }
    const u32 code = add(vid, {0, mac, 2, port, flag, permit, 0, 0});
    return {code == 0 ? 0 : -1, code};
}

Said Model::delete_static(u32 vid, const Mac& mac, u32 permit)
{
    if (!vlans.count(vid)) return {-1, 103};
    const u32 code = remove(vid, mac, 2, permit);
    return {code == 0 ? 0 : -1, code};
}

Said Model::create_local(u32 port, const Mac& mac, u32 flag, u32 permit)
{
    if (!ports.count(port)) return {-1, 102};
    if (find(0xC000 + port, mac)) return {-1, 2001};
    const u32 code = add(0xC000 + port, {0, mac, 1, 0, flag, permit, 0, 0});
    return {code == 0 ? 0 : -1, code};
}

Said Model::delete_local(u32 port, const Mac& mac, u32 permit)
{
    if (!ports.count(port)) return {-1, 102};
    const u32 code = remove(0xC000 + port, mac, 1, permit);
    return {code == 0 ? 0 : -1, code};
}

int Model::learn(u32 vid, u32 port, const Mac& mac, u32 tick_ms, u32 cookie, u32 now_s)
{
    if (!ports.count(port) || mac.byte[0] & 1 || !vlans.count(vid)) return 0;
    if (const ModelEntry* const known = find(vid, mac)) {
        if (cookie != known->offset || known->type == 2) return 0;
        if (known->port == port && ports.count(known->port)) return 0;
        remove(vid, mac, 3, 0);
    }
    ModelTable& own = vlans.at(vid);
    if (own.learnlimit != 0 && counts(own).nfil >= own.learnlimit) return 0;
    if (limit != 0 && users() >= limit) return -1;
    if (free.empty()) return -1;
    const ModelEntry entry{free.front(), mac, 3, port, 0, 0, tick_ms, now_s};
    free.erase(free.begin());
    sent.push_back(add_line(vid, mac, port_number(port), entry.offset));
    if (refuse_addition) {
        refuse_addition = false;
        ++lost;
        return -1;
    }
    own.chains[bucket_of(mac)].push_front(entry);
    return 0;
}

void Model::age(u32 now_s, u32 tick_ms, u32 idle_ms, bool found)
{
    for (auto& [vid, table] : vlans) {
        std::vector<u32> buckets;
        for (const auto& [bucket, chain] : table.chains) buckets.push_back(bucket);
        for (const u32 bucket : buckets) {
            const std::deque<ModelEntry> chain = table.chains.at(bucket);
            for (const ModelEntry& entry : chain) {
                if (entry.type != 3) continue;
                const auto port = ports.find(entry.port);
                if (port == ports.end()) break;
                if (now_s - entry.seen_s <= port->second.aging_s) continue;
                sent.push_back(find_line(vid, entry.mac));
                if (!found) continue;
                if (idle_ms > u64{port->second.aging_s} * 1000) {
                    sent.push_back(remove_line(vid, entry.mac));
                    drop(table, entry.mac);
                } else {
                    auto& live =
                        *std::find_if(table.chains.at(bucket).begin(), table.chains.at(bucket).end(), with(entry.mac));
                    live.tick_ms = tick_ms - idle_ms;
                    live.seen_s = now_s - idle_ms / 1000;
                }
            }
        }
    }
}

void Model::clear_table(u32 FID, u32 type)
{
    const std::vector<ModelEntry> all = listed(FID, type);
    for (std::size_t first = 0; first < all.size(); first += 40) {
        std::vector<Mac> batch;
        for (std::size_t i = first; i < all.size() && i < first + 40; ++i) {
            batch.push_back(all[i].mac);
            drop(table(FID), all[i].mac);
        }
        sent.push_back(batch_line(FID, batch));
    }
}

void Model::clear(std::optional<u32> vid)
{
    if (vid) return clear_table(*vid, 3);
    for (const auto& [each, table] : vlans) clear_table(each, 3);
}

void Model::flush_static(u32 port)
{
    for (const auto& [vid, table] : vlans) {
        for (const ModelEntry& entry : listed(vid, 2)) {
            if (entry.port == port) remove(vid, entry.mac, 2, entry.permit);
        }
    }
}

void Model::delete_port(u32 port)
{
    flush_static(port);
    clear_table(0xC000 + port, 1);
    ports.erase(port);
    locals.erase(0xC000 + port);
}

}  // namespace zelfdb
