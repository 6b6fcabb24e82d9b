// What may follow in an unfinished line of the command language. Made from the table of commands; knows no terminal.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zelfctl {

// Objects that commands name: "port", "vlan", "vid", "clslist", "stream", "queue", "group", "mirror".
using LiveNames = std::function<std::vector<std::string>(std::string_view object)>;

// All that may stand behind the words that are there and begins so, in the order of the table, each once. Names of what
// there is are asked for where a command takes such a name, but not where it makes a new one.
std::vector<std::string> complete_command(const std::vector<std::string>& before, std::string_view beginning,
                                          const LiveNames& names);

// The object that values of a kind name. Empty if they name none.
std::string_view object_of_kind(std::string_view kind);

// Words are completed whatever their case, as they are read.
bool word_begins_with(std::string_view word, std::string_view beginning);

}  // namespace zelfctl
