// The field parsers against the reading by hand, over a generated table and over random texts.
#include <gtest/gtest.h>

#include <vector>

#include "classify/parsers_test.h"
#include "classify/reference_parsers.h"
#include "support/random.h"

namespace zelfdb {
namespace {

u32 fields_present = 0;

void compare_addresses(const std::string& text)
{
    const Field<u32> expected = parsed(reference_address, text);
    fields_present += expected.result == 1;
    EXPECT_EQ(parsed(parse_ipv4_field, text), expected) << "\"" << text << "\"";
}
template <class Value>
void compare_numbers(Parser<Value>* parser, const std::string& text, i32 lower, i32 upper)
{
    const auto expected = parsed<Value>(reference_number<Value>, text, lower, upper);
    fields_present += expected.result == 1;
    EXPECT_EQ(parsed<Value>(parser, text, lower, upper), expected) << "\"" << text << "\" " << lower << ".." << upper;
}
void compare_numbers(const std::string& text)
{
    compare_numbers<u8>(parse_u8_field, text, 0, 255);
    compare_numbers<u16>(parse_u16_field, text, 0, 65535);
    compare_numbers<u8>(parse_u8_field, text, 10, 20);
    compare_numbers<u16>(parse_u16_field, text, 100, 300);
}

using Pieces = std::vector<std::string>;

// Every text of one piece of each list in turn.
// Ends with the first that fails the test.
template <class Use>
void for_every_text(const std::vector<Pieces>& lists, const Use& use, const std::string& start = "",
                    std::size_t from = 0)
{
    if (testing::Test::HasFailure()) return;
    if (from == lists.size()) return use(start);
    for (const std::string& piece : lists[from]) for_every_text(lists, use, start + piece, from + 1);
}

class FieldTable : public testing::Test {
protected:
    void SetUp() override { fields_present = 0; }
};

TEST_F(FieldTable, AddressesWithEveryTail)
{
    const Pieces quads = {"10.0.0.1",
                          "10.0.0.255",
                          "0.0.0.0",
                          "255.255.255.255",
                          "128.0.0.0",
                          "1.2.3",
                          "1.2.3.",
                          "256.300.511.-1",
                          " 1. 2.\t3.+4",
                          "01.002.0003.4",
                          "",
                          "x",
                          "1..2.3",
                          "1.2.3.x",
                          "1 .2.3.4",
                          "4294967297.1.1.1",
                          "-1.-2.-3.-4",
                          "99999999999999999999999.1.1.1",
                          "1.2.3.-99999999999999999999999"};
    const Pieces masks = {"",     "/0",   "/1",   "/8",          "/24",
                          "/31",  "/32",  "/33",  "/-1",         "/",
                          "/x",   "/ 8",  "/+8",  "/08",         "/0x8",
                          " /8",  "/8/8", "/8 x", "/-",          "//8",
                          "/100", "-",    "-x",   "/4294967304", "/99999999999999999999999"};
    Pieces ends = {""};
    for (const std::string& quad : quads) {
        ends.push_back("-" + quad);
        ends.push_back("- " + quad);
    }
    ends.insert(ends.end(), {"-10", "-10.", "-10.0", "-10.0.0", " -10.0.0.9", "--10.0.0.9", "+10.0.0.9"});
    for_every_text({quads, ends, masks}, compare_addresses);
    EXPECT_GT(fields_present, 5000u);
}

TEST_F(FieldTable, NumbersRangesAndMasks)
{
    const Pieces numbers = {"",
                            "0",
                            "7",
                            "-7",
                            "9",
                            "10",
                            "15",
                            "16",
                            "20",
                            "21",
                            "127",
                            "128",
                            "255",
                            "256",
                            "300",
                            "-300",
                            "4095",
                            "32768",
                            "65535",
                            "65536",
                            "70000",
                            "-65536",
                            "2147483647",
                            "-2147483648",
                            " 5",
                            "+5",
                            "-",
                            "--5",
                            "007",
                            "0x1f",
                            "f",
                            "4294967295",
                            "4294967303",
                            "99999999999999999999999",
                            "-99999999999999999999999"};
    const Pieces separators = {"", "-", " -", "- ", "--", "/", "."};
    const Pieces masks = {
        "",     "/0",  "/1",     "/f", "/F0", "/ff", "/0xf", "/0x", "/0xg",        "/ffff",
        "/100", "/-1", "/10000", "/g", "/",   "/ f", "/+f",  " /f", "/fffffffff0", "/ffffffffffffffffffffff"};
    for_every_text({numbers, separators, numbers, masks}, [](const std::string& text) { compare_numbers(text); });
    EXPECT_GT(fields_present, 50000u);
}

class RandomFields : public FieldTable {
protected:
    std::string some_of(const std::string& alphabet)
    {
        std::string text;
        for (u32 length = random_.below(31); length > 0; --length) {
            text += alphabet[random_.below(static_cast<u32>(alphabet.size()))];
        }
        return text;
    }
    std::string some_digits(u32 usual, u32 unusual)
    {
        return std::to_string(random_.below(random_.once_in(4) ? unusual : usual));
    }
    // Mostly well-formed, with a character changed now and then.
    std::string some_address()
    {
        static constexpr const char* separators[] = {"", ".", ".", ".", "-", ".", ".", "."};
        std::string text;
        const u32 octets = random_.once_in(2) ? 4 : 8;
        for (u32 i = 0; i < octets; ++i) text.append(separators[i]).append(some_digits(256, 600));
        if (random_.once_in(2)) text.append("/").append(some_digits(33, 70));
        return damaged(text);
    }
    std::string some_number()
    {
        std::string text = random_.once_in(5) ? "-" : "";
        text.append(some_digits(300, 70000));
        if (random_.once_in(2)) text.append("-").append(some_digits(300, 70000));
        char mask[16];
        std::snprintf(mask, sizeof mask, "/%x", random_.below(0x20000));
        return damaged(random_.once_in(2) ? text : text + mask);
    }
    std::string damaged(std::string text)
    {
        if (!random_.once_in(4)) return text;
        const std::string alphabet = "0123456789.-/ +xXabcdefg\t\n\v\f\r~";
        text[random_.below(static_cast<u32>(text.size()))] = alphabet[random_.below(static_cast<u32>(alphabet.size()))];
        return text;
    }
    std::string some_bytes()
    {
        std::string text;
        for (u32 length = random_.below(31); length > 0; --length) text += static_cast<char>(1 + random_.below(255));
        return text;
    }

    static constexpr u32 rounds = 20000;
    Random random_;
};

TEST_F(RandomFields, OfTheirOwnLettersOrAlmostRight)
{
    SCOPED_TRACE(random_.trace());
    for (u32 i = 0; i < rounds && !HasFailure(); ++i) {
        compare_addresses(some_of("0123456789..../- "));
        compare_addresses(some_address());
        compare_numbers(some_of("0123456789-/ +xXafg"));
        compare_numbers(some_number());
    }
    EXPECT_GT(fields_present, rounds);
}

TEST_F(RandomFields, OfAnyBytes)
{
    SCOPED_TRACE(random_.trace());
    for (u32 i = 0; i < rounds && !HasFailure(); ++i) {
        const std::string text = some_bytes();
        compare_addresses(text);
        compare_numbers(text);
    }
}

}  // namespace
}  // namespace zelfdb
