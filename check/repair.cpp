// A repair as a whole, and the header's own words, groups and mirrors.
#include "check/repair.h"

#include <set>

#include "check/limits.h"
#include "check/mend.h"

namespace zelfdb {
namespace audit {

void add_deed(Mend& m, bool drops, const Name& object, const char* what)
{
    if (drops) ++m.repair.drops;
    if (++m.repair.all_deeds > findings_max) return;
    m.repair.deeds.push_back({drops, text_of(object), what});
}

void touch(Mend& m, Touched::Kind kind, u32 id, bool exists, u32 other, const Mac& mac)
{
    m.repair.touched.push_back({kind, id, other, mac, exists});
}

namespace {

// ---- Protocol groups -------------------------------------------------------------------------------------------------

// The protocols of all places: taking one out and putting one in both have moments when the count is not theirs.
ProtGroup whole_group(const ProtGroup& row)
{
    ProtGroup group{};
    group.group = row.group;
    for (u32 i = 0; i < protocols_max; ++i) {
        const u16 protocol = row.prot[i];
        if (protocol == 0 && i >= row.nprot) continue;
        if (std::find(group.prot, group.prot + group.nprot, protocol) == group.prot + group.nprot)
            group.prot[group.nprot++] = protocol;
    }
    return group;
}

// Whether a row behind it has the same group or one of its protocols.
bool is_superseded(const ProtGroup& group, const std::vector<ProtGroup>& behind)
{
    return std::any_of(behind.begin(), behind.end(), [&group](const ProtGroup& other) {
        if (other.group == group.group) return true;
        return std::find_first_of(group.prot, group.prot + group.nprot, other.prot, other.prot + other.nprot) !=
               group.prot + group.nprot;
    });
}

}  // namespace

void mend_groups(Mend& m)
{
    ProtGroupTable& table = m.header.prot_groups;
    std::vector<ProtGroup> kept;  // from the last to the first
    for (u32 i = groups_max; i-- > 0;) {
        const ProtGroup& row = table.group[i];
        if (i >= table.count && row.group == 0 && row.nprot == 0) continue;
        const ProtGroup group = whole_group(row);
        if (is_superseded(group, kept)) {
            const bool same =
                std::any_of(kept.begin(), kept.end(), [&](const ProtGroup& g) { return g.group == group.group; });
            dropped(m, {"protocol group %d", group.group},
                    same ? "a row that was left of it is dropped" : "it shares a protocol with another: it is dropped");
            touch(m, Touched::Kind::group, group.group, same);
            continue;
        }
        kept.push_back(group);
    }
    ProtGroupTable mended{};
    mended.count = static_cast<u32>(kept.size());
    std::copy(kept.rbegin(), kept.rend(), mended.group);
    for (u32 i = 0; i < mended.count; ++i) {
        if (std::memcmp(&mended.group[i], &table.group[i], sizeof(ProtGroup)) != 0 || i >= table.count)
            touch(m, Touched::Kind::group, mended.group[i].group, true);
    }
    if (set(table, mended)) did(m, "protocol groups", "their table is made anew");
}

namespace {

// ---- Mirrors ---------------------------------------------------------------------------------------------------------

bool may_be_enabled(const Mirror& mirror)
{
    return mirror.source_kind != 0 && mirror.dest_port != 0 &&
           !(copies_what_is_sent(mirror) && mirror.source_port == mirror.dest_port);
}

void mend_mirror(Mend& m, u32 id, Mirror& mirror)
{
    u16 state = mirror.state & (mirror_created | mirror_enabled);
    if (!(state & mirror_created)) state = 0;
    if ((state & mirror_enabled) && !may_be_enabled(mirror)) state = mirror_created;
    if (!set(mirror.state, state)) return;
    did(m, {"mirror %d", id}, state == 0 ? "it is deleted" : "it is not enabled any more");
    touch(m, Touched::Kind::mirror, id, state != 0);
}

}  // namespace

void mend_header(Mend& m)
{
    for (u32 i = 0; i < std::size(m.header.mirror); ++i) mend_mirror(m, i + 1, m.header.mirror[i]);
    if (set(m.header.history[4], 0)) did(m, "header", "a history counter that nothing counts is 0");
    if (set(m.header.unused8354, 0)) did(m, "header", "the word that is not used is 0");
}

// Each object once, with what was said of it last.
void tell_once(std::vector<Touched>& touched)
{
    const auto less = [](const Touched& a, const Touched& b) {
        if (a.kind != b.kind) return a.kind < b.kind;
        if (a.id != b.id) return a.id < b.id;
        if (a.other != b.other) return a.other < b.other;
        return std::memcmp(a.mac.byte, b.mac.byte, sizeof a.mac.byte) < 0;
    };
    std::stable_sort(touched.begin(), touched.end(), less);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < touched.size(); ++i) {
        if (i + 1 < touched.size() && !less(touched[i], touched[i + 1])) continue;
        touched[kept++] = touched[i];
    }
    touched.resize(kept);
}

}  // namespace audit

std::string text_of(const Deed& deed) { return deed.object + ": " + deed.what; }

Repair plan_repair(const Segments& segments)
{
    using namespace audit;
    Repair repair;
    repair.before = check(segments);
    repair.after = repair.before;
    if (!repair.needed() || !segments.main || segments.main_bytes < sizeof(Header)) return repair;
    const auto& header = record_at<const Header>(base_of(segments.main), Offset{0});
    const Stores needed = stores_of(segments, header.nport, header.nvlan, header.nfil);
    if (needed.main_end > segments.main_bytes || needed.main_end > none.value) return repair;
    if (needed.fdb_end > (segments.fdb ? segments.fdb_bytes : 0)) return repair;

    const auto* const main = static_cast<const u8*>(segments.main);
    const auto* const fdb = static_cast<const u8*>(segments.fdb);
    repair.main.assign(main, main + needed.main_end);
    if (fdb) repair.fdb.assign(fdb, fdb + needed.fdb_end);
    const Segments copy{repair.main.data(), repair.main.size(), repair.fdb.data(), repair.fdb.size()};
    auto& mended = record_at<Header>(base_of(copy.main), Offset{0});
    Mend m{mended, stores_of(copy, header.nport, header.nvlan, header.nfil), repair, {}, {}, {}, {}, {}, {}};
    mend_ports(m);
    mend_vlans(m);
    mend_groups(m);
    mend_memberships(m);
    mend_bindings_to_groups(m);
    mend_pvids(m);
    mend_entries(m);
    mend_qos(m);
    mend_profiles(m);
    mend_header(m);
    tell_once(repair.touched);

    repair.after = check(copy);
    // No bytes are known to lead here. A database that would not be sound is not written.
    if (repair.after.errors != 0) {
        repair.main.clear();
        repair.fdb.clear();
    }
    return repair;
}

void make_repair(const Repair& repair, void* main, void* fdb)
{
    std::copy(repair.main.begin(), repair.main.end(), static_cast<u8*>(main));
    std::copy(repair.fdb.begin(), repair.fdb.end(), static_cast<u8*>(fdb));
}

}  // namespace zelfdb
