// Values of settings as text, in one way for both sides of a comparison: what the database holds and what an NP answers. A
// value that means nothing (the tag of a mirror that adds none) is not told, so that it cannot differ.
#pragma once

#include <string>

#include "core/types.h"

namespace zelfdb {

// Words in hexadecimal, "/" between them.
std::string words_text(const u32* words, u32 count);
template <class... Words>
std::string numbers(Words... words);

std::string number_text(u32 value);
std::string flags_text(u32 value);  // hexadecimal
std::string yes_no(bool value);
std::string bytes_text(const void* bytes, u32 count);  // hexadecimal

std::string tosmap_text(u32 bits, const u32 value[8], const u32 mask[8]);
std::string mirror_source_text(u32 kind, u32 port_id, u32 VID);
std::string mirror_tag_text(u32 on, u32 tagtype, u32 VID);
// What a queue keeps of its weight is a matter of its mode.
std::string weight_text(u32 mode, u32 pri, u32 ratio);
// port_id counts only if the entry is bound to one.
std::string entry_place_text(bool bound, u32 port_id);

template <class... Words>
std::string numbers(Words... words)
{
    std::string text;
    ((text += (text.empty() ? "" : "/") + number_text(static_cast<u32>(words))), ...);
    return text;
}

}  // namespace zelfdb
