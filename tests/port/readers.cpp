// Reading ports: one, and all.
#include "support/exported.h"
#include "support/record_buffer.h"

namespace zelfdb {
namespace {

constexpr std::size_t record_min = 992;
constexpr std::size_t first_row_at = 224;

class ReadPorts : public Exported {
protected:
    ReadPorts() : Exported(12, 75, 8) {}

    // Every field that a reader reports has a value of its own.
    void fill_with_values(Port& port)
    {
        port.p_flag = 0x1234;
        port.pri = 5;
        port.phport = 77;
        port.pad9 = 0;
        port.tagtype = 0x88A8;
        port.PVID = 0;
        port.npg = 2;
        for (u16 i = 0; i < 8; ++i) port.prot[i] = {static_cast<u16>(100 + i), static_cast<u16>(200 + i)};
        for (u8 i = 0; i < 8; ++i) port.policing[i] = {i, {0, 0, 0}, 1000u + i, 2000u + i};
        for (u32 i = 0; i < 8; ++i) port.cosmap[i] = 3000 + i;
        port.valbit = 0xF1;
        port.uplink = 0xF2;
        port.optate = 0xF3;
        port.reserved212 = 0xF4;
        port.aging = 0xF5;
        port.sldbkr_on = 0xF6;
        port.sldbkr_state = 0xF7;
        port.def_spno = 0xF8;
        port.def_pri = 0xF9;
        port.def_color = 0xFA;
        port.link_mode = 0xFB;
        port.link_depend = 0xFC;
        port.link_depend_list = 0xFD;
        port.bw_calc_mode = 0xFE;
        port.link_frames_fwd = 0xFF;
    }
    // The record of such a port up to byte 199, in bytes that were 0xA5 before.
    static zelfdb_port_info head_of(const Port& port)
    {
        zelfdb_port_info info;
        std::memset(&info, RecordBuffer::fill, sizeof info);
        info.port_id = port.PortID;
        info.p_flag = 0x1234;
        info.p_type = port.p_type;
        info.pri = 5;
        info.phport = 77;
        info.pad9 = 0;
        info.tagtype = 0x88A8;
        info.PVID = 0;
        info.pad14[0] = info.pad14[1] = 0;
        info.npg = 2;
        for (u16 i = 0; i < 8; ++i) info.prot[i] = {static_cast<u16>(100 + i), static_cast<u16>(200 + i)};
        for (u8 i = 0; i < 8; ++i) info.policing[i] = {i, {0, 0, 0}, 1000u + i, 2000u + i};
        for (u32 i = 0; i < 8; ++i) info.cosmap[i] = 3000 + i;
        info.valbit = 0xF1;
        info.optate = 0xF3;
        info.aging_s = 0xF5;
        info.sldbkr_on = 0xF6;
        info.sldbkr_state = 0xF7;
        return info;
    }
    static void single_readers_own(zelfdb_port_info& info)
    {
        info.def_spno = 0xF8;
        info.def_pri = 0xF9;
        info.def_color = 0xFA;
        info.bw_calc_mode = 0xFE;
        info.link_frames_fwd = 0xFF;
    }

    // In VLANs first_vid, first_vid + 1, ...: tagged, with a tag type of its own each.
    void given_memberships(u32 port_id, u16 first_vid, u16 count)
    {
        for (u16 i = 0; i < count; ++i) {
            const auto vid = static_cast<u16>(first_vid + i);
            if (!vlan(vid)) given_vlan(vid, "v" + std::to_string(vid));
            given_member(vid, port_id, true, 0x9000u + i);
        }
    }
    Reading read(RecordBuffer& buffer) { return read_all(buffer, 0, zelfdb_get_all_portinfo); }
};

bool same_bytes(const void* a, const void* b, std::size_t count) { return std::memcmp(a, b, count) == 0; }

TEST_F(ReadPorts, TheSingleReaderReportsAllThatBelongsToTheRecord)
{
    Port& port = given_port(101, ZELFDB_PORT_VIF);
    given_memberships(101, 30, 1);
    given_memberships(101, 20, 1);
    const Expected healthy = now();
    fill_with_values(port);
    zelfdb_port_info expected = head_of(port);
    single_readers_own(expected);
    expected.nmember = 2;
    expected.member[0] = {20, 1, 0x9000};
    expected.member[1] = {30, 1, 0x9000};

    zelfdb_port_info info;
    std::memset(&info, RecordBuffer::fill, sizeof info);
    const Expected unchanged = now();
    EXPECT_EQ(call_wordless(zelfdb_get_portinfo, 101, &info), done());
    EXPECT_TRUE(same_bytes(&info, &expected, sizeof info));
    EXPECT_TRUE(unchanged.is_now());
    healthy.restore();
}

TEST_F(ReadPorts, TheSingleReaderReportsOneRowForAPortWithoutAny)
{
    given_port(5);
    zelfdb_port_info info;
    std::memset(&info, RecordBuffer::fill, sizeof info);
    EXPECT_EQ(call_wordless(zelfdb_get_portinfo, 5, &info), done());
    EXPECT_EQ(info.nmember, 1u);
    EXPECT_EQ(info.member[0].VID, 0xA5A5A5A5u);
    given_memberships(5, 10, 1);
    EXPECT_EQ(call_wordless(zelfdb_get_portinfo, 5, &info), done());
    EXPECT_EQ(info.nmember, 1u);
    EXPECT_EQ(info.member[0].VID, 10u);
}

TEST_F(ReadPorts, TheSingleReaderFindsNoUnknownPort)
{
    given_port(5);
    zelfdb_port_info info;
    std::memset(&info, RecordBuffer::fill, sizeof info);
    const zelfdb_port_info before = info;
    for (const u32 id : {0u, 4u, 200u, 0xFFFFFFFFu})
        EXPECT_EQ(call_wordless(zelfdb_get_portinfo, id, &info).result, -1);
    EXPECT_TRUE(same_bytes(&info, &before, sizeof info));
}

TEST_F(ReadPorts, TheSingleReaderWritesARowForEveryMembershipHoweverMany)
{
    given_port(5);
    given_memberships(5, 10, 70);
    RecordBuffer buffer(1, static_cast<u32>(first_row_at + 70 * 12));
    auto* const info = reinterpret_cast<zelfdb_port_info*>(buffer.get()->records);
    EXPECT_EQ(call_wordless(zelfdb_get_portinfo, 5, info), done());
    EXPECT_EQ(buffer.word(0, 220), 70u);
    for (u32 i = 0; i < 70; ++i) {
        EXPECT_EQ(buffer.word(0, first_row_at + 12 * i), 10 + i);
        EXPECT_EQ(buffer.word(0, first_row_at + 12 * i + 4), 1u);
        EXPECT_EQ(buffer.word(0, first_row_at + 12 * i + 8), 0x9000 + i);
    }
    EXPECT_TRUE(buffer.nothing_around_written());
}

// What only the single reader reports keeps the bytes that the caller had there.
TEST_F(ReadPorts, TheListingLeavesFiveWordsAloneAndTheCountTooWhenItIsZero)
{
    Port& port = given_port(101, ZELFDB_PORT_ETHER, 1);
    Port& lonely = given_port(7);
    given_memberships(101, 20, 2);
    const Expected healthy = now();
    fill_with_values(port);
    fill_with_values(lonely);
    zelfdb_port_info expected = head_of(port);
    expected.nmember = 2;
    expected.member[0] = {20, 1, 0x9000};
    expected.member[1] = {21, 1, 0x9001};

    const Expected unchanged = now();
    RecordBuffer buffer(3, record_min);
    zelfdb_cursor cursor{0, 0x77};
    EXPECT_EQ(call_wordless(zelfdb_get_all_portinfo, &cursor, buffer.get()), done());
    EXPECT_EQ(buffer.total(), 2u);
    EXPECT_EQ(buffer.filled(), 2u);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0x77u);  // only a full buffer sets it
    const zelfdb_port_info expected_lonely = head_of(lonely);
    EXPECT_TRUE(same_bytes(buffer.record(0), &expected_lonely, record_min));
    EXPECT_TRUE(same_bytes(buffer.record(1), &expected, record_min));
    EXPECT_TRUE(buffer.unwritten(2, 0, record_min));
    EXPECT_TRUE(buffer.nothing_around_written());
    EXPECT_TRUE(unchanged.is_now());
    healthy.restore();
}

TEST_F(ReadPorts, TheListingIsResumedWithEveryCapacity)
{
    const std::vector<u32> all{1, 3, 20, 101, 199};
    for (const u32 id : {20u, 199u, 1u, 101u, 3u}) given_port(id);
    for (u32 capacity = 1; capacity <= 6; ++capacity) {
        SCOPED_TRACE(capacity);
        RecordBuffer buffer(capacity, record_min);
        EXPECT_EQ(read(buffer), whole_reading(all, capacity));
        EXPECT_EQ(buffer.total(), 5u);
        EXPECT_TRUE(buffer.nothing_around_written());
    }
}

TEST_F(ReadPorts, ACallThatFillsTheBufferCountsItselfAndNamesTheLastPort)
{
    for (const u32 id : {1u, 3u, 20u}) given_port(id);
    RecordBuffer buffer(2, record_min);
    zelfdb_cursor cursor{0, 0x77};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 3u);
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(cursor.calls, 2u);
    EXPECT_EQ(cursor.key, 3u);
    EXPECT_EQ(buffer.filled(), 1u);
}

TEST_F(ReadPorts, WithoutRoomForARecordNoPortIsNamed)
{
    given_port(1);
    RecordBuffer buffer(0, record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0u);
    EXPECT_EQ(buffer.total(), 1u);
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1);  // there is no port 0 to resume after
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_TRUE(buffer.nothing_around_written());
}

TEST_F(ReadPorts, NoPortAtAllFailsAndIsNoCall)
{
    RecordBuffer buffer(2, record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 0u);
    EXPECT_TRUE(buffer.unused());
}

TEST_F(ReadPorts, ARecordSizeBelowTheSmallestFailsAndALargerOneNeedsNoAlignment)
{
    given_port(1);
    given_port(101);
    given_memberships(101, 30, 2);
    for (const u32 too_small : {0u, 220u, 991u}) {
        RecordBuffer buffer(2, too_small);
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1);
        EXPECT_EQ(cursor.calls, 0u);
        EXPECT_TRUE(buffer.unused());
    }
    for (const u32 size : {992u, 993u, 995u, 1001u, 1200u}) {
        for (const std::size_t shift : {0u, 1u, 3u}) {
            RecordBuffer buffer(2, size, shift);
            EXPECT_EQ(read(buffer), whole_reading({1, 101}, 2));
            EXPECT_EQ(buffer.word(1, 220), 2u);
            EXPECT_EQ(buffer.word(1, first_row_at + 12), 31u);
            EXPECT_TRUE(buffer.unwritten(0, 200, size));
            EXPECT_TRUE(buffer.unwritten(1, first_row_at + 24, size));
            EXPECT_TRUE(buffer.nothing_around_written());
        }
    }
}

TEST_F(ReadPorts, PortsMayComeAndGoBetweenCalls)
{
    for (const u32 id : {1u, 3u, 5u, 7u}) given_port(id);
    const Expected four = now();
    RecordBuffer buffer(2, record_min);

    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_port, 3).result, 0);  // the one at which it stopped
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 3u);

    four.restore();
    cursor = {0, 0};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_port, 1).result, 0);  // one that was read
    EXPECT_EQ(call(zelfdb_delete_port, 5).result, 0);  // one that was to come
    given_port(2);                                     // before, and behind it
    given_port(6);
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.total(), 4u);
    EXPECT_EQ(buffer.filled(), 2u);
    EXPECT_EQ(buffer.word(0, 0), 6u);
    EXPECT_EQ(buffer.word(1, 0), 7u);

    four.restore();
    cursor = {0, 0};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 1);
    EXPECT_EQ(call(zelfdb_delete_port, 5).result, 0);
    EXPECT_EQ(call(zelfdb_delete_port, 7).result, 0);
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 0);  // nothing is left, which is no failure
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(buffer.total(), 2u);
}

TEST_F(ReadPorts, TheListingResumesByTheWholeKey)
{
    for (const u32 id : {1u, 3u}) given_port(id);
    RecordBuffer buffer(2, record_min);
    for (const u32 key : {0u, 2u, 200u, 0x10001u, 0xFFFFFFFFu}) {
        zelfdb_cursor cursor{1, key};
        EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), -1) << key;
        EXPECT_TRUE(buffer.unused());
    }
    zelfdb_cursor cursor{0xFFFFFFFF, 1};
    EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.word(0, 0), 3u);
    EXPECT_EQ(cursor.calls, 0u);
}

// Rows that would lie behind the end of their record are left out; the count is of all memberships.
TEST_F(ReadPorts, ARecordOfTheListingNeverRunsPastItsEnd)
{
    given_port(5);
    given_memberships(5, 10, 70);
    given_port(7);
    given_memberships(7, 10, 1);
    const struct {
        u32 size;
        u32 rows;
    } sizes[] = {{992, 64}, {1003, 64}, {1004, 65}, {1063, 69}, {1064, 70}, {1065, 70}};
    for (const auto& row : sizes) {
        SCOPED_TRACE(row.size);
        RecordBuffer buffer(2, row.size, 1);
        EXPECT_EQ(read(buffer), whole_reading({5, 7}, 2));
        EXPECT_EQ(buffer.word(0, 220), 70u);
        for (u32 i = 0; i < row.rows; ++i) {
            ASSERT_EQ(buffer.word(0, first_row_at + 12 * i), 10 + i);
            ASSERT_EQ(buffer.word(0, first_row_at + 12 * i + 8), 0x9000 + i);
        }
        EXPECT_EQ(buffer.word(1, 220), 1u);
        EXPECT_EQ(buffer.word(1, first_row_at), 10u);
        EXPECT_TRUE(buffer.nothing_around_written());

        RecordBuffer last(1, row.size);  // whose end is the end of the buffer
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(zelfdb_get_all_portinfo(&cursor, last.get()), 1);
        EXPECT_TRUE(last.nothing_around_written());
    }
}

TEST_F(ReadPorts, ARowOfTheListingThatDoesNotFitIsLeftOutWhole)
{
    given_port(5);
    given_memberships(5, 10, 66);
    for (const u32 size : {992u, 1003u, 1004u, 1007u, 1015u}) {
        SCOPED_TRACE(size);
        const std::size_t rows = (size - first_row_at) / 12;
        RecordBuffer buffer(1, size);
        EXPECT_EQ(read(buffer).results, std::vector<int>{0});
        EXPECT_TRUE(buffer.unwritten(0, first_row_at + rows * 12, size));
    }
}

}  // namespace
}  // namespace zelfdb
