#include "snapshot.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "check.h"
#include "core/records.h"
#include "database.h"
#include "held.h"
#include "resync/resync.h"
#include "sandboxed.h"

namespace zelfctl {
namespace {

std::vector<char> bytes_of(const void* segment, u64 size_bytes)
{
    const auto* const first = static_cast<const char*>(segment);
    return {first, first + size_bytes};
}

// A segment may be larger than what is laid out in it.
void put(const std::vector<char>& bytes, void* segment, u64 size_bytes)
{
    std::memcpy(segment, bytes.data(), std::min<u64>(bytes.size(), size_bytes));
}

zelfdb::Header header_of(const Snapshot& snapshot)
{
    zelfdb::Header header;
    std::memcpy(&header, snapshot.main.data(), sizeof header);
    return header;
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i)
        text += (i == 0 ? "" : i + 1 == parts.size() ? " and " : ", ") + parts[i];
    return text;
}

}  // namespace

std::optional<Snapshot> take_snapshot()
{
    Snapshot snapshot;
    {
        const auto held = Held::take(Access::read);
        if (!held) return std::nullopt;
        const zelfdb::Segments segments = held->segments();
        snapshot.main = bytes_of(segments.main, segments.main_bytes);
        snapshot.fdb = bytes_of(segments.fdb, segments.fdb_bytes);
    }
    // The copy can be checked while others go on.
    const zelfdb::Segments copy{snapshot.main.data(), snapshot.main.size(), snapshot.fdb.data(), snapshot.fdb.size()};
    if (!is_sound(zelfdb::check(copy))) return std::nullopt;
    const zelfdb::Header header = header_of(snapshot);
    snapshot.room = {header.nport, header.nvlan, header.nfil};
    return snapshot;
}

bool become(const Snapshot& snapshot)
{
    if (!make_database(snapshot.room)) return false;
    const auto held = Held::take(Access::write);
    if (!held) return false;
    put(snapshot.main, held->main(), held->segments().main_bytes);
    put(snapshot.fdb, held->fdb(), held->segments().fdb_bytes);
    return true;
}

bool become_with_NP(const Snapshot& snapshot)
{
    if (!become(snapshot)) return false;
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) return false;
    zelfdb::resync(*descriptor);  // what the real one cannot be told, neither can this
    return true;
}

std::optional<std::string> configuration_of(const Snapshot& snapshot)
{
    std::string text;
    const auto print = [&snapshot] {
        if (!become(snapshot)) return exit_failed;
        const auto replayed = read_running();
        if (!replayed) return exit_failed;
        std::fwrite(replayed->data(), 1, replayed->size(), stdout);
        return exit_done;
    };
    if (in_sandbox(print, &text) != exit_done) return std::nullopt;
    return text;
}

std::string content_of(const Snapshot& snapshot)
{
    const zelfdb::Header header = header_of(snapshot);
    std::vector<std::string> parts;
    const auto add = [&](u64 number, const char* one, const char* several) {
        if (number != 0) parts.push_back(counted(number, one, several));
    };
    u64 shaped = 0;
    for (const zelfdb::Offset& slot : header.phport_index) {
        zelfdb::Phport phport{};
        if (slot == zelfdb::none) continue;
        std::memcpy(&phport, snapshot.main.data() + slot.value, sizeof phport);
        shaped += phport.shaping_rate != 0;
    }
    add(shaped, "shaped physical port", "shaped physical ports");
    add(header.port_count, "port", "ports");
    add(header.vlan_count, "VLAN", "VLANs");
    add(header.stream_total, "stream", "streams");
    add(header.queue_total, "queue", "queues");
    add(header.prot_groups.count, "protocol group", "protocol groups");
    const auto& lists = header.classify_index;
    add(static_cast<u64>(std::count_if(std::begin(lists), std::end(lists),
                                       [](zelfdb::Offset list) { return list != zelfdb::none; })),
        "classify list", "classify lists");
    add(static_cast<u64>(std::count_if(std::begin(header.mirror), std::end(header.mirror),
                                       [](const zelfdb::Mirror& mirror) { return mirror.state != 0; })),
        "mirror", "mirrors");
    add(u64{header.nfil_usr_all} + header.nfil_sys_all, "entry", "entries");
    if (header.fdb_userarea != 0) parts.emplace_back("a limit of user entries");
    return joined(parts);
}

}  // namespace zelfctl
