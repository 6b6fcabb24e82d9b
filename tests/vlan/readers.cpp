// Reading VLANs: one, and all.
#include "support/exported.h"
#include "support/record_buffer.h"

namespace zelfdb {
namespace {

constexpr std::size_t vlan_record_min = 216;
constexpr std::size_t vid_at = 36;
constexpr std::size_t npvid_at = 48;
constexpr std::size_t first_row_at = 56;
constexpr std::size_t pvid_list_at = 184;

class ReadVlans : public Exported {
protected:
    ReadVlans() : Exported(40, 12, 16) {}

    void given_pvid(u32 port_id, u16 pvid)
    {
        const zelfdb_port_param param{0, 0, 0, 0, 0, 0, pvid};
        EXPECT_EQ(call(zelfdb_set_param_to_port, port_id, &param, 0, 0, ZELFDB_SELECT_PVID, 0).result, 0);
        recorder::log().clear();
    }
    // A caller's record, larger than the smallest.
    struct Record {
        zelfdb_vlan_info info;
        u32 pvid_ports[16];
    };
    static_assert(sizeof(Record) == pvid_list_at + 64);
    static Record zeroed() { return {}; }
    Reading read(RecordBuffer& buffer) { return read_all(buffer, vid_at, zelfdb_get_all_vlaninfo); }
};

TEST_F(ReadVlans, TheSingleReaderReportsMembersAndPortsOfThePVID)
{
    given_port(101, ZELFDB_PORT_ETHER, 1);
    given_port(2, ZELFDB_PORT_VIF);
    given_port(9);
    given_port(4);
    Vlan& vlan = given_vlan(300, "sales");
    given_group(7, {0x0800});
    given_member(300, 101, true, 0x88A8);
    given_member(300, 2, false, 0x9100);
    given_protocol_member(300, 9, 7);
    given_static(300, mac(1), 9);
    given_learned(300, mac(2), 9);
    given_pvid(4, 300);  // not a member
    given_pvid(101, 300);
    vlan.vlan_flag = 0x800E;

    Record record = zeroed();
    const Expected unchanged = now();
    EXPECT_EQ(call_wordless(zelfdb_get_vlan_info, 300, &record.info), done());
    EXPECT_TRUE(unchanged.is_now());
    Record expected = zeroed();
    std::strcpy(expected.info.name, "sales");
    expected.info.vlan_flag = 0x800E;
    expected.info.VID = 300;
    expected.info.nmember = 3;
    expected.info.nuntagged = 2;
    expected.info.npvid = 3;
    expected.info.nfil = 2;
    expected.info.member[0] = {2, 2, 0, 0x9100};
    expected.info.member[1] = {9, 0, 2, 0x8100};
    expected.info.member[2] = {101, 1, 1, 0x88A8};
    expected.pvid_ports[0] = 2;
    expected.pvid_ports[1] = 4;
    expected.pvid_ports[2] = 101;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
    vlan.vlan_flag = 0xE;
    given_pvid(4, 0);
    given_pvid(101, 0);
}

TEST_F(ReadVlans, AVlanWithoutMembersHasNoRows)
{
    given_vlan(10, "ten");
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    record.info.npvid = 0;
    EXPECT_EQ(call_wordless(zelfdb_get_vlan_info, 0x7000A, &record.info), done());
    EXPECT_STREQ(record.info.name, "ten");
    EXPECT_EQ(record.info.vlan_flag, 0u);
    EXPECT_EQ(record.info.VID, 10u);
    EXPECT_EQ(record.info.nmember, 0u);
    EXPECT_EQ(record.info.nuntagged, 0u);
    EXPECT_EQ(record.info.npvid, 0u);
    EXPECT_EQ(record.info.nfil, 0u);
    EXPECT_EQ(record.info.member[0].port_id, 0xA5A5A5A5u);
    EXPECT_EQ(record.pvid_ports[0], 0xA5A5A5A5u);
}

TEST_F(ReadVlans, AnUnknownVlanLeavesTheRecordAlone)
{
    given_vlan(10, "ten");
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    const Record before = record;
    for (const u32 vid : {0u, 11u, 4095u, 8191u, 8192u, 0xFFFFu, 0x10000u}) {
        EXPECT_EQ(call_wordless(zelfdb_get_vlan_info, vid, &record.info).result, -1) << vid;
    }
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
}

// The VLAN's own count of untagged members is not lowered when one leaves; the reader counts the members that there are.
TEST_F(ReadVlans, UntaggedMembersAreCountedNotCopied)
{
    Vlan& vlan = given_vlan(10, "ten");
    for (u32 id = 1; id <= 3; ++id) {
        given_port(id);
        given_member(10, id);
    }
    EXPECT_EQ(call(zelfdb_rem_port_from_vlan, 10, 2).result, 0);
    EXPECT_EQ(vlan.upv, 3u);
    Record record = zeroed();
    EXPECT_EQ(zelfdb_get_vlan_info(10, &record.info), 0);
    EXPECT_EQ(record.info.nmember, 2u);
    EXPECT_EQ(record.info.nuntagged, 2u);
}

// A membership may name a port that is gone: it has a row, and no type.
TEST_F(ReadVlans, AMemberThatDoesNotExistHasARowWithoutAType)
{
    given_port(1, ZELFDB_PORT_VIF);
    given_port(2, ZELFDB_PORT_ETHER, 1);
    given_vlan(10, "ten");
    given_member(10, 1, true);
    given_member(10, 2, true, 0x9100);
    const Expected healthy = now();
    unindex_port(header(), *port(1));
    Record record = zeroed();
    EXPECT_EQ(zelfdb_get_vlan_info(10, &record.info), 0);
    EXPECT_EQ(record.info.nmember, 2u);
    EXPECT_EQ(record.info.member[0].port_id, 1u);
    EXPECT_EQ(record.info.member[0].p_type, 0u);
    EXPECT_EQ(record.info.member[1].port_id, 2u);
    EXPECT_EQ(record.info.member[1].p_type, 1u);
    healthy.restore();
}

TEST_F(ReadVlans, TheNumberOfPortsOfThePVIDIsAddedToWhatTheRecordHolds)
{
    given_vlan(10, "ten");
    for (u32 id = 1; id <= 2; ++id) {
        given_port(id);
        given_member(10, id);
    }
    Record record = zeroed();
    record.info.npvid = 100;
    EXPECT_EQ(zelfdb_get_vlan_info(10, &record.info), 0);
    EXPECT_EQ(record.info.npvid, 102u);
    EXPECT_EQ(zelfdb_get_vlan_info(10, &record.info), 0);
    EXPECT_EQ(record.info.npvid, 104u);
    EXPECT_EQ(record.info.nmember, 2u);

    RecordBuffer buffer(1, vlan_record_min, 0, 0);  // a buffer used again accumulates too
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.word(0, npvid_at), 2u);
    cursor = {0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.word(0, npvid_at), 4u);
}

TEST_F(ReadVlans, TheListingReportsWhatTheSingleReaderDoes)
{
    for (u32 id = 1; id <= 8; ++id) given_port(id, static_cast<i32>(id == 3 ? ZELFDB_PORT_VIF : ZELFDB_PORT_NONE));
    given_vlan(20, "twenty");
    given_vlan(10, "ten");
    for (u32 id = 1; id <= 8; ++id) given_member(20, id, id % 2 == 0, 0x9000 + id);
    given_learned(20, mac(1), 1);

    Record expected[2] = {zeroed(), zeroed()};
    EXPECT_EQ(zelfdb_get_vlan_info(10, &expected[0].info), 0);
    EXPECT_EQ(zelfdb_get_vlan_info(20, &expected[1].info), 0);
    EXPECT_EQ(expected[1].info.nmember, 8u);
    EXPECT_EQ(expected[1].info.nuntagged, 4u);

    RecordBuffer buffer(2, vlan_record_min, 0, 0);
    const Expected unchanged = now();
    zelfdb_cursor cursor{0, 0x77};
    EXPECT_EQ(call_wordless(zelfdb_get_all_vlaninfo, &cursor, buffer.get()), done());
    EXPECT_TRUE(unchanged.is_now());
    EXPECT_EQ(buffer.total(), 2u);
    EXPECT_EQ(buffer.filled(), 2u);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0x77u);
    for (u32 i = 0; i < 2; ++i) EXPECT_EQ(std::memcmp(buffer.record(i), &expected[i], vlan_record_min), 0) << i;
    EXPECT_TRUE(buffer.nothing_around_written());
}

TEST_F(ReadVlans, TheListingIsResumedWithEveryCapacity)
{
    const std::vector<u32> all{1, 7, 20, 300, 4094};
    for (const u32 vid : {20u, 4094u, 1u, 300u, 7u}) given_vlan(static_cast<u16>(vid), "v" + std::to_string(vid));
    for (u32 capacity = 1; capacity <= 6; ++capacity) {
        SCOPED_TRACE(capacity);
        RecordBuffer buffer(capacity, vlan_record_min);
        EXPECT_EQ(read(buffer), whole_reading(all, capacity));
        EXPECT_EQ(buffer.total(), 5u);
        EXPECT_TRUE(buffer.nothing_around_written());
    }
}

TEST_F(ReadVlans, ACallThatFillsTheBufferNamesTheLastVlanAndTheKeyIsReadByItsLowHalf)
{
    for (const u16 vid : {u16{10}, u16{20}, u16{30}}) given_vlan(vid, "v" + std::to_string(vid));
    RecordBuffer buffer(2, vlan_record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 20u);
    cursor.key = 0xFFFF0000u | 20;
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(cursor.calls, 2u);
    EXPECT_EQ(buffer.filled(), 1u);
    EXPECT_EQ(buffer.word(0, vid_at), 30u);
}

TEST_F(ReadVlans, WithoutRoomForARecordNoVlanIsNamed)
{
    given_vlan(10, "ten");
    RecordBuffer buffer(0, vlan_record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0u);
    EXPECT_EQ(buffer.total(), 1u);
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_TRUE(buffer.nothing_around_written());
}

TEST_F(ReadVlans, NoVlanAtAllFailsAndIsNoCall)
{
    RecordBuffer buffer(2, vlan_record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 0u);
    EXPECT_TRUE(buffer.unused());
}

TEST_F(ReadVlans, ARecordSizeBelowTheSmallestFailsAndALargerOneNeedsNoAlignment)
{
    given_port(1);
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    given_member(20, 1);
    for (const u32 too_small : {0u, 184u, 215u}) {
        RecordBuffer buffer(2, too_small);
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), -1);
        EXPECT_EQ(cursor.calls, 0u);
        EXPECT_TRUE(buffer.unused());
    }
    for (const u32 size : {216u, 217u, 219u, 501u}) {
        for (const std::size_t shift : {0u, 1u, 3u}) {
            RecordBuffer buffer(2, size, shift);
            EXPECT_EQ(read(buffer), whole_reading({10, 20}, 2));
            EXPECT_EQ(buffer.word(1, first_row_at), 1u);
            EXPECT_EQ(buffer.word(1, pvid_list_at), 1u);
            EXPECT_TRUE(buffer.unwritten(0, first_row_at, size));
            EXPECT_TRUE(buffer.unwritten(1, first_row_at + 16, pvid_list_at));
            EXPECT_TRUE(buffer.unwritten(1, pvid_list_at + 4, size));
            EXPECT_TRUE(buffer.nothing_around_written());
        }
    }
}

TEST_F(ReadVlans, VlansMayComeAndGoBetweenCalls)
{
    for (const u16 vid : {u16{10}, u16{20}, u16{30}, u16{40}}) given_vlan(vid, "v" + std::to_string(vid));
    const Expected four = now();
    RecordBuffer buffer(2, vlan_record_min);

    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_vlan, 20).result, 0);  // the one at which it stopped
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 20u);

    four.restore();
    cursor = {0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_vlan, 10).result, 0);
    EXPECT_EQ(call(zelfdb_delete_vlan, 30).result, 0);
    given_vlan(15, "before");
    given_vlan(35, "behind");
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.total(), 4u);
    EXPECT_EQ(buffer.filled(), 2u);
    EXPECT_EQ(buffer.word(0, vid_at), 35u);
    EXPECT_EQ(buffer.word(1, vid_at), 40u);

    four.restore();
    cursor = {0, 0};
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_vlan, 30).result, 0);
    EXPECT_EQ(call(zelfdb_delete_vlan, 40).result, 0);
    EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(buffer.total(), 2u);
}

// A VLAN has eight members at most, but any number of ports may have been given its PVID.
TEST_F(ReadVlans, ARecordOfTheListingNeverRunsPastItsEnd)
{
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    for (u32 id = 1; id <= 30; ++id) {
        given_port(id);
        given_pvid(id, 10);
        if (id <= 8) given_member(10, id, true);
    }
    const struct {
        u32 size;
        u32 listed;
    } sizes[] = {{216, 8}, {217, 8}, {219, 8}, {220, 9}, {303, 29}, {304, 30}, {305, 30}};
    for (const auto& row : sizes) {
        SCOPED_TRACE(row.size);
        RecordBuffer buffer(2, row.size, 0, 0);
        EXPECT_EQ(read(buffer), whole_reading({10, 20}, 2));
        EXPECT_EQ(buffer.word(0, npvid_at), 30u);
        EXPECT_EQ(buffer.word(0, 40), 8u);
        for (u32 i = 0; i < 8; ++i) ASSERT_EQ(buffer.word(0, first_row_at + 16 * i), i + 1);
        for (u32 i = 0; i < row.listed; ++i) ASSERT_EQ(buffer.word(0, pvid_list_at + 4 * i), i + 1);
        for (std::size_t at = pvid_list_at + std::size_t{4} * row.listed; at < row.size; ++at) {
            ASSERT_EQ(buffer.record(0)[at], 0);
        }
        EXPECT_EQ(buffer.word(1, npvid_at), 0u);
        EXPECT_EQ(buffer.word(1, pvid_list_at), 0u);
        EXPECT_TRUE(buffer.nothing_around_written());

        RecordBuffer last(1, row.size);  // whose end is the end of the buffer
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(zelfdb_get_all_vlaninfo(&cursor, last.get()), 1);
        EXPECT_TRUE(last.nothing_around_written());
    }
    for (u32 id = 1; id <= 30; ++id) given_pvid(id, 0);
}

TEST_F(ReadVlans, TheSingleReaderListsEveryPortOfThePVIDHoweverMany)
{
    given_vlan(10, "ten");
    for (u32 id = 1; id <= 30; ++id) {
        given_port(id);
        given_pvid(id, 10);
    }
    RecordBuffer buffer(1, static_cast<u32>(pvid_list_at + 30 * 4), 0, 0);
    EXPECT_EQ(zelfdb_get_vlan_info(10, reinterpret_cast<zelfdb_vlan_info*>(buffer.get()->records)), 0);
    EXPECT_EQ(buffer.word(0, npvid_at), 30u);
    for (u32 i = 0; i < 30; ++i) EXPECT_EQ(buffer.word(0, pvid_list_at + 4 * i), i + 1);
    EXPECT_TRUE(buffer.nothing_around_written());
    for (u32 id = 1; id <= 30; ++id) given_pvid(id, 0);
}

}  // namespace
}  // namespace zelfdb
