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
        if (command.parts[i].what == Part::What::word && command.parts[i].name != words[i]) return false;
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
    if (words.empty()) print_verbs();
    std::set<const Kind*> kinds;
    const char* subject = "";
    bool any = false;
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
    complain("no command begins so; 'zelfctl VERB --help' tells about a verb");
    return exit_usage;
}

}  // namespace zelfctl
