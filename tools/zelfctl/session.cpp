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
#include "words.h"

namespace zelfctl {
namespace {

bool session_runs = false;

bool speaks_for_itself(const std::string& verb) { return verb == "echo"; }

int run_line(const SessionOptions& options, u32 number, const std::string& line)
{
    const SplitLine read = split_words(line);
    const std::vector<std::string>& words = read.words;
    int code = exit_done;
    if (read.quote_is_open) {
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
    if (session_runs) {
        complain("a session cannot run another");
        return exit_usage;
    }
    session_runs = true;
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
