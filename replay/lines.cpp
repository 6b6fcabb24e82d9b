#include "replay/lines.h"

#include <cstdarg>
#include <iterator>

namespace zelfdb {

void print_line(const Frame& frame, const char* format, ...)
{
    const Line line{frame};
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line above starts it
    std::vprintf(format, arguments);
    va_end(arguments);
}

const char* colour_word(unsigned colour)
{
    static constexpr const char* words[] = {"green", "yellow", "red"};
    return colour < std::size(words) ? words[colour] : nullptr;
}

}  // namespace zelfdb
