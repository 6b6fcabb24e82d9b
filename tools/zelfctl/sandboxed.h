// Work that is tried where it harms nobody: in another process, with a database and a network processor of its own.
#pragma once

#include <zelfdb/zelfdb.h>

#include <functional>
#include <string>

namespace zelfctl {

// How the work ended; exit_failed after a message if it could not be begun or did not end by itself. What it prints on
// standard output goes into the text, if there is one. It starts without a database.
int in_sandbox(const std::function<int()>& work, std::string* text = nullptr);

// For that process alone: an empty database with so much room, and a network processor that holds as many entries. False
// after a message.
bool make_database(const zelfdb_counts& room);

}  // namespace zelfctl
