// Replay of classify profiles with their lines and bindings.
#include "classify/field_text.h"
#include "core/call.h"
#include "replay/lines.h"

namespace zelfdb {
namespace {

constexpr u32 no_ext_mask = 0xFFFFFFFF;

int as_int(u32 value) { return static_cast<int>(value); }

void print_field(bool present, const FieldText& text) { std::printf(" %s", present ? text.text : "-"); }

void print_ext_fields(const ClassifyLine& line)
{
    if (line.flags < match_ext) {
        std::printf(" -");
        return;
    }
    std::putchar(' ');
    for (u32 i = 0; i < std::size(line.ext); ++i) {
        if (i != 0) std::putchar(',');
        if (!(line.flags & match_ext << i)) continue;
        std::printf("%lx", static_cast<unsigned long>(line.ext[i].value));
        if (line.ext[i].mask != no_ext_mask) std::printf("/%lx", static_cast<unsigned long>(line.ext[i].mask));
    }
}

void print_classify_line(const Frame& frame, const Classify& classify, const Action& action)
{
    const ClassifyLine& line = action.line;
    const auto has = [&](u32 field) { return (line.flags & field) != 0; };
    const Line output{frame};
    std::printf("add classify %hd/%hhd/", static_cast<short>(line.stream_id + 1),
                static_cast<signed char>(line.class_id));
    std::printf("%s %s", line_colour_text(line.colour), line_mode_text(line.mode));
    print_field(has(match_dst_ip), ip_text(line.dst_ip));
    print_field(has(match_src_ip), ip_text(line.src_ip));
    print_field(has(match_tos), number_text(line.tos));
    print_field(has(match_proto), has(match_proto) ? protocol_text(line.proto) : FieldText{});
    print_field(has(match_dst_port), number_text(line.dst_port));
    print_field(has(match_src_port), number_text(line.src_port));
    print_field(has(match_vlan), number_text(line.vlan));
    print_field(has(match_dot1p), number_text(line.dot1p));
    print_field(has(match_etype), hex_text(line.etype));
    print_ext_fields(line);
    std::printf(" to clslist %d line %ld ", int{classify.ID}, static_cast<long>(static_cast<i32>(action.position)));
}

// A binding word is a number (high half) and its kind (low half).
void print_binding_words(const u32 (&words)[4])
{
    bool some = false;
    for (const u32 word : words) some = some || (word & 0xFFFF) != 0;
    if (!some) return;
    std::putchar(' ');
    const char* separator = "";
    for (const u32 word : words) {
        const int number = as_int(word >> 16);
        const int kind = as_int(word & 0xFFFF);
        std::fputs(separator, stdout);
        separator = ",";
        if (kind == 1 || kind == 2) std::printf("%d/%d", number, kind);
        if (kind == 4) std::printf("%d", number);
    }
}

void print_binding(const Frame& frame, const Call& call, const Classify& classify, const Pv& pv)
{
    const Vlan* const vlan = call.vlan(pv.VID);
    if (!vlan) return;
    const Line line{frame};
    std::printf("add clslist %d to port %d vlan %s", int{classify.ID}, as_int(pv.port_id), vlan->name);
    print_binding_words(pv.classify_words);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_reconfig_classify(const char* prefix, const char* suffix)
{
    using namespace zelfdb;
    const Call call{Lock::main, nullptr};
    if (!call) return call.failed();

    const Frame frame{prefix, suffix};
    for (const Classify& classify : walk(all_classifies, call.base(), call.header())) {
        print_line(frame, "create clslist %d", int{classify.ID});
        for (const Action& action : actions_of(call.base(), classify)) print_classify_line(frame, classify, action);
        for (const Pv& pv : walk(pvs_of_classify, call.base(), classify)) print_binding(frame, call, classify, pv);
    }
    return 0;
}
