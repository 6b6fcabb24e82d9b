// Replay of physical ports and ports. The texts are a command language: every blank and comma of them is read back.
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

constexpr u16 default_tagtype = 0x8100;
constexpr u32 default_aging_s = 300;
constexpr u32 default_burst = 8000;
constexpr u32 rate_unit = 1000;

int as_int(u32 value) { return static_cast<int>(value); }

void print_creation(const Frame& frame, const Port& port)
{
    const Line line{frame};
    std::printf("create port %d npport %d ", as_int(port.PortID), int{port.phport});
    if (port.p_type == port_type_ether) std::printf("portType ether");
    if (port.p_type == port_type_vif) std::printf("portType vif");
}

// An Ethernet port and a virtual interface start with different flags, so each prints what differs from its own.
void print_flags(const Frame& frame, const Port& port)
{
    constexpr u16 priority_tag_aware = 0x100;
    const int id = as_int(port.PortID);
    if (!(port.p_flag & pflag_untagged)) print_line(frame, "set port %d aftype tagonly", id);
    if (port.p_type == port_type_ether) {
        if (!(port.p_flag & pflag_tag_aware)) print_line(frame, "set port %d ignoretag on", id);
        if (!(port.p_flag & priority_tag_aware)) print_line(frame, "set port %d ignoreptag on", id);
    } else if (port.p_type == port_type_vif) {
        if (port.p_flag & pflag_tag_aware) print_line(frame, "set port %d ignoretag off", id);
        if (port.p_flag & priority_tag_aware) print_line(frame, "set port %d ignoreptag off", id);
    }
}

void print_default_class(const Frame& frame, const Port& port)
{
    if (port.def_spno == 0 && port.def_pri == 0 && port.def_color == 0) return;
    const Line line{frame};
    std::printf("set port %d default_class %d/%d/", as_int(port.PortID), as_int(port.def_spno + 1),
                as_int(port.def_pri));
    if (const char* const word = colour_word(port.def_color)) std::fputs(word, stdout);
}

// Always seven commas, whichever entries are in use.
void print_cosmap(const Frame& frame, const Port& port)
{
    if (port.valbit == 0) return;
    const Line line{frame};
    std::printf("set port %d cosmap bit %x val ", as_int(port.PortID), port.valbit);
    for (u32 i = 0; i < std::size(port.cosmap); ++i) {
        if (i != 0) std::putchar(',');
        if (port.valbit & 1u << i) std::printf("%d", as_int(port.cosmap[i]));
    }
}

void print_policing(const Frame& frame, const Port& port)
{
    for (u32 i = 0; i < class_count; ++i) {
        const Policing& row = port.policing[i];
        if (row.rate == 0) continue;
        const Line line{frame};
        std::printf("set port %d class_policing class %d on ", as_int(port.PortID), as_int(i));
        if (const char* const word = colour_word(row.color)) std::printf("%s ", word);
        std::printf("rate %d", as_int(row.rate / rate_unit));
        if (row.burst != default_burst) std::printf(" burst %d", as_int(row.burst));
    }
}

void print_link_depend(const Frame& frame, const Port& port)
{
    if (port.link_depend == 1) return;
    const Line line{frame};
    std::printf("set port %d link_depend port ", as_int(port.PortID));
    const char* separator = "";
    for (u32 i = 0; i < phport_count; ++i) {
        if (!(port.link_depend_list & 1u << i)) continue;
        std::printf("%s%d", separator, as_int(i + 1));
        separator = ",";
    }
}

void print_port(const Frame& frame, const Port& port)
{
    constexpr u16 cosedit = 0x1000;
    constexpr u16 ignorefdb = 0x2000;
    const int id = as_int(port.PortID);
    print_creation(frame, port);
    print_flags(frame, port);
    if (port.tagtype != default_tagtype) print_line(frame, "set port %d tagtype %x", id, unsigned{port.tagtype});
    if (port.aging != default_aging_s) print_line(frame, "set port %d aging %d", id, as_int(port.aging));
    print_default_class(frame, port);
    if (port.p_flag & cosedit) print_line(frame, "set port %d cosedit on", id);
    print_cosmap(frame, port);
    print_policing(frame, port);
    if (port.link_mode != 1) print_line(frame, "set port %d link_mode or", id);
    print_link_depend(frame, port);
    if (port.bw_calc_mode != 0) print_line(frame, "set port %d bandwidth frame_gap", id);
    if (port.link_frames_fwd & 0x1) print_line(frame, "set port %d link_frame bpdu forward", id);
    if (port.link_frames_fwd & 0x4) print_line(frame, "set port %d link_frame lag forward", id);
    if (port.link_frames_fwd & 0x8) print_line(frame, "set port %d link_frame pae forward", id);
    if (port.p_flag & ignorefdb) print_line(frame, "set port %d ignorefdb on", id);
    if (port.optate == optate_up) print_line(frame, "enable port %d", id);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_ether(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    for (const Phport& phport : walk(all_phports, call.base(), call.header())) {
        if (phport.shaping_rate == 0) continue;
        const Line line{{prefix, suffix}};
        std::printf("set ether %d shaping on rate %d", int{phport.ID}, as_int(phport.shaping_rate / rate_unit));
        if (phport.shaping_param2 != default_burst) std::printf(" burst %d", as_int(phport.shaping_param2));
    }
    return 0;
}

int zelfdb_reconfig_port(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    for (const Port& port : walk(all_ports, call.base(), call.header())) print_port({prefix, suffix}, port);
    return 0;
}
