// The printed dump of one port, for diagnosis. Callers compare its lines letter for letter, so the odd ones are kept on
// purpose: the semicolons, the bracket that never closes, the missing line end after an unknown type.
#include <cstdio>

#include "core/call.h"
#include "fdb/display.h"

namespace zelfdb {
namespace {

int as_int(u32 value) { return static_cast<int>(value); }

void print_p_type(u8 p_type)
{
    std::printf("p_type : ");
    switch (p_type) {
    case 0: std::puts("none"); break;
    case port_type_ether: std::puts("ether"); break;
    case port_type_vif: std::puts("vif"); break;
    default: break;
    }
}

const char* optate_text(u32 optate)
{
    if (optate == optate_down) return "B_PORT_DOWN";
    return optate == optate_up ? "B_PORT_UP" : "UNKNOWN";
}

void print_fields(const Port& port)
{
    std::puts("Port information");
    std::printf("PortID : %d\n", as_int(port.PortID));
    std::printf("p_flag : %x\n", unsigned{port.p_flag});
    print_p_type(port.p_type);
    std::printf("pri    : %d\n", int{port.pri});
    std::printf("phport : %d\n", int{port.phport});
    std::printf("tagtype: %x\n", unsigned{port.tagtype});
    std::printf("PVID   ; %d\n", int{port.PVID});
    std::printf("optate : %s\n", optate_text(port.optate));
    std::printf("uplink    : %d\n", as_int(port.uplink));
    std::printf("aging     : %d\n", as_int(port.aging));
    std::printf("sldbkr_on : %d\n", as_int(port.sldbkr_on));
    const u32(&c)[8] = port.cosmap;
    std::printf("cosmap    : %d, %d, %d, %d, %d, %d, %d, %d\n", as_int(c[0]), as_int(c[1]), as_int(c[2]), as_int(c[3]),
                as_int(c[4]), as_int(c[5]), as_int(c[6]), as_int(c[7]));
    std::printf("valbit    : %08x\n", port.valbit);
    std::printf("def_spno  : %d\n", as_int(port.def_spno));
    std::printf("(streamID : %d\n", as_int(port.def_spno + 1));
    std::printf("def_pri   : %d\n", as_int(port.def_pri));
    std::printf("def_color : %d\n", as_int(port.def_color));
    std::printf("link_mode : %d\n", as_int(port.link_mode));
    std::printf("link_depend:%d list:%02x\n", as_int(port.link_depend), port.link_depend_list);
    std::printf("npv       : %d\n", as_int(port.npv));
    for (u32 i = 0; i < class_count; ++i) {
        const Policing& row = port.policing[i];
        std::printf("  class %d  color %d rate %d burst %d\n", as_int(i), int{row.color}, as_int(row.rate),
                    as_int(row.burst));
    }
    std::printf("FID    : %x\n", port.fdb.FID);
}

void print_stream(const Stream& stream)
{
    std::printf("Stream;streamno : %d\n", int{stream.streamno});
    std::printf("       portno   : %d\n", int{stream.portno});
    std::printf("       sno_port : %d\n", int{stream.sno_port});
    std::printf("       priority : %d\n", int{stream.priority});
    std::printf("       qos_type : %d\n", int{stream.qos_type});
    std::printf("       minrate  : %d\n", as_int(stream.minrate));
    std::printf("       minburst : %d\n", as_int(stream.minburst));
    std::printf("       maxrate  : %d\n", as_int(stream.maxrate));
    std::printf("       maxburst : %d\n", as_int(stream.maxburst));
    for (u32 class_no = 0; class_no < class_count; ++class_no) {
        for (u32 colour = 0; colour < std::size(stream.slot[class_no].red); ++colour) {
            const Red& red = stream.slot[class_no].red[colour];
            std::printf("        class %d color %d\n", as_int(class_no), as_int(colour));
            std::printf("          min_thresh %d\n", int{red.min_thresh});
            std::printf("          max_thresh %d\n", int{red.max_thresh});
            std::printf("          min_drop   %d\n", int{red.min_drop});
            std::printf("          max_drop %d\n", int{red.max_drop});
        }
    }
}

const char* type_label(u32 fil_type)
{
    switch (fil_type) {
    case fil_local: return "LOCAL    ";
    case fil_static: return "STATIC   ";
    case fil_dynamic: return "DYNAMIC  ";
    default: return "";
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_display_port_data(uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    const Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);

    print_fields(*port);
    for (const Pv& pv : walk(pvs_of_port, call.base(), *port)) {
        std::printf("PV:VID     : %d\n", int{pv.VID});
        std::printf("  :pv_flag : %x\n", unsigned{pv.pv_flag});
    }
    for (const Stream& stream : walk(streams_of_port, call.base(), *port)) print_stream(stream);
    std::puts("LFDB entry");
    std::puts("mac                fil_flag  fil_type  fil_permit  lastValidate offset");
    for (u32 bucket = 0; bucket < bucket_count; ++bucket) {
        for (const Fil& fil : chain(fils_by_mac, call.fdb(), port->fdb, bucket)) {
            print_entry(fil, type_label(fil.fil_type));
            std::puts("");
        }
    }
    return 0;
}
