#include "init.h"

#include <sys/shm.h>

#include <cstdio>

#include "database.h"
#include "softnp/softnp.h"

namespace zelfctl {
namespace {

// Where the library keeps its two segments.
constexpr key_t segment_keys[] = {0x5A454C01, 0x5A454C02};

// Processes that have the old segments attached go on with them. The locks stay: they belong to no size.
void remove_all()
{
    for (const key_t key : segment_keys) {
        const int id = shmget(key, 0, 0);
        if (id >= 0) shmctl(id, IPC_RMID, nullptr);
    }
    softnp_remove_device();
}

bool reset_NP(u32 entries)
{
    softnp_device_counters counters{};
    // Only a device that this call makes gets the size. One that exists keeps its own.
    if (entries > SOFTNP_MAC_ENTRIES) softnp_set_mac_capacity(entries);
    if (softnp_reset() != 0 || softnp_get_device_counters(&counters) != 0) {
        complain("the network processor cannot be reached");
        return false;
    }
    if (counters.mac_capacity < entries)
        complain("note: the network processor holds " + std::to_string(counters.mac_capacity) + " entries only");
    return true;
}

}  // namespace

int init(const InitOptions& options)
{
    if (!has_privilege()) return exit_failed;
    if (options.replace) remove_all();
    if (!reset_NP(options.entries)) return exit_failed;
    const zelfdb_counts counts{options.ports, options.vlans, options.entries};
    if (zelfdb_init(&counts) != 0) {
        complain("the database could not be made; is one that is too small in the way? Then use --replace");
        return exit_failed;
    }
    if (!database_is_ready()) return exit_failed;
    std::printf("new database: room for %u ports, %u VLANs, %u entries\n", options.ports, options.vlans,
                options.entries);
    return exit_done;
}

}  // namespace zelfctl
