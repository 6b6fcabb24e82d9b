// The first ten minutes of README.md run as they are written there.
#include "tool.h"

namespace tool {
namespace {

using testing::HasSubstr;

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// The lines of all blocks for a shell.
std::string blocks_of(const std::string& text)
{
    const std::string begin = "```sh\n";
    std::string lines;
    for (std::size_t at = 0; (at = text.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        const std::size_t end = text.find("```", at);
        lines += text.substr(at, end - at);
        at = end;
    }
    return lines;
}

TEST(Readme, TheFirstTenMinutesRunAsWritten)
{
    const Folder folder;
    const std::string readme = content_of(SOURCE "/README.md");
    const std::size_t begin = readme.find("**Start it.**");
    const std::size_t end = readme.find("**Link against it.**");
    ASSERT_TRUE(begin < end && end != std::string::npos);
    std::string lines = blocks_of(readme.substr(begin, end - begin));
    EXPECT_THAT(lines, HasSubstr("$PWD/build/run/"));
    lines = replaced(lines, "/tmp/", folder.path() + "/");
    lines = replaced(lines, "$PWD/build/run/", BUILD_DIR "/");
    const Result result = run({"bash"}, "cd " SOURCE "\n" + lines);
    EXPECT_EQ(0, result.code);
    EXPECT_EQ("", result.err);
    for (const char* const part :
         {"46 commands done, 0 failed\n", "member          port 1, tagged 8100\n", "4 learned",
          "+ set port 1 aging 300\n", "1 command run\n", "the database is clean\n", "there is nothing to repair",
          "missing    port 1", " 0 refused\n", "all agrees\n", "1 2 3\n", "Usage: zelfctl show fdb"})
        EXPECT_THAT(result.out, HasSubstr(part));
}

}  // namespace
}  // namespace tool
