// Actual rates go to the NP in batches of 128, each with the two attempts of every command.
#include <string>
#include <vector>

#include "commands.h"

namespace zelfdb {
namespace {

using recorder::Failure;
using testing::IsEmpty;

class ActualRates : public Commands {
protected:
    static std::vector<vf_actual_rate> entries(u32 count)
    {
        std::vector<vf_actual_rate> all;
        for (u32 i = 0; i < count; ++i) all.push_back({static_cast<u16>(i), 1000 + i, 5000 + i});
        return all;
    }
    static std::string number(u32 value)
    {
        char text[16];
        std::snprintf(text, sizeof text, value <= 9 ? "%u" : "0x%x", value);
        return text;
    }
    // The command of entries first .. first + count - 1.
    static std::string line(u32 first, u32 count)
    {
        std::string text = "set_stream_actual_rate(" + number(count) + ", ";
        for (u32 i = first; i < first + count; ++i) {
            if (i != first) text += " ";
            text += std::to_string(i) + ":" + std::to_string(1000 + i) + "/" + std::to_string(5000 + i);
        }
        return text + ")";
    }
    static std::vector<std::string> batches(const std::vector<u32>& sizes)
    {
        std::vector<std::string> all;
        u32 first = 0;
        for (const u32 size : sizes) {
            all.push_back(line(first, size));
            first += size;
        }
        return all;
    }
};

TEST_F(ActualRates, NoEntryIsNoCommand)
{
    EXPECT_EQ(0, set_actual_rate_in_stream_to_NP(d(), 0, nullptr));
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(0u, recorder::commands_built());
}

TEST_F(ActualRates, AreSentInBatchesOfAtMost128)
{
    const std::vector<std::vector<u32>> splits = {{1},        {127},      {128},          {128, 1},
                                                  {128, 127}, {128, 128}, {128, 128, 44}, {128, 128, 128, 128, 1}};
    for (const std::vector<u32>& split : splits) {
        u32 count = 0;
        for (const u32 size : split) count += size;
        SCOPED_TRACE(count);
        EXPECT_EQ(0, set_actual_rate_in_stream_to_NP(d(), count, entries(count).data()));
        EXPECT_EQ(batches(split), sent());
        EXPECT_EQ(0u, recorder::commands_not_freed());
    }
}

TEST_F(ActualRates, ABatchThatFailsOnceIsSentAgainAndTheRestFollows)
{
    recorder::fail("", Failure::status, 2);
    EXPECT_EQ(0, set_actual_rate_in_stream_to_NP(d(), 300, entries(300).data()));
    const std::vector<std::string> all = batches({128, 128, 44});
    EXPECT_EQ((std::vector<std::string>{all[0], all[1], all[1], all[2]}), sent());
    EXPECT_EQ(0u, recorder::commands_not_freed());
    EXPECT_THAT(environment::sleeps(), IsEmpty());
}

TEST_F(ActualRates, ABatchThatFailsTwiceEndsItAndOnlyItsCommandIsKept)
{
    const std::vector<std::string> all = batches({128, 128, 44});
    for (u32 failing = 0; failing < 3; ++failing) {
        SCOPED_TRACE(failing);
        const u32 kept = recorder::commands_not_freed();
        recorder::fail("", Failure::delivery, failing + 1, 2);
        EXPECT_EQ(-1, set_actual_rate_in_stream_to_NP(d(), 300, entries(300).data()));
        std::vector<std::string> expected(all.begin(), all.begin() + failing + 1);
        expected.push_back(all[failing]);
        EXPECT_EQ(expected, sent());
        EXPECT_EQ(1u, recorder::commands_not_freed() - kept);
    }
}

TEST_F(ActualRates, ABatchThatCannotBeBuiltEndsIt)
{
    recorder::fail_builders(1);
    EXPECT_EQ(-1, set_actual_rate_in_stream_to_NP(d(), 300, entries(300).data()));
    EXPECT_THAT(sent(), IsEmpty());
}

}  // namespace
}  // namespace zelfdb
