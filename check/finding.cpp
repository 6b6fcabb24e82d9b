// Findings and their parts as text.
#include "check/finding.h"

#include <cstdio>

#include "check/values.h"

namespace zelfdb {
namespace {

template <class... Arguments>
std::string printed(const char* pattern, Arguments... arguments)
{
    char text[160];
    std::snprintf(text, sizeof text, pattern, arguments...);
    return text;
}

std::string hex_text(u32 number) { return printed("0x%x", number); }
std::string offset_text(i64 offset) { return offset == none.value ? "none" : hex_text(static_cast<u32>(offset)); }

std::string address_text(const Mac& mac)
{
    return printed("%02x:%02x:%02x:%02x:%02x:%02x", mac.byte[0], mac.byte[1], mac.byte[2], mac.byte[3], mac.byte[4],
                   mac.byte[5]);
}

// Printable whatever the bytes are.
std::string quoted_text(const char* words)
{
    std::string text = "\"";
    for (; *words; ++words) {
        const auto byte = static_cast<u8>(*words);
        const bool plain = byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
        text += plain ? std::string(1, *words) : printed("\\x%02x", byte);
    }
    return text + '"';
}

}  // namespace

namespace audit {

std::string text_of(const Name& name)
{
    const std::string text = printed(name.pattern, name.first, name.second);
    return name.entry ? "entry " + address_text(*name.entry) + " of " + text : text;
}

std::string text_of(const Value& value)
{
    switch (value.as) {
    case Value::As::number: return std::to_string(value.number);
    case Value::As::hex: return hex_text(static_cast<u32>(value.number));
    case Value::As::offset: return offset_text(value.number);
    case Value::As::address: return address_text(*value.mac);
    case Value::As::text: return value.words;
    case Value::As::quoted: return quoted_text(value.words);
    case Value::As::name: return text_of(value.name);
    case Value::As::record: return "none or one of the " + std::string(value.words) + " records";
    case Value::As::at_most: return "at most " + std::to_string(value.number);
    case Value::As::first_prev: return "none or " + offset_text(value.number);
    case Value::As::not_on: return "no record of the " + text_of(value.name);
    }
    return {};
}

}  // namespace audit

const char* name_of(Severity severity) { return severity == Severity::error ? "error" : "notice"; }
const char* name_of(Segment segment) { return segment == Segment::main ? "main" : "fdb"; }

std::string text_of(const Finding& f)
{
    return std::string(name_of(f.severity)) + ": " + f.object + ": " + f.field + " is " + f.found + ", expected " +
           f.expected + ": " + f.rule + " (" + name_of(f.segment) + " " + hex_text(f.offset) + ")";
}

}  // namespace zelfdb
