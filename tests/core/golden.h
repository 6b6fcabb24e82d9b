// Golden bytes: text files under tests/core/golden that say what every byte of a segment must be, big-endian.
//
//   at 0x30                 the next byte is this one. In a file that starts from another, goes there.
//   from NAME               starts with the bytes of that file, which the rest changes.
//   0000002A FF             bytes, as hex digits; blanks are free.
//   zeros 0x1C, ones 4      so many bytes of 00, of FF.
//   again 6 of 24, add 0x18 at 4 8
//                           the last 24 bytes 6 times more, the big-endian words at their bytes 4 and 8 grown by 0x18 each time.
//   # ...                   a remark, up to the end of the line.
#pragma once

#include <string>
#include <vector>

#include "core/types.h"

namespace zelfdb {

std::vector<u8> golden(const std::string& name);

// Where two images differ, as lines of a golden file ("at" and the words that are there), at most so many; "" = nowhere.
std::string difference(const std::vector<u8>& expected, const std::vector<u8>& actual, u32 lines_max = 40);

}  // namespace zelfdb
