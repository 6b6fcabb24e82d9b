// Reading and writing all of something, however often the system hands over a part or a signal comes in between.
#pragma once

#include <cstddef>
#include <string>

namespace zelfctl {

// False when the system refuses, or when there is less to be read; errno then tells of the former alone.
bool write_all(int file, const void* bytes, std::size_t count);
bool read_all(int file, void* bytes, std::size_t count);

// Appends what comes until the end. False when the system refuses: what came before is there.
bool read_to_end(int file, std::string& text);

}  // namespace zelfctl
