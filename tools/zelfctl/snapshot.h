// The whole database as it was at one moment, however many change it meanwhile.
#pragma once

#include <zelfdb/zelfdb.h>

#include <optional>
#include <string>
#include <vector>

namespace zelfctl {

struct Snapshot {
    std::vector<char> main;
    std::vector<char> fdb;
    zelfdb_counts room{};
};

// Of a database in which a check finds no error. Nothing after a message.
std::optional<Snapshot> take_snapshot();

// In a sandbox: makes a database that is the same, to the byte. False after a message.
bool become(const Snapshot& snapshot);
// The same, and its network processor knows what that of the database should.
bool become_with_NP(const Snapshot& snapshot);

// The configuration as commands, all of the one moment. Nothing after a message.
std::optional<std::string> configuration_of(const Snapshot& snapshot);

// "2 ports, 1 VLAN and a limit of user entries"; empty if there is nothing at all.
std::string content_of(const Snapshot& snapshot);

}  // namespace zelfctl
