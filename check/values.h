// Names of objects and the values that findings compare. They become text only when a finding is kept: a check of a healthy
// database makes no text at all.
#pragma once

#include <string>

#include "core/records.h"

namespace zelfdb::audit {

// "queue list of stream %d class %d" with its numbers; for an entry, with its address before the owner's name.
struct Name {
    const char* pattern;
    i32 first = 0;
    i32 second = 0;
    const Mac* entry = nullptr;

    Name(const char* text) : pattern(text) {}  // a text is a name
    Name(const char* text, u32 number) : pattern(text), first(static_cast<i32>(number)) {}
    Name(const char* text, u32 number, u32 other)
        : pattern(text), first(static_cast<i32>(number)), second(static_cast<i32>(other))
    {
    }
};

inline constexpr const char* a_port = "port %d";
inline constexpr const char* a_vlan = "VLAN %d";
inline Name called(const Pv& pv) { return {"membership of port %d in VLAN %d", pv.port_id, pv.VID}; }

inline Name entry_of(Name owner, const Mac& mac)
{
    owner.entry = &mac;
    return owner;
}

struct Value {
    enum class As { number, hex, offset, address, text, quoted, name, record, at_most, first_prev, not_on };
    As as;
    i64 number = 0;
    const char* words = nullptr;
    const Mac* mac = nullptr;
    Name name = "";
};

inline Value dec(i64 number) { return {.as = Value::As::number, .number = number}; }
inline Value hex(u32 number) { return {.as = Value::As::hex, .number = number}; }
inline Value at(Offset offset) { return {.as = Value::As::offset, .number = offset.value}; }
inline Value address(const Mac& mac) { return {.as = Value::As::address, .mac = &mac}; }
inline Value text(const char* words) { return {.as = Value::As::text, .words = words}; }
// Bytes of the database, which may be anything but end with a 0.
inline Value quoted(const char* words) { return {.as = Value::As::quoted, .words = words}; }
inline Value named(const Name& name) { return {.as = Value::As::name, .name = name}; }
// None, or where a record of that kind lies.
inline Value record_or_none(const char* kind) { return {.as = Value::As::record, .words = kind}; }
inline Value at_most(i64 number) { return {.as = Value::As::at_most, .number = number}; }
// The back link of a list's first record: itself or none.
inline Value itself_or_none(Offset self) { return {.as = Value::As::first_prev, .number = self.value}; }
inline Value not_on(const Name& list) { return {.as = Value::As::not_on, .name = list}; }

std::string text_of(const Name& name);
std::string text_of(const Value& value);

}  // namespace zelfdb::audit
