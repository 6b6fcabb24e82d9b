// Whether this process may use the database, and whether what lies there is one. Asked before anything is read through it.
#pragma once

#include <string>

namespace zelfctl {

// The segments let in who has the capability for it, and nobody else.
bool may_use_database();

// Empty, or what is wrong with the segments: there are none, they have another size than their header needs, or the header
// cannot be that of a database. Looks at sizes first and attaches for reading only.
std::string why_not_a_database();

}  // namespace zelfctl
