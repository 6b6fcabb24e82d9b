// What calls are made with: few enough of each kind to meet again, and what lies at or beyond an end.
#pragma once

#include <array>
#include <string>

#include "calls.h"

namespace fuzz {

inline u32 port(Input& in) { return in.one_of({1, 2, 3, 4, 5, 101, 7, 50, 6}); }
inline u32 vid(Input& in) { return in.one_of({1, 2, 10, 20, 30, 4094}); }
inline u32 group(Input& in) { return in.one_of({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}); }
inline u32 protocol(Input& in) { return in.one_of({0x0800, 0x0806, 0x86DD, 0x8863, 1, 2, 3, 4, 5, 6}); }
inline u32 stream(Input& in) { return in.one_of({0, 1, 2, 256, 257, 1023}); }
inline u32 queue(Input& in) { return in.one_of({0, 1, 7, 8, 9, 15, 16, 2048, 8191}); }
inline u32 class_no(Input& in) { return in.one_of({0, 0, 1, 2, 7}); }
inline u32 profile(Input& in) { return in.one_of({1, 2, 3, 64}); }
inline u32 mirror(Input& in) { return in.one_of({1, 2, 3, 4}); }
inline u32 number(Input& in) { return in.one_of({0, 1, 2, 3, 5, 10, 100, 1000}); }
inline i32 signed_number(Input& in) { return static_cast<i32>(number(in)); }

inline Address station(Input& in)
{
    Address mac{};
    const u8 choice = in.byte();
    if (choice >= 0xF8) {
        in.copy(mac.data(), mac.size());
    } else if (choice >= 0xF0) {
        mac = {0x01, 0x80, 0xC2, 0, 0, static_cast<u8>(choice & 7)};  // a link frame's
    } else {
        mac = {2, 0, 0, 0, static_cast<u8>(choice >> 4 & 3), static_cast<u8>(choice % 6)};
    }
    return mac;
}

inline std::string name(Input& in)
{
    static const std::string few[] = {
        "ab", "ba", "sales", "lab", "", "%s%n", std::string(30, 'n'), std::string(31, 'n')};
    const u8 choice = in.byte();
    if (choice < 0xF0) return few[choice % std::size(few)];
    std::string text(choice % 16 + 20, '\0');
    in.copy(text.data(), text.size());
    return text.c_str();
}

inline std::array<u32, 8> words(Input& in)
{
    std::array<u32, 8> all{};
    for (u32& word : all) word = number(in);
    return all;
}

}  // namespace fuzz
