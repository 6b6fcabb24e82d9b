// The frame of a command: built once, sent, sent once more if that failed, freed unless both failed.
#include "commands.h"

namespace zelfdb {
namespace {

using recorder::Failure;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Failure failures[] = {Failure::delivery, Failure::status};

class CommandFrame : public Commands {
protected:
    // Everything that the NP and the system saw of one command.
    struct Seen {
        int result;
        std::vector<std::string> lines;
        u32 built;
        u32 kept;  // built and not freed
        std::vector<unsigned> sleeps;
        bool operator==(const Seen&) const = default;
    };
    static Seen send(const Descriptor& d, const Command& command)
    {
        const u32 built = recorder::commands_built();
        const u32 kept = recorder::commands_not_freed();
        environment::sleeps().clear();
        const int result = command.send(d);
        return {result, sent(), recorder::commands_built() - built, recorder::commands_not_freed() - kept,
                environment::sleeps()};
    }
    // Only a port's creation leaves the NP a second before it is asked again.
    static std::vector<unsigned> pause_of(const Command& command)
    {
        return command.name == "create_port" ? std::vector<unsigned>{1} : std::vector<unsigned>{};
    }
    friend void PrintTo(const Seen& seen, std::ostream* out)
    {
        *out << "result " << seen.result << ", built " << seen.built << ", kept " << seen.kept << ", sleeps "
             << testing::PrintToString(seen.sleeps) << ", sent:";
        for (const std::string& line : seen.lines) *out << "\n  " << line;
    }
};

TEST_F(CommandFrame, AnAcceptedCommandIsSentOnceWithItsArgumentsInOrderAndFreed)
{
    for (const Command& command : framed_commands()) {
        SCOPED_TRACE(command.name);
        EXPECT_EQ((Seen{0, {command.line}, 1, 0, {}}), send(d(), command));
    }
}

TEST_F(CommandFrame, ACommandThatFailsOnceIsSentASecondTimeAndFreed)
{
    for (const Failure how : failures) {
        for (const Command& command : framed_commands()) {
            SCOPED_TRACE(command.name);
            recorder::fail("", how);
            EXPECT_EQ((Seen{0, {command.line, command.line}, 1, 0, pause_of(command)}), send(d(), command));
        }
    }
}

TEST_F(CommandFrame, ACommandThatFailsTwiceGivesMinusOneAndIsKept)
{
    for (const Failure how : failures) {
        for (const Command& command : framed_commands()) {
            SCOPED_TRACE(command.name);
            recorder::fail("", how, 1, 2);
            EXPECT_EQ((Seen{-1, {command.line, command.line}, 1, 1, pause_of(command)}), send(d(), command));
        }
    }
}

TEST_F(CommandFrame, TheTwoFailuresMayBeOfDifferentKinds)
{
    for (const Failure first : failures) {
        const Failure second = first == Failure::delivery ? Failure::status : Failure::delivery;
        for (const Command& command : framed_commands()) {
            SCOPED_TRACE(command.name);
            recorder::fail("", first);
            recorder::fail("", second, 2);
            EXPECT_EQ((Seen{-1, {command.line, command.line}, 1, 1, pause_of(command)}), send(d(), command));
        }
    }
}

TEST_F(CommandFrame, ThereIsNoThirdAttempt)
{
    recorder::fail_always(Failure::status);
    for (const Command& command : framed_commands()) {
        SCOPED_TRACE(command.name);
        EXPECT_EQ(2u, send(d(), command).lines.size());
    }
}

TEST_F(CommandFrame, ACommandThatCannotBeBuiltGivesMinusOneWithoutACall)
{
    for (const Command& command : framed_commands()) {
        SCOPED_TRACE(command.name);
        recorder::fail_builders(1);
        EXPECT_EQ((Seen{-1, {}, 0, 0, {}}), send(d(), command));
        EXPECT_EQ((Seen{0, {command.line}, 1, 0, {}}), send(d(), command)) << "the next one is built again";
    }
}

TEST_F(CommandFrame, CommandsGoThroughTheDescriptorsHandle)
{
    Descriptor without_NP = d();
    without_NP.NP = nullptr;
    u32 calls = 0;
    for (const Command& command : framed_commands()) {
        SCOPED_TRACE(command.name);
        send(d(), command);
        EXPECT_EQ(calls, recorder::calls_with_null_handle());
        send(without_NP, command);
        EXPECT_EQ(++calls, recorder::calls_with_null_handle());
    }
}

TEST_F(CommandFrame, TheNPsErrorNumberIsNotAskedFor)
{
    recorder::fail_always(Failure::status);
    for (const Command& command : framed_commands()) send(d(), command);
    EXPECT_EQ(0u, recorder::err_reads());
}

TEST_F(CommandFrame, NoCommandTakesALock)
{
    environment::semaphore_moves().clear();
    for (const Command& command : framed_commands()) send(d(), command);
    EXPECT_THAT(environment::semaphore_moves(), IsEmpty());
}

}  // namespace
}  // namespace zelfdb
