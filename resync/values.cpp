#include "resync/values.h"

#include <cstdio>

namespace zelfdb {
namespace {

constexpr u32 mode_wfq = 1;
constexpr u32 mode_pq = 2;
constexpr u32 source_vlan = 5;

std::string hexadecimal(u32 value)
{
    char text[12];
    std::snprintf(text, sizeof text, "%x", value);
    return text;
}

}  // namespace

std::string number_text(u32 value) { return std::to_string(value); }
std::string flags_text(u32 value) { return hexadecimal(value); }
std::string yes_no(bool value) { return value ? "yes" : "no"; }

std::string words_text(const u32* words, u32 count)
{
    std::string text;
    for (u32 i = 0; i < count; ++i) text += (i ? "/" : "") + hexadecimal(words[i]);
    return text;
}

std::string bytes_text(const void* bytes, u32 count)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (u32 i = 0; i < count; ++i) {
        const u8 byte = static_cast<const u8*>(bytes)[i];
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

std::string tosmap_text(u32 bits, const u32 value[8], const u32 mask[8])
{
    std::string text = hexadecimal(bits);
    for (u32 i = 0; i < 8; ++i) text += " " + hexadecimal(value[i] & mask[i]) + "&" + hexadecimal(mask[i]);
    return text;
}

std::string mirror_source_text(u32 kind, u32 port_id, u32 VID)
{
    if (kind == 0) return "none";
    if (kind == source_vlan) return "kind 5 VLAN " + number_text(VID);
    return "kind " + number_text(kind) + " port " + number_text(port_id) +
           (kind % 2 == 0 ? " VLAN " + number_text(VID) : "");
}

std::string mirror_tag_text(u32 on, u32 tagtype, u32 VID)
{
    return on == 0 ? "none" : number_text(on) + " tagtype " + hexadecimal(tagtype) + " VLAN " + number_text(VID);
}

std::string weight_text(u32 mode, u32 pri, u32 ratio)
{
    std::string text = "mode " + number_text(mode);
    if (mode == mode_wfq || mode == mode_pq) text += " pri " + number_text(pri);
    if (mode == mode_wfq) text += " ratio " + number_text(ratio);
    return text;
}

std::string entry_place_text(bool bound, u32 port_id) { return bound ? "port " + number_text(port_id) : "no port"; }

}  // namespace zelfdb
