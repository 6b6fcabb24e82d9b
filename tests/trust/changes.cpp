#include "trust/changes.h"

#include <cstdio>
#include <cstring>

namespace zelfdb::trust {
namespace {

constexpr std::size_t page = 4096;
constexpr std::size_t told_max = 8;

// The bytes at which two images of one segment differ.
template <class Work>
void each_difference(const std::vector<u8>& before, const std::vector<u8>& after, Work work)
{
    for (std::size_t first = 0; first < before.size(); first += page) {
        const std::size_t end = std::min(first + page, before.size());
        if (std::memcmp(before.data() + first, after.data() + first, end - first) == 0) continue;
        for (std::size_t at = first; at < end; ++at) {
            if (before[at] != after[at]) work(at);
        }
    }
}

}  // namespace

void Changes::permit_entry(const Fil& fil, u32 number)
{
    fdb_.push_back({u64{number} * sizeof(Fil), u64{number + 1} * sizeof(Fil)});
    const u64 owner = fil.offset.value;
    if (owner + sizeof(FdbHead) > before_.main.size()) return;
    main_.push_back({owner + offsetof(FdbHead, nfil), owner + offsetof(FdbHead, learnlimit)});
    const u64 bucket = owner + offsetof(FdbHead, bucket) + u64{mac_bucket(fil.mac)} * sizeof(Offset);
    main_.push_back({bucket, bucket + sizeof(Offset)});
}

void Changes::entries(const std::function<bool(const Fil&)>& named)
{
    for (const Image* image : {&before_, &after_}) {
        for (u32 number = 0; number < h().nfil; ++number) {
            const Fil& fil = record_at<Fil>(image->fdb_base(), Offset{number * static_cast<u32>(sizeof(Fil))});
            if (named(fil)) permit_entry(fil, number);
        }
    }
    entry_links_ = true;
    head<&Header::fil_free, &Header::nfil_usr_all, &Header::nfil_sys_all>();
}

bool Changes::allowed_in_main(u64 at) const
{
    for (const Range& range : main_) {
        if (at >= range.first && at < range.end) return true;
    }
    for (const Comb& comb : combs_) {
        if (at < comb.first || at >= comb.first + comb.stride * comb.count) continue;
        const u64 inside = (at - comb.first) % comb.stride;
        if (inside >= comb.at && inside < comb.at + comb.size) return true;
    }
    return false;
}

bool Changes::allowed_in_fdb(u64 at) const
{
    for (const Range& range : fdb_) {
        if (at >= range.first && at < range.end) return true;
    }
    return entry_links_ && at % sizeof(Fil) < sizeof(Link);
}

std::vector<std::string> Changes::trespasses() const
{
    std::vector<std::string> all;
    const auto tell = [&all](const char* segment, std::size_t at, unsigned was, unsigned is) {
        char line[96];
        std::snprintf(line, sizeof line, "%s segment, byte 0x%zx: %02x became %02x", segment, at, was, is);
        if (all.size() < told_max) all.emplace_back(line);
    };
    each_difference(before_.main, after_.main, [&](std::size_t at) {
        if (!allowed_in_main(at)) tell("main", at, before_.main[at], after_.main[at]);
    });
    each_difference(before_.fdb, after_.fdb, [&](std::size_t at) {
        if (!allowed_in_fdb(at)) tell("FDB", at, before_.fdb[at], after_.fdb[at]);
    });
    return all;
}

}  // namespace zelfdb::trust
