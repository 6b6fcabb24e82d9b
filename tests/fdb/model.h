// The forwarding database once more, told with standard containers: what the random test compares the real one with.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fdb_test.h"

namespace zelfdb {

struct ModelEntry {
    u32 offset;  // of its record
    Mac mac;
    u32 type;
    u32 port;
    u32 flag;
    u32 permit;
    u32 tick_ms;
    u32 seen_s;
};

struct ModelTable {
    u32 learnlimit = 0;
    std::map<u32, std::deque<ModelEntry>> chains;  // by bucket, in the order of the chain
};

struct ModelPort {
    u32 aging_s;
};

// What an operation says: its result, and its detail code where it has one.
struct Said {
    int result;
    u32 code;
    bool operator==(const Said&) const = default;
};

class Model {
public:
    Model(const std::set<u32>& vids, std::vector<u32> free_records);

    Said create_static(u32 vid, const Mac& mac, u32 port, u32 flag, u32 permit);
    Said delete_static(u32 vid, const Mac& mac, u32 permit);
    Said create_local(u32 port, const Mac& mac, u32 flag, u32 permit);
    Said delete_local(u32 port, const Mac& mac, u32 permit);
    int learn(u32 vid, u32 port, const Mac& mac, u32 tick_ms, u32 cookie, u32 now_s);
    // The NP says the same of every entry: its tick, and how long it has been idle.
    void age(u32 now_s, u32 tick_ms, u32 idle_ms, bool found);
    void clear(std::optional<u32> vid);
    void flush_static(u32 port);
    void create_port(u32 port, u32 aging_s) { ports[port] = {aging_s}; }
    void delete_port(u32 port);

    [[nodiscard]] u32 users() const
    {
        return count([](const ModelEntry& e) { return e.permit != 1; });
    }
    [[nodiscard]] u32 systems() const
    {
        return count([](const ModelEntry& e) { return e.permit == 1; });
    }
    [[nodiscard]] std::vector<ModelEntry> listed(u32 FID, u32 type) const;
    [[nodiscard]] const ModelEntry* find(u32 FID, const Mac& mac) const;
    static Counts counts(const ModelTable& table);

    std::map<u32, ModelTable> vlans;   // by VID, which is their FID
    std::map<u32, ModelTable> locals;  // by the port's FID
    std::map<u32, ModelPort> ports;
    std::vector<u32> free;  // the next to be handed out first
    u32 limit = 0;
    u32 lost = 0;                  // records that stayed taken
    bool evicted = false;          // to make room for an addition
    bool refuse_addition = false;  // the next one
    std::vector<std::string> sent;

private:
    template <class Wanted>
    [[nodiscard]] u32 count(Wanted wanted) const
    {
        u32 sum = 0;
        for (const auto* tables : {&vlans, &locals}) {
            for (const auto& [FID, table] : *tables) {
                for (const auto& [bucket, chain] : table.chains) {
                    for (const ModelEntry& entry : chain) sum += wanted(entry) ? 1 : 0;
                }
            }
        }
        return sum;
    }
    ModelTable& table(u32 FID) { return FID < 0xC000 ? vlans.at(FID) : locals[FID]; }
    u32 add(u32 FID, ModelEntry entry);
    u32 remove(u32 FID, const Mac& mac, u32 type, u32 permit);
    // Takes an entry out and gives its record back.
    void drop(ModelTable& from, const Mac& mac);
    void evict(u32 FID);
    void clear_table(u32 FID, u32 type);
};

}  // namespace zelfdb
