// The commands of the MAC table: what they store, when they are refused, and the table against a standard container.
#include "np_device.h"
#include "support/random.h"

#include <cstring>
#include <map>

using namespace softnp_test;
using zelfdb::Random;

namespace {

struct Found {
    int error;
    std::array<u32, 6> words;
};

Found find(vf_handle* handle, u16 FID, const Mac& mac)
{
    Found found{};
    u32 outputs[3] = {7, 7, 7};
    vf_cmd* command = vf_mk_findFDB(FID, mac.data(), &outputs[0], &outputs[1], &outputs[2]);
    EXPECT_EQ(0, vf_call(handle, 0, command, 0, 0));
    found.error = vf_rd_err(command);
    vf_rd_findFDB(command, found.words.data());
    vf_cmdNFreeB(command);
    return found;
}

softnp_mac_entry entry_of(u16 FID, const Mac& mac)
{
    softnp_mac_entry entry{};
    EXPECT_EQ(1, softnp_get_mac_entry(FID, mac.data(), &entry));
    return entry;
}

vf_fdb_request request_for(u16 FID, const Mac& mac, softnp::i16 np_port)
{
    vf_fdb_request request{};
    request.one = 1;
    request.FID = FID;
    std::copy(mac.begin(), mac.end(), request.mac);
    request.port = np_port;
    request.port2 = np_port;
    return request;
}

using MacTable = NpDevice;

TEST_F(MacTable, AnEntryIsStoredAsRequested)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, softnp_set_tick(5000));
    ASSERT_EQ(0, add_mac(10, HOST_A, 2, 0xCAFE, 0xF0));
    const softnp_mac_entry entry = entry_of(10, HOST_A);
    EXPECT_EQ(0, std::memcmp(entry.mac, HOST_A.data(), 6));
    EXPECT_EQ(10, entry.FID);
    EXPECT_EQ(2, entry.np_port);
    EXPECT_EQ(0xF0, entry.flag);
    EXPECT_EQ(0xCAFEu, entry.cookie);
    EXPECT_EQ(5000u, entry.last_hit_ms);
}

TEST_F(MacTable, ReadersReportTheVerdict)
{
    given_three_ports_in_a_vlan();
    vf_cmd* add = make_add(10, HOST_A, 1, 1);
    ASSERT_EQ(0, vf_call(handle, 0, add, 0, 0));
    EXPECT_EQ(0, vf_rd_addFDB(add));
    vf_cmdNFreeB(add);
    for (const int expected : {0, static_cast<int>(SOFTNP_ERR_NO_ENTRY)}) {
        vf_cmd* removal = vf_mk_removeFDB(10, HOST_A.data());
        ASSERT_EQ(0, vf_call(handle, 0, removal, 0, 0));
        EXPECT_EQ(expected, vf_rd_removeFDB(removal));
        EXPECT_EQ(expected, removal->status);
        vf_cmdNFreeB(removal);
    }
}

TEST_F(MacTable, MalformedRequestsAreRefused)
{
    given_three_ports_in_a_vlan();
    vf_fdb_request request = request_for(10, HOST_A, 1);
    request.one = 0;
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_addFDB(&request, nullptr)));
    request = request_for(10, HOST_A, 1);
    request.zero = 1;
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_addFDB(&request, nullptr)));
    request = request_for(10, HOST_A, 1);
    request.port2 = 2;
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_addFDB(&request, nullptr)));
    EXPECT_EQ(0u, device_counters().mac_entries);
}

// Port 1 has the FID 0xC001; VLAN 10 has the FID 10.
TEST_F(MacTable, PortAndFidOfAnEntryMustBeKnown)
{
    given_three_ports_in_a_vlan();
    const struct {
        u16 FID;
        int np_port;
        u8 flag;
        int error;
        int stored_port;
    } rows[] = {
        {10, 1, 0, 0, 1},
        {10, 4, 0, SOFTNP_ERR_NO_PORT, 0},
        {10, 0, 0, SOFTNP_ERR_NO_PORT, 0},
        {10, 75, 0, SOFTNP_ERR_NO_PORT, 0},
        {10, -2, 0, SOFTNP_ERR_NO_PORT, 0},
        {10, -1, 0, SOFTNP_ERR_UNMAPPED_PORT, 0},
        {10, -1, 4, 0, -1},
        {10, 1, 4, 0, -1},   // bound to no port, whatever it names
        {10, 40, 5, 0, -1},  // not even a port that is there
        {0xC001, -1, 0, 0, -1},
        {0xC001, -1, 4, 0, -1},
        {0xC001, 1, 0, 0, -1},
        {0xC032, -1, 0, SOFTNP_ERR_NO_FID, 0},
        {11, 1, 0, SOFTNP_ERR_NO_FID, 0},
        {11, -1, 4, SOFTNP_ERR_NO_FID, 0},
    };
    u32 row_number = 0;
    for (const auto& row : rows) {
        const Mac mac{2, 0, 0, 0, 9, static_cast<u8>(row_number++)};
        EXPECT_EQ(row.error, add_mac(row.FID, mac, row.np_port, 1, row.flag)) << row_number;
        if (row.error == 0) {
            EXPECT_EQ(row.stored_port, entry_of(row.FID, mac).np_port) << row_number;
        }
    }
}

TEST_F(MacTable, AddingAgainReplaces)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, softnp_set_tick(100));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, softnp_set_tick(200));
    ASSERT_EQ(0, add_mac(10, HOST_A, 2, 9, 0x10));
    EXPECT_EQ(1u, device_counters().mac_entries);
    EXPECT_EQ(2, entry_of(10, HOST_A).np_port);
    EXPECT_EQ(9u, entry_of(10, HOST_A).cookie);
    EXPECT_EQ(0x10, entry_of(10, HOST_A).flag);
    EXPECT_EQ(200u, entry_of(10, HOST_A).last_hit_ms);
}

TEST_F(MacTable, TheSameAddressInTwoDatabasesIsTwoEntries)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, create_vlan(20));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, add_mac(20, HOST_A, 2, 2));
    EXPECT_EQ(1, entry_of(10, HOST_A).np_port);
    EXPECT_EQ(2, entry_of(20, HOST_A).np_port);
    EXPECT_EQ(0, remove_mac(10, HOST_A));
    EXPECT_EQ(SOFTNP_ERR_NO_ENTRY, remove_mac(10, HOST_A));
    EXPECT_EQ(2, entry_of(20, HOST_A).np_port);
}

TEST_F(MacTable, FindAnswersTickAndLastHit)
{
    given_three_ports_in_a_vlan();
    ASSERT_EQ(0, softnp_set_tick(1000));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 0x2C));
    ASSERT_EQ(0, softnp_set_tick(4500));
    const Found found = find(handle, 10, HOST_A);
    EXPECT_EQ(0, found.error);
    EXPECT_EQ((std::array<u32, 6>{0, 1000, 1, 4500, 0x2C, 3500}), found.words);
}

TEST_F(MacTable, FindOfAnAbsentEntryIsAnsweredWithAStatus)
{
    ASSERT_EQ(0, softnp_set_tick(4500));
    const Found found = find(handle, 10, HOST_A);
    EXPECT_EQ(0, found.error);
    EXPECT_EQ(static_cast<u32>(SOFTNP_ERR_NO_ENTRY), found.words[0]);
    EXPECT_EQ(4500u, found.words[3]);
}

TEST_F(MacTable, EntriesOfADeletedVlanCanBeRemoved)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, create_vlan(10));
    ASSERT_EQ(0, add_mac(10, HOST_A, 1, 1));
    ASSERT_EQ(0, tell(vf_mk_delete_vlan(10)));
    EXPECT_EQ(SOFTNP_ERR_NO_FID, add_mac(10, HOST_B, 1, 1));
    EXPECT_EQ(0, remove_mac(10, HOST_A));
}

class SmallTable : public NpDevice {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, softnp_set_mac_capacity(100));
        NpDevice::SetUp();
        given_three_ports_in_a_vlan();
    }
    void TearDown() override
    {
        NpDevice::TearDown();
        EXPECT_EQ(0, softnp_set_mac_capacity(SOFTNP_MAC_ENTRIES));
    }
};

Mac mac_of(u32 number)
{
    return {2,
            0,
            static_cast<u8>(number >> 24),
            static_cast<u8>(number >> 16),
            static_cast<u8>(number >> 8),
            static_cast<u8>(number)};
}

TEST_F(SmallTable, AFullTableRefusesNewEntriesOnly)
{
    for (u32 number = 0; number < 100; number++) ASSERT_EQ(0, add_mac(10, mac_of(number), 1, number));
    EXPECT_EQ(100u, device_counters().mac_entries);
    EXPECT_EQ(100u, device_counters().mac_capacity);
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, add_mac(10, mac_of(100), 1, 100));
    EXPECT_EQ(0, add_mac(10, mac_of(50), 2, 50));  // a replacement needs no room
    EXPECT_EQ(0, remove_mac(10, mac_of(3)));
    EXPECT_EQ(0, add_mac(10, mac_of(100), 1, 100));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, add_mac(10, mac_of(3), 1, 3));
}

TEST_F(SmallTable, CapacityIsBounded)
{
    EXPECT_EQ(-1, softnp_set_mac_capacity(0));
    EXPECT_EQ(-1, softnp_set_mac_capacity(1048577));
    EXPECT_EQ(0, softnp_set_mac_capacity(1048576));
}

TEST_F(MacTable, HoldsAllItIsMadeFor)
{
    given_three_ports_in_a_vlan();
    for (u32 number = 0; number < SOFTNP_MAC_ENTRIES; number++) ASSERT_EQ(0, add_mac(10, mac_of(number), 1, number));
    EXPECT_EQ(SOFTNP_ERR_TABLE_FULL, add_mac(10, mac_of(SOFTNP_MAC_ENTRIES), 1, 0));
    for (u32 number = 0; number < SOFTNP_MAC_ENTRIES; number++) ASSERT_EQ(number, entry_of(10, mac_of(number)).cookie);
    for (u32 number = 0; number < SOFTNP_MAC_ENTRIES; number += 2) ASSERT_EQ(0, remove_mac(10, mac_of(number)));
    EXPECT_EQ(SOFTNP_MAC_ENTRIES / 2, device_counters().mac_entries);
}

// Few addresses and a small table, so that adds meet entries, removals gaps, and the table its end.
TEST_F(SmallTable, AgreesWithAMapOverRandomSequences)
{
    Random random;
    std::map<std::pair<u16, Mac>, u32> model;
    ASSERT_EQ(0, create_vlan(20));
    for (u32 step = 0; step < 20000; step++) {
        const u16 FID = random.once_in(2) ? 10 : 20;
        const Mac mac = mac_of(random.below(90));
        const std::pair<u16, Mac> key{FID, mac};
        const bool known = model.count(key) != 0;
        if (random.below(100) < 55) {
            const int expected = !known && model.size() == 100 ? SOFTNP_ERR_TABLE_FULL : 0;
            ASSERT_EQ(expected, add_mac(FID, mac, 1, step));
            if (expected == 0) model[key] = step;
        } else {
            ASSERT_EQ(known ? 0 : SOFTNP_ERR_NO_ENTRY, remove_mac(FID, mac));
            model.erase(key);
        }
        ASSERT_EQ(model.size(), device_counters().mac_entries);
        softnp_mac_entry entry{};
        ASSERT_EQ(model.count(key) != 0 ? 1 : 0, softnp_get_mac_entry(FID, mac.data(), &entry));
    }

    std::map<std::pair<u16, Mac>, u32> listed;
    u32 cursor = 0;
    softnp_mac_entry some[7];
    int count = 0;
    while ((count = softnp_read_mac_entries(&cursor, some, 7)) > 0)
        for (int index = 0; index < count; index++) {
            Mac mac;
            std::copy(some[index].mac, some[index].mac + 6, mac.begin());
            EXPECT_TRUE(listed.emplace(std::pair{some[index].FID, mac}, some[index].cookie).second);
        }
    EXPECT_EQ(0, count);
    EXPECT_EQ(model, listed);
}

TEST_F(MacTable, ListingOfNoneIsEmpty)
{
    u32 cursor = 0;
    softnp_mac_entry entry{};
    EXPECT_EQ(0, softnp_read_mac_entries(&cursor, &entry, 1));
    EXPECT_EQ(0, softnp_get_mac_entry(10, HOST_A.data(), &entry));
    EXPECT_EQ(0, softnp_get_mac_entry(0x1000A, HOST_A.data(), &entry));
}

}  // namespace
