// How far long work has come: one line on a terminal, which is cleared at the end. Nothing anywhere else.
#pragma once

#include <chrono>
#include <string>

#include "language/types.h"

namespace zelfctl {

class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Whether it is time to show how far it is: now and then, on a terminal.
    [[nodiscard]] bool is_due(u64 steps);
    void show(const std::string& text);

    // Before something else is printed.
    void clear();

private:
    bool on_;
    std::chrono::steady_clock::time_point last_look_;
    bool shown_ = false;
};

}  // namespace zelfctl
