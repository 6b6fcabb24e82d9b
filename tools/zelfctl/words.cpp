#include "words.h"

namespace zelfctl {

SplitLine split_words(const std::string& line)
{
    SplitLine read;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const bool blank = c == ' ' || c == '\t' || c == '\r';
        if (quote == 0 && blank) {
            read.last_goes_on = false;
            continue;
        }
        if (quote == 0 && !read.last_goes_on && c == '#') {
            read.is_comment = true;
            return read;
        }
        if (!read.last_goes_on) {
            read.words.emplace_back();
            read.last_at = i;
            read.last_goes_on = true;
        }
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == quote) {
            quote = 0;
        } else {
            read.words.back() += c;
        }
    }
    read.quote_is_open = quote != 0;
    return read;
}

std::string quoted(const std::string& word)
{
    if (!word.empty() && word.front() != '#' && word.find_first_of(" \t\r'\"") == std::string::npos) return word;
    const char quote = word.find('\'') == std::string::npos ? '\'' : '"';
    return quote + word + quote;
}

}  // namespace zelfctl
