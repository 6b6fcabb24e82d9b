// Whether there is a database and a network processor to work with. Called before every verb that needs them.
#pragma once

#include <zelfdb/zelfdb.h>

#include <memory>
#include <optional>
#include <string>

#include "language/types.h"

namespace zelfctl {

inline constexpr int exit_done = 0;
inline constexpr int exit_failed = 1;
inline constexpr int exit_usage = 2;

// False after a message on standard error: otherwise the library would wait minutes for a network processor that is not
// there, or speak up on standard output.
bool database_is_ready();

// The same without a word.
bool is_database_there();

// False after a message on standard error, unless this process may use a database. Nothing is looked for without.
bool has_privilege();

// "zelfctl: message" on standard error.
void complain(const std::string& message);

// "1 entry", "2 entries".
std::string counted(u64 number, const char* one, const char* several);

// running_configuration(), or nothing after a message.
std::optional<std::string> read_running();

// How often a listing is begun anew when another process has changed what it lists meanwhile.
inline constexpr int listing_attempts = 10;

struct CloseDescriptor {
    void operator()(zelfdb_descriptor* descriptor) const { zelfdb_close_descriptor(descriptor); }
};
using Descriptor = std::unique_ptr<zelfdb_descriptor, CloseDescriptor>;

struct FreeRopebuf {
    void operator()(zelfdb_ropebuf* buffer) const { zelfdb_free_ropebuf(buffer); }
};
using Ropebuf = std::unique_ptr<zelfdb_ropebuf, FreeRopebuf>;

}  // namespace zelfctl
