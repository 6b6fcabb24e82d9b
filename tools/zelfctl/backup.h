// Both segments in a file, so that what was done to them can be taken back.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "check/check.h"

namespace zelfctl {

// The current time makes it another one every second.
std::string usual_backup_name();

// A new file that only its owner reads, on the disk when this returns. False after a message, and then there is no file.
bool write_backup(const std::string& file, const zelfdb::Segments& segments);

struct Backup {
    std::vector<char> main;
    std::vector<char> fdb;
};

// Nothing after a message: the file is not whole, or no backup.
std::optional<Backup> read_backup(const std::string& file);

}  // namespace zelfctl
