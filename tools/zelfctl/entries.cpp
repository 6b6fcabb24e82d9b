#include "entries.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "database.h"
#include "vlans.h"
#include "whole_io.h"

namespace zelfctl {
namespace {

constexpr u32 first_capacity = 1024;  // for a port's own, whose number no operation tells
constexpr u32 spare_entries = 64;     // for entries that are added between two passes

using Listing = int (*)(u32 owner, zelfdb_fdb_cursor* cursor, zelfdb_ropebuf* buffer);

std::vector<zelfdb_fdb_record> records_of(const zelfdb_ropebuf& buffer)
{
    std::vector<zelfdb_fdb_record> records(buffer.filled);
    if (!records.empty()) std::memcpy(records.data(), buffer.records, records.size() * sizeof records.front());
    return records;
}

Entry entry_of(const zelfdb_fdb_record& record, u32 type)
{
    Entry entry;
    std::copy(std::begin(record.mac), std::end(record.mac), entry.mac.begin());
    entry.type = type;
    entry.flag = record.flag;
    entry.permit = record.permit;
    return entry;
}

// The whole list in one call, so that no entry can leave between two: a buffer that turned out too small is replaced.
std::optional<std::vector<zelfdb_fdb_record>> list_at_once(Listing listing, u32 owner, u32 expected)
{
    u32 capacity = expected + spare_entries;
    for (int attempt = 0; attempt < listing_attempts; ++attempt) {
        const Ropebuf buffer(zelfdb_alloc_ropebuf(capacity, sizeof(zelfdb_fdb_record)));
        if (!buffer) break;
        zelfdb_fdb_cursor cursor{};
        const int result = listing(owner, &cursor, buffer.get());
        if (result < 0) break;
        if (result == 0) return records_of(*buffer);
        capacity = buffer->total + spare_entries;
    }
    return std::nullopt;
}

// What the child has to say, all of it: the answer, then the number of records, then the records.
struct Answer {
    i32 result = -1;
    u32 total = 0;
    u32 filled = 0;
};

// Ends without any of the parent's clean-up. The end is also what gives the lock back.
[[noreturn]] void list_in_child(u32 port_id, u32 capacity, int to_parent)
{
    zelfdb_ropebuf* const buffer = zelfdb_alloc_ropebuf(capacity, sizeof(zelfdb_fdb_record));
    if (!buffer) _exit(exit_failed);
    zelfdb_fdb_cursor cursor{};
    Answer answer;
    answer.result = zelfdb_get_all_lfil(port_id, &cursor, buffer);
    answer.total = buffer->total;
    answer.filled = buffer->filled;
    const bool told = write_all(to_parent, &answer, sizeof answer) &&
                      write_all(to_parent, buffer->records, answer.filled * sizeof(zelfdb_fdb_record));
    _exit(told ? exit_done : exit_failed);
}

bool hear_child(int from_child, Answer& answer, std::vector<zelfdb_fdb_record>& records)
{
    if (!read_all(from_child, &answer, sizeof answer)) return false;
    records.resize(answer.filled);
    return read_all(from_child, records.data(), records.size() * sizeof(zelfdb_fdb_record));
}

bool list_local(u32 port_id, u32 capacity, Answer& answer, std::vector<zelfdb_fdb_record>& records)
{
    int ends[2];
    if (pipe(ends) != 0) return false;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        list_in_child(port_id, capacity, ends[1]);
    }
    close(ends[1]);
    const bool heard = child > 0 && hear_child(ends[0], answer, records);
    close(ends[0]);
    while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return heard;
}

}  // namespace

std::string text_of(const Mac& mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

const char* type_text(u32 type)
{
    switch (type) {
    case ZELFDB_FIL_LOCAL: return "local";
    case ZELFDB_FIL_STATIC: return "static";
    case ZELFDB_FIL_DYNAMIC: return "dynamic";
    default: return "unknown";
    }
}

std::optional<std::vector<Entry>> read_entries(u32 vid, const std::string& vlan, u32 type, u32 expected)
{
    const auto records =
        list_at_once(type == ZELFDB_FIL_DYNAMIC ? zelfdb_get_all_dfil : zelfdb_get_all_sfil, vid, expected);
    if (!records) return std::nullopt;
    std::vector<Entry> entries;
    for (const zelfdb_fdb_record& record : *records) {
        Entry entry = entry_of(record, type);
        entry.vid = vid;
        entry.vlan = vlan;
        entry.port = record.port;
        if (type == ZELFDB_FIL_DYNAMIC) entry.age_s = record.age_s;
        entries.push_back(std::move(entry));
    }
    return entries;
}

std::optional<std::vector<Entry>> read_local_entries(u32 port_id)
{
    u32 capacity = first_capacity;
    for (int attempt = 0; attempt < listing_attempts; ++attempt) {
        Answer answer;
        std::vector<zelfdb_fdb_record> records;
        if (!list_local(port_id, capacity, answer, records) || answer.result < 0) return std::nullopt;
        if (answer.result == 0) {
            std::vector<Entry> entries;
            for (const zelfdb_fdb_record& record : records) {
                entries.push_back(entry_of(record, ZELFDB_FIL_LOCAL));
                entries.back().port = port_id;
            }
            return entries;
        }
        capacity = answer.total + spare_entries;
    }
    return std::nullopt;
}

std::optional<std::vector<Entry>> read_dynamic_entries()
{
    const auto vlans = read_vlans();
    if (!vlans) return std::nullopt;
    std::vector<Entry> all;
    for (const VlanView& vlan : *vlans) {
        auto entries = read_entries(vlan.vid, vlan.name, ZELFDB_FIL_DYNAMIC, vlan.entries);
        if (!entries) return std::nullopt;
        all.insert(all.end(), std::make_move_iterator(entries->begin()), std::make_move_iterator(entries->end()));
    }
    return all;
}

}  // namespace zelfctl
