// The manual pages: made from what they tell about, complete, and without a warning of the formatter.
#include <regex>
#include <set>

#include "tool.h"

namespace tool {
namespace {

const std::string docs = SOURCE "/docs/";
const std::string header_path = SOURCE "/include/zelfdb/zelfdb.h";

TEST(Manual, TheToolsPagesAreThoseThatItPrints)
{
    EXPECT_TRUE(content_of(docs + "zelfctl.1") == good({"manual"})) << "make it anew: zelfctl manual > docs/zelfctl.1";
    EXPECT_TRUE(content_of(docs + "zelfctl-commands.7") == good({"manual", "commands"}))
        << "make it anew: zelfctl manual commands > docs/zelfctl-commands.7";
}

TEST(Manual, TheLibrarysPageIsMadeFromItsHeader)
{
    const Result made = run({"python3", SOURCE "/tools/dev/make-library-manual.py", header_path, VERSION});
    EXPECT_EQ("", made.err);
    EXPECT_TRUE(content_of(docs + "libzelfdb.3") == made.out)
        << "make it anew: tools/dev/make-library-manual.py include/zelfdb/zelfdb.h " VERSION " > docs/libzelfdb.3";
}

TEST(Manual, EveryOperationHasItsPartOfTheLibrarysPage)
{
    const std::string page = content_of(docs + "libzelfdb.3");
    const std::string text = content_of(header_path);
    const std::regex operation(R"(\nZELFDB_API [^;(]*?(\w+)\()");
    std::set<std::string> names;
    for (std::sregex_iterator i(text.begin(), text.end(), operation), end; i != end; ++i) names.insert((*i)[1]);
    EXPECT_GT(names.size(), 100U);
    for (const std::string& name : names) EXPECT_NE(std::string::npos, page.find(".SS \"" + name + "\"\n")) << name;
}

TEST(Manual, TheFormatterHasNoWarningForAnyPage)
{
    for (const char* const page : {"zelfctl.1", "zelfctl-commands.7", "libzelfdb.3"}) {
        const Result result = run({"groff", "-man", "-ww", "-z", "-Tutf8", docs + page});
        EXPECT_EQ(0, result.code) << page;
        EXPECT_EQ("", result.err) << page;
    }
}

TEST(Manual, ThereIsNoPageOfAnotherName) { EXPECT_EQ(2, zelfctl({"manual", "shell"}).code); }

}  // namespace
}  // namespace tool
