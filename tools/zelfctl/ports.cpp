#include "ports.h"

#include <cstring>

#include "database.h"

namespace zelfctl {
namespace {

constexpr u32 ports_at_a_time = 64;
constexpr u32 most_vlans = 4094;

// Room for a port that is in every VLAN: the reader of a single port knows no bound.
struct RoomForPort {
    zelfdb_port_info info;
    zelfdb_port_member more[most_vlans];
};

// The IDs of all ports. False: a port went away in the middle, or there is none.
bool read_ids(std::vector<u32>& ids)
{
    const Ropebuf buffer(zelfdb_alloc_ropebuf(ports_at_a_time, sizeof(zelfdb_port_info)));
    if (!buffer) return false;
    zelfdb_cursor cursor{};
    int result = 1;
    while (result == 1) {
        result = zelfdb_get_all_portinfo(&cursor, buffer.get());
        if (result < 0) return false;
        for (u32 i = 0; i < buffer->filled; ++i) {
            u32 id = 0;
            std::memcpy(&id, buffer->records + std::size_t{i} * buffer->record_size, sizeof id);
            ids.push_back(id);
        }
    }
    return true;
}

bool there_are_ports()
{
    for (u32 id = 1; id <= highest_port; ++id)
        if (read_port(id)) return true;
    return false;
}

}  // namespace

std::optional<PortView> read_port(u32 port_id)
{
    static RoomForPort room;
    std::memset(&room, 0, sizeof room);
    if (zelfdb_get_portinfo(port_id, &room.info) != 0) return std::nullopt;
    PortView view{room.info, {}};
    // Without any membership the reader says 1 and writes no row; VID 0 tells.
    const auto* const rows = reinterpret_cast<const u8*>(&room) + offsetof(zelfdb_port_info, member);
    for (u32 i = 0; i < room.info.nmember && i < most_vlans; ++i) {
        zelfdb_port_member member{};
        std::memcpy(&member, rows + i * sizeof member, sizeof member);
        if (member.VID != 0) view.members.push_back(member);
    }
    view.info.nmember = static_cast<u32>(view.members.size());
    return view;
}

std::optional<std::vector<PortView>> read_ports()
{
    for (int attempt = 0; attempt < listing_attempts; ++attempt) {
        std::vector<u32> ids;
        if (!read_ids(ids)) {
            if (!there_are_ports()) return std::vector<PortView>{};
            continue;
        }
        std::vector<PortView> ports;
        for (const u32 id : ids)
            if (auto port = read_port(id)) ports.push_back(std::move(*port));
        return ports;
    }
    complain("the ports could not be read");
    return std::nullopt;
}

}  // namespace zelfctl
