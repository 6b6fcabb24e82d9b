#include "learner.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "ports.h"

namespace zelfctl {
namespace {

constexpr std::size_t most_notes = 10000;

using Known = std::optional<softnp_mac_entry>;

Known known_to_NP(u32 FID, const Mac& mac)
{
    softnp_mac_entry entry{};
    if (softnp_get_mac_entry(FID, mac.data(), &entry) != 1) return std::nullopt;
    return entry;
}

bool is_at(const Known& known, const softnp_event& event)
{
    return known && known->np_port == static_cast<i32>(event.np_port);
}

u32 port_of(const Known& known)
{
    if (!known || known->np_port < 0) return 0;
    return softnp_port_id(static_cast<u32>(known->np_port));
}

// How often the network processor was told to add an entry.
u64 adds_sent()
{
    static const u32 kind = [] {
        const char* name = nullptr;
        u32 index = 0;
        while (softnp_command_count(index, &name, nullptr, nullptr) == 1 && std::string_view(name) != "addFDB") ++index;
        return index;
    }();
    u64 sent = 0;
    softnp_command_count(kind, nullptr, &sent, nullptr);
    return sent;
}

constexpr u32 few = 1024;

bool is_static(u32 vid, const Mac& mac)
{
    const auto entries = read_entries(vid, {}, ZELFDB_FIL_STATIC, few);
    return entries &&
           std::any_of(entries->begin(), entries->end(), [&](const Entry& entry) { return entry.mac == mac; });
}

bool learns(u32 port_id)
{
    const auto port = read_port(port_id);
    return port && (port->info.p_flag & ZELFDB_P_LEARN) != 0;
}

zelfdb_learn_ind indication_of(const softnp_event& event)
{
    zelfdb_learn_ind indication{};
    indication.port = event.port_id;
    indication.tick_ms = event.tick_ms;
    indication.cookie = static_cast<i32>(event.cookie);
    return indication;
}

// The library tells refused from used, and says no more. The rest shows in what changed.
std::string why_refused(bool asked_NP, bool lost_old_place)
{
    std::string reason = asked_NP ? "refused by the network processor" : "no room: user limit reached or table full";
    if (lost_old_place) reason += "; its old entry is gone";
    return reason;
}

std::string why_ignored(const softnp_event& event, const Mac& mac, const Known& before, const Known& after)
{
    if (is_at(before, event)) return "known there already";
    if (before && !after) return "learn limit of the VLAN; its old entry is gone";
    if (before) return is_static(event.VID, mac) ? "static entry" : "known to the network processor only";
    return learns(event.port_id) ? "learn limit of the VLAN" : "learning is off on the port";
}

}  // namespace

const char* text_of(Learned result)
{
    constexpr const char* texts[learned_results] = {"learned", "moved", "ignored", "refused"};
    return texts[static_cast<int>(result)];
}

bool Learner::drain()
{
    softnp_event event{};
    int taken = 0;
    while ((taken = softnp_next_event(&event)) == 1) learn(event);
    return taken == 0;
}

void Learner::learn(const softnp_event& event)
{
    Mac mac{};
    std::copy(event.header + 6, event.header + 12, mac.begin());
    const Known before = known_to_NP(event.FID, mac);
    const u64 adds_before = adds_sent();
    const zelfdb_learn_ind indication = indication_of(event);
    const int result = zelfdb_add_dfil_by_learn_ind(descriptor_, event.header, &indication);
    const bool asked_NP = adds_sent() != adds_before;
    const Known after = known_to_NP(event.FID, mac);

    LearnNote what{Learned::ignored, mac, event.VID, event.port_id, port_of(before), {}};
    if (result != 0) {
        what.result = Learned::refused;
        what.reason = why_refused(asked_NP, before && !after);
    } else if (!asked_NP) {
        what.reason = why_ignored(event, mac, before, after);
    } else {
        what.result = before ? Learned::moved : Learned::learned;
        for (const u32 port_id : {what.from_port, what.port_id}) {
            const auto port = before ? read_port(port_id) : std::nullopt;
            if (!port || port->info.sldbkr_state != breaker_tripped || !tripped_.insert(port_id).second) continue;
            what.reason += (what.reason.empty() ? "loop: breaker tripped on port " : ", ") + std::to_string(port_id);
        }
    }
    note(std::move(what));
}

void Learner::note(LearnNote what)
{
    ++counts_[static_cast<int>(what.result)];
    const u64 position = events_++;
    const auto found = notes_.find(what);
    if (found != notes_.end()) {
        ++found->second.events;
    } else if (notes_.size() < most_notes) {
        notes_.emplace(std::move(what), LearnCount{1, position});
    } else {
        ++without_note_;
    }
}

}  // namespace zelfctl
