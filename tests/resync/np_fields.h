// The software NP's whole state as lines of text, each value as its getter gives it, and nothing of the code under test.
// Counters, times and what only waits are left out.
#pragma once

#include <string>
#include <vector>

namespace zelfdb {

std::vector<std::string> np_fields();

// The same in alphabetical order: for NPs whose protocol groups, or bindings to different
// groups, were made in another order, which says nothing.
std::vector<std::string> np_fields_sorted();

// What only the one and only the other has, a line each; empty if they are equal, order and all.
std::string difference(const std::vector<std::string>& before, const std::vector<std::string>& after);

}  // namespace zelfdb
