#include "json_output.h"

#include <cstdio>

template class nlohmann::basic_json<>;

namespace zelfctl {
namespace {

constexpr int one_line = -1;
constexpr int indented = 2;

std::string dumped(const nlohmann::json& value, int indentation)
{
    return value.dump(indentation, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

std::string text_of_json(const nlohmann::json& value) { return dumped(value, one_line); }

void print_json(const nlohmann::json& document) { std::fputs((dumped(document, indented) + "\n").c_str(), stdout); }

}  // namespace zelfctl
