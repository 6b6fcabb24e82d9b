// A line of text as words with their columns. Used by the reader.
#pragma once

#include <string_view>
#include <vector>

#include "language/types.h"

namespace zelfctl {

struct Token {
    std::string_view text;
    u32 column;  // of its first byte, from 1
};

// Blanks separate tokens. A token that begins with # ends the line: the rest is a comment.
std::vector<Token> split(std::string_view line);

// The column just behind the last character that is neither blank nor comment.
u32 column_after(const std::vector<Token>& tokens);

}  // namespace zelfctl
