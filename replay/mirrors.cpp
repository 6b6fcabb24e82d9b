// Replay of mirrors.
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

constexpr u16 default_tagtype = 0x8100;

const Vlan* vlan_with(const Call& call, u16 vid)
{
    for (const Vlan& vlan : walk(all_vlans, call.base(), call.header())) {
        if (vlan.VID == vid) return &vlan;
    }
    return nullptr;
}

// A source whose VLAN is gone is left out.
void print_source(const Frame& frame, const Call& call, int id, const Mirror& mirror)
{
    const int port = mirror.source_port;
    const bool needs_vlan = mirror.source_kind == 2 || mirror.source_kind == 4 || mirror.source_kind == 5;
    const Vlan* const vlan = needs_vlan ? vlan_with(call, mirror.source_VID) : nullptr;
    if (needs_vlan && !vlan) return;
    switch (mirror.source_kind) {
    case 1: print_line(frame, "set mirror %d source port %d in", id, port); break;
    case 2: print_line(frame, "set mirror %d source port %d in vlan %s", id, port, vlan->name); break;
    case 3: print_line(frame, "set mirror %d source port %d out", id, port); break;
    case 4: print_line(frame, "set mirror %d source port %d out vlan %s", id, port, vlan->name); break;
    case 5: print_line(frame, "set mirror %d source vlan %s", id, vlan->name); break;
    default: break;
    }
}

void print_classify(const Frame& frame, int id, const Mirror& mirror)
{
    if (mirror.classify_class == 0 && mirror.classify_second == 0 && mirror.classify_colour == 0) return;
    const char* const word = colour_word(mirror.classify_colour);
    print_line(frame, "set mirror %d classify %d/%d/%s", id, mirror.classify_class + 1, int{mirror.classify_second},
               word ? word : "");
}

void print_tag(const Frame& frame, int id, const Mirror& mirror)
{
    if (mirror.tag_on == 0) return;
    if (mirror.tag_tagtype == default_tagtype) {
        print_line(frame, "set mirror %d tag on vid %d", id, int{mirror.tag_VID});
    } else {
        print_line(frame, "set mirror %d tag on tagtype %x vid %d", id, unsigned{mirror.tag_tagtype},
                   int{mirror.tag_VID});
    }
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_mirror(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    const Frame frame{prefix, suffix};
    int id = 0;
    for (const Mirror& mirror : call.header().mirror) {
        ++id;
        if (!(mirror.state & mirror_created)) continue;
        print_line(frame, "create mirror %d", id);
        print_source(frame, call, id, mirror);
        if (mirror.dest_port != 0) print_line(frame, "set mirror %d dest port %d", id, int{mirror.dest_port});
        print_classify(frame, id, mirror);
        print_tag(frame, id, mirror);
        if (mirror.state & mirror_enabled) print_line(frame, "enable mirror %d", id);
    }
    return 0;
}
