#include "resync/sender.h"

#include <algorithm>

#include "np/fdb_commands.h"

namespace zelfdb {
namespace {

constexpr std::size_t batch_max = 40;  // as many as the library removes with one command

bool take_down(Sending& sending, const Object& object, const char* command, int result)
{
    ++sending.commands;
    if (result != 0) sending.refused.push_back({object, command});
    return result == 0;
}

bool skip(Sending& sending, const Object& object, const std::vector<Object>& needs)
{
    const bool skipped =
        std::any_of(needs.begin(), needs.end(), [&](const Object& need) { return sending.absent.contains(need); });
    if (skipped) {
        sending.skipped.push_back(object);
        sending.absent.insert(object);
    }
    return skipped;
}

bool makes_a_membership(const Item& item) { return item.object.kind == ObjectKind::binding; }
bool is_made_later(const Item& item) { return item.object.kind == ObjectKind::member && !item.create; }

bool create(Sending& sending, const Item& item)
{
    if (is_made_later(item)) {
        sending.absent.insert(item.object);
        return false;
    }
    if (!item.create) return true;
    if (!take_down(sending, item.object, item.command, item.create())) {
        sending.absent.insert(item.object);
        return false;
    }
    if (makes_a_membership(item)) sending.absent.erase(member_object(item.object.a, item.object.b));
    return true;
}

void send_alone(Sending& sending, const EntryItem& entry)
{
    take_down(sending, entry.object, "addFDB", add_fil_to_NP(sending.d, *entry.fil));
}

struct Addition {
    const EntryItem* entry;
    vf_cmd* command;
};

// The commands of a batch, joined; an entry for which no command could be made is left out, and taken down as refused.
std::vector<Addition> join(Sending& sending, const EntryItem* first, std::size_t count)
{
    std::vector<Addition> chain;
    for (const EntryItem* entry = first; entry != first + count; ++entry) {
        vf_cmd* const command = addition_of(sending.d, *entry->fil);
        if (!command) {
            take_down(sending, entry->object, "addFDB", -1);
            continue;
        }
        if (!chain.empty()) vf_Joint(chain.front().command, command);
        chain.push_back({entry, command});
    }
    return chain;
}

// Each command of the chain has its own verdict. A chain that was not delivered says nothing about any of them: they are sent
// one by one. It is not freed then, because the NP library may still hold it, as is so for single commands.
void send_batch(Sending& sending, const EntryItem* first, std::size_t count)
{
    const std::vector<Addition> chain = join(sending, first, count);
    if (chain.empty()) return;
    if (vf_call(sending.d.NP, 0, chain.front().command, 0, 0) != 0) {
        for (const Addition& each : chain) send_alone(sending, *each.entry);
        return;
    }
    for (const Addition& each : chain) {
        const bool accepted = status_of(each.command) == 0 && vf_rd_addFDB(each.command) == 0;
        take_down(sending, each.entry->object, "addFDB", accepted ? 0 : -1);
    }
    vf_cmdNFreeB(chain.front().command);
}

}  // namespace

void send_item(Sending& sending, const Item& item)
{
    if (skip(sending, item.object, item.needs) || !create(sending, item)) return;
    for (const Setting& setting : item.settings)
        if (!setting.as_created && setting.send) send_setting(sending, item, setting);
}

void send_setting(Sending& sending, const Item& item, const Setting& setting)
{
    take_down(sending, item.object, setting.command, setting.send());
}

void send_entries(Sending& sending, const std::vector<EntryItem>& entries)
{
    std::vector<EntryItem> possible;
    for (const EntryItem& entry : entries)
        if (!skip(sending, entry.object, needs_of(*entry.fil, entry.object.a))) possible.push_back(entry);
    for (std::size_t sent = 0; sent < possible.size(); sent += batch_max)
        send_batch(sending, &possible[sent], std::min(batch_max, possible.size() - sent));
}

}  // namespace zelfdb
