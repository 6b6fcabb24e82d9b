// What separates two configurations, as commands. Both are texts of the replay: their lines stand in an order in which
// they can be run, and say only what differs from new objects.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "language/commands.h"

namespace zelfctl {

// One line of a configuration.
struct Statement {
    std::string object;     // "port 3", "member 3 sales"
    std::string attribute;  // what the line says of it; empty: it makes the object
    std::string text;
    std::string vlan;  // that the line names
    const struct StatementRule* rule = nullptr;
};

struct Configuration {
    std::vector<Statement> statements;
    std::vector<std::string> unknown;  // lines that no configuration has, such as "clear fdb"
};

Configuration read_configuration(std::string_view text);

// Whether there is something to a command that the replay does not tell, so that no comparison of two texts sees it.
enum class Untold {
    nothing,
    setting,  // that can be set again
    deed,     // that is done once: a file that is applied again does it again
};
Untold untold_by(const Command& command, const Arguments& arguments);

struct PlannedCommand {
    std::string object;
    std::string text;
};

// The commands that turn the one into the other, in an order that works: what must go goes first, from the outside in,
// then what is new comes, from the inside out. An object that cannot be changed into the other is deleted and made anew,
// with all that hangs on it.
std::vector<PlannedCommand> commands_between(const Configuration& from, const Configuration& to);

// The patterns of the commands that configurations are made of, as their rules name them.
std::vector<std::string_view> patterns_of_statements();

}  // namespace zelfctl
