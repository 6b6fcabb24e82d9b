#include "language/reader.h"

#include "language/characters.h"

namespace zelfctl {
namespace {

ReadError error_at(std::string_view line, const std::vector<Token>& tokens, Mismatch mismatch)
{
    const bool at_end = mismatch.token >= tokens.size();
    const u32 byte = at_end ? column_after(tokens) : tokens[mismatch.token].column;
    const auto column = static_cast<u32>(characters_in(line.substr(0, byte - 1)) + 1);
    return {column, at_end ? std::string{} : std::string(tokens[mismatch.token].text), std::move(mismatch.expected)};
}

}  // namespace

std::string ReadError::text() const
{
    std::string text = word.empty() ? "the line ends" : "unexpected '" + printable(word) + "'";
    text += ", expected ";
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (i != 0) text += i + 1 == expected.size() ? " or " : ", ";
        text += expected[i];
    }
    return text;
}

ReadLine read_line(std::string_view line)
{
    const std::vector<Token> tokens = split(line);
    if (tokens.empty()) return {};

    for (const Command& command : all_commands()) {
        Arguments arguments;
        if (match(command.parts, tokens, arguments, nullptr)) return {&command, std::move(arguments), {}};
    }
    // What is wrong with a line takes much longer to say than to see.
    Mismatch mismatch;
    for (const Command& command : all_commands()) {
        Arguments arguments;
        match(command.parts, tokens, arguments, &mismatch);
    }
    return {nullptr, {}, error_at(line, tokens, std::move(mismatch))};
}

bool starts_a_command(std::string_view word)
{
    const std::vector<Token> tokens = split(word);
    Mismatch mismatch;
    Arguments arguments;
    for (const Command& command : all_commands()) match(command.parts, tokens, arguments, &mismatch);
    return tokens.size() == 1 && mismatch.token == 1;
}

}  // namespace zelfctl
