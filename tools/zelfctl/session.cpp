#include "session.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <thread>

#include "database.h"
#include "verbs.h"

namespace zelfctl {
namespace {

bool running = false;

// Words of a line, as a shell takes them: blanks separate, quotes of both kinds keep together, # begins a comment.
// False if a quote is not closed.
bool split_words(const std::string& line, std::vector<std::string>& words)
{
    char quote = 0;
    bool in_word = false;
    for (const char c : line) {
        const bool blank = c == ' ' || c == '\t' || c == '\r';
        if (quote == 0 && blank) {
            in_word = false;
            continue;
        }
        if (quote == 0 && !in_word && c == '#') return true;
        if (!in_word) words.emplace_back();
        in_word = true;
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == quote) {
            quote = 0;
        } else {
            words.back() += c;
        }
    }
    return quote == 0;
}

bool speaks_for_itself(const std::string& verb) { return verb == "echo"; }

int run_line(const SessionOptions& options, u32 number, const std::string& line)
{
    std::vector<std::string> words;
    int code = exit_done;
    if (!split_words(line, words)) {
        complain("a quote is not closed");
        code = exit_usage;
    } else if (!words.empty()) {
        if (!options.quiet && !speaks_for_itself(words.front())) std::printf("\n$ zelfctl %s\n", line.c_str());
        std::fflush(stdout);  // so that errors stand where they belong
        code = run_words(words);
        std::fflush(stdout);
    }
    if (code != exit_done)
        complain(options.file + ":" + std::to_string(number) + ": this line ended with " + std::to_string(code));
    return code;
}

int run_stream(const SessionOptions& options, std::istream& in)
{
    std::string line;
    int worst = exit_done;
    for (u32 number = 1; std::getline(in, line); ++number) {
        const int code = run_line(options, number, line);
        worst = std::max(worst, code);
        if (code != exit_done && !options.keep_going) break;
    }
    return worst;
}

}  // namespace

int session(const SessionOptions& options)
{
    if (running) {
        complain("a session cannot run another");
        return exit_usage;
    }
    running = true;
    if (options.file == "-") return run_stream(options, std::cin);
    std::ifstream in(options.file);
    if (!in) {
        complain(options.file + ": " + std::strerror(errno));
        return exit_failed;
    }
    return run_stream(options, in);
}

int wait_for(u32 seconds)
{
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return exit_done;
}

int run_program(const std::vector<std::string>& words)
{
    if (words.empty()) {
        complain("exec: no program was named");
        return exit_usage;
    }
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    std::vector<std::string> copy = words;
    for (std::string& word : copy) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::fflush(stdout);
    execvp(arguments.front(), arguments.data());
    complain(words.front() + ": " + std::strerror(errno));
    return exit_failed;
}

}  // namespace zelfctl
