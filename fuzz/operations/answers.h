// What the network processor answers in this target: everything at once, and these figures.
#pragma once

#include <array>

#include "plain.h"

namespace fuzz {

struct Answers {
    PlainAnswer find;
    std::array<u32, 18> stream{};
    std::array<u32, 3> busy{};
};

extern Answers answers;

}  // namespace fuzz
