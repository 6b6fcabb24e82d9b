#include "language/characters.h"

#include <algorithm>
#include <cstdio>

#include "language/types.h"

namespace zelfctl {
namespace {

constexpr u8 first_of_several = 0x80;

bool is_control(u8 byte) { return byte < ' ' || byte == 0x7F; }

bool is_plain(char c)
{
    const auto byte = static_cast<u8>(c);
    return byte < first_of_several && !is_control(byte);
}

// How a character begins, and between what its second byte lies; the others are 80 to BF.
struct Form {
    std::size_t bytes;
    u8 lowest;
    u8 highest;
    u8 second_lowest;
    u8 second_highest;
};
constexpr Form forms[] = {{1, 0x00, 0x7F, 0x80, 0xBF}, {2, 0xC2, 0xDF, 0x80, 0xBF}, {3, 0xE0, 0xE0, 0xA0, 0xBF},
                          {3, 0xE1, 0xEC, 0x80, 0xBF}, {3, 0xED, 0xED, 0x80, 0x9F}, {3, 0xEE, 0xEF, 0x80, 0xBF},
                          {4, 0xF0, 0xF0, 0x90, 0xBF}, {4, 0xF1, 0xF3, 0x80, 0xBF}, {4, 0xF4, 0xF4, 0x80, 0x8F}};

bool has_form(std::string_view text, const Form& form)
{
    const auto byte = [&](std::size_t i) { return static_cast<u8>(text[i]); };
    if (byte(0) < form.lowest || byte(0) > form.highest || text.size() < form.bytes) return false;
    if (form.bytes > 1 && (byte(1) < form.second_lowest || byte(1) > form.second_highest)) return false;
    for (std::size_t i = 2; i < form.bytes; ++i)
        if ((byte(i) & 0xC0) != 0x80) return false;
    return true;
}

// Of the first character; 0 if there is none.
std::size_t bytes_of_first(std::string_view text)
{
    const auto* const form =
        std::find_if(std::begin(forms), std::end(forms), [&](const Form& known) { return has_form(text, known); });
    return form == std::end(forms) ? 0 : form->bytes;
}

// U+0080 to U+009F are control characters, too.
bool is_control(std::string_view character)
{
    const auto second = [&] { return static_cast<u8>(character[1]); };
    return character.size() == 1 ? is_control(static_cast<u8>(character[0]))
                                 : character[0] == '\xC2' && second() < 0xA0;
}

}  // namespace

std::size_t bytes_of_characters(std::string_view text, std::size_t characters)
{
    std::size_t at = 0;
    for (; at < text.size() && characters != 0; --characters)
        at += std::max<std::size_t>(bytes_of_first(text.substr(at)), 1);
    return at;
}

std::size_t characters_in(std::string_view text)
{
    if (std::all_of(text.begin(), text.end(), is_plain)) return text.size();
    std::size_t count = 0;
    for (; !text.empty(); ++count) text.remove_prefix(std::max<std::size_t>(bytes_of_first(text), 1));
    return count;
}

std::string printable(std::string text)
{
    if (std::all_of(text.begin(), text.end(), is_plain)) return text;
    std::string shown;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t bytes = bytes_of_first(rest);
        const std::string_view character = rest.substr(0, std::max<std::size_t>(bytes, 1));
        rest.remove_prefix(character.size());
        if (bytes != 0 && !is_control(character)) {
            shown += character;
            continue;
        }
        for (const char c : character) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<u8>(c));
            shown += escape;
        }
    }
    return shown;
}

}  // namespace zelfctl
