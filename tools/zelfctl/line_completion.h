// What may follow in an unfinished line of the tool: verbs, their parts, options and values, commands. For the shell, and for
// the shell that the tool is started from.
#pragma once

#include <string>
#include <vector>

namespace zelfctl {

struct Candidates {
    std::vector<std::string> words;
    bool files = false;  // the name of a file may stand there, too
};

Candidates complete_line(const std::vector<std::string>& before, const std::string& beginning);

// Files whose path begins so; a folder ends with a slash.
std::vector<std::string> complete_file(const std::string& beginning);

// The verb complete: the candidates for the last of the words, each on a line of its own. Where a file name may stand the last
// line is file_mark, which no candidate is, since it has a blank.
int print_candidates(const std::vector<std::string>& words);
inline constexpr const char* file_mark = "FILE NAME";

// The verb completion: what bash has to source.
int print_bash_completion();

}  // namespace zelfctl
