#include "calls.h"

#include <vector>

#include "said.h"

namespace fuzz {
namespace {

// Of the 121 operations four are not called here: zelfdb_init and those that open and close descriptors, with which a program
// begins and ends. What is there is read by compare.cpp. Not known to the model is what no reader tells: link mode, link
// dependency, granted rates, the details of mirrors and of lines, what is printed.
//
// The order is that of the numbers in the seeds.
std::vector<Operation> all_operations()
{
    std::vector<Operation> all;
    for (const auto& some :
         {calls_of_ports, calls_of_vlans, calls_of_entries, calls_of_qos, calls_of_profiles, calls_of_readers})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

}  // namespace

const char* make_call(Calls& calls, Input& input)
{
    static const std::vector<Operation> all = all_operations();
    const Operation& operation = all[input.below(static_cast<u32>(all.size()))];
    called = operation.name;
    operation.make(calls, input);
    return operation.name;
}

}  // namespace fuzz
