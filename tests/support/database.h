// A database to work on: laid out anew, in an IPC namespace of its own, with the recording NP, for every test.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/call.h"
#include "support/environment.h"
#include "support/recorder.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

// Every byte of both segments and every command that the NP was sent.
struct Snapshot {
    std::vector<u8> main;
    std::vector<u8> fdb;
    std::vector<std::string> commands;
    bool operator==(const Snapshot&) const = default;
};
void PrintTo(const Snapshot& snapshot, std::ostream* out);

class Database : public testing::Test {
protected:
    static constexpr u32 default_nport = 8;
    static constexpr u32 default_nvlan = 6;
    static constexpr u32 default_nfil = 32;

    Database() : Database(default_nport, default_nvlan, default_nfil) {}
    Database(u32 nport, u32 nvlan, u32 nfil) : counts_{nport, nvlan, nfil} {}

    void SetUp() override;
    // Fails the test when the database is left in a state that no sequence of operations leads to.
    void TearDown() override;
    // For tests that damage the database on purpose.
    void expect_damage() { damaged_ = true; }

    // Lays the database out anew with these counts.
    void init(u32 nport, u32 nvlan, u32 nfil);

    [[nodiscard]] Descriptor& d() const { return *descriptor_; }
    [[nodiscard]] Base base() const { return main_base(*descriptor_); }
    [[nodiscard]] Base fdb() const { return fdb_base(*descriptor_); }
    [[nodiscard]] Header& header() const { return header_of(*descriptor_); }
    [[nodiscard]] Snapshot snapshot() const;
    // Commands sent since the last call.
    [[nodiscard]] static std::vector<std::string> sent();

    // Objects made through the API; they fail the test if that fails. The commands of it are forgotten.
    Port& given_port(u32 port_id, i32 p_type = ZELFDB_PORT_NONE, u32 phport = 0);
    Vlan& given_vlan(u16 vid, const std::string& name);
    void given_member(u16 vid, u32 port_id, bool tagged = false, u32 tagtype = 0x8100);
    void given_protocol_member(u16 vid, u32 port_id, u16 group, bool tagged = false);
    // Written directly.
    void given_group(u16 group, const std::vector<u16>& protocols);
    // Damages. The table of groups is full and counts one more: what stands behind it looks like that group.
    void given_ninth_group(u16 group, const std::vector<u16>& protocols);
    // A port's bindings, none of which is of any group, count one more than there is room for; what the ninth looks like.
    ProtBinding given_ninth_binding(Port& port);
    Fil& given_static(u16 vid, const Mac& mac, u32 port, u32 flag = 0, u32 permit = 0);
    Fil& given_local(u32 port_id, const Mac& mac, u32 flag = 0, u32 permit = 0);
    // As learning leaves it, at the front of its chain; the port need not exist.
    Fil& given_learned(u16 vid, const Mac& mac, u32 port_id, u32 tick_ms = 0, u32 last_seen_s = 0);

    [[nodiscard]] Port* port(u32 port_id) const { return known_port(base(), header(), port_id); }
    [[nodiscard]] Vlan* vlan(u32 vid) const { return lookup_vlan(base(), header(), vid); }
    [[nodiscard]] Fil* fil(const FdbHead& table, const Mac& mac) const
    {
        return lookup_fil_by_mac(fdb(), header(), table, mac);
    }
    // One of six bytes, all in the given number's low bytes: mac(0x0011223344ff).
    static Mac mac(u64 number);

    // Offsets of the records of a chain, list or free list, in order.
    template <auto LinkOf>
    std::vector<u32> offsets(Base where, Offset head) const
    {
        std::vector<u32> all;
        for (auto& record : Walk<LinkOf>(where, head)) all.push_back(offset_of(where, record).value);
        return all;
    }

private:
    zelfdb_counts counts_;
    Descriptor* descriptor_ = nullptr;
    bool damaged_ = false;
};

// The first bytes of a frame, for learning.
struct FrameBytes {
    u8 byte[18];
};
FrameBytes untagged_frame(const Mac& source, u16 ethertype = 0x0800);
FrameBytes tagged_frame(const Mac& source, u16 vid, u16 tagtype = 0x8100);
zelfdb_learn_ind indication(u32 port_id, u32 tick_ms = 0, u32 cookie = 0xFFFFFFFF);

}  // namespace zelfdb
