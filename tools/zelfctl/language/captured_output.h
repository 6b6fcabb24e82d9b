// What the library prints on standard output, held back in memory: it prints with its locks taken, and a reader of our
// standard output that does not read must not make the whole system wait.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace zelfctl {

// False if print says so, or if there is no memory to hold the text.
bool capture_output(const std::function<bool()>& print, std::string& text);

// The configuration as commands, one on each line, in an order in which they can be run. Nothing if it cannot be read.
std::optional<std::string> running_configuration();

}  // namespace zelfctl
