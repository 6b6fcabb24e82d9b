// Characters of UTF-8, and what is none.
#include "language/characters.h"

#include <gtest/gtest.h>

namespace zelfctl {
namespace {

TEST(Characters, AreCountedAndBytesThatAreNoneAsOneEach)
{
    const struct {
        const char* text;
        std::size_t characters;
    } rows[] = {
        {"", 0},
        {"abc", 3},
        {"l\xc3\xa4ger", 5},
        {"\xe2\x82\xac", 1},
        {"\xf0\x9f\x98\x80", 1},
        {"caf\xe9", 4},
        {"\x80\xbf", 2},
        {"\xc3", 1},  // cut short
        {"\xe2\x82", 2},
        {"\xc0\xaf", 2},  // longer than it need be
        {"\xe0\x9f\xbf", 3},
        {"\xf0\x8f\xbf\xbf", 4},
        {"\xed\xa0\x80", 3},      // half of a pair
        {"\xf4\x90\x80\x80", 4},  // beyond the last
        {"\xf5\x80\x80\x80", 4},
    };
    for (const auto& row : rows) EXPECT_EQ(row.characters, characters_in(row.text)) << row.text;
}

TEST(Characters, BytesOfTheFirst)
{
    EXPECT_EQ(0U, bytes_of_characters("l\xc3\xa4ger", 0));
    EXPECT_EQ(3U, bytes_of_characters("l\xc3\xa4ger", 2));
    EXPECT_EQ(6U, bytes_of_characters("l\xc3\xa4ger", 99));
    EXPECT_EQ(1U, bytes_of_characters("\xc3", 1));
}

TEST(Characters, ControlCharactersAndStrayBytesAreWrittenOut)
{
    EXPECT_EQ("l\xc3\xa4ger \xf0\x9f\x98\x80", printable("l\xc3\xa4ger \xf0\x9f\x98\x80"));
    EXPECT_EQ("\\x1b[31m\\x0a\\x7f", printable("\x1b[31m\n\x7f"));
    EXPECT_EQ("\\xc2\\x80\\xc2\\x9f\xc2\xa0", printable("\xc2\x80\xc2\x9f\xc2\xa0"));
    EXPECT_EQ("caf\\xe9", printable("caf\xe9"));
    EXPECT_EQ(std::string("a\\x00b"), printable(std::string("a\0b", 3)));
}

}  // namespace
}  // namespace zelfctl
