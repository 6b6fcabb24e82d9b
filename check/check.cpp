// The whole check, and the header's own words.
#include "check/check.h"

#include <cstdio>
#include <cstdlib>

#include "check/audit.h"

namespace zelfdb {
namespace audit {

void add_finding(Audit& a, Severity severity, const Name& object, const char* field, const void* word,
                 const Value& found, const Value& expected, const Name& rule)
{
    u64& count = severity == Severity::error ? a.report.errors : a.report.notices;
    if (++count > findings_max) return;
    const auto in = [word](const void* segment, u64 size_bytes) {
        const auto start = reinterpret_cast<std::uintptr_t>(segment);
        const auto address = reinterpret_cast<std::uintptr_t>(word);
        return address >= start && address - start < size_bytes;
    };
    const bool in_main = in(a.segments.main, a.segments.main_bytes);
    const void* const segment = in_main ? a.segments.main : a.segments.fdb;
    const u32 offset = static_cast<u32>(static_cast<const u8*>(word) - static_cast<const u8*>(segment));
    a.report.findings.push_back({severity, text_of(object), in_main ? Segment::main : Segment::fdb, offset, field,
                                 text_of(found), text_of(expected), text_of(rule)});
}

Lost lost_records(const Marks& marks)
{
    Lost lost;
    for (u32 i = 0; i < marks.size(); ++i) {
        if (marks[i] != 0) continue;
        if (lost.count++ == 0) lost.first = i;
    }
    return lost;
}

namespace {

// What exists is what was made and not taken away. A difference harms nobody: the history is for people. It stays when a
// process dies on its way from the one counter to the other. The counters wrap, all together.
void check_history(Audit& a)
{
    const auto& history = a.header.history;
    const auto expect_rest = [&](u32 made, u32 gone, const char* field, std::size_t in_use) {
        const u32 rest = history[made] - history[gone];
        if (rest == in_use) return;
        notice(a, "header", field, &history[made], dec(static_cast<i32>(rest)), dec(static_cast<i64>(in_use)),
               "those that were made and not deleted are in use");
    };
    expect_rest(ports_created, ports_deleted, "history of ports", a.ports.records.size());
    expect_rest(vlans_created, vlans_deleted, "history of VLANs", a.vlans.records.size());

    // A further protocol group of a membership counts as an addition too.
    const auto memberships = static_cast<u32>(std::count(a.pvs.begin(), a.pvs.end(), true));
    const u32 rest = history[ports_added_to_vlans] - history[ports_removed_from_vlans];
    if (static_cast<i32>(rest - memberships) < 0) {
        notice(a, "header", "history of memberships", &history[ports_added_to_vlans], dec(static_cast<i32>(rest)),
               dec(memberships), "those that were added and not removed are in use, at least");
    }
    if (history[4] != 0) error(a, "header", "history[4]", &history[4], dec(history[4]), dec(0), "nothing counts here");
}

void check_unused_word(Audit& a)
{
    const u32& word = a.header.unused8354;
    if (word != 0) error(a, "header", "unused8354", &word, hex(word), hex(0), "the word is not used");
}

Report refusal(const char* object, Segment segment, const char* field, u64 found, const Value& expected,
               const char* rule)
{
    Report report;
    report.errors = 1;
    report.findings.push_back(
        {Severity::error, object, segment, 0, field, std::to_string(found), text_of(expected), rule});
    return report;
}

constexpr const char* the_counts = "nport, nvlan and nfil";

}  // namespace
}  // namespace audit

Report check(const Segments& segments)
{
    using namespace audit;
    if (!segments.main || segments.main_bytes < sizeof(Header)) {
        return refusal("main segment", Segment::main, "size", segments.main ? segments.main_bytes : 0,
                       text("a header's size or more"), "there is no database without a header");
    }
    const auto& header = record_at<const Header>(base_of(segments.main), Offset{0});
    const Stores stores = stores_of(segments, header.nport, header.nvlan, header.nfil);
    if (stores.main_end > segments.main_bytes || stores.main_end > none.value) {
        return refusal("header", Segment::main, the_counts, stores.main_end,
                       at_most(static_cast<i64>(segments.main_bytes)), "the counts need that many bytes, of so many");
    }
    const u64 fdb_bytes = segments.fdb ? segments.fdb_bytes : 0;
    if (stores.fdb_end > fdb_bytes) {
        return refusal("FDB segment", Segment::fdb, "size", fdb_bytes, text("as the header's nfil needs"),
                       "it holds the entries, and nothing else does");
    }

    Audit a{segments, header, stores, {}, {}, {}, {}, {}, {}};
    check_ports(a);
    check_vlans(a);
    check_entries(a);
    check_qos(a);
    check_profiles(a);
    check_mirrors(a);
    check_history(a);
    check_unused_word(a);
    return a.report;
}

namespace {

// Bytes from there to the end of what is attached there, in whole pages; 0 when nothing is, or nobody knows. Asked of the
// process's own map: the keys may belong to other segments by now.
u64 attached_bytes(const void* segment)
{
    std::FILE* const maps = segment ? std::fopen("/proc/self/maps", "re") : nullptr;
    if (!maps) return 0;
    const u64 wanted = reinterpret_cast<std::uintptr_t>(segment);
    u64 size_bytes = 0;
    char line[4608];  // a path and what stands before it
    while (size_bytes == 0 && std::fgets(line, sizeof line, maps)) {
        char* rest = nullptr;
        const u64 start = std::strtoull(line, &rest, 16);
        if (*rest != '-') continue;  // what is left of a line that was too long
        const u64 end = std::strtoull(rest + 1, nullptr, 16);
        if (start <= wanted && wanted < end) size_bytes = end - wanted;
    }
    std::fclose(maps);
    return size_bytes;
}

}  // namespace

Report check(const Descriptor& d)
{
    return check(
        Segments{d.main_segment, attached_bytes(d.main_segment), d.fdb_segment, attached_bytes(d.fdb_segment)});
}

}  // namespace zelfdb
