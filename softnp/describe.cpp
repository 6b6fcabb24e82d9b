// The text of an NP command, by the argument names of its kind. Called by the device's log and by tests.
#include "command.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace softnp {

namespace {

struct Text {
    char* begin;
    size_t size;  // with the terminating zero
    size_t used;
};

void append(Text& text, std::string_view part)
{
    const size_t length = std::min(part.size(), text.size - 1 - text.used);
    std::copy(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(length), text.begin + text.used);
    text.used += length;
    text.begin[text.used] = 0;
}

template <class Number>
void append_number(Text& text, Number number, int base = 10)
{
    char digits[16];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number, base);
    append(text, {digits, static_cast<size_t>(end.ptr - digits)});
}

void append_hex(Text& text, u32 number)
{
    append(text, "0x");
    append_number(text, number, 16);
}

void append_byte(Text& text, u8 byte)
{
    constexpr char digits[] = "0123456789abcdef";
    const char pair[2] = {digits[byte >> 4], digits[byte & 15]};
    append(text, {pair, 2});
}

void append_np_port(Text& text, u32 np_port)
{
    if (np_port == SOFTNP_NO_PORT)
        append(text, "unmapped");
    else
        append_number(text, np_port);
}

void append_mac(Text& text, const u32 words[2])
{
    u8 mac[6];
    mac_of_words(words[0], words[1], mac);
    for (u32 index = 0; index < 6; index++) {
        if (index != 0) append(text, ":");
        append_byte(text, mac[index]);
    }
}

void append_words(Text& text, const u32* words, u32 count)
{
    for (u32 index = 0; index < count; index++) {
        if (index != 0) append(text, ",");
        append_hex(text, words[index]);
    }
}

void append_bytes(Text& text, const CommandView& command)
{
    for (u32 index = 0; index < command.payload_stored; index++) append_byte(text, command.payload[index]);
}

void append_rates(Text& text, const CommandView& command)
{
    for (u32 at = 0; at + sizeof(vf_actual_rate) <= command.payload_stored; at += sizeof(vf_actual_rate)) {
        vf_actual_rate rate;
        std::memcpy(&rate, command.payload + at, sizeof rate);
        if (at != 0) append(text, ",");
        append_number(text, u32{rate.streamno});
        append(text, ":");
        append_number(text, u32{rate.actual_rate});
        append(text, ":");
        append_number(text, u32{rate.actual_excess});
    }
}

struct Position {
    u32 arg;
    u32 word;
};

// How much of a command a style takes.
bool is_payload(const char* style) { return style[0] == 'b' || style[0] == 'r'; }
u32 words_of_style(const char* style) { return style[0] == 'w' ? static_cast<u32>(style[1] - '0') : 0; }
u32 args_of_style(const char* style)
{
    if (is_payload(style) || style[0] == 'w') return 0;
    return style[0] == 'm' ? 2 : 1;
}

void append_value(Text& text, const CommandView& command, const char* style, Position& at)
{
    const u32* args = command.args + at.arg;
    switch (style[0]) {
    case 'd': append_number(text, args[0]); break;
    case 'i': append_number(text, static_cast<i32>(args[0])); break;
    case 'x': append_hex(text, args[0]); break;
    case 'n': append_np_port(text, args[0]); break;
    case 'm': append_mac(text, args); break;
    case 'w': append_words(text, command.words + at.word, words_of_style(style)); break;
    case 'b': append_bytes(text, command); break;
    default: append_rates(text, command); break;
    }
    at.arg += args_of_style(style);
    at.word += words_of_style(style);
    if (is_payload(style) && command.payload_stored < command.payload_size) append(text, "..");
}

}  // namespace

void describe(const CommandView& command, char* out, size_t size)
{
    Text text{out, size, 0};
    const KindInfo& info = kind_info(command.kind);
    append(text, info.name);

    Position at{0, 0};
    const char* argument = info.arguments;
    while (*argument != 0) {
        const char* colon = std::strchr(argument, ':');
        append(text, " ");
        append(text, {argument, static_cast<size_t>(colon - argument)});
        append(text, "=");
        append_value(text, command, colon + 1, at);
        const char* blank = std::strchr(colon, ' ');
        argument = blank ? blank + 1 : colon + std::strlen(colon);
    }
}

}  // namespace softnp
