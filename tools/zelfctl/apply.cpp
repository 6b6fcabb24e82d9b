#include "apply.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "database.h"
#include "init.h"
#include "language/batch.h"
#include "language/reader.h"
#include "progress.h"
#include "sandboxed.h"
#include "snapshot.h"

namespace zelfctl {
namespace {

constexpr std::size_t longest_line = 65536;
constexpr std::size_t longest_text = std::size_t{1} << 30;
constexpr const char* standard_input = "standard input";

struct Tally {
    Progress progress;
    u32 run = 0;
    u32 failed = 0;
    std::vector<DoneLine>* done = nullptr;  // takes the lines that were done, of which nothing is printed then
};

struct Place {
    const std::string& file;
    u32 line;
};

void report(Tally& tally, const Place& place, u32 column, const std::string& what)
{
    tally.progress.clear();
    std::fflush(stdout);
    std::fprintf(stderr, "%s:%u", place.file.c_str(), place.line);
    if (column != 0) std::fprintf(stderr, ":%u", column);
    std::fprintf(stderr, ": %s\n", what.c_str());
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

// False if the line is wrong or its command failed. The command is run only when the whole line is right, and when there
// is a descriptor to run it with.
bool apply_line(zelfdb_descriptor* descriptor, const Place& place, const std::string& line, Tally& tally)
{
    if (line.size() > longest_line) {
        report(tally, place, 0, "the line is longer than " + std::to_string(longest_line) + " characters");
        return false;
    }
    const ReadLine read = read_line(line);
    if (read.error) {
        report(tally, place, read.error->column, read.error->text());
        return false;
    }
    if (!read.command) return true;
    if (!descriptor) return true;
    const Outcome outcome = read.command->row->run(descriptor, read.arguments);
    if (!outcome.done) {
        report(tally, place, 0, what_failed(line, outcome));
        return false;
    }
    ++tally.run;
    if (tally.done) {
        tally.done->push_back({place.line, trimmed(line)});
        return true;
    }
    if (!outcome.text.empty()) {
        tally.progress.clear();
        std::printf("%s\n", outcome.text.c_str());
    }
    return true;
}

// 0 if it is not known beforehand, as of a pipe.
u64 size_of(const std::string& file)
{
    std::error_code error;
    const u64 size = std::filesystem::is_regular_file(file, error) ? std::filesystem::file_size(file, error) : 0;
    return error ? 0 : size;
}

void show_progress(Tally& tally, const Place& place, u64 bytes, u64 size)
{
    if (!tally.progress.is_due(place.line)) return;
    const std::string part = size == 0 ? "" : ", " + std::to_string(std::min(bytes, size) * 100 / size) + " %";
    std::fflush(stdout);
    tally.progress.show(place.file + ": " + std::to_string(place.line) + " lines" + part);
}

// False when applying has to stop.
bool apply_stream(zelfdb_descriptor* descriptor, std::istream& in, u64 size, const std::string& name,
                  const ApplyOptions& options, Tally& tally)
{
    const auto run = [&](const std::vector<BatchLine>& lines) {
        for (const BatchLine& line : lines) {
            if (apply_line(descriptor, {name, line.number}, line.text, tally)) continue;
            ++tally.failed;
            if (!options.keep_going) return false;
        }
        return true;
    };
    u64 bytes = 0;
    Batch batch;
    std::string line;
    for (u32 number = 1; std::getline(in, line); ++number) {
        bytes += line.size() + 1;
        show_progress(tally, {name, number}, bytes, size);
        BatchLine next{number, line};
        const std::vector<BatchLine> now = descriptor ? batch.take(std::move(next)) : std::vector{std::move(next)};
        if (run(now)) continue;
        run(batch.rest());  // they stand before the line that failed
        return false;
    }
    return run(batch.rest());
}

bool apply_file(zelfdb_descriptor* descriptor, const std::string& file, const ApplyOptions& options, Tally& tally)
{
    if (file == "-") return apply_stream(descriptor, std::cin, 0, standard_input, options, tally);
    errno = 0;
    std::ifstream in(file);
    const bool readable = in.is_open() && in.peek() != std::ifstream::traits_type::eof();
    if (!in.is_open() || (!readable && errno != 0)) {  // a folder opens, but cannot be read
        const int reason = errno;
        tally.progress.clear();
        complain(file + ": " + std::strerror(reason));
        ++tally.failed;
        return options.keep_going;
    }
    in.clear();
    return apply_stream(descriptor, in, size_of(file), file, options, tally);
}

// All lines, none of which is run. False after a message for each that is wrong.
bool are_read(const std::vector<Source>& sources)
{
    Tally tally;
    for (const Source& source : sources) {
        std::istringstream in(source.text);
        apply_stream(nullptr, in, source.text.size(), source.name, {.files = {}, .keep_going = true}, tally);
    }
    tally.progress.clear();
    if (tally.failed != 0)
        std::printf("%s wrong; nothing was tried or applied\n", counted(tally.failed, "line is", "lines are").c_str());
    return tally.failed == 0;
}

// In a sandbox: what would be done, line by line, and what would not.
int try_out(const std::vector<Source>& sources)
{
    std::size_t run = 0;
    u32 failed = 0;
    for (const Source& source : sources) {
        const Applied applied = apply_source(source);
        for (const DoneLine& line : applied.done) std::printf("%s\n", line.text.c_str());
        run += applied.done.size();
        failed += applied.failed;
    }
    std::printf("%s would run, %u would fail; nothing was applied\n", counted(run, "command", "commands").c_str(),
                failed);
    return failed == 0 ? exit_done : exit_failed;
}

int check_files(const std::vector<std::string>& files)
{
    std::vector<Source> sources;
    for (const std::string& file : files)
        if (auto source = read_source(file)) sources.push_back(std::move(*source));
    if (!are_read(sources) || sources.size() != files.size()) return exit_failed;
    if (!is_database_there()) {
        complain("note: there is no database that could be used; it is tried on an empty one");
        const InitOptions usual;
        const zelfdb_counts room{usual.ports, usual.vlans, usual.entries};
        return in_sandbox([&] { return make_database(room) ? try_out(sources) : exit_failed; });
    }
    const auto snapshot = take_snapshot();
    if (!snapshot) return exit_failed;
    return in_sandbox([&] { return become_with_NP(*snapshot) ? try_out(sources) : exit_failed; });
}

}  // namespace

int apply(const ApplyOptions& options)
{
    if (options.check) return check_files(options.files);
    if (!database_is_ready()) return exit_failed;
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) return exit_failed;
    Tally tally;
    for (const std::string& file : options.files)
        if (!apply_file(descriptor.get(), file, options, tally)) break;
    tally.progress.clear();
    std::printf("%s done, %u failed\n", counted(tally.run, "command", "commands").c_str(), tally.failed);
    return tally.failed == 0 ? exit_done : exit_failed;
}

std::optional<Source> read_source(const std::string& file)
{
    std::ifstream opened;
    errno = 0;
    if (file != "-") opened.open(file);
    std::istream& in = file == "-" ? std::cin : opened;
    Source source{file == "-" ? std::string(standard_input) : file, {}};
    std::vector<char> part(65536);
    while (in && source.text.size() <= longest_text) {  // a folder opens, but cannot be read
        in.read(part.data(), static_cast<std::streamsize>(part.size()));
        source.text.append(part.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (file != "-" && (!opened.is_open() || (source.text.empty() && errno != 0))) {
        complain(file + ": " + std::strerror(errno));
        return std::nullopt;
    }
    if (source.text.size() <= longest_text) return source;
    complain(source.name + ": it is longer than " + std::to_string(longest_text) + " characters");
    return std::nullopt;
}

Applied apply_source(const Source& source)
{
    Applied applied;
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) return {{}, 1};
    Tally tally;
    tally.done = &applied.done;
    std::istringstream in(source.text);
    apply_stream(descriptor.get(), in, source.text.size(), source.name, {.files = {}, .keep_going = true}, tally);
    applied.failed = tally.failed;
    return applied;
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
