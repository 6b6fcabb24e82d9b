// A queue's weight, size and length, and the two queries.
#include <array>
#include <climits>
#include <map>

#include "qos_test.h"

namespace zelfdb {
namespace {

class QueueWeight : public Qos {};
class QueueSize : public Qos {};
class QueueInfo : public Qos {};
class CheckQueue : public Qos {};

// ---- Weight ----------------------------------------------------------------------------------------------------------

struct WeightRow {
    u8 mode;
    u8 pri;
    u8 ratio;
};

TEST_F(QueueWeight, IsKeptByTheModeTheQueueWasAttachedWithAndSentInEveryMode)
{
    given_stream(5);
    Queue& record = given_queue(43);
    given_attached(43, 5, 3, 1, 200, 100);
    const Expected start = now();
    constexpr WeightRow rows[] = {{0, 200, 100}, {1, 4, 25}, {2, 4, 100}, {3, 200, 100}, {255, 200, 100}};
    for (const WeightRow& row : rows) {
        SCOPED_TRACE(unsigned{row.mode});
        record.mode = row.mode;
        Expected expected = now();
        EXPECT_EQ(call(zelfdb_set_queue_qos, 43, 5, 4, 25), done({"set_esparam(0x2b, 5, 4, 0x19)"}));
        expected.of(record).pri = row.pri;
        expected.of(record).ratio = row.ratio;
        EXPECT_TRUE(expected.is_now());
        start.restore();
    }
}

TEST_F(QueueWeight, OfAnUnattachedQueueChangesNothingAndIsSent)
{
    given_stream(5);
    given_queue(43);
    const Expected unchanged = now();
    EXPECT_EQ(call(zelfdb_set_queue_qos, 43, 5, 4, 25), done({"set_esparam(0x2b, 5, 4, 0x19)"}));
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(QueueWeight, TheStreamOnlyHasToExist)
{
    given_stream(5);
    given_stream(6);
    given_queue(43);
    given_attached(43, 5, 3, 1);
    EXPECT_EQ(call(zelfdb_set_queue_qos, 43, 6, 4, 25), done({"set_esparam(0x2b, 6, 4, 0x19)"}));
    EXPECT_EQ(queue(43)->pri, 4u);
    EXPECT_EQ(queue(43)->ratio, 25u);
    EXPECT_EQ(queue(43)->streamno, 5u);
}

TEST_F(QueueWeight, BytesAreStoredWholeNumbersSentAndNumbersTakenModulo65536)
{
    given_stream(5);
    given_queue(43);
    given_attached(43, 5, 3, 1);
    EXPECT_EQ(call(zelfdb_set_queue_qos, 0x1002B, 0x30005, 0x104, 0xFFFFFF19),
              done({"set_esparam(0x2b, 5, 0x104, 0xffffff19)"}));
    EXPECT_EQ(queue(43)->pri, 4u);
    EXPECT_EQ(queue(43)->ratio, 0x19u);
}

TEST_F(QueueWeight, TheStreamIsLookedUpBeforeTheQueue)
{
    given_stream(5);
    given_queue(43);
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_qos, 44, 6, 1, 1));
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_qos, 43, 6, 1, 1));
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_qos, 43, 1024, 1, 1));
    EXPECT_TRUE(refuses(107, zelfdb_set_queue_qos, 44, 5, 1, 1));
    EXPECT_TRUE(refuses(107, zelfdb_set_queue_qos, 8192, 5, 1, 1));
}

// ---- Size and length -------------------------------------------------------------------------------------------------

TEST_F(QueueSize, StoresSizeAndLengthMovesTheBudgetAndTellsTheNP)
{
    given_stream(5);
    Queue& record = given_queue(43, 500, 1);
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_set_queue_size, 43, 5, 3, 700, 0x80000001),
              done({"set_qmax(0x2b, 5, 3, 0x2bc, 0x80000001)"}));
    expected.of(record).size = 700;
    expected.of(record).queue_length = 0x80000001;
    expected.header().free_qsize = 65536 - 700;
    EXPECT_TRUE(expected.is_now()) << "the stream need not hold the queue";
}

struct ResizeRow {
    i32 budget;
    u16 old_size;
    i32 size;
    bool accepted;
    i32 left;
    u16 stored;
};
constexpr ResizeRow resize_rows[] = {
    {100, 50, 150, true, 0, 150},
    {100, 50, 151, false, 0, 0},
    {100, 50, 50, true, 100, 50},
    {100, 50, 0, true, 150, 0},
    {0, 50, 50, true, 0, 50},
    {0, 50, 51, false, 0, 0},
    {-50, 50, 0, true, 0, 0},
    {-51, 50, 0, false, 0, 0},
    {-51, 50, -1, true, 0, 0xFFFF},
    {65536, 0, 65536, true, 0, 0},  // 16 bits of the size are kept
    {65536, 1, 65537, true, 0, 1},
    {65536, 0, 65537, false, 0, 0},
    {65536, 0, INT_MIN, true, INT_MIN + 65536, 0},  // wraps
    {INT_MAX, 65535, 0, true, INT_MIN + 65534, 0},  // compared as whole numbers, then wraps
    {INT_MAX, 65535, INT_MAX, true, 65535, 0xFFFF},
    {INT_MIN, 65535, INT_MIN, true, 65535, 0},
    {INT_MIN, 65535, 0, false, 0, 0},
    {-65536, 65535, -1, true, 0, 0xFFFF},
    {-65537, 65535, -1, false, 0, 0},
};

TEST_F(QueueSize, MayTakeTheBudgetAndWhatTheQueueHasAndNoMore)
{
    given_stream(5);
    Queue& record = given_queue(43, 1, 7);
    for (const ResizeRow& row : resize_rows) {
        SCOPED_TRACE(testing::Message() << "budget " << row.budget << ", from " << row.old_size << " to " << row.size);
        given_budget(row.budget);
        record.size = row.old_size;
        record.queue_length = 7;
        if (!row.accepted) {
            EXPECT_TRUE(refuses(2303, zelfdb_set_queue_size, 43, 5, 3, row.size, 9));
            continue;
        }
        EXPECT_EQ(call(zelfdb_set_queue_size, 43, 5, 3, row.size, 9),
                  done({command("set_qmax", {43, 5, 3, static_cast<u32>(row.size), 9})}));
        EXPECT_EQ(header().free_qsize, row.left);
        EXPECT_EQ(record.size, row.stored);
        EXPECT_EQ(record.queue_length, 9u);
    }
}

TEST_F(QueueSize, NumbersAreTakenModulo65536AndTheClassIsSentAsGiven)
{
    given_stream(5);
    given_queue(43);
    EXPECT_EQ(call(zelfdb_set_queue_size, 0x1002B, 0x10005, 0xABCDEF01, 1, 2),
              done({"set_qmax(0x2b, 5, 0xabcdef01, 1, 2)"}));
}

TEST_F(QueueSize, TheStreamIsLookedUpBeforeTheQueueAndBothBeforeTheBudget)
{
    given_stream(5);
    given_queue(43, 5);
    constexpr i32 too_much = 65537;
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_size, 44, 6, 0, too_much, 1));
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_size, 43, 6, 0, 1, 1));
    EXPECT_TRUE(refuses(106, zelfdb_set_queue_size, 43, 0x400, 0, 1, 1));
    EXPECT_TRUE(refuses(107, zelfdb_set_queue_size, 44, 5, 0, too_much, 1));
    EXPECT_TRUE(refuses(107, zelfdb_set_queue_size, 0x2000, 5, 0, 1, 1));
    EXPECT_TRUE(refuses(2303, zelfdb_set_queue_size, 43, 5, 0, too_much, 1));
}

TEST_F(QueueSize, AndWeightThatTheNPRefusesAreStoredAllTheSame)
{
    given_stream(5);
    Queue& record = given_queue(43, 5);
    given_attached(43, 5, 3, 1);
    u32 value = 10;
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        ++value;
        refuse_twice(how);
        const std::string size = command("set_qmax", {43, 5, 3, value, value});
        EXPECT_EQ(call(zelfdb_set_queue_size, 43, 5, 3, static_cast<i32>(value), value), done({size, size}));
        EXPECT_EQ(record.size, value);
        EXPECT_EQ(header().free_qsize, 65536 - static_cast<i32>(value));
        refuse_twice(how);
        const std::string weight = command("set_esparam", {43, 5, value, value});
        EXPECT_EQ(call(zelfdb_set_queue_qos, 43, 5, value, value), done({weight, weight}));
        EXPECT_EQ(record.pri, value);
        EXPECT_EQ(record.ratio, value);
    }
}

// ---- Query -----------------------------------------------------------------------------------------------------------

TEST_F(QueueInfo, FillsTheWordsThatTheModeNamesAndNoOther)
{
    given_stream(5);
    given_queue(43, 65535, 0xFFFFFFFF);
    given_attached(43, 5, 3, 1, 4, 25);
    const std::map<u8, std::array<u32, 6>> rows = {
        {u8{0}, {43, 65535, 0xFFFFFFFF, 0, 0xA5A5, 0xA5A5}},     {u8{1}, {43, 65535, 0xFFFFFFFF, 1, 4, 25}},
        {u8{2}, {43, 65535, 0xFFFFFFFF, 2, 4, 0xA5A5}},          {u8{3}, {43, 65535, 0xFFFFFFFF, 3, 0xA5A5, 0xA5A5}},
        {u8{255}, {43, 65535, 0xFFFFFFFF, 255, 0xA5A5, 0xA5A5}},
    };
    for (const auto& [mode, words] : rows) {
        SCOPED_TRACE(unsigned{mode});
        queue(43)->mode = mode;
        const Expected unchanged = now();
        std::array<u32, 7> out;
        out.fill(0xA5A5);
        EXPECT_EQ(call(zelfdb_get_queue_info, 0x1002B, out.data()), done());
        EXPECT_TRUE(std::equal(words.begin(), words.end(), out.begin())) << testing::PrintToString(out);
        EXPECT_EQ(out[6], 0xA5A5u);
        EXPECT_TRUE(unchanged.is_now());
    }
}

TEST_F(QueueInfo, OfAQueueThatDoesNotExistIs107AndWritesNothing)
{
    given_queue(43);
    std::array<u32, 6> out;
    out.fill(0xA5A5);
    for (const u32 number : {0u, 42u, 44u, 8191u, 8192u, 65535u}) {
        EXPECT_TRUE(refuses(107, zelfdb_get_queue_info, number, out.data())) << number;
    }
    EXPECT_THAT(out, testing::Each(0xA5A5u));
}

// ---- Whether a stream has queues -------------------------------------------------------------------------------------

TEST_F(CheckQueue, LooksForTheEightNumbersOfTheStream)
{
    given_port(2);
    given_stream(256);
    for (u32 number = 2040; number < 2064; ++number) {
        SCOPED_TRACE(number);
        given_queue(number);
        const Expected unchanged = now();
        const bool one_of_its_own = number >= 2048 && number <= 2055;
        EXPECT_EQ(call(zelfdb_check_queue_in_stream, 2, 1), one_of_its_own ? refused(2403) : done());
        EXPECT_TRUE(unchanged.is_now());
        EXPECT_EQ(call(zelfdb_delete_queue, number).result, 0);
    }
}

TEST_F(CheckQueue, ByNumberOnlyAndNotByAttachment)
{
    given_port(1);
    given_stream(0);
    given_queue(99);
    given_attached(99, 0, 0);
    EXPECT_EQ(call(zelfdb_check_queue_in_stream, 1, 1), done());
    given_queue(7);
    EXPECT_EQ(call(zelfdb_check_queue_in_stream, 1, 1), refused(2403));
}

struct CheckRow {
    u32 port_id;
    u32 sno_port;
    u32 streamno;  // the only one that exists
};

TEST_F(CheckQueue, TheStreamNumberIsThatOfThePortsPosition)
{
    for (const u32 port_id : {1u, 2u, 4u, 5u}) given_port(port_id);
    constexpr CheckRow rows[] = {
        {1, 1, 0},       {1, 256, 255},        {2, 1, 256},
        {4, 256, 1023},  {2, 0, 255},          {1, 257, 256},
        {1, 0x10001, 0}, {2, 0xFFFFFF01, 0},  // modulo 65536
        {5, 0, 1023},    {4, 0xFFFFFFFF, 766}, {1, 0x80000000 + 9, 8},
    };
    for (const CheckRow& row : rows) {
        SCOPED_TRACE(testing::Message() << "port " << row.port_id << ", position " << row.sno_port);
        EXPECT_TRUE(refuses(106, zelfdb_check_queue_in_stream, row.port_id, row.sno_port));
        given_stream(row.streamno);
        EXPECT_EQ(call(zelfdb_check_queue_in_stream, row.port_id, row.sno_port), done());
        given_queue(row.streamno * 8 + 7);
        EXPECT_EQ(call(zelfdb_check_queue_in_stream, row.port_id, row.sno_port), refused(2403));
        EXPECT_EQ(call(zelfdb_delete_queue, row.streamno * 8 + 7).result, 0);
        EXPECT_EQ(call(zelfdb_delete_stream, row.streamno).result, 0);
    }
}

TEST_F(CheckQueue, ThePortIsLookedUpBeforeTheStreamAndTheStreamBeforeItsQueues)
{
    given_port(1);
    given_port(199);
    given_stream(0);
    given_queue(0);
    given_queue(8);
    for (const u32 port_id : {0u, 2u, 200u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(refuses(102, zelfdb_check_queue_in_stream, port_id, 1)) << port_id;
    }
    EXPECT_TRUE(refuses(106, zelfdb_check_queue_in_stream, 1, 2));
    EXPECT_TRUE(refuses(106, zelfdb_check_queue_in_stream, 1, 0)) << "stream 65535";
    EXPECT_TRUE(refuses(106, zelfdb_check_queue_in_stream, 199, 1)) << "no stream has a number like that";
    EXPECT_TRUE(refuses(2403, zelfdb_check_queue_in_stream, 1, 1));
}

}  // namespace
}  // namespace zelfdb
