// Creating and deleting queues: the record, the shared buffer budget, the NP.
#include <climits>

#include "qos_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CreateQueue : public Qos {};
class DeleteQueue : public Qos {};

// ---- Creation --------------------------------------------------------------------------------------------------------

TEST_F(CreateQueue, FillsARecordChargesTheBudgetAndTellsTheNP)
{
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_create_queue, 2051, 300, 16384), done({"create_queue(0x803, 0x12c, 0x4000)"}));

    const Offset self = at(nth_queue(0));
    expected.of(nth_queue(0)) = new_queue(2051, 300, 16384);
    expected.of(nth_queue(0)).queue_link.prev = self;
    expected.of(nth_queue(1)).queue_link.prev = none;
    expected.header().free_qsize = 65536 - 300;
    expected.header().queue_total = 1;
    expected.header().queue_head = self;
    expected.header().queue_free = at(nth_queue(1));
    expected.header().queue_index[2051] = self;
    EXPECT_TRUE(expected.is_now());
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

TEST_F(CreateQueue, KeepsNothingOfTheRecordsLastOwner)
{
    Queue& record = nth_queue(0);
    const Link link = record.queue_link;
    std::memset(static_cast<void*>(&record), 0xEE, sizeof record);
    record.queue_link = link;
    given_queue(7, 0x1234, 0x89ABCDEF);
    EXPECT_EQ(record.streamno, 0u);
    EXPECT_EQ(record.class_no, 0u);
    EXPECT_EQ(record.queueno, 7u);
    EXPECT_EQ(record.size, 0x1234u);
    EXPECT_EQ(record.queue_length, 0x89ABCDEFu);
    EXPECT_EQ(record.queue_link.next, none);
    EXPECT_EQ(record.stream_link.next, none);
    EXPECT_EQ(record.stream_link.prev, none);
    EXPECT_EQ(record.mode, 0u);
    EXPECT_EQ(record.pri, 0u);
    EXPECT_EQ(record.ratio, 0u);
}

TEST_F(CreateQueue, QueuesAreListedByNumber)
{
    for (const u32 number : {5u, 8191u, 3u, 0u, 9u}) given_queue(number);
    EXPECT_THAT(queues(), ElementsAre(0, 3, 5, 9, 8191));
    EXPECT_EQ(header().queue_total, 5u);
    EXPECT_EQ(queue(5), &nth_queue(0));
    EXPECT_EQ(queue(9), &nth_queue(4));
}

TEST_F(CreateQueue, NumbersAreTakenModulo65536)
{
    EXPECT_EQ(call(zelfdb_create_queue, 0x10005, 1, 2), done({"create_queue(5, 1, 2)"}));
    EXPECT_EQ(queue(5)->queueno, 5u);
    EXPECT_TRUE(refuses(2301, zelfdb_create_queue, 5, 1, 2));
    EXPECT_TRUE(refuses(2301, zelfdb_create_queue, 0xFFFF0005, 1, 2));
}

// Literally, the slot of queue 8192 is the budget, and those behind it are VLANs'.
TEST_F(CreateQueue, NumbersBeyondTheIndexAreCreatedAndNeverFoundAgain)
{
    Expected expected = now();
    for (const u32 number : {8192u, 8193u, 8193u, 65535u}) {
        EXPECT_EQ(call(zelfdb_create_queue, number, 10, 0), done({command("create_queue", {number, 10, 0})}));
        EXPECT_TRUE(refuses(107, zelfdb_delete_queue, number));
    }
    EXPECT_THAT(queues(), ElementsAre(8192, 8193, 8193, 65535));
    expected.header().free_qsize = 65536 - 40;
    expected.header().queue_total = 4;
    expected.header().queue_head = header().queue_head;
    expected.header().queue_free = header().queue_free;
    for (u32 n = 0; n < 5; ++n) expected.of(nth_queue(n)) = nth_queue(n);
    EXPECT_TRUE(expected.is_now());
}

// ---- The budget ------------------------------------------------------------------------------------------------------

struct BudgetRow {
    i32 budget;
    i32 size;
    u32 code;  // 0 = created
    i32 left;
    u16 stored;
};
constexpr BudgetRow budget_rows[] = {
    {65536, 0, 0, 65536, 0},
    {65536, 65535, 0, 1, 65535},
    {65536, 65536, 0, 0, 0},  // the whole budget of a new database; 16 bits of the size are kept
    {65536, 65537, 2303, 65536, 0},
    {1, 1, 0, 0, 1},
    {1, 2, 2303, 1, 0},
    {0, 0, 0, 0, 0},
    {0, 1, 2303, 0, 0},
    {-1, 0, 2303, -1, 0},  // compared as signed numbers
    {-1, -1, 0, 0, 0xFFFF},
    {65536, -1, 0, 65537, 0xFFFF},
    {0, INT_MIN, 0, INT_MIN, 0},  // wraps
    {-2, INT_MAX, 2303, -2, 0},
    {INT_MAX, INT_MAX, 0, 0, 0xFFFF},
    {INT_MAX, -1, 0, INT_MIN, 0xFFFF},
    {INT_MIN, INT_MIN, 0, 0, 0},
    {INT_MIN, 0, 2303, INT_MIN, 0},
};

TEST_F(CreateQueue, TheSizeMayBeAllOfTheBudgetAndNoMore)
{
    for (const BudgetRow& row : budget_rows) {
        SCOPED_TRACE(testing::Message() << "budget " << row.budget << ", size " << row.size);
        given_budget(row.budget);
        const Expected start = now();
        if (row.code != 0) {
            EXPECT_TRUE(refuses(row.code, zelfdb_create_queue, 12, row.size, 3));
            continue;
        }
        ASSERT_EQ(call(zelfdb_create_queue, 12, row.size, 3),
                  done({command("create_queue", {12, static_cast<u32>(row.size), 3})}))
            << "the NP gets the size as given";
        EXPECT_EQ(header().free_qsize, row.left);
        EXPECT_EQ(queue(12)->size, row.stored);
        start.restore();
    }
}

TEST_F(CreateQueue, ThatTheNPRefusesCostsTheBudgetAndMakesNoQueue)
{
    given_queue(4, 100);
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        Expected expected = now();
        refuse_twice(how);
        const std::string line = "create_queue(3, 0xc8, 5)";
        EXPECT_EQ(call(zelfdb_create_queue, 3, 200, 5), (Outcome{-1, 2302, {line, line}}));
        EXPECT_EQ(recorder::commands_not_freed(), 1u) << "the NP may still hold it";

        const Link free_link = nth_queue(1).queue_link;
        expected.header().free_qsize -= 200;
        expected.of(nth_queue(1)) = new_queue(3, 200, 5);
        expected.of(nth_queue(1)).queue_link = {at(nth_queue(2)), at(nth_queue(1))};
        EXPECT_EQ(free_link.next, at(nth_queue(2))) << "first of the free records again";
        expected.of(nth_queue(2)).queue_link.prev = at(nth_queue(1));
        EXPECT_TRUE(expected.is_now());
    }
    EXPECT_THAT(queues(), ElementsAre(4));
    EXPECT_EQ(header().queue_total, 1u);
    EXPECT_EQ(call(zelfdb_create_queue, 3, 200, 5).result, 0) << "the number is still free";
    EXPECT_EQ(queue(3), &nth_queue(1));
}

TEST_F(CreateQueue, IsCompleteWhenTheNPAcceptsTheSecondTime)
{
    recorder::fail("create_queue", recorder::Failure::status);
    const std::string line = "create_queue(3, 0xc8, 5)";
    EXPECT_EQ(call(zelfdb_create_queue, 3, 200, 5), done({line, line}));
    EXPECT_NE(queue(3), nullptr);
    EXPECT_EQ(header().free_qsize, 65536 - 200);
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

TEST_F(CreateQueue, WithoutACommandForTheNPIsARefusalToo)
{
    recorder::fail_builders(1);
    EXPECT_EQ(call(zelfdb_create_queue, 3, 200, 5), refused(2302));
    EXPECT_THAT(queues(), IsEmpty());
    EXPECT_EQ(header().free_qsize, 65536 - 200);
}

TEST_F(CreateQueue, FailedCreationsEatTheBudgetUp)
{
    recorder::fail_always(recorder::Failure::status);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(call(zelfdb_create_queue, 3, 16384, 5).err, 2302u);
    EXPECT_EQ(header().free_qsize, 0);
    recorder::reset();
    EXPECT_TRUE(refuses(2303, zelfdb_create_queue, 3, 1, 5));
}

// ---- The pool --------------------------------------------------------------------------------------------------------

TEST_F(CreateQueue, ThePoolHolds8192AndOneMoreCostsTheBudgetForNothing)
{
    for (u32 left = queue_count; left != 0; --left) given_queue(left - 1);
    EXPECT_EQ(header().queue_free, none);
    EXPECT_EQ(header().queue_total, queue_count);

    Expected expected = now();
    EXPECT_EQ(call(zelfdb_create_queue, 8192, 500, 0), refused(2302));
    expected.header().free_qsize = 65536 - 500;
    EXPECT_TRUE(expected.is_now());

    Queue* const freed = queue(4000);
    EXPECT_EQ(call(zelfdb_delete_queue, 4000).result, 0);
    EXPECT_EQ(&given_queue(4000, 1), freed) << "the record freed last is the next one";
    EXPECT_EQ(call(zelfdb_create_queue, 8192, 1, 0), refused(2302));
}

struct QueueCreationOrderRow {
    bool exists;
    bool over_budget;
    bool pool_empty;
    u32 code;
};
constexpr QueueCreationOrderRow queue_creation_order_rows[] = {
    {true, true, true, 2301},  {true, true, false, 2301},  {true, false, true, 2301}, {true, false, false, 2301},
    {false, true, true, 2303}, {false, true, false, 2303}, {false, false, true, 2302}};

TEST_F(CreateQueue, ExistenceIsTestedBeforeTheBudgetAndTheBudgetBeforeThePool)
{
    given_queue(3, 500);
    const Expected start = now();
    for (const QueueCreationOrderRow& row : queue_creation_order_rows) {
        SCOPED_TRACE(testing::Message() << row.exists << row.over_budget << row.pool_empty);
        if (row.pool_empty) header().queue_free = none;
        recorder::fail_always(recorder::Failure::status);  // would be 2302 if it came to that
        const Outcome outcome = call(zelfdb_create_queue, row.exists ? 3 : 4, row.over_budget ? 65037 : 65036, 0);
        EXPECT_EQ(outcome, refused(row.code));
        EXPECT_EQ(header().free_qsize, row.code == 2302 ? 0 : 65036);
        recorder::reset();
        start.restore();
    }
}

// ---- Deletion --------------------------------------------------------------------------------------------------------

TEST_F(DeleteQueue, GivesRecordAndSizeBackAndTellsTheNP)
{
    for (const u32 number : {1u, 2u, 3u}) given_queue(number, static_cast<i32>(number * 100));
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_delete_queue, 2), done({"delete_queue(2)"}));

    expected.header().free_qsize += 200;
    expected.header().queue_total = 2;
    expected.header().queue_index[2] = none;
    expected.header().queue_free = at(nth_queue(1));
    expected.of(nth_queue(0)).queue_link.next = at(nth_queue(2));
    expected.of(nth_queue(2)).queue_link.prev = at(nth_queue(0));
    expected.of(nth_queue(1)).queue_link = {at(nth_queue(3)), at(nth_queue(1))};
    expected.of(nth_queue(3)).queue_link.prev = at(nth_queue(1));
    EXPECT_TRUE(expected.is_now()) << "the rest of the record stays as it was";
}

TEST_F(DeleteQueue, OfTheFirstAndTheLastLeavesAListInOrder)
{
    for (const u32 number : {1u, 2u, 3u}) given_queue(number);
    EXPECT_EQ(call(zelfdb_delete_queue, 1).result, 0);
    EXPECT_EQ(queue(2)->queue_link.prev, none) << "first without having been inserted there";
    EXPECT_EQ(call(zelfdb_delete_queue, 3).result, 0);
    EXPECT_THAT(queues(), ElementsAre(2));
    EXPECT_EQ(call(zelfdb_delete_queue, 2).result, 0);
    EXPECT_EQ(header().queue_head, none);
    EXPECT_EQ(header().queue_total, 0u);
    EXPECT_EQ(header().free_qsize, 65536);
}

TEST_F(DeleteQueue, OfAQueueThatDoesNotExistIs107)
{
    given_queue(5);
    for (const u32 number : {0u, 4u, 6u, 8191u, 8192u, 65535u, 0x10006u}) {
        EXPECT_TRUE(refuses(107, zelfdb_delete_queue, number)) << number;
    }
    EXPECT_EQ(call(zelfdb_delete_queue, 0xABCD0005), done({"delete_queue(5)"}));
    EXPECT_TRUE(refuses(107, zelfdb_delete_queue, 5));
}

// 16 bits of a size are stored, and those are what comes back.
TEST_F(DeleteQueue, GivesBackWhatIsStored)
{
    given_queue(1, 65536);
    EXPECT_EQ(call(zelfdb_delete_queue, 1).result, 0);
    EXPECT_EQ(header().free_qsize, 0);
    given_queue(1, -1);
    EXPECT_EQ(header().free_qsize, 1);
    EXPECT_EQ(call(zelfdb_delete_queue, 1).result, 0);
    EXPECT_EQ(header().free_qsize, 65536);

    given_queue(1, 1);
    given_budget(INT_MAX);
    EXPECT_EQ(call(zelfdb_delete_queue, 1).result, 0);
    EXPECT_EQ(header().free_qsize, INT_MIN) << "wraps";
}

TEST_F(DeleteQueue, ThatTheNPRefusesIsDoneAllTheSame)
{
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        given_queue(6, 77);
        refuse_twice(how);
        EXPECT_EQ(call(zelfdb_delete_queue, 6), done({"delete_queue(6)", "delete_queue(6)"}));
        EXPECT_EQ(queue(6), nullptr);
        EXPECT_EQ(header().free_qsize, 65536);
    }
}

}  // namespace
}  // namespace zelfdb
