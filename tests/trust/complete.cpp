// The table of operations is the header's, name for name.
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "trust/operations.h"

namespace zelfdb::trust {
namespace {

std::string header_text()
{
    std::ifstream in(HEADER);
    std::string text;
    for (std::string line; std::getline(in, line);) {
        if (!line.starts_with('#')) text += line + "\n";
    }
    return text;
}

struct Declaration {
    std::string comment;  // the one right before it; empty where there is none
    std::string name;
};

std::vector<Declaration> declarations()
{
    const std::string text = header_text();
    std::vector<Declaration> all;
    std::size_t end_of_last = 0;
    for (std::size_t at = text.find("ZELFDB_API "); at != std::string::npos; at = text.find("ZELFDB_API ", at + 1)) {
        const std::size_t open = text.find('(', at);
        std::size_t first = open;
        while (std::isalnum(text[first - 1]) || text[first - 1] == '_') --first;
        const std::size_t comment = text.rfind("/**", at);
        const bool own = comment != std::string::npos && comment > end_of_last;
        all.push_back({own ? text.substr(comment, at - comment) : "", text.substr(first, open - first)});
        end_of_last = text.find(';', open);
    }
    return all;
}

std::set<u32> numbers_in(const std::string& text)
{
    std::set<u32> all;
    const std::regex number("\\b[0-9]+\\b");
    for (std::sregex_iterator match(text.begin(), text.end(), number), end; match != end; ++match) {
        all.insert(static_cast<u32>(std::stoul(match->str())));
    }
    return all;
}

// The detail codes that exist, but for 0 and 1, which every operation may answer.
std::set<u32> known_codes()
{
    const std::string text = header_text();
    const std::size_t first = text.find("enum zelfdb_code");
    std::set<u32> codes;
    const std::string list = text.substr(first, text.find("};", first) - first);
    const std::regex entry("= ([0-9]+)");
    for (std::sregex_iterator match(list.begin(), list.end(), entry), end; match != end; ++match) {
        const u32 code = static_cast<u32>(std::stoul((*match)[1].str()));
        if (code > 1) codes.insert(code);
    }
    return codes;
}

const Row* row_of(const std::string& name)
{
    for (const Row& row : rows()) {
        if (row.name == name) return &row;
    }
    return nullptr;
}

TEST(Table, HasOneRowForEveryDeclaredOperation)
{
    std::set<std::string> listed;
    for (const Row& row : rows()) EXPECT_TRUE(listed.insert(row.name).second) << row.name << " has two rows";
    std::set<std::string> declared;
    for (const Declaration& declaration : declarations()) declared.insert(declaration.name);
    EXPECT_EQ(listed, declared);
    EXPECT_EQ(listed.size(), 121u);
}

// Where an operation's own comment lists its codes, the row has the same ones.
TEST(Table, HasTheCodesThatTheHeaderNames)
{
    const std::set<u32> known = known_codes();
    u32 compared = 0;
    for (const Declaration& declaration : declarations()) {
        const std::size_t at = declaration.comment.find("@param err");
        if (at == std::string::npos) continue;
        const std::string words = declaration.comment.substr(at, declaration.comment.find("@return", at) - at);
        std::set<u32> named;
        for (const u32 number : numbers_in(words)) {
            if (known.count(number)) named.insert(number);
        }
        const Row* const row = row_of(declaration.name);
        ASSERT_NE(nullptr, row) << declaration.name;
        std::set<u32> listed(row->codes.begin(), row->codes.end());
        listed.erase(1);
        EXPECT_EQ(listed, named) << declaration.name;
        ++compared;
    }
    EXPECT_GE(compared, 60u);
    std::printf("codes compared: %u operations\n", compared);
}

}  // namespace
}  // namespace zelfdb::trust
