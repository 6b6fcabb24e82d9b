// A program at a terminal of its own, driven as a person drives it. No wait is longer than its patience.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "tool.h"

namespace tool {

class Terminal {
public:
    // Its home folder is the one that is given.
    Terminal(const std::vector<std::string>& words, const std::string& home, unsigned short columns = 80,
             unsigned short rows = 24);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void type(const std::string& keys);

    // What came until the text did, with it. The test fails if it does not come.
    std::string until(const std::string& text);

    // Waits until the terminal takes whole lines, as for programs that do no editing of their own.
    void until_lines();

    // What comes until the program ends.
    std::string rest();

    // Waits for the end: exit status; 128 + n when signal n ended it.
    int code();

private:
    bool take(int wait_ms);

    pid_t child_ = -1;
    int file_ = -1;
    std::string unread_;
    bool at_end_ = false;
    int code_ = -1;
};

inline constexpr const char* key_tab = "\t";
inline constexpr const char* key_enter = "\r";
inline constexpr const char* key_up = "\x1b[A";
inline constexpr const char* key_down = "\x1b[B";
inline constexpr const char* key_left = "\x1b[D";
inline constexpr const char* key_backspace = "\x7f";
inline constexpr const char* ctrl_a = "\x01";
inline constexpr const char* ctrl_c = "\x03";
inline constexpr const char* ctrl_d = "\x04";
inline constexpr const char* ctrl_k = "\x0b";
inline constexpr const char* ctrl_r = "\x12";

// How a line of the terminal ends.
inline constexpr const char* eol = "\r\n";

}  // namespace tool
