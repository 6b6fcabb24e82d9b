// The field parsers, rule by rule.
#include <gtest/gtest.h>

#include "classify/parsers_test.h"

namespace zelfdb {
namespace {

Field<u32> address(const std::string& text) { return parsed(parse_ipv4_field, text); }
Field<u8> byte(const std::string& text, i32 lower = 0, i32 upper = 255)
{
    return parsed<u8>(parse_u8_field, text, lower, upper);
}
Field<u16> half(const std::string& text, i32 lower = 0, i32 upper = 65535)
{
    return parsed<u16>(parse_u16_field, text, lower, upper);
}

constexpr u32 host = 0xFFFFFFFF;

TEST(AddressField, AnAddressAloneIsAHost)
{
    EXPECT_EQ(address("10.1.2.3"), single(0x0A010203u, host));
    EXPECT_EQ(address("0.0.0.0"), single(0u, host));
    EXPECT_EQ(address("255.255.255.255"), single(host, host));
    EXPECT_EQ(address("  10. 1.\t2.3 rubbish"), single(0x0A010203u, host));
}

TEST(AddressField, APrefixLengthMasksTheAddress)
{
    EXPECT_EQ(address("10.0.0.0/8"), single(0x0A000000u, 0xFF000000u));
    EXPECT_EQ(address("10.1.2.3/8"), single(0x0A000000u, 0xFF000000u));
    EXPECT_EQ(address("10.1.2.3/32"), single(0x0A010203u, host));
    EXPECT_EQ(address("10.1.2.3/31"), single(0x0A010202u, 0xFFFFFFFEu));
    EXPECT_EQ(address("255.255.255.255/1"), single(0x80000000u, 0x80000000u));
    EXPECT_EQ(address("10.1.2.3/0"), single(0u, 0u));
}

TEST(AddressField, EveryPrefixLengthFrom0To32IsThatManyLeadingOnesAndNoOtherIsTaken)
{
    for (i32 length = 1; length <= 32; ++length) {
        const u32 mask = static_cast<u32>(0xFFFFFFFF00000000ull >> length);
        EXPECT_EQ(address("255.255.255.255/" + std::to_string(length)), single(mask, mask));
        EXPECT_EQ(address("0.0.0.0-255.255.255.255/" + std::to_string(length)), range(0u, mask, mask));
    }
    for (const char* length : {"33", "64", "255", "256", "-1", "-32", "2147483647", "-2147483648"}) {
        EXPECT_EQ(address(std::string("10.0.0.1/") + length), absent<u32>()) << length;
        EXPECT_EQ(address(std::string("10.0.0.1-10.0.0.9/") + length), absent<u32>()) << length;
    }
}

TEST(AddressField, ARangeHasBothEndsMaskedBeforeTheyAreCompared)
{
    EXPECT_EQ(address("10.0.0.1-10.0.0.9"), range(0x0A000001u, 0x0A000009u, host));
    EXPECT_EQ(address("10.0.0.0-10.0.3.0/24"), range(0x0A000000u, 0x0A000300u, 0xFFFFFF00u));
    EXPECT_EQ(address("10.0.0.9-10.0.0.1"), absent<u32>());
    EXPECT_EQ(address("10.0.0.9-10.0.0.1/24"), single(0x0A000000u, 0xFFFFFF00u));
    EXPECT_EQ(address("10.0.0.9-10.0.0.9"), single(0x0A000009u, host));
    EXPECT_EQ(address("127.255.255.255-128.0.0.0"), range(0x7FFFFFFFu, 0x80000000u, host));
    EXPECT_EQ(address("200.0.0.0-100.0.0.0/0"), single(0u, 0u));
}

TEST(AddressField, AnythingElseIsAbsentAndTouchesNothing)
{
    for (const char* text : {"", " ", "x", "-", "10", "10.", "10.0.0", "10.0.0.", "10 .0.0.1", "10,0.0.1", "10.0.0.x",
                             "10.0.0.1-10", "10.0.0.1-10.0", "10.0.0.1-10.0.0", "10.0.0.1-10.0.0.", "/8", "..."}) {
        EXPECT_EQ(address(text), absent<u32>()) << "\"" << text << "\"";
    }
}

TEST(AddressField, WhatFollowsACompleteFieldIsNotLookedAt)
{
    EXPECT_EQ(address("10.0.0.1-"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1-x"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1/"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1/x"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1 /8"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1 -10.0.0.9"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1.7"), single(0x0A000001u, host));
    EXPECT_EQ(address("10.0.0.1/8-10.0.0.9"), single(0x0A000000u, 0xFF000000u));
    EXPECT_EQ(address("10.0.0.1-10.0.0.9/"), range(0x0A000001u, 0x0A000009u, host));
    EXPECT_EQ(address("10.0.0.1-10.0.0.9-1"), range(0x0A000001u, 0x0A000009u, host));
    EXPECT_EQ(address("10.0.0.1-10.0.0.9 /24"), range(0x0A000001u, 0x0A000009u, host));
}

TEST(AddressField, OctetsWrapAndMayHaveBlanksAndASign)
{
    EXPECT_EQ(address("256.257.511.512"), single(0x0001FF00u, host));
    EXPECT_EQ(address("+10.-1. 2.007"), single(0x0AFF0207u, host));
    EXPECT_EQ(address("10.0.0.1/ +8"), single(0x0A000000u, 0xFF000000u));
    EXPECT_EQ(address("10.0.0.1- 10.0.0.9"), range(0x0A000001u, 0x0A000009u, host));
    EXPECT_EQ(address("10.0.0.1/0x8"), single(0u, 0u));
}

TEST(NumberField, AValueAloneHasAFullMask)
{
    EXPECT_EQ(byte("7"), single<u8>(7, 255));
    EXPECT_EQ(half("80"), single<u16>(80, 65535));
    EXPECT_EQ(byte("0"), single<u8>(0, 255));
    EXPECT_EQ(byte("255"), single<u8>(255, 255));
    EXPECT_EQ(half("65535"), single<u16>(65535, 65535));
    EXPECT_EQ(half(" \t+80 rubbish"), single<u16>(80, 65535));
    EXPECT_EQ(half("0x50"), single<u16>(0, 65535));
}

TEST(NumberField, ALeadingMinusMeansUpTo)
{
    EXPECT_EQ(byte("-7"), range<u8>(0, 7, 255));
    EXPECT_EQ(byte("-7/f"), range<u8>(0, 7, 15));
    EXPECT_EQ(byte("-23/f"), range<u8>(0, 7, 15));
    EXPECT_EQ(byte("-16/f"), single<u8>(0, 15));
    EXPECT_EQ(byte("-0"), single<u8>(0, 255));
    EXPECT_EQ(half("-65535"), range<u16>(0, 65535, 65535));
    EXPECT_EQ(half("-2147483648"), single<u16>(0, 65535));
}

TEST(NumberField, ARangeMayHaveAMask)
{
    EXPECT_EQ(byte("3-9"), range<u8>(3, 9, 255));
    EXPECT_EQ(byte("3-9/f"), range<u8>(3, 9, 15));
    EXPECT_EQ(byte("9-3"), absent<u8>());
    EXPECT_EQ(byte("9-9"), single<u8>(9, 255));
    EXPECT_EQ(byte("19-3/f"), single<u8>(3, 15));
    EXPECT_EQ(byte("25-3/f"), absent<u8>());
    EXPECT_EQ(half("1024-65535/ff00"), range<u16>(1024, 0xFF00, 0xFF00));
}

TEST(NumberField, ANegativeNumberInARangeIsNotUpTo)
{
    EXPECT_EQ(byte("-7-9"), absent<u8>());
    EXPECT_EQ(byte("-7-9/f"), single<u8>(9, 15));
    EXPECT_EQ(byte("-9-9/f"), range<u8>(7, 9, 15));
    EXPECT_EQ(byte("3--9"), range<u8>(3, 247, 255));
    EXPECT_EQ(byte("-7--3"), range<u8>(249, 253, 255));
}

TEST(NumberField, TheMaskIsHexAndItsLowByteOrHalfCounts)
{
    EXPECT_EQ(byte("255/f0"), single<u8>(0xF0, 0xF0));
    EXPECT_EQ(byte("255/0xF0"), single<u8>(0xF0, 0xF0));
    EXPECT_EQ(byte("255/1f0"), single<u8>(0xF0, 0xF0));
    EXPECT_EQ(half("65535/1f0"), single<u16>(0x1F0, 0x1F0));
    EXPECT_EQ(half("65535/ffff00ff"), single<u16>(0xFF, 0xFF));
    EXPECT_EQ(byte("255/0"), single<u8>(0, 0));
    EXPECT_EQ(byte("1-255/0"), single<u8>(0, 0));
    EXPECT_EQ(byte("7/-1"), single<u8>(7, 255));
}

TEST(NumberField, TheMaskComesBeforeTheBounds)
{
    EXPECT_EQ(byte("300"), single<u8>(44, 255));
    EXPECT_EQ(half("65536"), single<u16>(0, 65535));
    EXPECT_EQ(byte("1-256"), absent<u8>());
    EXPECT_EQ(byte("5", 10, 20), single<u8>(10, 255));
    EXPECT_EQ(byte("30", 10, 20), single<u8>(20, 255));
    EXPECT_EQ(byte("5-30", 10, 20), range<u8>(10, 20, 255));
    EXPECT_EQ(byte("1-5", 10, 20), single<u8>(10, 255));
    EXPECT_EQ(byte("30-25", 10, 20), single<u8>(20, 255));
    EXPECT_EQ(byte("25/f", 10, 20), single<u8>(10, 15));
    EXPECT_EQ(half("300", 0, 255), single<u16>(255, 65535));
    EXPECT_EQ(half("9", 10, 10), single<u16>(10, 65535));
}

TEST(NumberField, WhatFollowsACompleteFieldIsNotLookedAt)
{
    for (const char* text : {"7/", "7-", "7/x", "7-x", "7 /f", "7 -9", "7.9", "7-/f", "7/-"}) {
        EXPECT_EQ(byte(text), single<u8>(7, 255)) << "\"" << text << "\"";
    }
    for (const char* text : {"3-9/", "3-9/x", "3-9-1", "3-9 /f"}) {
        EXPECT_EQ(byte(text), range<u8>(3, 9, 255)) << "\"" << text << "\"";
    }
    EXPECT_EQ(byte("7/f-9"), single<u8>(7, 15));
}

TEST(NumberField, AnythingElseIsAbsentAndTouchesNothing)
{
    for (const char* text : {"", " ", "x", "-", "+", "- 7", "--7", "+-7", "/f", "/", "a7"}) {
        EXPECT_EQ(byte(text), absent<u8>()) << "\"" << text << "\"";
        EXPECT_EQ(half(text), absent<u16>()) << "\"" << text << "\"";
    }
}

}  // namespace
}  // namespace zelfdb
