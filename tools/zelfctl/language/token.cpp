#include "language/token.h"

namespace zelfctl {
namespace {

constexpr std::string_view blanks = " \t\r\v\f\n";

}  // namespace

std::vector<Token> split(std::string_view line)
{
    std::vector<Token> tokens;
    std::size_t at = line.find_first_not_of(blanks);
    while (at != std::string_view::npos && line[at] != '#') {
        std::size_t end = line.find_first_of(blanks, at);
        if (end == std::string_view::npos) end = line.size();
        tokens.push_back({line.substr(at, end - at), static_cast<u32>(at + 1)});
        at = line.find_first_not_of(blanks, end);
    }
    return tokens;
}

u32 column_after(const std::vector<Token>& tokens)
{
    if (tokens.empty()) return 1;
    return tokens.back().column + static_cast<u32>(tokens.back().text.size());
}

}  // namespace zelfctl
