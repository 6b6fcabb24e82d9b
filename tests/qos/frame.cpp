// The frame of the queue and stream operations: descriptor, locks, error word, and an NP that refuses.
#include "core/lists.h"
#include "support/frame_rows.h"

namespace zelfdb {
namespace {

// Queue 40 serves stream 5 of port 1, queue 41 serves none, stream 6 is bound to port 2, stream 256 to none.
class QosFrame : public FrameTest {
protected:
    QosFrame() : FrameTest(4, 1, 4) {}
    void SetUp() override
    {
        FrameTest::SetUp();
        given_port(1);
        given_port(2);
        for (const u32 streamno : {5u, 6u, 256u}) ASSERT_EQ(call(zelfdb_create_stream, streamno).result, 0);
        ASSERT_EQ(call(zelfdb_add_stream_to_port, 5, 1, 6).result, 0);
        ASSERT_EQ(call(zelfdb_add_stream_to_port, 6, 2, 7).result, 0);
        ASSERT_EQ(call(zelfdb_set_shaping_in_stream, 5, 10, 20, 30, 40).result, 0);
        ASSERT_EQ(call(zelfdb_create_queue, 40, 100, 1000).result, 0);
        ASSERT_EQ(call(zelfdb_create_queue, 41, 100, 1000).result, 0);
        ASSERT_EQ(call(zelfdb_add_queue_to_stream, 40, 5, 0, 1, 2, 3).result, 0);
        environment::reset();
        recorder::reset();
    }
    static std::vector<FrameRow> rows();
    static std::vector<FrameRow> rows_that_hear_the_NP();
};

constexpr u32 eight[8] = {1, 2, 3, 4, 5, 6, 7, 8};

// All but the two creations and the three queries, whose results depend on the NP in ways of their own.
std::vector<FrameRow> QosFrame::rows()
{
    using enum Frame;
    constexpr auto M = Lock::main;
    constexpr auto on_failure = Word::on_failure;
    constexpr auto ignored = Answer::ignored;
    return {
        {"delete_queue", opens, M, on_failure, ignored,  //
         [](With w) { return zelfdb_delete_queue(41, w.err); }, [](With w) { return zelfdb_delete_queue(42, w.err); }},
        {"add_queue_to_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_add_queue_to_stream(41, 5, 1, 1, 2, 3, w.err); },
         [](With w) { return zelfdb_add_queue_to_stream(40, 5, 1, 1, 2, 3, w.err); }},
        {"rem_queue_from_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_rem_queue_from_stream(40, 5, 0, w.err); },
         [](With w) { return zelfdb_rem_queue_from_stream(41, 5, 0, w.err); }},
        {"set_queue_qos", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_queue_qos(40, 5, 6, 7, w.err); },
         [](With w) { return zelfdb_set_queue_qos(42, 5, 6, 7, w.err); }},
        {"set_queue_size", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_queue_size(40, 5, 0, 300, 400, w.err); },
         [](With w) { return zelfdb_set_queue_size(40, 5, 0, 65537, 400, w.err); }},
        {"get_queue_info", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_get_queue_info(40, w.out.words(), w.err); },
         [](With w) { return zelfdb_get_queue_info(42, w.out.words(), w.err); }},
        {"check_queue_in_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_check_queue_in_stream(2, 1, w.err); },
         [](With w) { return zelfdb_check_queue_in_stream(1, 6, w.err); }},
        {"delete_stream", opens, M, on_failure, ignored,  //
         [](With w) { return zelfdb_delete_stream(256, w.err); },
         [](With w) { return zelfdb_delete_stream(5, w.err); }},
        {"add_stream_to_port", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_add_stream_to_port(256, 2, 1, w.err); },
         [](With w) { return zelfdb_add_stream_to_port(5, 2, 1, w.err); }},
        {"rem_stream_from_port", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_rem_stream_from_port(5, 1, 0, w.err); },
         [](With w) { return zelfdb_rem_stream_from_port(5, 2, 0, w.err); }},
        {"set_red_in_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_red_in_stream(5, 1, 2, 3, 4, 5, 6, w.err); },
         [](With w) { return zelfdb_set_red_in_stream(7, 1, 2, 3, 4, 5, 6, w.err); }},
        {"set_shaping_in_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_shaping_in_stream(5, 1, 2, 3, 4, w.err); },
         [](With w) { return zelfdb_set_shaping_in_stream(7, 1, 2, 3, 4, w.err); }},
        {"set_qostype_in_stream", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_qostype_in_stream(5, 1, 2, 3, w.err); },
         [](With w) { return zelfdb_set_qostype_in_stream(7, 1, 2, 3, w.err); }},
        {"set_stream_priority", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_stream_priority(5, 1, w.err); },
         [](With w) { return zelfdb_set_stream_priority(7, 1, w.err); }},
        {"set_stream_tosmap", opens, M, on_failure, ignored,
         [](With w) { return zelfdb_set_stream_tosmap(5, 1, eight, eight, w.err); },
         [](With w) { return zelfdb_set_stream_tosmap(7, 1, eight, eight, w.err); }},
        {"stream_shaping_rate_update", opens, M, on_failure, Answer::returned,
         [](With w) { return zelfdb_stream_shaping_rate_update(1, w.err); },
         [](With w) { return zelfdb_stream_shaping_rate_update(5, w.err); }},
    };
}

std::vector<FrameRow> QosFrame::rows_that_hear_the_NP()
{
    using enum Frame;
    constexpr auto M = Lock::main;
    constexpr auto on_failure = Word::on_failure;
    constexpr auto returned = Answer::returned;
    return {
        {"create_queue", opens, M, on_failure, returned, [](With w) { return zelfdb_create_queue(42, 10, 20, w.err); },
         [](With w) { return zelfdb_create_queue(40, 10, 20, w.err); }},
        {"create_stream", opens, M, on_failure, returned,  //
         [](With w) { return zelfdb_create_stream(7, w.err); }, [](With w) { return zelfdb_create_stream(5, w.err); }},
        {"get_stream_info", opens, M, on_failure, returned,
         [](With w) { return zelfdb_get_stream_info(5, w.out.as<zelfdb_stream_info>(), w.err); },
         [](With w) { return zelfdb_get_stream_info(7, w.out.as<zelfdb_stream_info>(), w.err); }},
        {"get_all_streaminfo", opens, M, Word::absent, returned,
         [](With w) { return zelfdb_get_all_streaminfo(&w.out.cursor, &w.out.buffer); },
         [](With w) {
             w.out.buffer.record_size = 283;
             return zelfdb_get_all_streaminfo(&w.out.cursor, &w.out.buffer);
         }},
        {"get_stream_busy_info", opens, M, on_failure, returned,
         [](With w) { return zelfdb_get_stream_busy_info(7, w.out.words(), w.err); }, nullptr},
    };
}

TEST_F(QosFrame, EveryOperationTakesTheMainLockAndGivesItBack)
{
    for (const FrameRow& row : rows()) descriptor_and_locks(row);
    for (const FrameRow& row : rows_that_hear_the_NP()) descriptor_and_locks(row);
}

TEST_F(QosFrame, WithoutADescriptorEveryOperationFailsWithOneAndTouchesNothing)
{
    for (const FrameRow& row : rows()) without_a_descriptor(row);
    for (const FrameRow& row : rows_that_hear_the_NP()) without_a_descriptor(row);
}

TEST_F(QosFrame, ARefusingNPChangesNoRecordAndOnlyTheResultOfTheRateUpdate)
{
    for (const FrameRow& row : rows()) NP_that_refuses(row);
}

}  // namespace
}  // namespace zelfdb
