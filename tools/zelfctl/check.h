// The verb check: is the database as it must be?
#pragma once

#include "check/finding.h"

namespace zelfctl {

inline constexpr int exit_notices = 3;
inline constexpr int exit_errors = 4;

int check_database(bool json);

// Whether it tells of no error. False after a message. To be asked before a replay, which follows lists wherever they lead,
// and holds a lock meanwhile.
bool is_sound(const zelfdb::Report& report);

// The same of the database as it is now.
bool database_is_sound();

}  // namespace zelfctl
