// The verbs of the tool. A verb line comes from the shell's command line or from a session.
#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelfctl {

// What the words ask for.
struct Request {
    bool sandbox = false;
    std::function<int()> act;  // empty: nothing was asked for but a text that has been printed
    int exit_code = 0;         // when there is nothing to do
};

// Reads a verb line, or a command of the command language, which may stand in a verb's place.
Request read_request(const std::vector<std::string>& words);

// Reads it and does it. A request for a sandbox is refused here: only the start of the program can have one.
int run_words(const std::vector<std::string>& words);

// All verbs with their options, for the manual. What they would do is left in act.
std::unique_ptr<CLI::App> make_app(bool& sandbox, std::function<int()>& act);

}  // namespace zelfctl
