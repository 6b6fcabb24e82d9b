// What the library said, and the rules of its error word.
#pragma once

#include "calls.h"
#include "site.h"

namespace fuzz {

inline constexpr u32 untouched = 0x5A5A5A5A;
inline const char* called = "";

struct Said {
    int result;
    u32 err;
};

template <class Call>
Said said(Call call)
{
    u32 err = untouched;
    const int result = call(&err);
    return {result, err};
}

enum class Word { on_failure, preset, final };

inline void expect(Word rule, const Said& said, u32 code)
{
    u32 err = code;
    if (code == ZELFDB_DONE && rule == Word::on_failure) err = untouched;
    if (code == ZELFDB_DONE && rule == Word::preset) err = ZELFDB_NO_DESCRIPTOR;
    const int result = code == ZELFDB_DONE ? 0 : -1;
    if (said.result != result || said.err != err)
        found("%s says %d with code %u, expected %d with %u", called, said.result, said.err, result, err);
}

inline void expect_result(int result, int expected)
{
    if (result != expected) found("%s says %d, expected %d", called, result, expected);
}

// The code of an operation on a port that nothing but its absence refuses, and the port to change.
template <class Change>
u32 change_port(Calls& c, u32 id, Change change)
{
    PlainPort* const one = c.plain.port(id);
    if (!one) return ZELFDB_NO_PORT;
    change(*one);
    return ZELFDB_DONE;
}

}  // namespace fuzz
