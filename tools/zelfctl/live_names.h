// The names of what the database holds, for completion.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelfctl {

// As commands name them: see LiveNames. Nothing, and no message, if there is no database, or if somebody holds a lock for
// longer than a person waits. A child reads them: this process may live long, and does not become attached to a database
// that is replaced meanwhile.
std::vector<std::string> live_names(std::string_view object);

}  // namespace zelfctl
