#include "reload.h"

#include <zelfdb/zelfdb.h>

#include <cstdio>
#include <map>
#include <vector>

#include "canonical.h"
#include "database.h"
#include "json_output.h"
#include "language/difference.h"
#include "language/reader.h"
#include "progress.h"
#include "sandboxed.h"
#include "snapshot.h"

namespace zelfctl {
namespace {

using nlohmann::json;

struct Both {
    Snapshot snapshot;
    std::string running;
    std::string file_name;  // as messages have it
    Canonical file;
};

std::optional<Both> read_both(const std::string& file)
{
    if (!database_is_ready()) return std::nullopt;
    auto snapshot = take_snapshot();
    const auto source = snapshot ? read_source(file) : std::nullopt;
    if (!source) return std::nullopt;
    auto wanted = canonical_configuration(*source, snapshot->room);
    if (!wanted) {
        complain(file + ": not a configuration that can be applied; nothing was done");
        return std::nullopt;
    }
    auto running = configuration_of(*snapshot);
    if (!running) return std::nullopt;
    return Both{std::move(*snapshot), std::move(*running), source->name, std::move(*wanted)};
}

// Objects that no command can name can be neither compared nor taken away. Whether there are any.
bool tell_what_has_no_name(const Both& both)
{
    const std::vector<std::string> unknown = read_configuration(both.running).unknown;
    for (const std::string& line : unknown) complain("no command can name this of the running configuration: " + line);
    return !unknown.empty();
}

// What becomes of lines that are not compared.
enum class Fate { not_compared, not_run, run_again };

void tell_untold(const Both& both, Fate fate)
{
    const auto what = [fate](const UntoldLine& untold) {
        if (fate == Fate::not_compared) return "";
        if (!untold.can_be_repeated) return "; not run";
        return "; not run without --all";
    };
    for (const UntoldLine& untold : both.file.untold) {
        if (fate == Fate::run_again && untold.can_be_repeated) continue;
        std::fflush(stdout);
        std::fprintf(stderr, "%s:%u: %s: not compared, for a running configuration does not tell it%s\n",
                     both.file_name.c_str(), untold.line.number, untold.line.text.c_str(), what(untold));
    }
}

std::vector<PlannedCommand> commands_to(const std::string& from, const std::string& to)
{
    return commands_between(read_configuration(from), read_configuration(to));
}

struct Sides {
    std::vector<std::string> to_file;
    std::vector<std::string> to_running;
};

// By object, in the order in which a reload comes to them.
std::vector<std::pair<std::string, Sides>> by_object(const Both& both)
{
    std::vector<std::pair<std::string, Sides>> list;
    std::map<std::string, std::size_t> places;
    const auto side = [&](const std::string& object) -> Sides& {
        const auto [place, is_new] = places.try_emplace(object, list.size());
        if (is_new) list.emplace_back(object, Sides{});
        return list[place->second].second;
    };
    for (const PlannedCommand& command : commands_to(both.running, both.file.text))
        side(command.object).to_file.push_back(command.text);
    for (const PlannedCommand& command : commands_to(both.file.text, both.running))
        side(command.object).to_running.push_back(command.text);
    return list;
}

void print(const std::vector<std::pair<std::string, Sides>>& differences)
{
    for (const auto& [object, sides] : differences) {
        std::printf("%s\n", object.c_str());
        for (const std::string& text : sides.to_running) std::printf("- %s\n", text.c_str());
        for (const std::string& text : sides.to_file) std::printf("+ %s\n", text.c_str());
    }
}

enum class On { copy, database };

// False after a message.
bool run_all(const std::vector<PlannedCommand>& commands, On where)
{
    const Descriptor descriptor(zelfdb_open_descriptor());
    if (!descriptor) return false;
    Progress progress;
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const ReadLine read = read_line(commands[i].text);
        const Outcome outcome = read.command->row->run(descriptor.get(), read.arguments);
        if (progress.is_due(i))
            progress.show(std::to_string(i) + " of " + std::to_string(commands.size()) + " commands");
        if (outcome.done) continue;
        progress.clear();
        const std::string code = outcome.code == 0 ? "" : " (" + std::to_string(outcome.code) + ")";
        complain(commands[i].text + ": " + outcome.text + code + "; " +
                 (where == On::copy ? "nothing was changed" : "stopped after " + counted(i, "command", "commands")));
        return false;
    }
    return true;
}

// Tried on a copy first: a reload that ends in the middle leaves neither what was nor what is wanted.
bool can_be_run(const std::vector<PlannedCommand>& commands, const Snapshot& snapshot)
{
    if (commands.empty()) return true;
    const auto try_all = [&] {
        return become_with_NP(snapshot) && run_all(commands, On::copy) ? exit_done : exit_failed;
    };
    return in_sandbox(try_all) == exit_done;
}

std::vector<PlannedCommand> plan(const Both& both, bool all)
{
    std::vector<PlannedCommand> commands = commands_to(both.running, both.file.text);
    for (const UntoldLine& untold : both.file.untold)
        if (all && untold.can_be_repeated) commands.push_back({"", untold.line.text});
    return commands;
}

int run(const std::vector<PlannedCommand>& commands, const Both& both)
{
    if (!run_all(commands, On::database)) return exit_failed;
    const auto snapshot = take_snapshot();
    const auto after = snapshot ? configuration_of(*snapshot) : std::nullopt;
    if (!after) return exit_failed;
    std::printf("%s run\n", counted(commands.size(), "command", "commands").c_str());
    if (commands_to(*after, both.file.text).empty()) return exit_done;
    complain("the database still differs from " + both.file_name + "; see diff");
    return exit_failed;
}

}  // namespace

int diff(const DiffOptions& options)
{
    const auto both = read_both(options.file);
    if (!both) return exit_trouble;
    const auto differences = by_object(*both);
    if (options.json) {
        json list = json::array();
        for (const auto& [object, sides] : differences)
            list.push_back({{"object", object}, {"to_file", sides.to_file}, {"to_running", sides.to_running}});
        print_json({{"differences", list}});
    } else {
        print(differences);
    }
    tell_untold(*both, Fate::not_compared);
    if (tell_what_has_no_name(*both)) return exit_trouble;
    return differences.empty() ? exit_done : exit_differs;
}

int reload(const ReloadOptions& options)
{
    const auto both = read_both(options.file);
    if (!both) return exit_failed;
    const bool has_nameless = tell_what_has_no_name(*both);
    tell_untold(*both, options.all ? Fate::run_again : Fate::not_run);
    const std::vector<PlannedCommand> commands = plan(*both, options.all);
    if (options.check)
        for (const PlannedCommand& command : commands) std::printf("%s\n", command.text.c_str());
    if (!can_be_run(commands, both->snapshot)) return exit_failed;
    if (options.check)
        std::printf("%s would run; nothing was changed\n", counted(commands.size(), "command", "commands").c_str());
    const int code = options.check ? exit_done : run(commands, *both);
    return has_nameless ? exit_failed : code;
}

}  // namespace zelfctl
