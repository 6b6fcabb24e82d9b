// Attaching queues to the class slots of streams, and detaching them.
#include "qos_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Attachment : public Qos {
protected:
    void SetUp() override
    {
        Qos::SetUp();
        given_stream(0);
        given_stream(5);
    }
    Outcome attach(u32 number, u32 streamno, u32 class_no, u32 mode = 1, u32 pri = 4, u32 ratio = 25)
    {
        return call(zelfdb_add_queue_to_stream, number, streamno, class_no, mode, pri, ratio);
    }
    Outcome detach(u32 number, u32 streamno, u32 class_no)
    {
        return call(zelfdb_rem_queue_from_stream, number, streamno, class_no);
    }
    static std::string detached(u32 number, u32 streamno, u32 class_no)
    {
        return command("add_queue", {number, streamno, class_no, 0, 0, 0});
    }
};
class AttachQueue : public Attachment {};
class DetachQueue : public Attachment {};
class DeletedWhileAttached : public Attachment {};

// ---- Attaching -------------------------------------------------------------------------------------------------------

TEST_F(AttachQueue, StoresWhereAndHowLinksItToTheSlotAndTellsTheNP)
{
    Queue& record = given_queue(43, 10);
    Expected expected = now();
    EXPECT_EQ(attach(43, 5, 3, 1, 4, 25), done({"add_queue(0x2b, 5, 3, 1, 4, 0x19)"}));
    expected.of(record).streamno = 5;
    expected.of(record).class_no = 3;
    expected.of(record).mode = 1;
    expected.of(record).pri = 4;
    expected.of(record).ratio = 25;
    expected.of(record).stream_link = {none, at(record)};
    expected.of(*stream(5)).slot[3].queue_head = at(record);
    EXPECT_TRUE(expected.is_now());
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

struct ModeRow {
    u32 mode;
    u8 stored;
    u8 pri;
    u8 ratio;
};

TEST_F(AttachQueue, TheModeDecidesWhatIsKeptOfTheWeight)
{
    Queue& record = given_queue(43);
    record.pri = 200;
    record.ratio = 100;
    const Expected start = now();
    const ModeRow rows[] = {{0, 0, 200, 100}, {1, 1, 4, 25}, {2, 2, 4, 100}, {3, 3, 200, 100}, {255, 255, 200, 100}};
    for (const ModeRow& row : rows) {
        SCOPED_TRACE(row.mode);
        EXPECT_EQ(attach(43, 5, 3, row.mode, 4, 25), done({command("add_queue", {43, 5, 3, row.mode, 4, 25})}));
        EXPECT_EQ(record.mode, row.stored);
        EXPECT_EQ(record.pri, row.pri);
        EXPECT_EQ(record.ratio, row.ratio);
        start.restore();
    }
}

TEST_F(AttachQueue, BytesAreStoredAndWholeNumbersSent)
{
    Queue& record = given_queue(43);
    EXPECT_EQ(attach(43, 5, 7, 1, 0x1F7, 0xFFFFFF64), done({"add_queue(0x2b, 5, 7, 1, 0x1f7, 0xffffff64)"}));
    EXPECT_EQ(record.pri, 0xF7u);
    EXPECT_EQ(record.ratio, 0x64u);
    EXPECT_EQ(detach(43, 5, 7).result, 0);
    EXPECT_EQ(attach(43, 5, 7, 0x103, 0, 0), done({"add_queue(0x2b, 5, 7, 0x103, 0, 0)"}));
    EXPECT_EQ(record.mode, 3u);
}

TEST_F(AttachQueue, NumbersAreTakenModulo65536)
{
    given_queue(43);
    EXPECT_EQ(attach(0x1002B, 0x70005, 2), done({"add_queue(0x2b, 5, 2, 1, 4, 0x19)"}));
    EXPECT_EQ(queue(43)->streamno, 5u);
    EXPECT_THAT(queues_of(5, 2), ElementsAre(43));
    EXPECT_EQ(detach(0x9002B, 0x80000005, 2), done({detached(43, 5, 2)}));
    EXPECT_THAT(queues_of(5, 2), IsEmpty());
}

TEST_F(AttachQueue, EverySlotKeepsAListInTheOrderOfNumbers)
{
    for (u32 class_no = 0; class_no < 8; ++class_no) {
        for (const u32 number : {40 + class_no, 8 + class_no, 8184 + class_no, 80 + class_no}) {
            given_queue(number);
            EXPECT_EQ(attach(number, 5, class_no).result, 0);
        }
    }
    for (u32 class_no = 0; class_no < 8; ++class_no) {
        EXPECT_THAT(queues_of(5, class_no), ElementsAre(8 + class_no, 40 + class_no, 80 + class_no, 8184 + class_no));
    }
    EXPECT_EQ(queue(8)->stream_link.prev, at(*queue(8))) << "inserted as the first, it points to itself";
    EXPECT_EQ(queue(40)->stream_link.prev, at(*queue(8)));
    EXPECT_EQ(queue(8184)->stream_link.prev, at(*queue(80)));
}

struct AttachOrderRow {
    u32 number;
    u32 streamno;
    u32 code;
};

TEST_F(AttachQueue, TheStreamIsLookedUpBeforeTheQueueAndBothBeforeTheAttachment)
{
    given_queue(1);
    given_queue(2);
    given_queue(3);
    given_attached(1, 5, 1);
    given_attached(3, 5, 3);
    EXPECT_EQ(call(zelfdb_delete_queue, 3).result, 0);
    constexpr AttachOrderRow rows[] = {
        {4, 6, 106}, {1, 6, 106}, {2, 6, 106},    {2, 1023, 106},   {2, 1024, 106}, {2, 0xFFFF, 106},
        {4, 5, 107}, {3, 5, 107}, {8192, 5, 107}, {0xFFFF, 0, 107}, {1, 5, 2351},   {1, 0, 2351},
    };
    for (const AttachOrderRow& row : rows) {
        for (const u32 class_no : {1u, 2u, 8u}) {
            EXPECT_TRUE(refuses(row.code, zelfdb_add_queue_to_stream, row.number, row.streamno, class_no, 1, 1, 1))
                << "queue " << row.number << ", stream " << row.streamno << ", class " << class_no;
        }
    }
}

// What lies where the list of a ninth class would be is the TOS map.
TEST_F(AttachQueue, ToAClassThatHasNoSlotIsStoredAndSentAndOnNoList)
{
    Queue& record = given_queue(43);
    const Expected start = now();
    for (const u32 class_no : {8u, 9u, 11u, 12u, 255u, 256u, 259u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(class_no);
        Expected expected = now();
        EXPECT_EQ(attach(43, 5, class_no), done({command("add_queue", {43, 5, class_no, 1, 4, 25})}));
        expected.of(record).streamno = 5;
        expected.of(record).class_no = static_cast<u8>(class_no & 0xFF);
        expected.of(record).mode = 1;
        expected.of(record).pri = 4;
        expected.of(record).ratio = 25;
        EXPECT_TRUE(expected.is_now());
        EXPECT_EQ(attach(43, 0, class_no).result, 0) << "it is in no stream";
        EXPECT_TRUE(refuses(2352, zelfdb_rem_queue_from_stream, 43, 5, class_no));
        start.restore();
    }
}

TEST_F(AttachQueue, ThatTheNPRefusesIsDoneAllTheSame)
{
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        given_queue(43);
        const Expected start = now();
        EXPECT_EQ(attach(43, 5, 3).result, 0);
        const Expected attached = now();
        start.restore();
        refuse_twice(how);
        const std::string line = "add_queue(0x2b, 5, 3, 1, 4, 0x19)";
        EXPECT_EQ(attach(43, 5, 3), done({line, line}));
        EXPECT_TRUE(attached.is_now());
        refuse_twice(how);
        EXPECT_EQ(detach(43, 5, 3), done({detached(43, 5, 3), detached(43, 5, 3)}));
        EXPECT_THAT(queues_of(5, 3), IsEmpty());
        EXPECT_EQ(call(zelfdb_delete_queue, 43).result, 0);
    }
}

// ---- Detaching -------------------------------------------------------------------------------------------------------

TEST_F(DetachQueue, ClearsWhereAndHowButKeepsTheWeight)
{
    Queue& record = given_queue(43, 10);
    EXPECT_EQ(attach(43, 5, 3, 1, 4, 25).result, 0);
    Expected expected = now();
    EXPECT_EQ(detach(43, 5, 3), done({"add_queue(0x2b, 5, 3, 0, 0, 0)"}));
    expected.of(record).streamno = 0;
    expected.of(record).class_no = 0;
    expected.of(record).mode = 0;
    expected.of(*stream(5)).slot[3].queue_head = none;
    EXPECT_TRUE(expected.is_now()) << "pri, ratio and the record's own links stay";
}

TEST_F(DetachQueue, FromAnyPlaceOfTheSlotLeavesTheOthersInOrder)
{
    for (const u32 number : {1u, 2u, 3u, 4u}) {
        given_queue(number);
        EXPECT_EQ(attach(number, 5, 6).result, 0);
    }
    EXPECT_EQ(detach(2, 5, 6).result, 0);
    EXPECT_THAT(queues_of(5, 6), ElementsAre(1, 3, 4));
    EXPECT_EQ(queue(3)->stream_link.prev, at(*queue(1)));
    EXPECT_EQ(detach(1, 5, 6).result, 0);
    EXPECT_THAT(queues_of(5, 6), ElementsAre(3, 4));
    EXPECT_EQ(queue(3)->stream_link.prev, none);
    EXPECT_EQ(detach(4, 5, 6).result, 0);
    EXPECT_THAT(queues_of(5, 6), ElementsAre(3));
    EXPECT_EQ(attach(2, 5, 6).result, 0) << "a detached queue may be attached again";
    EXPECT_THAT(queues_of(5, 6), ElementsAre(2, 3));
}

TEST_F(DetachQueue, TheStreamIsLookedUpBeforeTheQueueAndBothBeforeTheAttachment)
{
    given_queue(1);
    given_queue(2);
    given_attached(1, 5, 1);
    constexpr AttachOrderRow rows[] = {
        {4, 6, 106}, {1, 6, 106},    {2, 6, 106},      {2, 1024, 106}, {4, 5, 107},
        {4, 0, 107}, {8192, 5, 107}, {0xFFFF, 5, 107}, {2, 5, 2352},   {2, 0, 2352},
    };
    for (const AttachOrderRow& row : rows) {
        for (const u32 class_no : {0u, 1u, 8u}) {
            EXPECT_TRUE(refuses(row.code, zelfdb_rem_queue_from_stream, row.number, row.streamno, class_no))
                << "queue " << row.number << ", stream " << row.streamno << ", class " << class_no;
        }
    }
}

// Only that the queue serves some stream is tested. Naming another slot than its own clears the record, tells the NP what
// was asked, and writes nowhere else than in the queue's real neighbours.
TEST_F(DetachQueue, NamingAnotherSlotTakesAMiddleQueueOutOfItsOwn)
{
    for (const u32 number : {1u, 2u, 3u}) {
        given_queue(number);
        EXPECT_EQ(attach(number, 5, 6).result, 0);
    }
    given_queue(9);
    EXPECT_EQ(attach(9, 0, 2).result, 0);
    Expected expected = now();
    EXPECT_EQ(detach(2, 0, 2), done({detached(2, 0, 2)}));
    expected.of(*queue(2)).streamno = 0;
    expected.of(*queue(2)).class_no = 0;
    expected.of(*queue(2)).mode = 0;
    expected.of(*queue(1)).stream_link.next = at(*queue(3));
    expected.of(*queue(3)).stream_link.prev = at(*queue(1));
    EXPECT_TRUE(expected.is_now());
    EXPECT_EQ(detach(3, 5, 5).result, 0);
    EXPECT_THAT(queues_of(5, 6), ElementsAre(1));
    EXPECT_THAT(queues_of(0, 2), ElementsAre(9));
}

TEST_F(DetachQueue, NamingAnotherSlotLeavesAFirstQueueOnItsOwn)
{
    for (const u32 number : {1u, 2u, 3u}) {
        given_queue(number);
        EXPECT_EQ(attach(number, 5, 6).result, 0);
    }
    for (const bool inserted_first : {true, false}) {
        SCOPED_TRACE(inserted_first ? "it points back to itself" : "it points back to none");
        const u32 first = inserted_first ? 1 : 2;
        EXPECT_EQ(queue(first)->stream_link.prev, inserted_first ? at(*queue(1)) : none);
        Expected expected = now();
        EXPECT_EQ(detach(first, 0, 2), done({detached(first, 0, 2)}));
        expected.of(*queue(first)).streamno = 0;
        expected.of(*queue(first)).class_no = 0;
        expected.of(*queue(first)).mode = 0;
        EXPECT_TRUE(expected.is_now());
        EXPECT_TRUE(refuses(2351, zelfdb_add_queue_to_stream, first, 0, 2, 1, 1, 1)) << "it still serves a stream";
        EXPECT_EQ(detach(first, 5, 6).result, 0);
    }
    EXPECT_THAT(queues_of(5, 6), ElementsAre(3));
}

TEST_F(DetachQueue, FromAClassThatHasNoSlotChangesNoList)
{
    given_queue(1);
    given_queue(2);
    EXPECT_EQ(attach(1, 5, 6).result, 0);
    EXPECT_EQ(attach(2, 5, 6).result, 0);
    for (const u32 class_no : {8u, 9u, 255u, 256u, 262u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(class_no);
        Expected expected = now();
        EXPECT_EQ(detach(2, 5, class_no), done({command("add_queue", {2, 5, class_no, 0, 0, 0})}));
        expected.of(*queue(2)).streamno = 0;
        expected.of(*queue(2)).class_no = 0;
        expected.of(*queue(2)).mode = 0;
        EXPECT_TRUE(expected.is_now());
    }
    EXPECT_THAT(queues_of(5, 6), ElementsAre(1, 2));
}

// ---- Deleted while attached ------------------------------------------------------------------------------------------

TEST_F(DeletedWhileAttached, TheSlotStillLeadsToTheFreedRecord)
{
    Queue& record = given_queue(43, 500);
    EXPECT_EQ(attach(43, 5, 3).result, 0);
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_delete_queue, 43), done({"delete_queue(0x2b)"}));
    expected.header().free_qsize = 65536;
    expected.header().queue_total = 0;
    expected.header().queue_head = none;
    expected.header().queue_index[43] = none;
    expected.header().queue_free = at(record);
    expected.of(record).queue_link = {at(nth_queue(1)), at(record)};
    expected.of(nth_queue(1)).queue_link.prev = at(record);
    EXPECT_TRUE(expected.is_now());
    EXPECT_EQ(stream(5)->slot[3].queue_head, at(record));
    EXPECT_EQ(record.streamno, 5u);
}

TEST_F(DeletedWhileAttached, ItsNumberCountsAsAttachedForTheQueueThatHasItNext)
{
    given_queue(43);
    EXPECT_EQ(attach(43, 5, 3).result, 0);
    Queue& other = given_queue(44);
    EXPECT_EQ(call(zelfdb_delete_queue, 43).result, 0);
    EXPECT_EQ(call(zelfdb_delete_queue, 44).result, 0);
    EXPECT_EQ(&given_queue(43), &other) << "another record than the one that the slot leads to";
    EXPECT_TRUE(refuses(2351, zelfdb_add_queue_to_stream, 43, 5, 3, 1, 1, 1));

    other.mode = 1;
    Expected expected = now();
    EXPECT_EQ(detach(43, 5, 3), done({detached(43, 5, 3)})) << "there is nothing to unlink";
    expected.of(other).mode = 0;
    EXPECT_TRUE(expected.is_now());
}

TEST_F(DeletedWhileAttached, AReusedRecordIsAttachedAlready)
{
    Queue& record = given_queue(43);
    EXPECT_EQ(attach(43, 5, 3).result, 0);
    EXPECT_EQ(call(zelfdb_delete_queue, 43).result, 0);
    EXPECT_EQ(&given_queue(7), &record);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(7));
    EXPECT_TRUE(refuses(2351, zelfdb_add_queue_to_stream, 7, 0, 0, 1, 1, 1));
    EXPECT_EQ(detach(7, 5, 3), done({detached(7, 5, 3)})) << "first in the slot: it leaves it";
    EXPECT_THAT(queues_of(5, 3), IsEmpty());
    EXPECT_EQ(attach(7, 0, 0).result, 0);
    EXPECT_THAT(queues_of(0, 0), ElementsAre(7));
}

// Its links are gone, so unlinking it would write through the offset that means none.
TEST_F(DeletedWhileAttached, DetachingAReusedRecordWritesToNoOtherRecord)
{
    for (const u32 number : {42u, 43u, 44u}) {
        given_queue(number);
        EXPECT_EQ(attach(number, 5, 3).result, 0);
    }
    Queue& record = *queue(43);
    EXPECT_EQ(call(zelfdb_delete_queue, 43).result, 0);
    EXPECT_EQ(&given_queue(100), &record);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(42, 100)) << "what stood behind it is cut off";
    for (const u32 streamno : {5u, 0u}) {
        for (u32 class_no = 0; class_no < 9; ++class_no) {
            const Expected unchanged = now();
            EXPECT_EQ(detach(100, streamno, class_no), done({detached(100, streamno, class_no)}));
            EXPECT_TRUE(unchanged.is_now()) << "stream " << streamno << " class " << class_no;
        }
    }
    EXPECT_THAT(queues_of(5, 3), ElementsAre(42, 100));
    EXPECT_TRUE(refuses(2352, zelfdb_rem_queue_from_stream, 44, 5, 3)) << "it serves no stream any more";
    EXPECT_EQ(attach(44, 0, 1).result, 0);

    EXPECT_EQ(detach(42, 5, 3).result, 0);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(100));
    EXPECT_EQ(detach(100, 5, 3).result, 0) << "now it is first, and leaves";
    EXPECT_THAT(queues_of(5, 3), IsEmpty());
}

TEST_F(DeletedWhileAttached, OthersLeaveAndJoinTheSlotAroundTheFreedRecord)
{
    for (const u32 number : {42u, 43u, 44u}) {
        given_queue(number);
        EXPECT_EQ(attach(number, 5, 3).result, 0);
    }
    EXPECT_EQ(call(zelfdb_delete_queue, 43).result, 0);
    EXPECT_EQ(detach(44, 5, 3).result, 0);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(42, 43));
    EXPECT_EQ(attach(44, 5, 3).result, 0);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(42, 43, 44));
    EXPECT_EQ(detach(42, 5, 3).result, 0);
    EXPECT_THAT(queues_of(5, 3), ElementsAre(43, 44));
}

TEST_F(DeletedWhileAttached, AStreamThatGoesLeavesItsQueuesFree)
{
    given_queue(43);
    EXPECT_EQ(attach(43, 5, 3, 2, 6, 0).result, 0);
    EXPECT_EQ(call(zelfdb_delete_stream, 5).result, 0) << "attached queues are not looked at";
    EXPECT_EQ(queue(43)->streamno, 5u);
    EXPECT_TRUE(refuses(2352, zelfdb_rem_queue_from_stream, 43, 0, 3));
    given_stream(5);
    EXPECT_THAT(queues_of(5, 3), IsEmpty()) << "a stream starts without queues";
    EXPECT_EQ(attach(43, 5, 4).result, 0);
    EXPECT_THAT(queues_of(5, 4), ElementsAre(43));
}

}  // namespace
}  // namespace zelfdb
