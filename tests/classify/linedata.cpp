// Prefilter and loc lines: from text slots to the NP's block.
#include <climits>

#include "classify/classify_test.h"
#include "classify/edge_of_memory.h"
#include "classify/expected_blocks.h"
#include "classify/field_texts.h"
#include "support/random.h"

namespace zelfdb {
namespace {

// A caller's line, with nothing readable behind it.
class LineText {
public:
    explicit LineText(std::size_t size = line_size) : size_(size), memory_(size) { std::memset(get(), '9', 4); }
    // A text of 30 bytes has no terminator.
    LineText& set(std::size_t slot, const std::string& text)
    {
        EXPECT_LE(text.size(), slot_size);
        std::memset(get() + slot, 0, slot_size);
        std::memcpy(get() + slot, text.data(), text.size());
        return *this;
    }
    [[nodiscard]] char* get() const { return memory_.get(); }
    [[nodiscard]] std::size_t size() const { return size_; }

private:
    std::size_t size_;
    EdgeOfMemory memory_;
};

// Whatever the library copies a text to, no zero happens to be behind it.
[[gnu::noinline]] void fill_stack_with_digits()
{
    char digits_left_behind[4096];
    std::memset(digits_left_behind, '1', sizeof digits_left_behind);
    asm volatile("" : : "r"(digits_left_behind) : "memory");
}

std::string add_prefilter(u32 list, const PrefilterBlock& block)
{
    return "add_prefilter_act(" + number_in_log(list) + ", 0, " + digits(block.bytes(), sizeof block) + ")";
}
std::string add_loc(u32 list, const LocBlock& block)
{
    return "add_loc_act(" + number_in_log(list) + ", 0, " + digits(block.bytes(), sizeof block) + ")";
}

class LineData : public Exported {
protected:
    LineData() : Exported(2, 2, 4) {}
    void SetUp() override
    {
        Exported::SetUp();
        before_ = std::make_unique<Expected>(now());
    }
    // Whatever was parsed and sent, nothing of it is the database's, and no lock was moved.
    void TearDown() override
    {
        EXPECT_TRUE(before_->is_now());
        EXPECT_EQ(lock_moves(), "");
        EXPECT_EQ(environment::calls("shmat"), 0u);
        EXPECT_EQ(recorder::init_calls(), 0u);
        before_.reset();
        Exported::TearDown();
    }
    Commands prefilter(i32 index, const LineText& line, u32 action = 1, u32 list = 7, int result = 1)
    {
        fill_stack_with_digits();
        EXPECT_EQ(linedata_to_param_prefilter(&d(), list, index, line.get(), action), result);
        return sent();
    }
    Commands loc(i32 index, const LineText& line, u32 action = 1, u32 list = 7, int result = 1)
    {
        fill_stack_with_digits();
        EXPECT_EQ(linedata_to_param_loc(&d(), list, index, line.get(), action), result);
        return sent();
    }

private:
    std::unique_ptr<Expected> before_;
};

TEST_F(LineData, EveryPrefilterSlotGoesToItsPlaceInTheBlock)
{
    LineText line;
    line.set(4, "10.0.0.1-10.0.0.9").set(34, "172.16.5.4/12").set(64, "3-9/f").set(94, "6");
    line.set(124, "80-443").set(154, "-1023/ff00");
    PrefilterBlock block;
    block.put(0, 0u).put(4, 0x3Fu);
    block.put4<u8>(8, {3, 9, 0x0F, 1}).put4<u8>(12, {6, 0, 255, 0});
    block.put4<u32>(16, {0xAC100000, 0, 0xFFF00000, 0}).put4<u32>(32, {0x0A000001, 0x0A000009, 0xFFFFFFFF, 1});
    block.put4<u16>(48, {0, 0x300, 0xFF00, 1}).put4<u16>(56, {80, 443, 0xFFFF, 1});
    EXPECT_EQ(prefilter(1, line, 1, 0x12345), (Commands{add_prefilter(0x12345, block)}));
}

TEST_F(LineData, EachPrefilterFieldAloneHasItsFlagAndLeavesTheOthersZero)
{
    struct Row {
        std::size_t slot;
        const char* text;
        u32 flag;
    };
    constexpr Row rows[] = {{4, "1.2.3.4", 0x08}, {34, "1.2.3.4", 0x04}, {64, "77", 0x01},
                            {94, "77", 0x02},     {124, "77", 0x20},     {154, "77", 0x10}};
    for (const Row& row : rows) {
        LineText line;
        line.set(row.slot, row.text);
        PrefilterBlock block;
        block.put(0, 0u).put(4, row.flag);
        if (row.flag == 0x08) block.put4<u32>(32, {0x01020304, 0, 0xFFFFFFFF, 0});
        if (row.flag == 0x04) block.put4<u32>(16, {0x01020304, 0, 0xFFFFFFFF, 0});
        if (row.flag == 0x01) block.put4<u8>(8, {77, 0, 255, 0});
        if (row.flag == 0x02) block.put4<u8>(12, {77, 0, 255, 0});
        if (row.flag == 0x20) block.put4<u16>(56, {77, 0, 65535, 0});
        if (row.flag == 0x10) block.put4<u16>(48, {77, 0, 65535, 0});
        EXPECT_EQ(prefilter(1, line), (Commands{add_prefilter(7, block)})) << row.slot;
    }
}

TEST_F(LineData, EveryLocSlotGoesToItsPlaceInTheBlock)
{
    LineText line;
    line.set(4, "10.1.2.3/8").set(34, "1.1.1.1").set(64, "1").set(94, "200").set(124, "65535").set(154, "1");
    LocBlock block;
    block.put<u16>(0, 1).put<u16>(2, 7).put<u16>(4, 200).put<u16>(6, 65535);
    block.put(8, 0x0A010203u).put(12, 0xFF000000u);
    EXPECT_EQ(loc(1, line), (Commands{add_loc(7, block)}));
}

TEST_F(LineData, EachLocFieldAloneHasItsFlag)
{
    EXPECT_EQ(loc(1, LineText().set(94, "77")),
              (Commands{add_loc(7, LocBlock().put<u16>(0, 1).put<u16>(2, 1).put<u16>(4, 77))}));
    EXPECT_EQ(loc(1, LineText().set(124, "77")),
              (Commands{add_loc(7, LocBlock().put<u16>(0, 1).put<u16>(2, 4).put<u16>(6, 77))}));
    EXPECT_EQ(
        loc(1, LineText().set(4, "1.2.3.4")),
        (Commands{add_loc(7, LocBlock().put<u16>(0, 1).put<u16>(2, 2).put(8, 0x01020304u).put(12, 0xFFFFFFFFu))}));
}

// The two blocks have the action in opposite senses.
TEST_F(LineData, ActionOneIsZeroInAPrefilterBlockAndOneInALocBlock)
{
    const LineText line;
    for (const u32 action : {0u, 1u, 2u, 0x10001u, 0xFFFFFFFFu}) {
        const bool one = action == 1;
        EXPECT_EQ(prefilter(1, line, action), (Commands{add_prefilter(7, PrefilterBlock().put(0, one ? 0u : 1u))}));
        EXPECT_EQ(loc(1, line, action), (Commands{add_loc(7, LocBlock().put(0, static_cast<u16>(one ? 1 : 0)))}));
    }
}

TEST_F(LineData, IndexZeroClearsTheListAndThenAddsAndTheIndexIsNeverSent)
{
    LineText line;
    line.set(64, "7").set(94, "7");
    const std::string filter = add_prefilter(0x81, expected_prefilter(line.get(), 1));
    const std::string location = add_loc(0x81, expected_loc(line.get(), 1));
    EXPECT_EQ(prefilter(0, line, 1, 0x81), (Commands{"rem_prefilter_act(0x81, 0)", filter}));
    EXPECT_EQ(loc(0, line, 1, 0x81), (Commands{"rem_loc_act(0x81, 0)", location}));
    for (const i32 index : {1, 2, 14, 15}) {
        EXPECT_EQ(prefilter(index, line, 1, 0x81), Commands{filter});
        EXPECT_EQ(loc(index, line, 1, 0x81), Commands{location});
    }
}

TEST_F(LineData, TheLastIndexIs128OfAPrefilterListAnd15OfALocList)
{
    LineText line;
    EXPECT_EQ(prefilter(128, line).size(), 1u);
    EXPECT_EQ(loc(15, line).size(), 1u);
    for (const i32 index : {129, 130, INT_MAX}) {
        EXPECT_EQ(prefilter(index, line, 1, 7, 0), Commands{});
    }
    for (const i32 index : {16, 128, INT_MAX}) {
        EXPECT_EQ(loc(index, line, 1, 7, 0), Commands{});
    }
    EXPECT_EQ(prefilter(-1, line).size(), 1u);
    EXPECT_EQ(loc(INT_MIN, line).size(), 1u);
}

TEST_F(LineData, FieldsThatDoNotParseAreAbsentAndTheLineIsSentAllTheSame)
{
    LineText line;
    line.set(4, "10.0.0.1/33").set(34, "10.0.0.9-10.0.0.1").set(64, "9-3").set(94, "").set(124, "x").set(154, "-");
    EXPECT_EQ(prefilter(1, line), (Commands{add_prefilter(7, PrefilterBlock())}));
    EXPECT_EQ(loc(1, LineText().set(4, "10.0.0").set(94, "256").set(124, "-1")),
              (Commands{add_loc(7, LocBlock().put<u16>(0, 1))}));
}

TEST_F(LineData, ALocAddressIsNotMaskedAndAnyOtherPrefixLengthIsAHosts)
{
    struct Row {
        const char* text;
        u32 address, mask;
    };
    constexpr Row rows[] = {
        {"10.1.2.3", 0x0A010203, 0xFFFFFFFF},
        {"10.1.2.3/8", 0x0A010203, 0xFF000000},
        {"10.1.2.3/0", 0x0A010203, 0},
        {"10.1.2.3/1", 0x0A010203, 0x80000000},
        {"10.1.2.3/31", 0x0A010203, 0xFFFFFFFE},
        {"10.1.2.3/32", 0x0A010203, 0xFFFFFFFF},
        {"10.0.0.1/33", 0x0A000001, 0xFFFFFFFF},
        {"10.1.2.3/-1", 0x0A010203, 0xFFFFFFFF},
        {"10.1.2.3/x", 0x0A010203, 0xFFFFFFFF},
        {"10.1.2.3-10.1.2.9", 0x0A010203, 0xFFFFFFFF},
        {"256.-1.511. 4/24", 0x00FFFF04, 0xFFFFFF00},
        {"10.1.2.3/2147483647", 0x0A010203, 0xFFFFFFFF},
    };
    for (const Row& row : rows) {
        LocBlock block;
        block.put<u16>(0, 1).put<u16>(2, 2).put(8, row.address).put(12, row.mask);
        EXPECT_EQ(loc(1, LineText().set(4, row.text)), (Commands{add_loc(7, block)})) << row.text;
    }
}

TEST_F(LineData, LocNumbersAreDecimalAndOnlyWithinTheirBounds)
{
    struct Row {
        const char* text;
        bool byte, half;
        u16 value;
    };
    constexpr Row rows[] = {
        {"0", true, true, 0},
        {"255", true, true, 255},
        {"256", false, true, 256},
        {"65535", false, true, 65535},
        {"65536", false, false, 0},
        {"-1", false, false, 0},
        {"-0", true, true, 0},
        {"7-9", true, true, 7},
        {" +7x", true, true, 7},
        {"0x7", true, true, 0},
        {"", false, false, 0},
        {"x", false, false, 0},
        {"2147483647", false, false, 0},
        {"-2147483648", false, false, 0},
    };
    for (const Row& row : rows) {
        LocBlock block;
        block.put<u16>(0, 1).put(2, static_cast<u16>((row.byte ? 1 : 0) | (row.half ? 4 : 0)));
        if (row.byte) block.put<u16>(4, row.value);
        if (row.half) block.put<u16>(6, row.value);
        EXPECT_EQ(loc(1, LineText().set(94, row.text).set(124, row.text)), (Commands{add_loc(7, block)})) << row.text;
    }
}

TEST_F(LineData, ATextThatFillsItsSlotEndsThereWhateverFollows)
{
    const auto filled = [](const std::string& text) { return std::string(slot_size - text.size(), ' ') + text; };
    LineText line;
    line.set(4, filled("10.0.0.0/2"))
        .set(34, "8.8.8.8")
        .set(64, filled("-2"))
        .set(94, filled("1"))
        .set(124, filled("4"));
    line.set(154, filled("5"));
    PrefilterBlock block;
    block.put(0, 0u).put(4, 0x3Fu);
    block.put4<u8>(8, {0, 2, 255, 1}).put4<u8>(12, {1, 0, 255, 0});
    block.put4<u32>(16, {0x08080808, 0, 0xFFFFFFFF, 0}).put4<u32>(32, {0, 0, 0xC0000000, 0});
    block.put4<u16>(48, {5, 0, 65535, 0}).put4<u16>(56, {4, 0, 65535, 0});
    EXPECT_EQ(prefilter(1, line), (Commands{add_prefilter(7, block)}));
    LocBlock location;
    location.put<u16>(0, 1).put<u16>(2, 7).put<u16>(4, 1).put<u16>(6, 4).put(8, 0x0A000000u).put(12, 0xC0000000u);
    EXPECT_EQ(loc(1, line), (Commands{add_loc(7, location)}));
}

// A loc line's last text ends at byte 154 of the buffer.
TEST_F(LineData, NothingBehindTheLastSlotIsRead)
{
    LineText prefilter_line(line_size);
    LineText loc_line(154);
    for (const std::size_t slot : slots) {
        prefilter_line.set(slot, std::string(slot_size, '1'));
        if (slot + slot_size <= loc_line.size()) loc_line.set(slot, std::string(slot_size, '1'));
    }
    EXPECT_EQ(prefilter(1, prefilter_line), (Commands{add_prefilter(7, expected_prefilter(prefilter_line.get(), 1))}));
    EXPECT_EQ(loc(1, loc_line).size(), 1u);
}

TEST_F(LineData, TheFirstFourBytesDoNotMatter)
{
    LineText line;
    line.set(4, "10.0.0.1").set(94, "6");
    const Commands filter = prefilter(1, line);
    const Commands location = loc(1, line);
    for (const int byte : {0, 0x31, 0xFF}) {
        std::memset(line.get(), byte, 4);
        EXPECT_EQ(prefilter(1, line), filter);
        EXPECT_EQ(loc(1, line), location);
    }
}

// The same texts in every run, in every slot: some fill it, so that they have no terminator, and some have one early.
TEST_F(LineData, TheBuffersOfDamagedTextsGiveWhatTheReadingByHandGives)
{
    Random random{2};
    FieldTexts texts{random};
    LineText line;
    for (u32 i = 0; i < 6000 && !HasFailure(); ++i) {
        for (const std::size_t slot : slots) {
            if (random.once_in(3)) continue;
            std::string text = texts.some(slot_size);
            if (random.once_in(10)) {
                while (text.size() < slot_size) text += static_cast<char>(random.below(256));
            }
            line.set(slot, text);
        }
        const u32 action = random.below(3);
        EXPECT_EQ(prefilter(3, line, action), (Commands{add_prefilter(7, expected_prefilter(line.get(), action))}));
        EXPECT_EQ(loc(3, line, action), (Commands{add_loc(7, expected_loc(line.get(), action))}));
    }
}

TEST_F(LineData, ARefusingNPIsNotReportedAndEachCommandIsSentTwice)
{
    LineText line;
    const std::string filter = add_prefilter(7, expected_prefilter(line.get(), 1));
    const std::string location = add_loc(7, expected_loc(line.get(), 1));
    for (const recorder::Failure how : {recorder::Failure::delivery, recorder::Failure::status}) {
        recorder::fail_always(how);
        EXPECT_EQ(prefilter(0, line), (Commands{"rem_prefilter_act(7, 0)", "rem_prefilter_act(7, 0)", filter, filter}));
        EXPECT_EQ(loc(0, line), (Commands{"rem_loc_act(7, 0)", "rem_loc_act(7, 0)", location, location}));
    }
    recorder::reset();
    recorder::fail_builders(4);
    EXPECT_EQ(prefilter(0, line), Commands{});
    EXPECT_EQ(loc(0, line), Commands{});
}

}  // namespace
}  // namespace zelfdb
