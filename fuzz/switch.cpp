#include "switch.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace fuzz {
namespace {

void made(int result, u32 code)
{
    if (result != 0) found("the switch cannot be made: code %u", code);
}

void make_ports()
{
    u32 err = 0;
    for (const u32 id : {1u, 2u, 3u}) made(zelfdb_create_port(id, id, ZELFDB_PORT_ETHER, &err), err);
    made(zelfdb_create_port(4, 0, ZELFDB_PORT_VIF, &err), err);
    made(zelfdb_create_port(101, 0, ZELFDB_PORT_NONE, &err), err);
    for (const u32 id : Switch::ports) made(zelfdb_enable_port(id, &err), err);
    zelfdb_port_param param{};
    param.p_flag = 0x77;
    constexpr i32 flags = ZELFDB_SELECT_P_FLAG | ZELFDB_SELECT_P_FLAG_TO_NP;
    for (const u32 id : {4u, 101u}) made(zelfdb_set_param_to_port(id, &param, 0, 0, flags, 0x77, &err), err);
    for (const u32 id : {1u, 2u})
        made(zelfdb_set_param_to_port(id, &param, 0, 1, ZELFDB_SELECT_SLDBKR | ZELFDB_SELECT_AGING, 0, &err), err);
}

void make_vlans()
{
    u32 err = 0;
    i32 vid = 10;
    made(zelfdb_create_vlan("office", &vid, &err), err);
    made(zelfdb_create_vlan("lab", &(vid = 20), &err), err);
    made(zelfdb_create_vlan("arp", &(vid = 30), &err), err);
    made(zelfdb_create_protgroup(1, &err), err);
    made(zelfdb_add_prot_to_group(0x0806, 1, &err), err);
    for (const u32 id : {1u, 2u}) made(zelfdb_add_port_to_vlan(10, id, 0, 0x8100, 0, 0, &err), err);
    for (const u32 id : {3u, 101u}) made(zelfdb_add_port_to_vlan(10, id, 1, 0x8100, 0, 0, &err), err);
    for (const u32 id : {3u, 4u}) made(zelfdb_add_port_to_vlan(20, id, 0, 0x8100, 0, 0, &err), err);
    made(zelfdb_add_port_to_vlan(30, 2, 0, 0x8100, 1, 1, &err), err);
    made(zelfdb_set_vlan_sld(10, 1, &err), err);
    made(zelfdb_set_vlan_learninglimit(20, 3, &err), err);
}

void make_entries()
{
    u32 err = 0;
    const u8 station[] = {2, 0, 0, 0, 0, 0x51};
    made(zelfdb_create_sfil(10, station, 2, 0, 0, &err), err);
    made(zelfdb_create_lfil(1, station, 0, 0, &err), err);
    made(zelfdb_set_port_link_frames(1, 0, 0, &err), err);
    made(zelfdb_create_stream(0, &err), err);
    made(zelfdb_add_stream_to_port(0, 1, 1, &err), err);
}

using Buffer = std::unique_ptr<zelfdb_ropebuf, void (*)(zelfdb_ropebuf*)>;

}  // namespace

Switch::Switch() : site_({8, 4, nfil}) {}

void Switch::make_anew()
{
    site_.close_descriptor();
    if (softnp_use_private() != 0) found("no network processor");
    site_.restore();
    set_time_s(1000);
    site_.open_descriptor();
    if (softnp_set_tick(0) != 0) found("no tick");
    make_ports();
    make_vlans();
    make_entries();
}

void Switch::learn_all()
{
    softnp_event event{};
    for (u32 i = 0; i < SOFTNP_EVENTS && softnp_next_event(&event) == 1; ++i) {
        u8 header[16];
        std::copy_n(event.header, sizeof header, header);
        zelfdb_learn_ind indication{};
        indication.port = event.port_id;
        indication.tick_ms = event.tick_ms;
        indication.cookie = static_cast<i32>(event.cookie);
        learn(header, indication);
    }
}

void Switch::learn(const u8 (&header)[16], const zelfdb_learn_ind& indication)
{
    // Memory of their own, with nothing readable behind it.
    const auto frame = std::make_unique<u8[]>(sizeof header);
    std::copy_n(header, sizeof header, frame.get());
    const auto told = std::make_unique<zelfdb_learn_ind>(indication);
    const int result = zelfdb_add_dfil_by_learn_ind(&descriptor(), frame.get(), told.get());
    if (result != 0 && result != -1) found("learning says %d", result);
}

u32 Switch::expect_possible_entries(u32 vid)
{
    const Buffer buffer(zelfdb_alloc_ropebuf(nfil, sizeof(zelfdb_fdb_record)), zelfdb_free_ropebuf);
    zelfdb_fdb_cursor cursor{};
    if (!buffer || zelfdb_get_all_dfil(vid, &cursor, buffer.get()) != 0) found("VLAN %u cannot be listed", vid);
    for (u32 i = 0; i < buffer->filled; ++i) {
        zelfdb_fdb_record record{};
        std::memcpy(&record, buffer->records + i * sizeof record, sizeof record);
        if (std::find(std::begin(ports), std::end(ports), record.port) == std::end(ports))
            found("VLAN %u has learned a station on port %u", vid, record.port);
        if (record.mac[0] & 1) found("VLAN %u has learned a group address", vid);
        if (record.flag != 0 || record.permit != 0) found("VLAN %u has learned a marked entry", vid);
    }
    return buffer->total;
}

void Switch::expect_sound(const char* after)
{
    site_.expect_sound(after);
    for (const u32 vid : vids) expect_possible_entries(vid);
}

void Switch::expect_same_entries()
{
    u32 entries = 2;  // of port 1, which no listing tells without keeping a lock
    for (const u32 vid : vids) entries += expect_possible_entries(vid);
    softnp_device_counters counters{};
    if (softnp_get_device_counters(&counters) != 0) found("no counters");
    if (counters.mac_entries != entries)
        found("the network processor has %u entries, the database %u", counters.mac_entries, entries);
}

}  // namespace fuzz
