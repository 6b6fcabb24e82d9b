// How a command ended, and the texts of the library's detail codes.
#pragma once

#include <string>

#include "language/types.h"

namespace zelfctl {

struct Outcome {
    bool done = true;
    u32 code = 0;      // detail code of a command that was not done; 0 if the reason is not one of the library's
    std::string text;  // of a failure the reason; of a success what there is to tell, mostly nothing
};

// A sentence without capital and full stop. Never null.
const char* text_of_code(u32 code);

// For an operation whose word is written on failure only, or receives the final code. Set the word to 0 before the call.
// A failure that leaves the word alone is a refusal of the network processor.
Outcome outcome_of(int result, u32 code);

// For an operation that stores 1 into its word first and hands on the network processor's answer.
Outcome outcome_of_NP_command(int result, u32 code);

Outcome failure(u32 code);
Outcome failure(std::string reason);

}  // namespace zelfctl
