// Command lines on standard output, framed by the caller's texts, which are never formats.
#pragma once

#include <cstdio>

namespace zelfdb {

struct Frame {
    const char* prefix;
    const char* suffix;
};

// One command: its text is printed between construction and destruction.
class Line {
public:
    explicit Line(const Frame& frame) : suffix_(frame.suffix) { std::fputs(frame.prefix, stdout); }
    ~Line() { std::fputs(suffix_, stdout); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

private:
    const char* suffix_;
};

// A whole command at once.
__attribute__((format(printf, 2, 3))) void print_line(const Frame& frame, const char* format, ...);

// "green", "yellow", "red", or null for a colour that has no word.
const char* colour_word(unsigned colour);

}  // namespace zelfdb
