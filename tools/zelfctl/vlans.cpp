#include "vlans.h"

#include <algorithm>
#include <cstring>

#include "database.h"
#include "language/value.h"

namespace zelfctl {
namespace {

constexpr u32 vlans_at_a_time = 256;
constexpr u32 most_ports = 199;
constexpr u32 record_size = static_cast<u32>(sizeof(zelfdb_vlan_info) + most_ports * sizeof(u32));

VlanView view_of(const u8* record)
{
    zelfdb_vlan_info info{};
    std::memcpy(&info, record, sizeof info);
    VlanView view;
    view.name = info.name;
    view.vid = info.VID;
    view.flags = info.vlan_flag;
    view.entries = info.nfil;
    view.untagged = info.nuntagged;
    view.members.assign(info.member, info.member + std::min<u32>(info.nmember, std::size(info.member)));
    view.pvid_ports.resize(std::min(info.npvid, most_ports));
    if (!view.pvid_ports.empty())
        std::memcpy(view.pvid_ports.data(), record + sizeof info, view.pvid_ports.size() * sizeof(u32));
    return view;
}

// One pass. False: a VLAN went away in the middle of it, or there are none.
bool read_pass(std::vector<VlanView>& vlans)
{
    const Ropebuf buffer(zelfdb_alloc_ropebuf(vlans_at_a_time, record_size));
    if (!buffer) return false;
    zelfdb_cursor cursor{};
    int result = 1;
    while (result == 1) {
        // The reader adds to a count in the record, so a record that is used again has to be emptied.
        std::memset(buffer->records, 0, std::size_t{vlans_at_a_time} * record_size);
        result = zelfdb_get_all_vlaninfo(&cursor, buffer.get());
        if (result < 0) return false;
        for (u32 i = 0; i < buffer->filled; ++i)
            vlans.push_back(view_of(buffer->records + std::size_t{i} * record_size));
    }
    return true;
}

}  // namespace

std::optional<std::vector<VlanView>> read_vlans()
{
    for (int attempt = 0; attempt < listing_attempts; ++attempt) {
        std::vector<VlanView> vlans;
        if (read_pass(vlans)) return vlans;
        zelfdb_summary summary{};
        if (zelfdb_get_summary(&summary) != 0) break;
        if (summary.vlan_count == 0) return std::vector<VlanView>{};
    }
    complain("the VLANs could not be read");
    return std::nullopt;
}

std::optional<u32> vid_of(const std::string& name_or_vid)
{
    u32 vid = 0;
    u32 code = 0;
    if (zelfdb_get_vid(name_or_vid.c_str(), &vid, &code) == 0) return vid;
    char name[32];
    if (read_decimal(name_or_vid, vid) && vid <= 4094 && zelfdb_get_vlanname(vid, name, &code) == 0) return vid;
    complain("no VLAN '" + name_or_vid + "'");
    return std::nullopt;
}

}  // namespace zelfctl
