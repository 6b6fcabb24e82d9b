// One stream with the NP's figures, all of them, and how busy one is.
#include <array>
#include <memory>
#include <utility>

#include "qos_test.h"

namespace zelfdb {
namespace {

using testing::Each;

constexpr u8 untouched_byte = 0xA5;
constexpr u32 record_size = 284;
constexpr u32 np_first = 0x01020304;
constexpr u32 np_second = 0xFFFFFFFE;
constexpr u32 last_word_of(u32 class_no) { return 0xC0000000 + class_no; }

// A record as its reader gets it, built word by word.
class Info {
public:
    explicit Info(std::size_t size = record_size) : bytes_(size, untouched_byte) {}
    Info& put(std::size_t at, u32 word)
    {
        std::memcpy(bytes_.data() + at, &word, sizeof word);
        return *this;
    }
    Info& put_bytes(std::size_t at, const std::vector<u8>& bytes)
    {
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(at));
        return *this;
    }
    [[nodiscard]] const std::vector<u8>& bytes() const { return bytes_; }

private:
    std::vector<u8> bytes_;
};

class StreamQuery : public Qos {
protected:
    // Streams 3, 5 and 300 of ports 1, 1 and 2, each with all its fields set.
    void SetUp() override
    {
        Qos::SetUp();
        given_port(1);
        given_port(2);
        for (const u32 streamno : {300u, 3u, 5u}) {
            given_stream(streamno);
            given_bound(streamno, streamno == 300 ? 2 : 1, (streamno & 0xFF) + 1);
            ASSERT_EQ(call(zelfdb_set_stream_priority, streamno, streamno + 1).result, 0);
            ASSERT_EQ(call(zelfdb_set_qostype_in_stream, streamno, 1, 2, 3).result, 0);
            ASSERT_EQ(call(zelfdb_set_shaping_in_stream, streamno, streamno + 1000, 0x20000000, 0x30000000 + streamno,
                           0x40000000)
                          .result,
                      0);
            const std::array<u32, 8> values = {streamno, 1, 2, 3, 4, 5, 6, 0xFFFFFFFF};
            const std::array<u32, 8> masks = {0xFFFFFFFF, 0xFE, 0xFD, 0xFC, 0xFB, 0xFA, 0xF9, 0xF8};
            ASSERT_EQ(
                call(zelfdb_set_stream_tosmap, streamno, 0x81000000 + streamno, values.data(), masks.data()).result, 0);
            for (u32 class_no = 0; class_no < 8; ++class_no) {
                for (u32 colour = 0; colour < 3; ++colour) {
                    ASSERT_EQ(call(zelfdb_set_red_in_stream, streamno, class_no, colour, 16 * class_no + colour,
                                   streamno, 100 + class_no, 200 + colour)
                                  .result,
                              0);
                }
            }
        }
        answer_active(0);
        environment::reset();
        recorder::log().clear();
    }

    // The NP's answer to every query: the class's word is odd for the classes whose bit is set here.
    static void answer_active(u32 classes, int result = 0)
    {
        active_ = classes;
        std::vector<u32> answer = {np_first, np_second};
        for (u32 class_no = 0; class_no < 8; ++class_no) {
            answer.push_back(word_of(class_no));
            answer.push_back(last_word_of(class_no));
        }
        recorder::answer_stream_info(result, answer);
    }
    static bool is_active(u32 class_no) { return ((active_ >> class_no) & 1) != 0; }
    static u32 word_of(u32 class_no) { return 0x80000010 + 2 * class_no + (is_active(class_no) ? 1 : 0); }

    // What the single query and the listing both write.
    static Info common(const Stream& stream, std::size_t size)
    {
        Info info(size);
        info.put(0, stream.streamno).put(4, stream.portno).put(8, stream.sno_port).put(12, stream.priority);
        info.put(16, stream.qos_type).put(20, stream.minrate).put(24, stream.minburst).put(28, stream.maxrate);
        info.put(36, np_first).put(40, np_second);
        u32 active = 0;
        for (u32 c = 0; c < 8; ++c) {
            info.put(56 + 20 * c, word_of(c));
            active += is_active(c) ? 1 : 0;
            info.put(220 + 4 * c, stream.tos_value[c]).put(252 + 4 * c, stream.tos_mask[c]);
        }
        return info.put(44, active).put(216, stream.tosmap_bits);
    }
    static std::vector<u8> single(const Stream& stream)
    {
        Info info = common(stream, record_size);
        info.put(32, stream.maxburst).put(48, 0).put(52, 0);
        for (u32 c = 0; c < 8; ++c) {
            if (!is_active(c)) continue;
            info.put(60 + 20 * c, last_word_of(c));
            const auto* const red = reinterpret_cast<const u8*>(&stream) + 92 + 16 * c;
            info.put_bytes(64 + 20 * c, {red, red + 12});
        }
        return info.bytes();
    }
    static std::vector<u8> listed(const Stream& stream, u32 sizes = 0, u32 lengths = 0, std::size_t size = record_size)
    {
        return common(stream, size).put(32, stream.minburst).put(48, sizes).put(52, lengths).bytes();
    }

    // Every way out gives back the lock, the descriptor and the command.
    void expect_everything_given_back(u32 commands_kept = 0)
    {
        EXPECT_EQ(lock_moves(), "main- main+");
        EXPECT_EQ(recorder::init_calls(), recorder::release_calls());
        EXPECT_EQ(environment::calls("shmat"), environment::calls("shmdt"));
        EXPECT_EQ(recorder::commands_not_freed(), commands_kept);
        environment::reset();
    }

private:
    static inline u32 active_ = 0;
};

// ---- One stream ------------------------------------------------------------------------------------------------------

class SingleQuery : public StreamQuery {
protected:
    Outcome query(u32 streamno)
    {
        bytes_.assign(record_size + 16, untouched_byte);
        return call(zelfdb_get_stream_info, streamno, reinterpret_cast<zelfdb_stream_info*>(bytes_.data()));
    }
    std::vector<u8> record() { return {bytes_.begin(), bytes_.begin() + record_size}; }
    [[nodiscard]] const std::vector<u8>& bytes() const { return bytes_; }

private:
    std::vector<u8> bytes_;
};

TEST_F(SingleQuery, FillsTheRecordFromDatabaseAndNPAndLeavesOtherBytesAlone)
{
    const Expected unchanged = now();
    for (const u32 classes : {0u, 1u, 0x80u, 0x5Au, 0xFFu}) {
        for (const u32 streamno : {3u, 5u, 300u}) {
            SCOPED_TRACE(testing::Message() << "stream " << streamno << ", active classes " << classes);
            answer_active(classes);
            EXPECT_EQ(query(streamno), done({command("get_stream_info", {streamno})}));
            EXPECT_EQ(record(), single(*stream(streamno)));
            EXPECT_THAT(std::vector<u8>(bytes().begin() + record_size, bytes().end()), Each(untouched_byte));
            EXPECT_EQ(recorder::commands_not_freed(), 0u);
        }
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(SingleQuery, SaysNothingOfQueues)
{
    for (u32 class_no = 0; class_no < 8; ++class_no) given_queue(5 * 8 + class_no, 100, 1000);
    answer_active(0xFF);
    EXPECT_EQ(query(5).result, 0);
    EXPECT_EQ(record(), single(*stream(5)));
}

TEST_F(SingleQuery, TakesTheNumberModulo65536AndDoesNotAskWhetherTheAnswerWasRead)
{
    answer_active(2, -1);
    EXPECT_EQ(query(0x10005), done({"get_stream_info(5)"}));
    EXPECT_EQ(record(), single(*stream(5)));
}

TEST_F(SingleQuery, OfAStreamThatDoesNotExistIs106AndAsksNothing)
{
    for (const u32 streamno : {0u, 4u, 1023u, 1024u, 65535u}) {
        const Expected unchanged = now();
        EXPECT_EQ(query(streamno), refused(106)) << streamno;
        EXPECT_THAT(bytes(), Each(untouched_byte));
        EXPECT_TRUE(unchanged.is_now());
    }
}

TEST_F(SingleQuery, ThatIsNotDeliveredReturnsWhatTheCallDidAnd106)
{
    const Expected unchanged = now();
    recorder::fail("get_stream_info", recorder::Failure::delivery);
    EXPECT_EQ(query(5), (Outcome{-7, 106, {"get_stream_info(5)"}})) << "asked once";
    EXPECT_EQ(recorder::err_reads(), 0u) << "no answer, no error number";
    EXPECT_THAT(bytes(), Each(untouched_byte));
    EXPECT_TRUE(unchanged.is_now());
    expect_everything_given_back();
}

TEST_F(SingleQuery, ThatTheNPRefusesReturnsZeroAnd106)
{
    const Expected unchanged = now();
    recorder::fail("get_stream_info", recorder::Failure::status);
    recorder::answer_err(4711);
    EXPECT_EQ(query(5), (Outcome{0, 106, {"get_stream_info(5)"}}));
    EXPECT_EQ(recorder::err_reads(), 1u);
    EXPECT_THAT(bytes(), Each(untouched_byte));
    EXPECT_TRUE(unchanged.is_now());
    expect_everything_given_back();
}

TEST_F(SingleQuery, ThatIsNotDeliveredAndYetHasAVerdictReadsTheErrorToo)
{
    recorder::fail("get_stream_info", recorder::Failure::both);
    EXPECT_EQ(query(5), (Outcome{-7, 106, {"get_stream_info(5)"}}));
    EXPECT_EQ(recorder::err_reads(), 1u);
    EXPECT_THAT(bytes(), Each(untouched_byte));
    expect_everything_given_back();
}

TEST_F(SingleQuery, WithoutACommandForTheNPIsAFailure)
{
    recorder::fail_builders(1);
    EXPECT_EQ(query(5), refused(106));
    EXPECT_THAT(bytes(), Each(untouched_byte));
    expect_everything_given_back();
}

// ---- All streams -----------------------------------------------------------------------------------------------------

struct FreeBuffer {
    void operator()(zelfdb_ropebuf* buffer) const { zelfdb_free_ropebuf(buffer); }
};
using Buffer = std::unique_ptr<zelfdb_ropebuf, FreeBuffer>;

class Listing : public StreamQuery {
protected:
    static Buffer buffer_of(u32 capacity, u32 size = record_size)
    {
        Buffer buffer(zelfdb_alloc_ropebuf(capacity, size));
        std::memset(buffer->records, untouched_byte, std::size_t{capacity} * size);
        buffer->total = 0x1111;
        buffer->filled = 0x2222;
        return buffer;
    }
    Outcome list(const Buffer& buffer) { return call_wordless(zelfdb_get_all_streaminfo, &cursor_, buffer.get()); }
    static std::vector<u8> record(const Buffer& buffer, u32 number)
    {
        const u8* const first = buffer->records + std::size_t{number} * buffer->record_size;
        return {first, first + buffer->record_size};
    }
    static std::vector<u8> nothing_written(const Buffer& buffer)
    {
        return std::vector<u8>(buffer->record_size, untouched_byte);
    }
    void expect_counts(const Buffer& buffer, u32 total, u32 filled)
    {
        EXPECT_EQ(buffer->total, total);
        EXPECT_EQ(buffer->filled, filled);
        for (u32 i = filled; i < buffer->capacity; ++i) EXPECT_EQ(record(buffer, i), nothing_written(buffer));
    }
    void expect_cursor(u32 calls, u32 key)
    {
        EXPECT_EQ(cursor_.calls, calls);
        EXPECT_EQ(cursor_.key, key);
    }
    // What a listing that is refused at its start gives.
    void expect_refused(const Buffer& buffer)
    {
        const zelfdb_cursor before = cursor_;
        const Expected unchanged = now();
        EXPECT_EQ(list(buffer), (Outcome{-1, untouched, {}}));
        expect_counts(buffer, 0x1111, 0x2222);
        expect_cursor(before.calls, before.key);
        EXPECT_TRUE(unchanged.is_now());
        EXPECT_THAT(std::vector<u8>(buffer->records, buffer->records + buffer->capacity * buffer->record_size),
                    Each(untouched_byte));
        expect_everything_given_back();
    }
    static Outcome result(int value, const std::vector<u32>& asked)
    {
        Commands lines;
        for (const u32 streamno : asked) lines.push_back(command("get_stream_info", {streamno}));
        return {value, untouched, lines};
    }

    zelfdb_cursor cursor_{0, 0};
};

TEST_F(Listing, GivesEveryStreamInOrderWithTheFiguresOfItsQueues)
{
    // Number decides which queues count, not what they are attached to.
    for (u32 class_no = 0; class_no < 8; ++class_no) {
        given_queue(5 * 8 + class_no, static_cast<i32>(1u << class_no), 0x10000u << class_no);
    }
    given_queue(39, 1000, 1000);
    given_queue(48, 1000, 1000);
    given_attached(48, 5, 0);
    given_queue(300 * 8, 3000, 0xFFFFFFFF);
    given_queue(300 * 8 + 1, 3000, 3);
    given_queue(300 * 8 + 2, 3000, 5);
    const Expected unchanged = now();
    struct Sums {
        u32 size_5, length_5, size_300, length_300;
    };
    const std::vector<std::pair<u32, Sums>> rows = {
        {0x00, {0, 0, 0, 0}},
        {0x01, {1, 0x10000, 3000, 0xFFFFFFFF}},
        {0x03, {3, 0x30000, 6000, 2}},  // the sum wraps
        {0x82, {0x82, 0x820000, 3000, 3}},
        {0xFF, {0xFF, 0xFF0000, 9000, 7}},
    };
    for (const auto& [classes, sums] : rows) {
        SCOPED_TRACE(classes);
        answer_active(classes);
        cursor_ = {0, 0};
        const Buffer buffer = buffer_of(4);
        EXPECT_EQ(list(buffer), result(0, {3, 5, 300}));
        expect_counts(buffer, 3, 3);
        EXPECT_EQ(record(buffer, 0), listed(*stream(3), 0, 0)) << "queue 39 is of stream 4, by its number";
        EXPECT_EQ(record(buffer, 1), listed(*stream(5), sums.size_5, sums.length_5));
        EXPECT_EQ(record(buffer, 2), listed(*stream(300), sums.size_300, sums.length_300));
        expect_cursor(1, 0);
        EXPECT_TRUE(unchanged.is_now());
    }
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
}

TEST_F(Listing, RepeatsTheCommittedBurstWhereTheSingleQueryGivesThePeaks)
{
    const Buffer buffer = buffer_of(3);
    EXPECT_EQ(list(buffer).result, 0);
    zelfdb_stream_info info{};
    EXPECT_EQ(call(zelfdb_get_stream_info, 3, &info).result, 0);
    EXPECT_EQ(info.minburst, 0x20000000u);
    EXPECT_EQ(info.maxburst, 0x40000000u);
    std::memcpy(&info, buffer->records, sizeof info);
    EXPECT_EQ(info.minburst, 0x20000000u);
    EXPECT_EQ(info.maxburst, 0x20000000u);
}

TEST_F(Listing, OfLargerRecordsLeavesTheirEndsAlone)
{
    answer_active(0x11);
    const Buffer buffer = buffer_of(3, 301);
    EXPECT_EQ(list(buffer), result(0, {3, 5, 300}));
    expect_counts(buffer, 3, 3);
    u32 number = 0;
    for (const u32 streamno : {3u, 5u, 300u}) {
        EXPECT_EQ(record(buffer, number++), listed(*stream(streamno), 0, 0, 301));
    }
}

TEST_F(Listing, ARecordSizeBelow284IsRefused)
{
    for (const u32 size : {283u, 1u, 0u}) {
        cursor_ = {0, 0};
        expect_refused(buffer_of(4, size));
        cursor_ = {1, 3};
        expect_refused(buffer_of(4, size));
    }
}

TEST_F(Listing, OfNoStreamsIsRefused)
{
    for (const u32 streamno : {3u, 5u, 300u}) {
        EXPECT_EQ(call(zelfdb_rem_stream_from_port, streamno, streamno == 300 ? 2 : 1, 0).result, 0);
        EXPECT_EQ(call(zelfdb_delete_stream, streamno).result, 0);
    }
    environment::reset();
    expect_refused(buffer_of(4));
}

struct PagesRow {
    u32 capacity;
    std::vector<std::vector<u32>> pages;
};

TEST_F(Listing, IsContinuedWhereTheBufferWasFull)
{
    const std::vector<PagesRow> rows = {
        {1, {{3}, {5}, {300}}}, {2, {{3, 5}, {300}}}, {3, {{3, 5, 300}}}, {4, {{3, 5, 300}}}};
    for (const PagesRow& row : rows) {
        SCOPED_TRACE(row.capacity);
        cursor_ = {0, 0};
        u32 key = 0;
        for (std::size_t page = 0; page < row.pages.size(); ++page) {
            const std::vector<u32>& expected = row.pages[page];
            const bool last = page + 1 == row.pages.size();
            const Buffer buffer = buffer_of(row.capacity);
            EXPECT_EQ(list(buffer), result(last ? 0 : 1, expected)) << "a buffer that the last stream fills is the end";
            expect_counts(buffer, 3, static_cast<u32>(expected.size()));
            for (u32 i = 0; i < expected.size(); ++i) EXPECT_EQ(record(buffer, i), listed(*stream(expected[i])));
            if (!last) key = expected.back();
            expect_cursor(static_cast<u32>(page) + 1, key);
        }
    }
}

TEST_F(Listing, IntoABufferWithoutRoomGivesNothingAndAsksNothing)
{
    const Buffer buffer = buffer_of(0);
    EXPECT_EQ(list(buffer), result(1, {}));
    expect_counts(buffer, 3, 0);
    expect_cursor(1, 0);
    cursor_ = {1, 5};
    EXPECT_EQ(list(buffer), result(1, {}));
    expect_cursor(2, 5);
    cursor_ = {2, 300};
    EXPECT_EQ(list(buffer), result(0, {})) << "behind the last stream the list has ended";
    expect_cursor(3, 300);
}

TEST_F(Listing, GoesOnBehindTheCursorsStreamWhateverChangedAroundIt)
{
    const Buffer buffer = buffer_of(1);
    EXPECT_EQ(list(buffer).result, 1);
    given_stream(4);
    EXPECT_EQ(call(zelfdb_rem_stream_from_port, 5, 1, 0).result, 0);
    EXPECT_EQ(call(zelfdb_delete_stream, 5).result, 0);
    EXPECT_EQ(list(buffer), result(1, {4}));
    expect_counts(buffer, 3, 1);
    expect_cursor(2, 4);
    EXPECT_EQ(list(buffer), result(0, {300}));
    expect_cursor(3, 4);
}

TEST_F(Listing, BehindAStreamThatIsGoneIsRefused)
{
    cursor_ = {1, 3};
    EXPECT_EQ(call(zelfdb_rem_stream_from_port, 3, 1, 0).result, 0);
    EXPECT_EQ(call(zelfdb_delete_stream, 3).result, 0);
    environment::reset();
    expect_refused(buffer_of(4));
    for (const u32 key : {0u, 4u, 1024u, 0xFFFFu}) {
        cursor_ = {0xFFFFFFFF, key};
        expect_refused(buffer_of(4));
    }
}

TEST_F(Listing, TheCursorsLowHalfIsTheStream)
{
    cursor_ = {7, 0xABCD0005};
    const Buffer buffer = buffer_of(4);
    EXPECT_EQ(list(buffer), result(0, {300}));
    EXPECT_EQ(cursor_.calls, 8u);
}

TEST_F(Listing, TheCallCountOfZeroStartsAnewWhateverTheStream)
{
    cursor_ = {0, 5};
    const Buffer buffer = buffer_of(2);
    EXPECT_EQ(list(buffer), result(1, {3, 5}));
}

TEST_F(Listing, StopsAtTheFirstStreamThatTheNPDoesNotAnswerFor)
{
    const std::vector<u32> all = {3, 5, 300};
    for (const recorder::Failure how : failures) {
        for (u32 failing = 0; failing < 3; ++failing) {
            SCOPED_TRACE(testing::Message() << name_of(how) << " at the stream number " << failing);
            recorder::reset();
            environment::reset();
            answer_active(0);
            recorder::fail("get_stream_info", how, failing + 1);
            cursor_ = {0, 0};
            const Buffer buffer = buffer_of(3);
            const Expected unchanged = now();
            const bool refused_by_NP = how == recorder::Failure::status;
            EXPECT_EQ(list(buffer), result(refused_by_NP ? 0 : -7, {all.begin(), all.begin() + failing + 1}));
            expect_counts(buffer, 3, failing);
            for (u32 i = 0; i < failing; ++i) EXPECT_EQ(record(buffer, i), listed(*stream(all[i])));
            expect_cursor(1, 0);
            EXPECT_EQ(recorder::err_reads(), refused_by_NP ? 1u : 0u);
            EXPECT_TRUE(unchanged.is_now());
            expect_everything_given_back();
        }
    }
}

TEST_F(Listing, WithoutACommandForTheNPStops)
{
    recorder::fail_builders(1);
    const Buffer buffer = buffer_of(3);
    EXPECT_EQ(list(buffer), result(-1, {}));
    expect_counts(buffer, 3, 0);
    expect_everything_given_back();
}

// A stream whose number no look-up finds is on the list all the same. It can be listed, but nothing goes on behind it.
TEST_F(Listing, HasStreamsBeyondTheIndexToo)
{
    given_stream_beyond(1024);
    const Buffer buffer = buffer_of(4);
    EXPECT_EQ(list(buffer), result(0, {3, 5, 300, 1024}));
    expect_counts(buffer, 4, 4);
    cursor_ = {1, 1024};
    EXPECT_EQ(list(buffer), result(-1, {}));
}

// The number of a class's queue has 16 bits like all numbers of queues.
TEST_F(Listing, TheNumbersOfAStreamsQueuesAreTakenModulo65536)
{
    given_queue(0, 100, 1000);
    given_queue(9, 200, 2000);
    given_stream_beyond(8192);
    given_stream_beyond(0xA001);
    answer_active(0x03);
    const Buffer buffer = buffer_of(5);
    EXPECT_EQ(list(buffer), result(0, {3, 5, 300, 8192, 0xA001}));
    EXPECT_EQ(record(buffer, 3), listed(nth_stream(3), 100, 1000));
    EXPECT_EQ(record(buffer, 4), listed(nth_stream(4), 200, 2000));
}

// ---- How busy a stream is --------------------------------------------------------------------------------------------

class BusyQuery : public StreamQuery {
protected:
    Outcome query(u32 streamno)
    {
        out_.fill(0xA5A5);
        return call(zelfdb_get_stream_busy_info, streamno, out_.data());
    }
    std::array<u32, 4> out_{};
};

TEST_F(BusyQuery, GivesTheNPsThreeWordsForAnyNumber)
{
    recorder::answer_stream_busy(0, {0x11111111, 0, 0xFFFFFFFF});
    const Expected unchanged = now();
    for (const u32 streamno : {3u, 0u, 77u, 1023u, 1024u, 65535u}) {
        EXPECT_EQ(query(streamno), done({command("get_stream_busy_info", {streamno})})) << "it need not exist";
        EXPECT_EQ(out_, (std::array<u32, 4>{0x11111111, 0, 0xFFFFFFFF, 0xA5A5}));
    }
    EXPECT_EQ(query(0x12345), done({"get_stream_busy_info(0x2345)"}));
    EXPECT_EQ(recorder::commands_not_freed(), 0u);
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(BusyQuery, ThatTheNPDoesNotAnswerIs106)
{
    for (const recorder::Failure how : failures) {
        SCOPED_TRACE(name_of(how));
        recorder::reset();
        environment::reset();
        recorder::fail("get_stream_busy_info", how);
        EXPECT_EQ(query(5), (Outcome{-1, 106, {"get_stream_busy_info(5)"}})) << "asked once";
        EXPECT_THAT(out_, Each(0xA5A5u));
        EXPECT_EQ(recorder::err_reads(), how == recorder::Failure::status ? 1u : 0u);
        expect_everything_given_back();
    }
}

TEST_F(BusyQuery, ThatIsNotDeliveredAndYetHasAVerdictReadsTheErrorToo)
{
    recorder::fail("get_stream_busy_info", recorder::Failure::both);
    EXPECT_EQ(query(5), (Outcome{-1, 106, {"get_stream_busy_info(5)"}}));
    EXPECT_EQ(recorder::err_reads(), 1u);
    EXPECT_THAT(out_, Each(0xA5A5u));
    expect_everything_given_back();
}

TEST_F(BusyQuery, WhoseAnswerCannotBeReadReturnsZeroAnd106)
{
    for (const int failure : {-1, 1, 4711}) {
        environment::reset();
        recorder::answer_stream_busy(failure, {1, 2, 3});
        EXPECT_EQ(query(5), (Outcome{0, 106, {"get_stream_busy_info(5)"}}));
        EXPECT_THAT(out_, Each(0xA5A5u));
        EXPECT_EQ(recorder::err_reads(), 0u);
        expect_everything_given_back();
    }
}

TEST_F(BusyQuery, WithoutACommandForTheNPIsAFailure)
{
    recorder::fail_builders(1);
    EXPECT_EQ(query(5), refused(106));
    EXPECT_THAT(out_, Each(0xA5A5u));
    expect_everything_given_back();
}

}  // namespace
}  // namespace zelfdb
