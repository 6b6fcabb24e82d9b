#include "help.h"

#include <algorithm>
#include <cstdio>
#include <set>

#include "database.h"
#include "language/commands.h"
#include "verbs.h"

namespace zelfctl {
namespace {

bool begins_with(const Command& command, const std::vector<std::string>& words)
{
    if (words.size() > command.parts.size()) return false;
    for (std::size_t i = 0; i < words.size(); ++i)
        if (command.parts[i].what == Part::What::word && !same_word(command.parts[i].name, words[i])) return false;
    return true;
}

void print_command(const Command& command)
{
    std::printf("  %s\n      %s\n", syntax_of(command.parts).c_str(), command.row->help);
}

void collect_kinds(const std::vector<Part>& parts, std::set<const Kind*>& kinds)
{
    for (const Part& part : parts) {
        if (part.kind) kinds.insert(part.kind);
        collect_kinds(part.inner, kinds);
    }
}

void print_kinds(const std::set<const Kind*>& kinds)
{
    if (kinds.empty()) return;
    std::printf("\nValues:\n");
    for (const Kind& kind : all_kinds())
        if (kinds.contains(&kind))
            std::printf("  %-15s %s\n", ("<" + std::string(kind.name) + ">").c_str(), kind.expects);
}

// "show", "show fdb". False if there is no such verb.
bool print_verb(const std::vector<std::string>& words)
{
    bool sandbox = false;
    std::function<int()> act;
    const auto app = make_app(sandbox, act);
    const CLI::App* verb = app.get();
    std::string before;
    for (const std::string& word : words) {
        const auto parts = verb->get_subcommands(
            [&](const CLI::App* part) { return !part->get_group().empty() && same_word(part->get_name(), word); });
        if (parts.empty()) return false;
        before += (before.empty() ? "" : " ") + verb->get_name();
        verb = parts.front();
    }
    std::fputs(verb->help(before).c_str(), stdout);
    return true;
}

void print_verbs()
{
    bool sandbox = false;
    std::function<int()> act;
    std::fputs(make_app(sandbox, act)->help().c_str(), stdout);
    std::printf("\nCommands, in files for 'apply' or as arguments:\n");
}

}  // namespace

int print_help(const std::vector<std::string>& words)
{
    bool any = words.empty();
    if (words.empty())
        print_verbs();
    else
        any = print_verb(words);
    std::set<const Kind*> kinds;
    const char* subject = "";
    for (const Command& command : all_commands()) {
        if (!begins_with(command, words)) continue;
        if (command.row->subject != subject) std::printf("\n%s:\n", command.row->subject);
        subject = command.row->subject;
        print_command(command);
        collect_kinds(command.parts, kinds);
        any = true;
    }
    print_kinds(kinds);
    if (any) return exit_done;
    complain("neither a verb nor a command begins so; see 'zelfctl help'");
    return exit_usage;
}

}  // namespace zelfctl
