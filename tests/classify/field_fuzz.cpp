// The field parsers against the reading by hand, over many damaged texts. Every run tries the same ones; the fuzz target of
// the same name looks for others.
#include <gtest/gtest.h>

#include "classify/expected_blocks.h"
#include "classify/field_texts.h"
#include "classify/parsers_test.h"

namespace zelfdb {
namespace {

// Emulated processors take ten times as long for each.
#ifdef __powerpc__
constexpr u32 inputs = 20000;
#else
constexpr u32 inputs = 200000;
#endif

struct Seen {
    u32 addresses = 0;
    u32 bytes = 0;
    u32 halves = 0;
};

// What the slots of a line hold: a text ends at its first zero, and at 30 bytes at the latest.
TEST(FieldFuzz, DamagedTextsGiveWhatTheReadingByHandGives)
{
    Random random{1};
    FieldTexts texts{random};
    Seen seen;
    for (u32 i = 0; i < inputs && !testing::Test::HasFailure(); ++i) {
        const std::string slot = texts.some(slot_size);
        const std::string text = slot.substr(0, slot.find('\0'));
        const i32 lower = random.once_in(4) ? static_cast<i32>(random.below(300)) : 0;
        const i32 upper = lower + static_cast<i32>(random.once_in(4) ? random.below(65536 - 300) : 65535 - 300);

        const Field<u32> address = parsed(reference_address, text);
        const Field<u8> byte = parsed<u8>(reference_number<u8>, text, lower & 0xFF, 255);
        const Field<u16> half = parsed<u16>(reference_number<u16>, text, lower, upper);
        seen.addresses += address.result == 1;
        seen.bytes += byte.result == 1;
        seen.halves += half.result == 1;
        EXPECT_EQ(parsed(parse_ipv4_field, text), address) << testing::PrintToString(text);
        EXPECT_EQ(parsed<u8>(parse_u8_field, text, lower & 0xFF, 255), byte) << testing::PrintToString(text);
        EXPECT_EQ(parsed<u16>(parse_u16_field, text, lower, upper), half) << testing::PrintToString(text);
    }
    // Enough of both, so that neither side of a parser was left out.
    for (const u32 present : {seen.addresses, seen.bytes, seen.halves}) {
        EXPECT_GT(present, inputs / 20);
        EXPECT_LT(present, inputs - inputs / 20);
    }
}

}  // namespace
}  // namespace zelfdb
