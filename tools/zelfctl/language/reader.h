// Reads one line of the command language. Called by everything that takes commands: files, the command line, a session.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "language/commands.h"

namespace zelfctl {

struct ReadError {
    u32 column;        // from 1, in characters
    std::string word;  // empty: the line ended there
    std::vector<std::string> expected;

    // "unexpected 'prt', expected 'port' or 'vlan'"
    [[nodiscard]] std::string text() const;
};

struct ReadLine {
    const Command* command = nullptr;  // null without error: an empty line or a comment
    Arguments arguments;               // refers to the text of the line, which must outlive it
    std::optional<ReadError> error;
};

ReadLine read_line(std::string_view line);

// Whether some command starts with that word.
bool starts_a_command(std::string_view word);

}  // namespace zelfctl
