// What the replay prints makes the same database again, and a configuration that is applied again changes nothing.
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "facts.h"
#include "fixture.h"
#include "language/batch.h"
#include "language/difference.h"
#include "random_database.h"
#include "random_text.h"

// Before the library tells the network processor of a port a second time it waits for a second. Here nothing gets better
// by that: a port that the network processor does not have is refused again.
extern "C" unsigned sleep(unsigned /*seconds*/) { return 0; }

namespace zelfctl {
namespace {

using zelfdb::Random;

// Ten thousand databases in all where nothing slows them down.
constexpr u32 shards = 8;
#if defined(__SANITIZE_ADDRESS__) || defined(__powerpc__)
constexpr u32 databases = 60;
constexpr u32 texts_tried = 15;
#else
constexpr u32 databases = 1250;
constexpr u32 texts_tried = 150;
#endif

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

// A database and a network processor of one's own, made anew as often as needed.
class Fresh : public testing::Test {
protected:
    void TearDown() override
    {
        zelfdb_close_descriptor(descriptor_);
        main_.remove();
        fdb_.remove();
    }

    // As zelfdb_init leaves it. Thousands of calls would leave as many attachments behind, so that its work is kept.
    void make(const zelfdb_counts& counts)
    {
        zelfdb_close_descriptor(descriptor_);
        descriptor_ = nullptr;
        ASSERT_EQ(0, softnp_use_private());
        if (!main_.at || std::memcmp(&counts, &counts_, sizeof counts) != 0) {
            ASSERT_NO_FATAL_FAILURE(init(counts));
        }
        for (const Segment* const segment : {&main_, &fdb_})
            std::memcpy(segment->at, segment->fresh.data(), segment->fresh.size());
        descriptor_ = zelfdb_open_descriptor();
        ASSERT_NE(nullptr, descriptor_);
    }

    // Attached for good: pages that are there are written much faster than new ones.
    struct Segment {
        int key;
        u8* at = nullptr;
        std::vector<u8> fresh{};

        void remove()
        {
            if (at) shmdt(at);
            at = nullptr;
            if (const int id = shmget(key, 0, 0); id >= 0) shmctl(id, IPC_RMID, nullptr);
        }
        void keep()
        {
            const int id = shmget(key, 0, 0);
            shmid_ds about{};
            ASSERT_EQ(0, shmctl(id, IPC_STAT, &about));
            at = static_cast<u8*>(shmat(id, nullptr, 0));
            fresh.assign(at, at + about.shm_segsz);
        }
    };

    void init(const zelfdb_counts& counts)
    {
        main_.remove();
        fdb_.remove();
        ASSERT_EQ(0, zelfdb_init(&counts));
        main_.keep();
        fdb_.keep();
        counts_ = counts;
    }

    Outcome run(const std::string& line)
    {
        const ReadLine read = read_line(line);
        if (!read.command) return failure(read.error ? read.error->text() : "no command");
        return read.command->row->run(descriptor_, read.arguments);
    }

    // What the network processor refuses is in the database all the same: a port, say, that it does not have.
    static bool is_done(const Outcome& outcome)
    {
        return outcome.done || outcome.text == "the network processor refused the command";
    }

    // But the counters of what came and went, in which nothing is set.
    [[nodiscard]] std::vector<u8> main_bytes() const
    {
        std::vector<u8> bytes(main_.at, main_.at + main_.fresh.size());
        constexpr std::size_t history_at = 0xC;
        std::fill_n(bytes.begin() + history_at, sizeof(zelfdb_history), u8{0});
        return bytes;
    }

    // All that the replay has to say, in its order. Into memory: a file for each of so many texts takes long.
    static std::string replayed()
    {
        char* text = nullptr;
        std::size_t size = 0;
        FILE* const usual = stdout;
        stdout = open_memstream(&text, &size);
        for (const auto operation : {zelfdb_reconfig_ether, zelfdb_reconfig_port, zelfdb_reconfig_stream,
                                     zelfdb_reconfig_protgroup, zelfdb_reconfig_vlan, zelfdb_reconfig_classify,
                                     zelfdb_reconfig_sfil, zelfdb_reconfig_lfil, zelfdb_reconfig_mirror})
            operation("", "\n");
        std::fclose(stdout);
        stdout = usual;
        const std::string all(text, size);
        std::free(text);  // the stream made it
        return all;
    }

    // Line by line if they differ: the texts as wholes are too long to look at.
    static void expect_same_text(const std::string& before, const std::string& after)
    {
        if (before != after) {
            EXPECT_EQ(lines_of(before), lines_of(after));
        }
    }

    // As a file of commands is run.
    void run_all(const std::string& text)
    {
        Batch batch;
        const auto run_now = [&](const std::vector<BatchLine>& lines) {
            for (const BatchLine& line : lines) {
                const Outcome outcome = run(line.text);
                ASSERT_TRUE(is_done(outcome)) << line.text << ": " << outcome.text;
            }
        };
        for (const std::string& line : lines_of(text)) ASSERT_NO_FATAL_FAILURE(run_now(batch.take({0, line})));
        run_now(batch.rest());
    }

    // Builds one, prints it, and makes the same from the text.
    void expect_round_trip(Random& random, Size size)
    {
        const zelfdb_counts& counts = size == Size::full ? full_counts : small_counts;
        ASSERT_NO_FATAL_FAILURE(make(counts));
        build_database(descriptor_, random, size);
        const std::string text = replayed();
        const std::vector<Fact> facts = facts_of(*descriptor_);
        lines_ += static_cast<u32>(lines_of(text).size());

        ASSERT_NO_FATAL_FAILURE(make(counts));
        ASSERT_NO_FATAL_FAILURE(run_all(text));
        expect_same_text(text, replayed());
        EXPECT_EQ("", differences(facts, facts_of(*descriptor_)));
    }

    zelfdb_descriptor* descriptor_ = nullptr;
    zelfdb_counts counts_{};
    Segment main_{zelfdb::main_key};
    Segment fdb_{zelfdb::fdb_key};
    u32 lines_ = 0;
};

class RoundTrip : public Fresh, public testing::WithParamInterface<u32> {};
INSTANTIATE_TEST_SUITE_P(Databases, RoundTrip, testing::Range(0U, shards));

TEST_P(RoundTrip, OfSmallDatabases)
{
    Random seeds;
    for (u32 i = 0; i < databases && !HasFailure(); ++i) {
        SCOPED_TRACE(seeds.trace() + " database " + std::to_string(i));
        Random random(seeds.word() + GetParam());
        expect_round_trip(random, Size::small);
    }
    EXPECT_GT(lines_, databases * 10);  // they are not all empty
}

TEST_F(Fresh, AnEmptyDatabaseMakesTheRoundTrip)
{
    ASSERT_NO_FATAL_FAILURE(make(small_counts));
    EXPECT_EQ("", replayed());
    EXPECT_TRUE(facts_of(*descriptor_).empty());
}

#if !defined(__SANITIZE_ADDRESS__)  // there it would take as long as a hundred other tests
TEST_F(Fresh, ADatabaseWhosePoolsAreUsedUpMakesTheRoundTrip)
{
    Random random;
    SCOPED_TRACE(random.trace());
    expect_round_trip(random, Size::full);
    const std::string text = "\n" + replayed();
    for (const char* const last : {"\ncreate stream 4/256 ", "\ncreate queue 4/256/7\n", " to clslist 64 line 256 \n",
                                   "\ncreate port 199 ", " vid 400\n", "\ncreate mirror 4\n"})
        EXPECT_NE(std::string::npos, text.find(last)) << last;
}
#endif

// ---- applied again

std::vector<const Command*> commands_where(bool (*holds)(const Command& command))
{
    std::vector<const Command*> commands;
    for (const Command& command : all_commands())
        if (holds(command)) commands.push_back(&command);
    return commands;
}

// What is there before random commands, so that many of them succeed.
const std::vector<std::string> beginnings{"create port 1 npport 1 portType ether",
                                          "create port 2 npport 2 portType ether",
                                          "create port 3 npport 7 portType vif",
                                          "create vlan sales vid 10",
                                          "create vlan lab vid 11",
                                          "create stream 1/1 qostype wfq",
                                          "create clslist 1",
                                          "create mirror 1",
                                          "create protgroup 1",
                                          "add port 1 to vlan sales tag off"};

class AppliedAgain : public Fresh, public testing::WithParamInterface<u32> {
protected:
    // Those that were done.
    std::vector<std::string> random_text(Random& random, const std::vector<const Command*>& commands, u32 length)
    {
        std::vector<std::string> done;
        const auto apply = [&](const std::string& line) {
            if (is_done(run(line))) done.push_back(line);
        };
        for (const std::string& line : beginnings) apply(line);
        for (u32 i = 0; i < length; ++i)
            apply(random_line(*commands[random.below(static_cast<u32>(commands.size()))], random));
        return done;
    }

    // A rule that holds for any line, tried on databases that random texts have made.
    template <typename Rule>
    void with_random_lines(Rule rule)
    {
        const std::vector<const Command*> commands = commands_where([](const Command&) { return true; });
        Random seeds;
        for (u32 i = 0; i < texts_tried && !HasFailure(); ++i) {
            SCOPED_TRACE(seeds.trace() + " text " + std::to_string(i));
            Random random(seeds.word() + GetParam());
            ASSERT_NO_FATAL_FAILURE(make(small_counts));
            random_text(random, commands, 50);
            for (u32 k = 0; k < 20; ++k)
                rule(random_line(*commands[random.below(static_cast<u32>(commands.size()))], random));
        }
    }

    // Refused because it is there, or because what it belongs to has been taken on from there.
    static bool says_that_it_exists(const Outcome& outcome)
    {
        static const std::set<u32> codes{ZELFDB_PORT_EXISTS,     ZELFDB_PORT_ENABLED,     ZELFDB_NAME_IN_USE,
                                         ZELFDB_ALREADY_MEMBER,  ZELFDB_GROUP_JOINED,     ZELFDB_MAC_EXISTS,
                                         ZELFDB_QUEUE_EXISTS,    ZELFDB_STREAM_EXISTS,    ZELFDB_CLASSIFY_EXISTS,
                                         ZELFDB_PV_HAS_CLASSIFY, ZELFDB_PROTGROUP_EXISTS, ZELFDB_PROTOCOL_IN_GROUP,
                                         ZELFDB_MIRROR_EXISTS,   ZELFDB_MIRROR_ENABLED};
        return codes.contains(outcome.code);
    }
};
INSTANTIATE_TEST_SUITE_P(Texts, AppliedAgain, testing::Range(0U, 2U));

TEST_P(AppliedAgain, AConfigurationReportsWhatExistsAndChangesNothing)
{
    const std::vector<const Command*> commands = commands_where(may_be_applied_again);
    Random seeds;
    u32 refused = 0;
    for (u32 i = 0; i < texts_tried && !HasFailure(); ++i) {
        SCOPED_TRACE(seeds.trace() + " text " + std::to_string(i));
        Random random(seeds.word() + GetParam());
        ASSERT_NO_FATAL_FAILURE(make(small_counts));
        const std::vector<std::string> text = random_text(random, commands, 100);
        const std::string before = replayed();
        for (const std::string& line : text) {
            const Outcome outcome = run(line);
            const bool makes = line.starts_with("create ") || line.starts_with("add ") || line.starts_with("enable ");
            EXPECT_EQ(makes, says_that_it_exists(outcome)) << line << ": " << outcome.text;
            refused += makes;
        }
        expect_same_text(before, replayed());
    }
    EXPECT_GE(refused, texts_tried * static_cast<u32>(beginnings.size()) / 2);
}

// One after another: doing what has just been done. A line more and a line less are another thing each time.
TEST_P(AppliedAgain, ACommandThatFollowsItselfChangesNothing)
{
    u32 compared = 0;
    with_random_lines([&](const std::string& line) {
        if (!is_done(run(line))) return;
        if (line.starts_with("add classify ") || line.starts_with("delete classify line ")) return;
        const std::string before = replayed();
        run(line);
        EXPECT_EQ(before, replayed()) << line;
        ++compared;
    });
    EXPECT_GT(compared, texts_tried);
}

// A line that is not done changes nothing.
TEST_P(AppliedAgain, ACommandThatIsRefusedChangesNothing)
{
    u32 refused = 0;
    with_random_lines([&](const std::string& line) {
        const std::string before = replayed();
        const Outcome outcome = run(line);
        if (is_done(outcome)) return;
        EXPECT_EQ(before, replayed()) << line << ": " << outcome.text;
        ++refused;
    });
    EXPECT_GT(refused, texts_tried);
}

// Flags of ports of neither type: the line does not tell the type.
const std::set<std::string> untold_at_times{"set port <port> ignoretag <switch:off|on>",
                                            "set port <port> ignoreptag <switch:off|on>"};

// What was hidden goes with what was seen, such as the burst of a physical port that was not shaped any more.
bool takes_back(const std::string& line)
{
    return line.starts_with("delete ") || line.ends_with(" off") || line.ends_with(" none");
}

// What is done, and seen in the database, and not in the text, belongs to a command of which that is known.
TEST_P(AppliedAgain, WhatTheReplayDoesNotTellIsKnown)
{
    const std::vector<const Command*> commands = commands_where([](const Command&) { return true; });
    Random seeds;
    std::map<std::string, std::string> surprises;
    u32 known = 0;
    for (u32 i = 0; i < texts_tried && !HasFailure(); ++i) {
        SCOPED_TRACE(seeds.trace() + " text " + std::to_string(i));
        Random random(seeds.word() + GetParam());
        ASSERT_NO_FATAL_FAILURE(make(small_counts));
        random_text(random, commands, 50);
        for (u32 k = 0; k < 20; ++k) {
            const Command& command = *commands[random.below(static_cast<u32>(commands.size()))];
            const std::string line = random_line(command, random);
            const std::string before = replayed();
            const std::vector<u8> bytes = main_bytes();
            if (!is_done(run(line)) || bytes == main_bytes() || before != replayed()) continue;
            const ReadLine read = read_line(line);
            if (untold_by(*read.command, read.arguments) != Untold::nothing)
                ++known;
            else if (!takes_back(line) && !untold_at_times.contains(command.row->pattern))
                surprises[command.row->pattern] = line;
        }
    }
    EXPECT_GT(known, 0u);  // or nothing was looked for
    for (const auto& [pattern, line] : surprises) ADD_FAILURE() << pattern << ": " << line;
}

TEST(RandomText, EveryCommandOfTheTableIsMadeAndRead)
{
    Random random;
    SCOPED_TRACE(random.trace());
    for (const Command& command : all_commands()) {
        for (u32 i = 0; i < 50; ++i) {
            const std::string line = random_line(command, random);
            const ReadLine read = read_line(line);
            ASSERT_NE(nullptr, read.command) << line << ": " << (read.error ? read.error->text() : "empty");
            EXPECT_EQ(command.row, read.command->row) << line;
        }
    }
}

}  // namespace
}  // namespace zelfctl
