// What every exported operation has in common, checked from one row for each: the descriptor, the locks, the error word
// when no descriptor can be opened, and what an NP that refuses changes.
#pragma once

#include <cerrno>

#include "support/exported.h"

namespace zelfdb {

enum class Frame { opens, opens_without_NP, callers };
enum class Word { absent, on_failure, preset };
enum class Answer { ignored, returned };  // the NP's

// Where the operations of the rows write. 992 is the largest of the bulk readers' smallest record sizes.
struct Scratch {
    zelfdb_cursor cursor{0, 0};
    alignas(8) u8 bytes[4096];
    zelfdb_ropebuf buffer{4, 992, 0x11, 0x22, bytes};
    Scratch() { std::memset(bytes, 0xA5, sizeof bytes); }

    bool operator==(const Scratch& other) const
    {
        return cursor.calls == other.cursor.calls && cursor.key == other.cursor.key &&
               std::memcmp(bytes, other.bytes, sizeof bytes) == 0 && buffer.total == other.buffer.total &&
               buffer.filled == other.buffer.filled;
    }
    [[nodiscard]] u32* words() { return reinterpret_cast<u32*>(bytes); }
    template <class Record>
    [[nodiscard]] Record* as()
    {
        return reinterpret_cast<Record*>(bytes);
    }
};

// What a row's calls may use.
struct With {
    Scratch& out;
    Descriptor* d;
    u32* err;
};
using Attempt = std::function<int(With)>;

struct FrameRow {
    const char* name;
    Frame frame;
    Lock lock;
    Word word;
    Answer answer;
    Attempt succeeds;
    Attempt fails;  // at a check; null for an operation that checks nothing
    int success = 0;
    bool clears_a_word = false;  // writes 0 to its output before anything else
};

class FrameTest : public Exported {
protected:
    using Exported::Exported;

    static std::string moves_of(Lock lock) { return lock == Lock::main ? "main- main+" : "main- fdb- fdb+ main+"; }
    static u32 word_after_success(const FrameRow& row) { return row.word == Word::preset ? 1 : untouched; }

    struct Ran {
        int result;
        u32 err;
        Commands commands;
        bool operator==(const Ran&) const = default;
    };
    // Runs it with what it prints taken away.
    Ran run(const Attempt& attempt, Scratch& scratch)
    {
        u32 err = untouched;
        recorder::log().clear();
        testing::internal::CaptureStdout();
        const int result = attempt({scratch, &d(), &err});
        testing::internal::GetCapturedStdout();
        return {result, err, sent()};
    }

    void descriptor_and_locks(const FrameRow& row)
    {
        SCOPED_TRACE(row.name);
        const Expected start = now();
        for (const bool succeeding : {true, false}) {
            const Attempt& attempt = succeeding ? row.succeeds : row.fails;
            if (!attempt) continue;
            environment::reset();
            recorder::reset();
            Scratch scratch;
            const Ran ran = run(attempt, scratch);
            EXPECT_EQ(ran.result, succeeding ? row.success : -1);
            if (succeeding) {
                EXPECT_EQ(ran.err, word_after_success(row));
            } else {
                EXPECT_TRUE(start.is_now());
            }
            EXPECT_EQ(recorder::init_calls(), row.frame == Frame::opens ? 1u : 0u);
            EXPECT_EQ(recorder::release_calls(), row.frame == Frame::opens ? 1u : 0u);
            EXPECT_EQ(environment::calls("shmat"), row.frame == Frame::callers ? 0u : 2u);
            EXPECT_EQ(environment::calls("shmdt"), row.frame == Frame::callers ? 0u : 2u);
            EXPECT_EQ(recorder::calls_with_null_handle(), 0u);
            EXPECT_EQ(recorder::calls_without_the_main_lock(), 0u) << "commands go out in the order of the changes";
            for (const environment::SemaphoreMove& move : environment::semaphore_moves()) {
                EXPECT_EQ(move.flags, 0x1000);
            }
            EXPECT_EQ(lock_moves(), moves_of(row.lock));
            start.restore();
        }
    }

    // No segment to attach, no memory, or an NP that never answers.
    void without_a_descriptor(const FrameRow& row)
    {
        if (row.frame == Frame::callers) return;
        SCOPED_TRACE(row.name);
        const Expected start = now();
        for (const std::string refusal : {"shmget", "shmat", "vf_init"}) {
            SCOPED_TRACE(refusal);
            const bool has_NP = row.frame == Frame::opens;
            if (refusal == "vf_init" && !has_NP) continue;
            environment::reset();
            recorder::reset();
            if (refusal == "vf_init") {
                recorder::fail_init(20);
            } else {
                environment::fail(refusal, EACCES, 2);  // the FDB segment's
            }
            Scratch scratch;
            Scratch unwritten;
            if (row.clears_a_word) unwritten.words()[0] = 0;
            const Ran ran = run(row.succeeds, scratch);
            EXPECT_EQ(ran, (Ran{-1, row.word == Word::absent ? untouched : 1, {}}));
            EXPECT_EQ(scratch, unwritten);
            EXPECT_EQ(environment::sleeps().size(), refusal == "vf_init" ? 19u : 0u);
            EXPECT_EQ(lock_moves(), "");
            EXPECT_TRUE(start.is_now());
        }
        environment::reset();
        recorder::reset();
    }

    static bool sent_once(const std::string& command)
    {
        return command.find("addFDB(") != std::string::npos || command.find("removeFDB(") != std::string::npos;
    }
    // The commands of an accepting NP with the ones at [first, last) sent a second time, as their sender does.
    static Commands repeated(const Commands& accepted, std::size_t first, std::size_t last)
    {
        Commands all;
        for (std::size_t i = 0; i < accepted.size(); ++i) {
            all.push_back(accepted[i]);
            if (i >= first && i < last && !sent_once(accepted[i])) all.push_back(accepted[i]);
        }
        return all;
    }

    // The database becomes the same whatever the NP answers, at each single command and at all of them, and when its
    // library makes no command at all.
    void NP_that_refuses(const FrameRow& row)
    {
        SCOPED_TRACE(row.name);
        const Expected start = now();
        recorder::reset();
        Scratch scratch;
        const Ran accepted = run(row.succeeds, scratch);
        const Expected result = now();
        const auto expect_again = [&](int expected_result, const Commands& commands) {
            Scratch other;
            EXPECT_EQ(run(row.succeeds, other), (Ran{expected_result, accepted.err, commands}));
            EXPECT_EQ(other, scratch);
            EXPECT_TRUE(result.is_now());
            start.restore();
            recorder::reset();
        };
        start.restore();
        recorder::reset();

        const std::size_t count = accepted.commands.size();
        const int refused_result = row.answer == Answer::returned ? -1 : accepted.result;
        recorder::fail_always(recorder::Failure::delivery);
        expect_again(refused_result, repeated(accepted.commands, 0, count));
        recorder::fail_always(recorder::Failure::status);
        expect_again(refused_result, repeated(accepted.commands, 0, count));
        recorder::fail_builders(1000);
        expect_again(refused_result, {});
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE("refused: " + accepted.commands[i]);
            const Commands twice = repeated(accepted.commands, i, i + 1);
            recorder::fail("", recorder::Failure::status, static_cast<u32>(i) + 1, 1);
            expect_again(accepted.result, twice);
            if (sent_once(accepted.commands[i])) continue;
            recorder::fail("", recorder::Failure::status, static_cast<u32>(i) + 1, 2);
            expect_again(refused_result, twice);
        }
        environment::reset();
    }
};

}  // namespace zelfdb
