// Functions of the system that only these tests make fail: write, fsync and calloc, as the library and the tests call them.
#pragma once

#include <string>

#include "core/types.h"

namespace own_functions {

using zelfdb::u32;

bool knows(const std::string& function);
void reset();
// The nth call from now fails with that errno, once.
void fail(const std::string& function, int error, u32 nth);
// Calls since the last reset.
u32 calls(const std::string& function);

}  // namespace own_functions
