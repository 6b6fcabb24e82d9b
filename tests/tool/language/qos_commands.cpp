// What the commands on streams and queues do, seen through the library, the replay and the software NP.
#include "language/qos_commands.h"

#include "fixture.h"

namespace zelfctl {
namespace {

const std::vector<std::string> port2{"create port 2 npport 2 portType ether"};
const std::vector<std::string> wfq{port2.front(), "create stream 2/3 qostype wfq"};
const std::vector<std::string> with_queue{wfq[0], wfq[1], "create queue 2/3/5"};
constexpr u32 stream_23 = 256 + 2;
constexpr u32 queue_235 = stream_23 * 8 + 5;

class QosCommands : public Commands {
protected:
    static zelfdb_stream_info stream(u32 number)
    {
        zelfdb_stream_info info{};
        u32 code = 0;
        EXPECT_EQ(0, zelfdb_get_stream_info(number, &info, &code)) << code;
        return info;
    }
    static bool there_is_stream(u32 number)
    {
        zelfdb_stream_info info{};
        u32 code = 0;
        return zelfdb_get_stream_info(number, &info, &code) == 0;
    }
    static std::vector<u32> queue(u32 number)
    {
        std::vector<u32> words(6, 999);
        u32 code = 0;
        if (zelfdb_get_queue_info(number, words.data(), &code) != 0) words.clear();
        return words;
    }
    static softnp_stream in_NP(u32 number)
    {
        softnp_stream record{};
        EXPECT_EQ(1, softnp_get_stream(number, &record));
        return record;
    }
    static std::function<bool()> is_replayed(const std::string& line)
    {
        return [line] { return replays(line); };
    }

    static std::vector<Effect> effects()
    {
        return {
            {port2, "create stream 2/3 qostype wfq",
             [] {
                 const zelfdb_stream_info s = stream(stream_23);
                 return s.portno == 2 && s.sno_port == 3 && s.qos_type == 1 && replays("create stream 2/3 qostype wfq");
             }},
            {port2, "create stream 2/256 qostype pq", [] { return stream(511).qos_type == 2; }},
            {port2, "create stream 2/1 qostype none", is_replayed("create stream 2/1 qostype none")},
            {wfq, "delete stream 2/3", [] { return !there_is_stream(stream_23) && in_no_port(); }},
            {wfq, "set stream 2/3 qostype pq", is_replayed("create stream 2/3 qostype pq")},
            {wfq, "set stream 2/3 qostype wfq 70000 9",
             [] { return in_NP(stream_23).qos_param == 70000 && in_NP(stream_23).qos_param2 == 9; }},
            {wfq, "set stream 2/3 shaping on rate 5-7 burst 1-2",
             [] {
                 const zelfdb_stream_info s = stream(stream_23);
                 return s.minrate == 5000 && s.maxrate == 7000 && s.minburst == 1 && s.maxburst == 2;
             }},
            {wfq, "set stream 2/3 shaping on rate 5",
             [] {
                 const zelfdb_stream_info s = stream(stream_23);
                 return s.maxrate == 5000 && s.maxburst == 8000 && replays("set stream 2/3 shaping on rate 5");
             }},
            {wfq, "set stream 2/3 shaping on rate 5-5",
             [] { return stream(stream_23).maxrate == 5999 && replays("set stream 2/3 shaping on rate 5-5"); }},
            {wfq, "set stream 2/3 shaping on rate 4294967-4294967",
             [] { return stream(stream_23).maxrate == 0xFFFFFFFF && stream(stream_23).minrate == 4294967000; }},
            {wfq, "set stream 2/3 shaping on rate 0", [] { return stream(stream_23).minrate == 999; }},
            {wfq, "set stream 2/3 shaping on rate 0-0", is_replayed("set stream 2/3 shaping on rate 0-0")},
            {wfq, "set stream 2/3 shaping on rate 0-7", [] { return stream(stream_23).minrate == 0; }},
            {wfq, "set stream 2/3 shaping on rate 7-0", [] { return stream(stream_23).maxrate == 0; }},
            {wfq, "set stream 2/3 shaping on rate 5 burst -1", [] { return stream(stream_23).minburst == 0xFFFFFFFF; }},
            {after(wfq, "set stream 2/3 shaping on rate 5-7"), "set stream 2/3 shaping off",
             [] { return stream(stream_23).maxrate == 0 && stream(stream_23).minrate == 0; }},
            {wfq, "set stream 2/3 priority 4 ", is_replayed("set stream 2/3 priority 4 ")},
            {wfq, "set stream 2/3 tosmap b8,,20/e0,,,,,0",
             [] {
                 const zelfdb_stream_info s = stream(stream_23);
                 return s.tosmap_bits == 0x85 && s.tos_value[2] == 0x20 && s.tos_mask[2] == 0xE0 &&
                        s.tos_mask[0] == 255 && replays("set stream 2/3 tosmap b8,,20/e0,,,,,0");
             }},
            {after(wfq, "set stream 2/3 tosmap b8,,,,,,,"), "set stream 2/3 tosmap off",
             [] { return stream(stream_23).tosmap_bits == 0; }},
            {wfq, "create queue 2/3/5",
             [] { return queue(queue_235) == std::vector<u32>{queue_235, 7, 16384, 1, 5, 1}; }},
            {wfq, "create queue 2/3/5 size 100 queue_length 7",
             [] { return queue(queue_235) == std::vector<u32>{queue_235, 100, 7, 1, 5, 1}; }},
            {with_queue, "delete queue 2/3/5",
             [] { return queue(queue_235).empty() && in_NP(stream_23).queue[5] == SOFTNP_NO_QUEUE; }},
            {with_queue, "set queue 2/3/5 pri 3 ratio 9", is_replayed("set queue 2/3/5 pri 3 ratio 9")},
            {with_queue, "set queue 2/3/5 pri 3", is_replayed("set queue 2/3/5 pri 3")},
            {with_queue, "set queue 2/3/5 queue_length 77",
             [] { return queue(queue_235)[2] == 77 && queue(queue_235)[1] == 7; }},
            {with_queue, "set queue 2/3/5 queue_length -2", is_replayed("set queue 2/3/5 queue_length -2")},
            {with_queue, "set queue 2/3/5 size 9",
             [] { return queue(queue_235)[1] == 9 && queue(queue_235)[2] == 16384; }},
            {wfq, "set queue 2/3/5 color yellow drop_type wred thresh 10-20 drop 0-50",
             is_replayed("set queue 2/3/5 color yellow drop_type wred thresh 10-20 drop 0-50")},
            {wfq, "set queue 2/3/0 color red drop_type wred thresh 10 drop 5",
             is_replayed("set queue 2/3/0 color red drop_type wred thresh 10 drop 5")},
            {after(after(wfq, "set ether 2 shaping on rate 50"), "set stream 2/3 shaping on rate 10-60"),
             "update stream_rates ether 2", [] { return in_NP(stream_23).actual_rate == 50000; }},
        };
    }

    static bool in_no_port()
    {
        u32 code = 0;
        return zelfdb_check_stream_in_port(2, &code) == 0;
    }
};

TEST_F(QosCommands, DoWhatTheySay) { expect_all(effects()); }
TEST_F(QosCommands, AreAllTested) { expect_effects_of({"Streams and queues"}, effects()); }

TEST_F(QosCommands, SayWhyTheyCannotBeDone)
{
    expect_all(std::vector<Refusal>{
        {{}, "create stream 2/3 qostype wfq", ZELFDB_NO_PORT, "no such port"},
        {wfq, "create stream 2/3 qostype pq", ZELFDB_STREAM_EXISTS, "the stream exists already"},
        {port2, "delete stream 2/3", ZELFDB_NO_STREAM, "no such stream"},
        {with_queue, "delete stream 2/3", ZELFDB_STREAM_HAS_QUEUE, "the stream still has a queue"},
        {port2, "set stream 2/3 priority 1", ZELFDB_NO_STREAM, "no such stream"},
        {port2, "create queue 2/3/0", ZELFDB_NO_STREAM, "no such stream"},
        {with_queue, "create queue 2/3/5", ZELFDB_QUEUE_EXISTS, "the queue exists already"},
        {wfq, "delete queue 2/3/5", ZELFDB_NO_QUEUE, "no such queue"},
        {wfq, "set queue 2/3/5 pri 1", ZELFDB_NO_QUEUE, "no such queue"},
        {wfq, "set queue 2/3/5 size 1", ZELFDB_NO_QUEUE, "no such queue"},
        {after(wfq, "create queue 2/3/0 size 65528"), "create queue 2/3/5 size 9", ZELFDB_QUEUE_BUDGET,
         "the buffer budget of the queues is used up"},
        {after(with_queue, "create queue 2/3/0 size 65528"), "set queue 2/3/5 size 9", ZELFDB_QUEUE_BUDGET,
         "the buffer budget of the queues is used up"},
    });
}

TEST_F(QosCommands, AStreamThatCannotBeBoundIsNotLeftBehind)
{
    EXPECT_FALSE(run("create stream 2/3 qostype wfq").done);
    EXPECT_FALSE(there_is_stream(stream_23));
}

TEST_F(QosCommands, StreamsWithoutAUsualNumberStandInTheOrderOfTheirCreation)
{
    given({"create port 7 npport 7 portType vif", port2.front(), "create stream 7/4 qostype pq",
           "create stream 0/2 qostype wfq", "create stream 2/4 qostype none", "create stream 7/1 qostype none"});
    EXPECT_EQ(7U, stream(3).portno);
    EXPECT_EQ(0U, stream(257).portno);  // 1 would stand before the first
    EXPECT_EQ(2U, stream(259).portno);
    EXPECT_EQ(7U, stream(512).portno);
    EXPECT_EQ(3U, find_stream(7, 4));
    EXPECT_EQ(257U, find_stream(0, 2));
    EXPECT_EQ(most_streams, find_stream(7, 2));
    given("delete stream 0/2");
    EXPECT_EQ(most_streams, find_stream(0, 2));
}

TEST_F(QosCommands, AStreamWhoseUsualNumberIsTakenGetsAnother)
{
    given({port2.front(), "create port 3 npport 3 portType ether"});
    u32 code = 0;
    ASSERT_EQ(0, zelfdb_create_stream(stream_23, &code));
    ASSERT_EQ(0, zelfdb_add_stream_to_port(stream_23, 3, 3, &code));
    EXPECT_EQ(stream_23, find_stream(3, 3));
    given("create stream 2/3 qostype pq");
    EXPECT_EQ(512U + 2, find_stream(2, 3));
}

// A stream needs more than 255 of the budget to be created, also after all queues of the streams before it.
TEST_F(QosCommands, TheDefaultSizeLetsAllQueuesExist)
{
    given({"create port 1 npport 1 portType ether", "create stream 1/1 qostype wfq", "create queue 1/1/0"});
    const i32 size = static_cast<i32>(queue(0)[1]);
    u32 code = 0;
    for (u32 number = 0; number < most_streams; ++number) {
        ASSERT_TRUE(number == 0 || zelfdb_create_stream(number, &code) == 0) << number;
        for (u32 class_no = 0; class_no < 8; ++class_no)
            ASSERT_TRUE(number + class_no == 0 || zelfdb_create_queue(number * 8 + class_no, size, 1, &code) == 0)
                << number;
    }
    EXPECT_EQ(7U, queue(8191)[1]);
}

TEST(QosValues, ThatAreWrongAreNotRead)
{
    for (const char* const line : {"create stream 1 qostype wfq",
                                   "create stream 1/0 qostype wfq",
                                   "create stream 1/257 qostype wfq",
                                   "create stream 65536/1 qostype wfq",
                                   "create stream 1/1/1 qostype wfq",
                                   "create queue 1/1",
                                   "create queue 1/1/8",
                                   "create queue 1/1/1/1",
                                   "set stream 1/1 shaping on rate 5-",
                                   "set stream 1/1 shaping on rate -5",
                                   "set stream 1/1 shaping on rate 4294968",
                                   "set stream 1/1 shaping on rate 1-2-3",
                                   "set stream 1/1 shaping on rate 1 burst 4294967296",
                                   "set stream 1/1 shaping on rate 1 burst --1",
                                   "set stream 1/1 shaping on rate 1 burst -2147483649",
                                   "set stream 1/1 tosmap 1,2",
                                   "set stream 1/1 tosmap 1,2,3,4,5,6,7,8,9",
                                   "set stream 1/1 tosmap 1/,,,,,,,",
                                   "set stream 1/1 tosmap /1,,,,,,,",
                                   "set stream 1/1 tosmap g,,,,,,,",
                                   "set queue 1/1/1 color blue drop_type wred thresh 1 drop 1",
                                   "set queue 1/1/1 color red drop_type wred thresh 256 drop 1",
                                   "set queue 1/1/1 color red drop_type wred thresh 1-256 drop 1",
                                   "set queue 1/1/1 pri 256",
                                   "set queue 1/1/1 size 65536",
                                   "create queue 1/1/1 size -1"})
        EXPECT_EQ(nullptr, read_line(line).command) << line;
}

}  // namespace
}  // namespace zelfctl
