// Text as people see it: characters, of which UTF-8 writes some with several bytes.
#pragma once

#include <string>
#include <string_view>

namespace zelfctl {

// A byte that belongs to no character counts as one.
std::size_t characters_in(std::string_view text);

// Of the first so many characters, or of all of them.
std::size_t bytes_of_characters(std::string_view text, std::size_t characters);

// The text with control characters and bytes that belong to no character written as \x1b: a terminal would take them for
// orders.
std::string printable(std::string text);

}  // namespace zelfctl
