// The printed dump of one VLAN, for diagnosis. Callers compare its lines letter for letter, so the odd ones are kept on
// purpose: the semicolons, the order of the counters, the missing label of a type that is neither STATIC nor DYNAMIC.
#include <cstdio>

#include "core/call.h"
#include "fdb/display.h"

namespace zelfdb {
namespace {

int as_int(u32 value) { return static_cast<int>(value); }

// Values of 32 bits print alike on every processor: as signed numbers where the line is of one.
long as_long(u32 value) { return static_cast<long>(static_cast<i32>(value)); }

void print_fields(const Vlan& vlan)
{
    std::puts("VLAN information");
    std::printf("VID       : %d\n", int{vlan.VID});
    std::printf("vlan_flag : %x\n", unsigned{vlan.vlan_flag});
    std::printf("sld_lastMsgTick: %lx\n", static_cast<unsigned long>(vlan.sld_lastMsgTick));
    std::printf("sld_msgcnt; %ld\n", as_long(vlan.sld_msgcnt));
    std::printf("npv       : %d\n", as_int(vlan.npv));
    std::printf("upv       : %d\n", as_int(vlan.upv));
}

void print_database(const FdbHead& fdb)
{
    std::printf("FID       : %x\n", fdb.FID);
    std::printf("nfil      : %d\n", as_int(fdb.nfil));
    std::printf("nfil_d    ; %d\n", as_int(fdb.nfil_d));
    std::printf("nfil_sys  : %d\n", as_int(fdb.nfil_sys));
    std::printf("nfil_usr  : %d\n", as_int(fdb.nfil_usr));
    std::printf("learnlimit: %ld\n", as_long(fdb.learnlimit));
    std::puts("mac                fil_flag  fil_type  fil_permit  lastValidate offset   port");
}

const char* type_label(u32 fil_type)
{
    switch (fil_type) {
    case fil_static: return "STATIC   ";
    case fil_dynamic: return "DYNAMIC  ";
    default: return "";
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_display_vlan_data(uint32_t vid, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    const Vlan* const vlan = call.vlan(vid);
    if (!vlan) return call.fail(ZELFDB_NO_VLAN);

    print_fields(*vlan);
    for (const Pv& pv : walk(pvs_of_vlan, call.base(), *vlan)) {
        std::printf("PV:portID:  %d\n", as_int(pv.port_id));
        std::printf("  :pv_flag; %x\n", unsigned{pv.pv_flag});
    }
    print_database(vlan->fdb);
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (const Fil& fil : chain(fils_by_mac, call.fdb(), vlan->fdb, bucket)) {
            print_entry(fil, type_label(fil.fil_type));
            std::printf(" %d\n", as_int(fil.port));
        }
    }
    return 0;
}
