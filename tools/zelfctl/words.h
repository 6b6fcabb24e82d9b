// A line as words, as a shell takes them: blanks separate, quotes of both kinds keep together, # begins a comment. Used by
// session and shell.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

struct SplitLine {
    std::vector<std::string> words;
    std::size_t last_at = 0;  // where the last word begins in the line, with its quote
    bool quote_is_open = false;
    bool last_goes_on = false;  // the line ends within the last word
    bool is_comment = false;    // the line ends within a comment
};

SplitLine split_words(const std::string& line);

// The word as it must be written to be read as one.
std::string quoted(const std::string& word);

}  // namespace zelfctl
