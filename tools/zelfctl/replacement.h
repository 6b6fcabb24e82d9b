// A file put in the place of another, whole or not at all.
#pragma once

#include <string>

namespace zelfctl {

// What the file held is kept as FILE~. A symbolic link is replaced itself, and what it led to is kept. Mode and owner are
// those of the file before, of a new one as the umask says. False after a message, and then nothing was replaced, unless the
// message says that it was. Interrupts wait until it is done.
bool replace_file(const std::string& file, const std::string& text);

}  // namespace zelfctl
