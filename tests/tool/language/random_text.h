// Random lines of the command language, made from its table: every value is right for its kind, and drawn from so few that
// commands meet each other's objects.
#pragma once

#include <string>
#include <vector>

#include "language/commands.h"
#include "support/random.h"

namespace zelfctl {

// A value as it is written. Empty for a kind that it does not know: a test asks for all of them.
std::string random_value(const Kind& kind, zelfdb::Random& random);

std::string random_line(const Command& command, zelfdb::Random& random);

// The commands that configurations are made of, but for those that add something more each time:
//
//   create, add, set, enable   applied again they are refused, for what they make exists already, or set what is set
//   but: add classify          adds its line again
//        add prefilter, loc    add to lists of the network processor, again
//        set vlans             reach the VLANs that were made after them, too
bool may_be_applied_again(const Command& command);

}  // namespace zelfctl
