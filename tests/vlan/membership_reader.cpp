// Reading the memberships of a port.
#include "support/record_buffer.h"
#include "vlan/joining.h"

namespace zelfdb {
namespace {

constexpr std::size_t membership_record_min = 48;

class ReadMemberships : public Membership {
protected:
    ReadMemberships() : Membership(4, 8, 8) {}
    void SetUp() override
    {
        Membership::SetUp();
        given_port(3);
        for (const u16 vid : {u16{20}, u16{4094}, u16{1}, u16{300}, u16{7}}) {
            given_vlan(vid, "name of " + std::to_string(vid));
            given_member(vid, 3, true, 0x9000u + vid);
        }
    }
    const std::vector<u32> all_{1, 7, 20, 300, 4094};

    static int read_three(zelfdb_cursor* cursor, zelfdb_ropebuf* buffer)
    {
        return zelfdb_get_all_pvinfo_in_a_port(3, cursor, buffer);
    }
    static Reading read(RecordBuffer& buffer) { return read_all(buffer, 0, read_three); }
};

TEST_F(ReadMemberships, ReportsEveryFieldAndLeavesTheUnnamedBytesAlone)
{
    membership(20, 3)->pv_flag2 = 0x77;
    given_port(2);
    given_member(7, 2);
    RecordBuffer buffer(6, membership_record_min);
    zelfdb_cursor cursor{0, 0x99};
    const Expected unchanged = now();
    EXPECT_EQ(call_wordless(zelfdb_get_all_pvinfo_in_a_port, 3, &cursor, buffer.get()), done());
    EXPECT_TRUE(unchanged.is_now());
    EXPECT_EQ(buffer.total(), 5u);
    EXPECT_EQ(buffer.filled(), 5u);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0x99u);
    for (u32 i = 0; i < 5; ++i) {
        zelfdb_pv_info expected;
        std::memset(&expected, RecordBuffer::fill, sizeof expected);
        expected.VID = all_[i];
        std::memcpy(expected.vlan_name, vlan(all_[i])->name, sizeof expected.vlan_name);
        expected.port_id = 3;
        expected.pv_flag = 1;
        expected.pv_flag2 = all_[i] == 20 ? 0x77 : 0;
        expected.tagtype = static_cast<u16>(0x9000 + all_[i]);
        EXPECT_EQ(std::memcmp(buffer.record(i), &expected, membership_record_min), 0) << i;
    }
    EXPECT_TRUE(buffer.unwritten(5, 0, membership_record_min));
    EXPECT_TRUE(buffer.nothing_around_written());
    membership(20, 3)->pv_flag2 = 0;
}

TEST_F(ReadMemberships, OfVidZeroHasNoName)
{
    const Expected healthy = now();
    membership(1, 3)->VID = 0;
    header().vlan_index[0] = header().vlan_index[7];  // not even if there were a VLAN of that VID
    RecordBuffer buffer(5, membership_record_min);
    EXPECT_EQ(read(buffer).results, std::vector<int>{0});
    EXPECT_EQ(buffer.word(0, 0), 0u);
    EXPECT_TRUE(buffer.unwritten(0, 4, 36));
    EXPECT_EQ(buffer.word(0, 36), 3u);
    healthy.restore();
}

TEST_F(ReadMemberships, IsResumedWithEveryCapacity)
{
    for (u32 capacity = 1; capacity <= 6; ++capacity) {
        SCOPED_TRACE(capacity);
        RecordBuffer buffer(capacity, membership_record_min);
        EXPECT_EQ(read(buffer), whole_reading(all_, capacity));
        EXPECT_EQ(buffer.total(), 5u);
        EXPECT_TRUE(buffer.nothing_around_written());
    }
}

TEST_F(ReadMemberships, AFullBufferNamesTheLastVlanAndTheKeyIsReadByItsLowHalf)
{
    RecordBuffer buffer(3, membership_record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(read_three(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 20u);
    cursor.key |= 0x12340000;
    EXPECT_EQ(read_three(&cursor, buffer.get()), 0);
    EXPECT_EQ(cursor.calls, 2u);
    EXPECT_EQ(buffer.filled(), 2u);
    EXPECT_EQ(buffer.word(0, 0), 300u);
}

TEST_F(ReadMemberships, WithoutRoomForARecordNoVlanIsNamed)
{
    RecordBuffer buffer(0, membership_record_min);
    zelfdb_cursor cursor{0, 0};
    EXPECT_EQ(read_three(&cursor, buffer.get()), 1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(cursor.key, 0u);
    EXPECT_EQ(buffer.total(), 5u);
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(read_three(&cursor, buffer.get()), -1);
    EXPECT_TRUE(buffer.nothing_around_written());
}

TEST_F(ReadMemberships, AnUnknownPortOneWithoutMembershipsAndASmallRecordFailAndAreNoCalls)
{
    given_port(2);
    for (const u32 id : {0u, 2u, 4u, 200u, 0xFFFFFFFFu}) {
        RecordBuffer buffer(2, membership_record_min);
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(call_wordless(zelfdb_get_all_pvinfo_in_a_port, id, &cursor, buffer.get()).result, -1) << id;
        EXPECT_EQ(cursor.calls, 0u);
        EXPECT_TRUE(buffer.unused());
    }
    for (const u32 too_small : {0u, 44u, 47u}) {
        RecordBuffer buffer(2, too_small);
        zelfdb_cursor cursor{0, 0};
        EXPECT_EQ(read_three(&cursor, buffer.get()), -1) << too_small;
        EXPECT_EQ(cursor.calls, 0u);
        EXPECT_TRUE(buffer.unused());
    }
}

TEST_F(ReadMemberships, LargerRecordsNeedNoAlignment)
{
    for (const u32 size : {48u, 49u, 51u, 100u}) {
        for (const std::size_t shift : {0u, 1u, 3u}) {
            RecordBuffer buffer(5, size, shift);
            EXPECT_EQ(read(buffer), whole_reading(all_, 5));
            for (u32 i = 0; i < 5; ++i) {
                EXPECT_EQ(buffer.word(i, 36), 3u);
                EXPECT_TRUE(buffer.unwritten(i, membership_record_min, size));
            }
            EXPECT_TRUE(buffer.nothing_around_written());
        }
    }
}

TEST_F(ReadMemberships, MembershipsAndVlansMayComeAndGoBetweenCalls)
{
    const Expected five = now();
    RecordBuffer buffer(2, membership_record_min);
    const auto first_call = [&](zelfdb_cursor& cursor) {
        five.restore();
        cursor = {0, 0};
        EXPECT_EQ(read_three(&cursor, buffer.get()), 1);
        EXPECT_EQ(cursor.key, 7u);
    };
    zelfdb_cursor cursor{};
    first_call(cursor);
    EXPECT_EQ(leave(7, 3).result, 0);  // the one at which it stopped
    EXPECT_EQ(read_three(&cursor, buffer.get()), -1);
    EXPECT_EQ(cursor.calls, 1u);
    EXPECT_EQ(call(zelfdb_delete_vlan, 7).result, 0);  // and its VLAN with it
    EXPECT_EQ(read_three(&cursor, buffer.get()), -1);

    first_call(cursor);
    EXPECT_EQ(leave(1, 3).result, 0);
    EXPECT_EQ(leave(20, 3).result, 0);
    given_vlan(5, "before");
    given_vlan(4000, "behind");
    EXPECT_EQ(join(5, 3, 1).result, 0);
    EXPECT_EQ(join(4000, 3, 1).result, 0);
    EXPECT_EQ(read_three(&cursor, buffer.get()), 1);
    EXPECT_EQ(buffer.total(), 5u);
    EXPECT_EQ(buffer.word(0, 0), 300u);
    EXPECT_EQ(buffer.word(1, 0), 4000u);
    EXPECT_EQ(read_three(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.filled(), 1u);

    first_call(cursor);
    for (const u32 vid : {20u, 300u, 4094u}) EXPECT_EQ(leave(vid, 3).result, 0);
    EXPECT_EQ(read_three(&cursor, buffer.get()), 0);
    EXPECT_EQ(buffer.filled(), 0u);
    EXPECT_EQ(buffer.total(), 2u);
}

TEST_F(ReadMemberships, ResumesOnlyAfterAVlanThatThePortIsIn)
{
    given_vlan(50, "fifty");
    RecordBuffer buffer(2, membership_record_min);
    for (const u32 key : {0u, 2u, 50u, 8192u, 0xFFFFu}) {
        zelfdb_cursor cursor{1, key};
        EXPECT_EQ(read_three(&cursor, buffer.get()), -1) << key;
        EXPECT_TRUE(buffer.unused());
    }
}

}  // namespace
}  // namespace zelfdb
