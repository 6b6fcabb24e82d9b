#include "support/database.h"

#include <cstring>
#include <ostream>

#include "core/segments.h"
#include "fdb/entries.h"
#include "support/invariants.h"
#include "support/namespace.h"

namespace zelfdb {

void PrintTo(const Snapshot& snapshot, std::ostream* out)
{
    *out << "snapshot of " << snapshot.main.size() << " + " << snapshot.fdb.size() << " bytes, commands:";
    for (const std::string& command : snapshot.commands) *out << "\n  " << command;
}

void Database::SetUp()
{
    ASSERT_TRUE(enter_ipc_namespace());
    environment::reset();
    recorder::reset();
    init(counts_.nport, counts_.nvlan, counts_.nfil);
    environment::reset();
    recorder::reset();
}

void Database::init(u32 nport, u32 nvlan, u32 nfil)
{
    close_descriptor(descriptor_);
    counts_ = {nport, nvlan, nfil};
    ASSERT_EQ(0, zelfdb_init(&counts_));
    descriptor_ = open_descriptor();
    ASSERT_NE(nullptr, descriptor_);
}

void Database::TearDown()
{
    if (descriptor_ && !damaged_) {
        EXPECT_THAT(broken_invariants(d()), testing::IsEmpty());
    }
    close_descriptor(descriptor_);
    descriptor_ = nullptr;
}

Snapshot Database::snapshot() const
{
    const Layout layout = layout_of(header().nport, header().nvlan, header().nfil);
    const u8* const main = base().bytes;
    const u8* const entries = fdb().bytes;
    return {{main, main + layout.end}, {entries, entries + header().nfil * sizeof(Fil)}, recorder::log()};
}

std::vector<std::string> Database::sent()
{
    std::vector<std::string> commands;
    commands.swap(recorder::log());
    return commands;
}

Port& Database::given_port(u32 port_id, i32 p_type, u32 phport)
{
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_create_port(port_id, phport, p_type, &err)) << "code " << err;
    recorder::log().clear();
    return *port(port_id);
}

Vlan& Database::given_vlan(u16 vid, const std::string& name)
{
    u32 err = 0;
    i32 wanted = vid;
    EXPECT_EQ(0, zelfdb_create_vlan(name.c_str(), &wanted, &err)) << "code " << err;
    recorder::log().clear();
    return *vlan(vid);
}

void Database::given_member(u16 vid, u32 port_id, bool tagged, u32 tagtype)
{
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_add_port_to_vlan(vid, port_id, tagged, tagtype, 0, 0, &err)) << "code " << err;
    recorder::log().clear();
}

void Database::given_protocol_member(u16 vid, u32 port_id, u16 group, bool tagged)
{
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_add_port_to_vlan(vid, port_id, tagged, 0x8100, 1, group, &err)) << "code " << err;
    recorder::log().clear();
}

void Database::given_group(u16 group, const std::vector<u16>& protocols)
{
    ProtGroupTable& table = header().prot_groups;
    ASSERT_LT(table.count, 8u);
    ASSERT_LE(protocols.size(), 8u);
    ProtGroup& entry = table.group[table.count++];
    entry = {};
    entry.group = group;
    for (const u16 protocol : protocols) entry.prot[entry.nprot++] = protocol;
}

void Database::given_ninth_group(u16 group, const std::vector<u16>& protocols)
{
    ProtGroupTable& table = header().prot_groups;
    static_assert(offsetof(Header, mirror) == offsetof(Header, prot_groups) + sizeof table);
    expect_damage();
    for (u16 other = 1; table.count < std::size(table.group); ++other) given_group(other, {});
    ProtGroup behind{};
    behind.group = group;
    for (const u16 protocol : protocols) behind.prot[behind.nprot++] = protocol;
    std::memcpy(static_cast<void*>(header().mirror), &behind, sizeof behind);
    ++table.count;
}

ProtBinding Database::given_ninth_binding(Port& port)
{
    static_assert(offsetof(Port, port_link) == offsetof(Port, prot) + sizeof port.prot);
    expect_damage();
    for (ProtBinding& binding : port.prot) binding = {};
    port.npg = prot_bindings_per_port + 1;
    ProtBinding behind{};
    std::memcpy(&behind, &port.port_link, sizeof behind);
    return behind;
}

Fil& Database::given_static(u16 vid, const Mac& mac, u32 port_id, u32 flag, u32 permit)
{
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_create_sfil(vid, mac.byte, port_id, flag, permit, &err)) << "code " << err;
    recorder::log().clear();
    return *fil(vlan(vid)->fdb, mac);
}

Fil& Database::given_local(u32 port_id, const Mac& mac, u32 flag, u32 permit)
{
    u32 err = 0;
    EXPECT_EQ(0, zelfdb_create_lfil(port_id, mac.byte, flag, permit, &err)) << "code " << err;
    recorder::log().clear();
    return *fil(port(port_id)->fdb, mac);
}

Fil& Database::given_learned(u16 vid, const Mac& mac, u32 port_id, u32 tick_ms, u32 last_seen_s)
{
    FdbHead& table = vlan(vid)->fdb;
    Fil* const entry = alloc_fil(fdb(), header());
    EXPECT_NE(nullptr, entry);
    entry->offset = offset_of(base(), table);
    entry->port = port_id;
    entry->fil_flag = 0;
    entry->fil_type = fil_dynamic;
    entry->fil_permit = 0;
    entry->mac = mac;
    entry->lastValidate = tick_ms;
    entry->last_seen = last_seen_s;
    hAdd_fil_by_mac(fdb(), header(), table, *entry);
    count_entry(header(), table, *entry);
    return *entry;
}

Mac Database::mac(u64 number)
{
    Mac result{};
    for (int i = 5; i >= 0; --i, number >>= 8) result.byte[i] = static_cast<u8>(number & 0xFF);
    return result;
}

namespace {

void put16(u8* at, u16 value)
{
    at[0] = static_cast<u8>(value >> 8);
    at[1] = static_cast<u8>(value & 0xFF);
}

}  // namespace

FrameBytes untagged_frame(const Mac& source, u16 ethertype)
{
    FrameBytes frame{};
    std::memset(frame.byte, 0xFF, 6);
    std::memcpy(frame.byte + 6, source.byte, 6);
    put16(frame.byte + 12, ethertype);
    return frame;
}

FrameBytes tagged_frame(const Mac& source, u16 vid, u16 tagtype)
{
    FrameBytes frame = untagged_frame(source, tagtype);
    put16(frame.byte + 14, vid);
    put16(frame.byte + 16, 0x0800);
    return frame;
}

zelfdb_learn_ind indication(u32 port_id, u32 tick_ms, u32 cookie)
{
    zelfdb_learn_ind result{};
    result.port = static_cast<u16>(port_id);
    result.tick_ms = tick_ms;
    result.cookie = static_cast<i32>(cookie);
    return result;
}

}  // namespace zelfdb
