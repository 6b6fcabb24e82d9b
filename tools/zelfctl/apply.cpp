#include "apply.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>

#include "database.h"
#include "language/reader.h"

namespace zelfctl {
namespace {

constexpr std::size_t longest_line = 65536;

struct Tally {
    u32 run = 0;
    u32 failed = 0;
    std::map<std::string, u32> checked;  // commands by their first two words
};

struct Place {
    const std::string& file;
    u32 line;
};

void report(const Place& place, u32 column, const std::string& what)
{
    std::fflush(stdout);
    const std::string at = column == 0 ? "" : ":" + std::to_string(column);
    std::fprintf(stderr, "%s:%u%s: %s\n", place.file.c_str(), place.line, at.c_str(), what.c_str());
}

std::string trimmed(const std::string& line)
{
    const std::vector<Token> tokens = split(line);
    if (tokens.empty()) return {};
    const std::size_t begin = tokens.front().column - 1;
    return line.substr(begin, column_after(tokens) - 1 - begin);
}

std::string what_failed(const std::string& line, const Outcome& outcome)
{
    std::string text = trimmed(line) + ": " + outcome.text;
    if (outcome.code != 0) text += " (" + std::to_string(outcome.code) + ")";
    return text;
}

std::string kind_of(const Command& command) { return command.parts[0].name + " " + command.parts[1].name; }

// False if the line is wrong or its command failed. The command is run only when the whole line is right, and when there
// is a descriptor to run it with.
bool apply_line(zelfdb_descriptor* descriptor, const Place& place, const std::string& line, Tally& tally)
{
    if (line.size() > longest_line) {
        report(place, 0, "the line is longer than " + std::to_string(longest_line) + " characters");
        return false;
    }
    const ReadLine read = read_line(line);
    if (read.error) {
        report(place, read.error->column, read.error->text());
        return false;
    }
    if (!read.command) return true;
    if (!descriptor) {
        ++tally.checked[kind_of(*read.command)];
        return true;
    }
    const Outcome outcome = read.command->row->run(descriptor, read.arguments);
    if (!outcome.done) {
        report(place, 0, what_failed(line, outcome));
        return false;
    }
    ++tally.run;
    if (!outcome.text.empty()) std::printf("%s\n", outcome.text.c_str());
    return true;
}

// False when applying has to stop.
bool apply_stream(zelfdb_descriptor* descriptor, std::istream& in, const std::string& name, const ApplyOptions& options,
                  Tally& tally)
{
    std::string line;
    for (u32 number = 1; std::getline(in, line); ++number) {
        if (apply_line(descriptor, {name, number}, line, tally)) continue;
        ++tally.failed;
        if (!options.keep_going && !options.check) return false;
    }
    return true;
}

bool apply_file(zelfdb_descriptor* descriptor, const std::string& file, const ApplyOptions& options, Tally& tally)
{
    if (file == "-") return apply_stream(descriptor, std::cin, "standard input", options, tally);
    errno = 0;
    std::ifstream in(file);
    const bool readable = in.is_open() && in.peek() != std::ifstream::traits_type::eof();
    if (!in.is_open() || (!readable && errno != 0)) {  // a folder opens, but cannot be read
        complain(file + ": " + std::strerror(errno));
        ++tally.failed;
        return options.keep_going || options.check;
    }
    in.clear();
    return apply_stream(descriptor, in, file, options, tally);
}

void print_check(const Tally& tally)
{
    u32 commands = 0;
    for (const auto& [kind, count] : tally.checked) commands += count;
    std::printf("%s would run, %s wrong; nothing was applied\n", counted(commands, "command", "commands").c_str(),
                counted(tally.failed, "line is", "lines are").c_str());
    for (const auto& [kind, count] : tally.checked) std::printf("%8u  %s\n", count, kind.c_str());
}

}  // namespace

int apply(const ApplyOptions& options)
{
    if (!options.check && !database_is_ready()) return exit_failed;
    const Descriptor descriptor(options.check ? nullptr : zelfdb_open_descriptor());
    if (!descriptor && !options.check) return exit_failed;
    Tally tally;
    for (const std::string& file : options.files)
        if (!apply_file(descriptor.get(), file, options, tally)) break;
    if (options.check)
        print_check(tally);
    else
        std::printf("%s done, %u failed\n", counted(tally.run, "command", "commands").c_str(), tally.failed);
    return tally.failed == 0 ? exit_done : exit_failed;
}

int run_command(const std::string& line)
{
    const ReadLine read = read_line(line);
    if (read.error) {
        complain(line + "\n" + std::string(9 + read.error->column - 1, ' ') + "^ " + read.error->text());
        return exit_usage;
    }
    if (!read.command) return exit_done;
    if (!database_is_ready()) return exit_failed;
    const Descriptor opened(zelfdb_open_descriptor());
    zelfdb_descriptor* const descriptor = opened.get();
    if (!descriptor) return exit_failed;
    const Outcome outcome = read.command->row->run(descriptor, read.arguments);
    if (!outcome.done) {
        complain(what_failed(line, outcome));
        return exit_failed;
    }
    if (!outcome.text.empty()) std::printf("%s\n", outcome.text.c_str());
    return exit_done;
}

}  // namespace zelfctl
