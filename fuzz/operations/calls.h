// The operations that this target makes, each with what the plain model expects of it.
#pragma once

#include <span>

#include "input.h"
#include "plain.h"

namespace fuzz {

// What a sequence of calls has at hand.
struct Calls {
    zelfdb_descriptor& descriptor;
    Plain plain;
    u32 now_s;
};

// Makes one call with arguments of the input. A difference to the model is a finding.
struct Operation {
    const char* name;
    void (*make)(Calls& calls, Input& input);
};

extern const std::span<const Operation> calls_of_ports;
extern const std::span<const Operation> calls_of_vlans;
extern const std::span<const Operation> calls_of_entries;
extern const std::span<const Operation> calls_of_qos;
extern const std::span<const Operation> calls_of_profiles;
extern const std::span<const Operation> calls_of_readers;

// Makes the call that the input names. Returns the operation's name.
const char* make_call(Calls& calls, Input& input);

}  // namespace fuzz
