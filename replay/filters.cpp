// Replay of static and local entries. System entries are made by the system again and are left out.
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

constexpr u32 permit_user = 0;

int as_int(u32 value) { return static_cast<int>(value); }

void print_mac(const Mac& mac)
{
    const u8(&m)[6] = mac.byte;
    std::printf("%02x:%02x:%02x:%02x:%02x:%02x ", m[0], m[1], m[2], m[3], m[4], m[5]);
}

void print_static(const Frame& frame, const Vlan& vlan, const Fil& fil)
{
    const Line line{frame};
    std::printf("create sfdbentry ");
    print_mac(fil.mac);
    std::printf("in vlan %s ", vlan.name);
    // Only a flag word of exactly 4 is a discard: others with that bit have more to say.
    if (fil.fil_flag == fil_flag_no_port) {
        std::printf("discard");
    } else {
        std::printf("port %d flag %x", as_int(fil.port), fil.fil_flag);
    }
}

// "dsicard" is how the command reader spells it.
void print_local(const Frame& frame, const Port& port, const Fil& fil)
{
    const Line line{frame};
    std::printf("create lfdbentry ");
    print_mac(fil.mac);
    std::printf("in port %d dsicard", as_int(port.PortID));
}

// The user entries of one type, bucket by bucket.
template <class Print>
void for_user_entries(const Call& call, const FdbHead& fdb, u32 type, Print print)
{
    if (fdb.nfil == 0) return;
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (const Fil& fil : chain(fils_by_mac, call.fdb(), fdb, bucket)) {
            if (fil.fil_type == type && fil.fil_permit == permit_user) print(fil);
        }
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_sfil(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, nullptr};
    if (!call) return call.failed();

    for (const Vlan& vlan : walk(all_vlans, call.base(), call.header())) {
        for_user_entries(call, vlan.fdb, fil_static, [&](const Fil& fil) {
            print_static({prefix, suffix}, vlan, fil);
        });
    }
    return 0;
}

int zelfdb_reconfig_lfil(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, nullptr};
    if (!call) return call.failed();

    for (const Port& port : walk(all_ports, call.base(), call.header())) {
        for_user_entries(call, port.fdb, fil_local, [&](const Fil& fil) { print_local({prefix, suffix}, port, fil); });
    }
    return 0;
}
