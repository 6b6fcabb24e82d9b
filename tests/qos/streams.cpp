// Creating and deleting streams, and binding them to ports.
#include "qos_test.h"

namespace zelfdb {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CreateStream : public Qos {};
class DeleteStream : public Qos {};

// ---- Creation --------------------------------------------------------------------------------------------------------

TEST_F(CreateStream, FillsARecordAndTellsTheNP)
{
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_create_stream, 300), done({"create_stream(0x12c)"}));

    const Offset self = at(nth_stream(0));
    expected.of(nth_stream(0)) = new_stream(300);
    expected.of(nth_stream(0)).stream_link.prev = self;
    expected.of(nth_stream(1)).stream_link.prev = none;
    expected.header().stream_total = 1;
    expected.header().stream_head = self;
    expected.header().stream_free = at(nth_stream(1));
    expected.header().stream_index[300] = self;
    EXPECT_TRUE(expected.is_now()) << "nothing is taken from the budget";
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

TEST_F(CreateStream, KeepsNothingOfTheRecordsLastOwner)
{
    Stream& record = nth_stream(0);
    const Link link = record.stream_link;
    std::memset(static_cast<void*>(&record), 0xEE, sizeof record);
    record.stream_link = link;
    given_stream(300);
    Stream expected = new_stream(300);
    expected.stream_link.prev = at(record);
    const auto* const bytes = reinterpret_cast<const u8*>(&record);
    const auto* const wanted = reinterpret_cast<const u8*>(&expected);
    for (std::size_t i = 32; i < sizeof record; ++i) {
        if (i == 39 || i == 74 || i == 75) continue;  // no field
        EXPECT_EQ(bytes[i], wanted[i]) << "byte " << i;
    }
}

TEST_F(CreateStream, StreamsAreListedByNumber)
{
    for (const u32 streamno : {5u, 1023u, 3u, 0u, 9u}) given_stream(streamno);
    EXPECT_THAT(streams(), ElementsAre(0, 3, 5, 9, 1023));
    EXPECT_EQ(header().stream_total, 5u);
    EXPECT_EQ(stream(5), &nth_stream(0));
}

TEST_F(CreateStream, NumbersAreTakenModulo65536)
{
    EXPECT_EQ(call(zelfdb_create_stream, 0x10005), done({"create_stream(5)"}));
    EXPECT_TRUE(refuses(2501, zelfdb_create_stream, 5));
    EXPECT_TRUE(refuses(2501, zelfdb_create_stream, 0xFFFF0005));
    EXPECT_EQ(call(zelfdb_delete_stream, 0x20005), done({"delete_stream(5)"}));
}

// Literally, the slot of stream 1024 is the number of queues, and the budget and other objects lie behind it.
TEST_F(CreateStream, NumbersBeyondTheIndexAreCreatedAndNeverFoundAgain)
{
    Expected expected = now();
    for (const u32 streamno : {1024u, 1025u, 1025u, 65535u}) {
        EXPECT_EQ(call(zelfdb_create_stream, streamno), done({command("create_stream", {streamno})}));
        EXPECT_TRUE(refuses(106, zelfdb_delete_stream, streamno));
    }
    EXPECT_THAT(streams(), ElementsAre(1024, 1025, 1025, 65535));
    expected.header().stream_total = 4;
    expected.header().stream_head = header().stream_head;
    expected.header().stream_free = header().stream_free;
    for (u32 n = 0; n < 5; ++n) expected.of(nth_stream(n)) = nth_stream(n);
    EXPECT_TRUE(expected.is_now());
}

TEST_F(CreateStream, NeedsABudgetAbove255AndTakesNothingFromIt)
{
    for (const i32 budget : {255, 254, 0, -1, -2147483647 - 1}) {
        given_budget(budget);
        EXPECT_TRUE(refuses(2303, zelfdb_create_stream, 3)) << budget;
    }
    u32 streamno = 3;
    for (const i32 budget : {256, 257, 65536, 2147483647}) {
        given_budget(budget);
        EXPECT_EQ(call(zelfdb_create_stream, ++streamno).result, 0) << budget;
        EXPECT_EQ(header().free_qsize, budget);
    }
}

TEST_F(CreateStream, ThatTheNPRefusesMakesNoStream)
{
    given_stream(4);
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        Expected expected = now();
        refuse_twice(how);
        EXPECT_EQ(call(zelfdb_create_stream, 3), (Outcome{-1, 2502, {"create_stream(3)", "create_stream(3)"}}));
        EXPECT_EQ(recorder::commands_not_freed(), 1u) << "the NP may still hold it";
        expected.of(nth_stream(1)) = new_stream(3);
        expected.of(nth_stream(1)).stream_link = {at(nth_stream(2)), at(nth_stream(1))};
        expected.of(nth_stream(2)).stream_link.prev = at(nth_stream(1));
        EXPECT_TRUE(expected.is_now()) << "first of the free records again";
    }
    EXPECT_THAT(streams(), ElementsAre(4));
    recorder::fail("create_stream", recorder::Failure::status);
    EXPECT_EQ(call(zelfdb_create_stream, 3), done({"create_stream(3)", "create_stream(3)"}));
    EXPECT_EQ(stream(3), &nth_stream(1));
}

TEST_F(CreateStream, WithoutACommandForTheNPIsARefusalToo)
{
    recorder::fail_builders(1);
    EXPECT_EQ(call(zelfdb_create_stream, 3), refused(2502));
    EXPECT_THAT(streams(), IsEmpty());
}

TEST_F(CreateStream, ThePoolHolds1024)
{
    for (u32 left = stream_count; left != 0; --left) given_stream(left - 1);
    EXPECT_EQ(header().stream_free, none);
    EXPECT_EQ(header().stream_total, stream_count);
    EXPECT_TRUE(refuses(2502, zelfdb_create_stream, 1024));
    Stream* const freed = stream(77);
    EXPECT_EQ(call(zelfdb_delete_stream, 77).result, 0);
    EXPECT_EQ(&given_stream(77), freed) << "the record freed last is the next one";
    EXPECT_TRUE(refuses(2502, zelfdb_create_stream, 1024));
}

struct StreamCreationOrderRow {
    bool exists;
    bool no_budget;
    bool pool_empty;
    u32 code;
};

TEST_F(CreateStream, ExistenceIsTestedBeforeTheBudgetAndTheBudgetBeforeThePool)
{
    given_stream(3);
    const Expected start = now();
    constexpr StreamCreationOrderRow rows[] = {
        {true, true, true, 2501},  {true, true, false, 2501},  {true, false, true, 2501}, {true, false, false, 2501},
        {false, true, true, 2303}, {false, true, false, 2303}, {false, false, true, 2502}};
    for (const StreamCreationOrderRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.exists << row.no_budget << row.pool_empty);
        given_budget(row.no_budget ? 255 : 256);
        if (row.pool_empty) header().stream_free = none;
        recorder::fail_always(recorder::Failure::status);  // would be 2502 if it came to that
        EXPECT_TRUE(refuses(row.code, zelfdb_create_stream, row.exists ? 3 : 4));
        recorder::reset();
        start.restore();
    }
}

// ---- Deletion --------------------------------------------------------------------------------------------------------

TEST_F(DeleteStream, GivesTheRecordBackAndTellsTheNP)
{
    for (const u32 streamno : {1u, 2u, 3u}) given_stream(streamno);
    Expected expected = now();
    EXPECT_EQ(call(zelfdb_delete_stream, 2), done({"delete_stream(2)"}));
    expected.header().stream_total = 2;
    expected.header().stream_index[2] = none;
    expected.header().stream_free = at(nth_stream(1));
    expected.of(nth_stream(0)).stream_link.next = at(nth_stream(2));
    expected.of(nth_stream(2)).stream_link.prev = at(nth_stream(0));
    expected.of(nth_stream(1)).stream_link = {at(nth_stream(3)), at(nth_stream(1))};
    expected.of(nth_stream(3)).stream_link.prev = at(nth_stream(1));
    EXPECT_TRUE(expected.is_now());
}

TEST_F(DeleteStream, OfTheFirstAndTheLastLeavesAListInOrder)
{
    for (const u32 streamno : {1u, 2u, 3u}) given_stream(streamno);
    EXPECT_EQ(call(zelfdb_delete_stream, 1).result, 0);
    EXPECT_EQ(stream(2)->stream_link.prev, none);
    EXPECT_EQ(call(zelfdb_delete_stream, 3).result, 0);
    EXPECT_THAT(streams(), ElementsAre(2));
    EXPECT_EQ(call(zelfdb_delete_stream, 2).result, 0);
    EXPECT_EQ(header().stream_head, none);
    EXPECT_EQ(header().stream_total, 0u);
}

TEST_F(DeleteStream, ThatDoesNotExistIs106AndABoundOneIs2401)
{
    given_port(1);
    given_stream(5);
    for (const u32 streamno : {0u, 4u, 6u, 1023u, 1024u, 65535u}) {
        EXPECT_TRUE(refuses(106, zelfdb_delete_stream, streamno)) << streamno;
    }
    given_bound(5, 1, 9);
    EXPECT_TRUE(refuses(2401, zelfdb_delete_stream, 5));
    EXPECT_EQ(call(zelfdb_rem_stream_from_port, 5, 1, 0).result, 0);
    EXPECT_EQ(call(zelfdb_delete_stream, 5).result, 0);
}

TEST_F(DeleteStream, LooksAtThePortNumberOnly)
{
    given_stream(5).sno_port = 9;
    EXPECT_EQ(call(zelfdb_delete_stream, 5), done({"delete_stream(5)"}));
}

TEST_F(DeleteStream, ThatTheNPRefusesIsDoneAllTheSame)
{
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        given_stream(6);
        refuse_twice(how);
        EXPECT_EQ(call(zelfdb_delete_stream, 6), done({"delete_stream(6)", "delete_stream(6)"}));
        EXPECT_EQ(stream(6), nullptr);
    }
}

TEST_F(DeleteStream, WithAttachedQueuesIsNotRefused)
{
    given_stream(6);
    Queue& record = given_queue(48);
    given_attached(48, 6, 0, 1, 2, 3);
    const Queue before = record;
    EXPECT_EQ(call(zelfdb_delete_stream, 6).result, 0);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof before), 0) << "the queue stays as it was";
}

// ---- Binding ---------------------------------------------------------------------------------------------------------

class Binding : public Qos {
protected:
    void SetUp() override
    {
        Qos::SetUp();
        given_port(1);
        given_port(2);
        for (const u32 streamno : {7u, 3u, 5u, 300u}) given_stream(streamno);
    }
    Outcome bind(u32 streamno, u32 port_id, u32 sno_port)
    {
        return call(zelfdb_add_stream_to_port, streamno, port_id, sno_port);
    }
    Outcome unbind(u32 streamno, u32 port_id, u32 unused = 0)
    {
        return call(zelfdb_rem_stream_from_port, streamno, port_id, unused);
    }
};

TEST_F(Binding, StoresPortAndPositionLinksTheStreamAndSendsNothing)
{
    Expected expected = now();
    EXPECT_EQ(bind(5, 2, 6), done());
    Stream& record = expected.of(*stream(5));
    record.portno = 2;
    record.sno_port = 6;
    record.port_link = {none, at(*stream(5))};
    expected.of(*port(2)).stream_head = at(*stream(5));
    EXPECT_TRUE(expected.is_now());
}

TEST_F(Binding, AnyStreamGoesToAnyPositionAndThePortsListIsInOrder)
{
    EXPECT_EQ(bind(5, 2, 6), done());
    EXPECT_EQ(bind(300, 2, 6), done()) << "a position is not taken";
    EXPECT_EQ(bind(3, 2, 1), done());
    EXPECT_EQ(bind(7, 1, 200), done());
    EXPECT_THAT(streams_of(2), ElementsAre(3, 5, 300));
    EXPECT_THAT(streams_of(1), ElementsAre(7));
}

struct PositionRow {
    u32 sno_port;
    u8 stored;
};

TEST_F(Binding, APositionIsStoredInOneByteAndSoIts256thIsZero)
{
    for (const PositionRow& row : {PositionRow{255, 255}, PositionRow{256, 0}, PositionRow{0, 0}, PositionRow{511, 255},
                                   PositionRow{0xFFFFFF01, 1}}) {
        SCOPED_TRACE(row.sno_port);
        EXPECT_EQ(bind(5, 2, row.sno_port), done());
        EXPECT_EQ(stream(5)->sno_port, row.stored);
        EXPECT_TRUE(refuses(2401, zelfdb_add_stream_to_port, 5, 1, 1)) << "the port number still says bound";
        EXPECT_EQ(unbind(5, 2), done());
    }
}

TEST_F(Binding, NeedsBothPortAndPositionToBeFree)
{
    EXPECT_EQ(bind(5, 2, 6), done());
    EXPECT_TRUE(refuses(2401, zelfdb_add_stream_to_port, 5, 2, 6));
    EXPECT_TRUE(refuses(2401, zelfdb_add_stream_to_port, 5, 1, 7));
    stream(3)->sno_port = 1;
    EXPECT_TRUE(refuses(2401, zelfdb_add_stream_to_port, 3, 1, 1)) << "bound to no port, but with a position";
    stream(3)->sno_port = 0;
    EXPECT_EQ(bind(3, 1, 1), done());
}

TEST_F(Binding, ThePortIsLookedUpBeforeTheStreamAndBothBeforeTheBinding)
{
    EXPECT_EQ(bind(5, 2, 6), done());
    for (const u32 port_id : {0u, 3u, 199u, 200u, 0xFFFFFFFFu}) {
        for (const u32 streamno : {4u, 5u, 7u}) {
            EXPECT_TRUE(refuses(102, zelfdb_add_stream_to_port, streamno, port_id, 1)) << port_id;
            EXPECT_TRUE(refuses(102, zelfdb_rem_stream_from_port, streamno, port_id, 1)) << port_id;
        }
    }
    for (const u32 streamno : {4u, 1023u, 1024u, 65535u}) {
        EXPECT_TRUE(refuses(106, zelfdb_add_stream_to_port, streamno, 2, 1)) << streamno;
        EXPECT_TRUE(refuses(106, zelfdb_rem_stream_from_port, streamno, 2, 1)) << streamno;
    }
    EXPECT_TRUE(refuses(2401, zelfdb_add_stream_to_port, 5, 2, 1));
    EXPECT_TRUE(refuses(2402, zelfdb_rem_stream_from_port, 5, 1, 1)) << "bound to the other";
    EXPECT_TRUE(refuses(2402, zelfdb_rem_stream_from_port, 7, 1, 1)) << "bound to none";
}

TEST_F(Binding, StreamNumbersAreTakenModulo65536)
{
    EXPECT_EQ(bind(0x10005, 2, 6), done());
    EXPECT_EQ(stream(5)->portno, 2u);
    EXPECT_EQ(unbind(0xFFFF0005, 2), done());
    EXPECT_EQ(stream(5)->portno, 0u);
}

TEST_F(Binding, IsUndoneByUnbindingWhichSendsNothing)
{
    for (const u32 streamno : {3u, 5u, 7u}) EXPECT_EQ(bind(streamno, 2, streamno), done());
    EXPECT_EQ(call(zelfdb_set_stream_priority, 5, 2).result, 0);
    for (const u32 unused : {0u, 7u, 0xFFFFFFFFu}) {
        Expected expected = now();
        EXPECT_EQ(unbind(5, 2, unused), done());
        Stream& record = expected.of(*stream(5));
        record.portno = 0;
        record.sno_port = 0;
        expected.of(*stream(3)).port_link.next = at(*stream(7));
        expected.of(*stream(7)).port_link.prev = at(*stream(3));
        EXPECT_TRUE(expected.is_now()) << "the priority and the record's own links stay";
        EXPECT_EQ(bind(5, 2, 5), done());
    }
    EXPECT_EQ(unbind(3, 2), done());
    EXPECT_EQ(stream(5)->port_link.prev, none);
    EXPECT_EQ(unbind(7, 2), done());
    EXPECT_EQ(unbind(5, 2), done());
    EXPECT_EQ(port(2)->stream_head, none);
}

// A port may be deleted with its streams: they stay bound to its number, with the links of a list that is gone.
TEST_F(Binding, OutlivesThePortAndUnbindingThenWritesToNoOtherStream)
{
    for (const u32 streamno : {3u, 5u, 7u}) EXPECT_EQ(bind(streamno, 2, streamno), done());
    EXPECT_EQ(call(zelfdb_delete_port, 2).result, 0);
    EXPECT_EQ(stream(5)->portno, 2u);
    EXPECT_TRUE(refuses(102, zelfdb_rem_stream_from_port, 5, 2, 0));
    EXPECT_TRUE(refuses(2401, zelfdb_delete_stream, 5));

    given_port(2);
    EXPECT_THAT(streams_of(2), IsEmpty());
    EXPECT_EQ(bind(300, 2, 1), done());
    for (const u32 streamno : {5u, 3u, 7u}) {
        Expected expected = now();
        EXPECT_EQ(unbind(streamno, 2), done());
        expected.of(*stream(streamno)).portno = 0;
        expected.of(*stream(streamno)).sno_port = 0;
        EXPECT_TRUE(expected.is_now()) << "stream " << streamno;
    }
    EXPECT_THAT(streams_of(2), ElementsAre(300));
    EXPECT_EQ(bind(5, 2, 5), done());
    EXPECT_THAT(streams_of(2), ElementsAre(5, 300));
}

TEST_F(Binding, OfAnOldStreamDoesNotCutTheListOfTheNewPort)
{
    for (const u32 streamno : {3u, 5u, 7u}) EXPECT_EQ(bind(streamno, 2, streamno), done());
    EXPECT_EQ(call(zelfdb_delete_port, 2).result, 0);
    given_port(2);
    // Free the outer two, and put them into the new list: the middle one still has links to both.
    EXPECT_EQ(unbind(3, 2), done());
    EXPECT_EQ(unbind(7, 2), done());
    EXPECT_EQ(bind(3, 2, 3), done());
    EXPECT_EQ(bind(7, 2, 7), done());
    EXPECT_EQ(bind(300, 2, 1), done());
    Expected expected = now();
    EXPECT_EQ(unbind(5, 2), done());
    expected.of(*stream(5)).portno = 0;
    expected.of(*stream(5)).sno_port = 0;
    EXPECT_TRUE(expected.is_now());
    EXPECT_THAT(streams_of(2), ElementsAre(3, 7, 300));
}

}  // namespace
}  // namespace zelfdb
