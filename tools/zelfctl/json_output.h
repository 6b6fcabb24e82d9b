// JSON for programs: the one way in which the tool writes it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

// Made once, in json_output.cpp: every file that includes this would compile all of it again.
extern template class nlohmann::basic_json<>;

namespace zelfctl {

// In one line. JSON is UTF-8, which names need not be: what is none is replaced (U+FFFD).
std::string text_of_json(const nlohmann::json& value);

// On standard output, with a line for each member.
void print_json(const nlohmann::json& document);

}  // namespace zelfctl
