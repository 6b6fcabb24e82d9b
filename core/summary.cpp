// The summary of the VLAN space and the history counters.
#include <cstring>

#include "core/call.h"

int zelfdb_get_summary(zelfdb_summary* summary)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    *summary = {1, 4094, call.header().nvlan, call.header().vlan_count};
    return 0;
}

int zelfdb_get_history(zelfdb_history* history)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    static_assert(sizeof *history == sizeof call.header().history);
    std::memcpy(history, call.header().history, sizeof *history);
    return 0;
}
