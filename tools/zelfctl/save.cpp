#include "save.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "apply.h"
#include "canonical.h"
#include "database.h"
#include "language/difference.h"
#include "replacement.h"
#include "snapshot.h"

namespace zelfctl {
namespace {

// A line that is not read is a better reason than what becomes of the lines behind it.
bool can_be_read(const std::string& text)
{
    const std::vector<std::string> unknown = read_configuration(text).unknown;
    for (const std::string& line : unknown) complain("this line of the configuration would not be read again: " + line);
    return unknown.empty();
}

// The first line in which they differ, and its number.
void tell_difference(const std::string& saved, const std::string& loaded)
{
    std::istringstream before(saved);
    std::istringstream after(loaded);
    std::string line;
    std::string other;
    u32 number = 0;
    bool more = true;
    while (more && line == other) {
        ++number;
        more = static_cast<bool>(std::getline(before, line));
        if (!more) line = "nothing";
        if (!std::getline(after, other)) other = "nothing";
    }
    complain("line " + std::to_string(number) + " of the configuration would become another: " + line + " becomes " +
             other);
}

// Whether an empty database that is as large becomes the same. False after messages.
bool can_be_loaded(const std::string& text, const zelfdb_counts& room)
{
    if (!can_be_read(text)) return false;
    const auto loaded = canonical_configuration({"running configuration", text}, room);
    if (!loaded) return false;
    if (loaded->text == text) return true;
    tell_difference(text, loaded->text);
    return false;
}

constexpr int most_readings = 10;

// Without a sandbox: each kind of object is read by itself, and what changes between two may be told by halves. Nothing after
// a message.
std::optional<std::string> read_settled()
{
    std::optional<std::string> before;
    for (int i = 0; i < most_readings; ++i) {
        auto text = read_running();
        if (!text) return std::nullopt;
        if (text == before) return text;
        before = std::move(text);
    }
    complain("the configuration changes while it is read: try again");
    return std::nullopt;
}

// Nothing after messages.
std::optional<std::string> text_to_save(bool force)
{
    const auto snapshot = take_snapshot();
    if (!snapshot) return std::nullopt;
    auto text = configuration_of(*snapshot);
    if (!text && force) return read_settled();
    if (text && (can_be_loaded(*text, snapshot->room) || force)) return text;
    complain("nothing was saved; --force saves what can be read");
    return std::nullopt;
}

}  // namespace

int save(const SaveOptions& options)
{
    if (!database_is_ready()) return exit_failed;
    const auto text = text_to_save(options.force);
    if (!text) return exit_failed;
    if (options.file == "-") {
        std::fwrite(text->data(), 1, text->size(), stdout);
        return exit_done;
    }
    if (!replace_file(options.file, *text)) return exit_failed;
    std::printf("%s saved to %s\n",
                counted(static_cast<u64>(std::count(text->begin(), text->end(), '\n')), "command", "commands").c_str(),
                options.file.c_str());
    return exit_done;
}

int load(const LoadOptions& options)
{
    if (!database_is_ready()) return exit_failed;
    const auto snapshot = take_snapshot();
    if (!snapshot) return exit_failed;
    if (const std::string there = content_of(*snapshot); !there.empty()) {
        complain("the database is not empty (" + there + "): use reload, or init first");
        return exit_failed;
    }
    return apply({.files = {options.file}, .check = options.check});
}

}  // namespace zelfctl
