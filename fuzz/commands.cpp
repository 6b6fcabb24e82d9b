// Any text as a file of commands: read line by line, and run on a database with the software NP. An error names a place of
// its line; whatever was run, the check finds no error and the configuration that is saved can be read again.
#include <string>
#include <string_view>

#include "language/batch.h"
#include "language/captured_output.h"
#include "language/characters.h"
#include "language/commands.h"
#include "language/completion.h"
#include "language/difference.h"
#include "language/reader.h"
#include "site.h"
#include "softnp/softnp.h"

namespace {

using namespace fuzz;

constexpr u32 lines_max = 200;

Site& site()
{
    static Site all({16, 8, 64});
    return all;
}

void make_anew()
{
    site().close_descriptor();
    if (softnp_use_private() != 0) found("no network processor");
    site().restore();
    site().open_descriptor();
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty() && lines.size() < lines_max) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// The word that is not expected stands where the error says; where the line ends too soon, nothing stands there.
void expect_place(const std::string& line, const zelfctl::ReadError& error)
{
    if (error.expected.empty() || error.text().empty()) found("an error that expects nothing");
    const std::size_t characters = zelfctl::characters_in(line);
    if (error.column < 1 || error.column > characters + 1) found("column %u of %zu", error.column, characters);
    const std::size_t at = zelfctl::bytes_of_characters(line, error.column - 1);
    if (!error.word.empty() && line.compare(at, error.word.size(), error.word) != 0)
        found("'%s' does not stand in column %u", error.word.c_str(), error.column);
    const std::size_t next = line.find_first_not_of(" \t\r\v\f", at);
    if (error.word.empty() && next != std::string::npos && line[next] != '#') found("more stands in column %zu", next);
}

void complete(const std::string& line)
{
    std::vector<std::string> before;
    for (const zelfctl::Token& token : zelfctl::split(line)) before.emplace_back(token.text);
    if (before.empty()) return;
    const std::string beginning = before.back();
    before.pop_back();
    const auto names = [](std::string_view) { return std::vector<std::string>{"1", "2", "sales"}; };
    for (const std::string& word : zelfctl::complete_command(before, beginning, names))
        if (!zelfctl::word_begins_with(word, beginning)) found("'%s' completes '%s'", word.c_str(), beginning.c_str());
}

void read(const std::string& line)
{
    const zelfctl::ReadLine read = zelfctl::read_line(line);
    if (read.error) {
        if (read.command) found("a command with an error");
        expect_place(line, *read.error);
    } else if (!read.command && !zelfctl::split(line).empty()) {
        found("neither command nor error");
    }
    complete(line);
}

void run(const std::vector<zelfctl::BatchLine>& lines)
{
    for (const zelfctl::BatchLine& line : lines) {
        const zelfctl::ReadLine read = zelfctl::read_line(line.text);
        if (!read.command) continue;
        const zelfctl::Outcome outcome = read.command->row->run(&site().descriptor(), read.arguments);
        if (!outcome.done && outcome.text.empty()) found("not done, without a reason: %s", line.text.c_str());
    }
}

void run_all(const std::vector<std::string>& lines)
{
    zelfctl::Batch batch;
    u32 number = 0;
    for (const std::string& line : lines) run(batch.take({++number, line}));
    run(batch.rest());
}

// What is saved is read again, says nothing that no configuration says, and does not differ from itself.
void expect_readable_configuration()
{
    const std::optional<std::string> text = zelfctl::running_configuration();
    if (!text) found("the configuration cannot be read");
    for (const std::string& line : lines_of(*text))
        if (!zelfctl::read_line(line).command) found("saved, but no command: %s", line.c_str());
    const zelfctl::Configuration saved = zelfctl::read_configuration(*text);
    if (!saved.unknown.empty()) found("saved, but of no configuration: %s", saved.unknown.front().c_str());
    if (!zelfctl::commands_between(saved, saved).empty()) found("a configuration differs from itself");
    for (const auto& command : zelfctl::commands_between(saved, zelfctl::read_configuration("")))
        if (!zelfctl::read_line(command.text).command) found("planned, but no command: %s", command.text.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> lines = lines_of(text);
    for (const std::string& line : lines) read(line);
    make_anew();
    run_all(lines);
    site().expect_sound("these commands");
    expect_readable_configuration();
    return 0;
}
