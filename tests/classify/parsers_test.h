// One call of a field parser: its result and what it made of four elements that held something before. Also used without
// GoogleTest, by the fuzz targets.
#pragma once

#include <array>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>

#include "classify/parse.h"

namespace zelfdb {

// A text in memory of its own with nothing behind its end, so that a parser which reads on is found out.
class ExactText {
public:
    explicit ExactText(const std::string& text) : bytes_(new char[text.size() + 1])
    {
        std::memcpy(bytes_.get(), text.c_str(), text.size() + 1);
    }
    [[nodiscard]] const char* get() const { return bytes_.get(); }

private:
    std::unique_ptr<char[]> bytes_;
};

template <class Value>
struct Field {
    int result;
    std::array<Value, 4> out;
    bool operator==(const Field&) const = default;
};
template <class Value>
void PrintTo(const Field<Value>& field, std::ostream* out)
{
    *out << field.result << std::hex << ":";
    for (const Value value : field.out) *out << " 0x" << u32{value};
}

// What the elements hold beforehand: a value for which no text of these tests stands.
template <class Value>
inline constexpr std::array<Value, 4> nothing{static_cast<Value>(0xA5A5A5A5), static_cast<Value>(0x5A5A5A5A),
                                              static_cast<Value>(0xC3C3C3C3), static_cast<Value>(0x3C3C3C3C)};

using Parser32 = int(const char*, u32[4]);
template <class Value>
using Parser = int(const char*, Value[4], i32, i32);

inline Field<u32> parsed(Parser32* parser, const std::string& text)
{
    Field<u32> field{0, nothing<u32>};
    field.result = parser(ExactText(text).get(), field.out.data());
    return field;
}
template <class Value>
Field<Value> parsed(Parser<Value>* parser, const std::string& text, i32 lower, i32 upper)
{
    Field<Value> field{0, nothing<Value>};
    field.result = parser(ExactText(text).get(), field.out.data(), lower, upper);
    return field;
}

// What is expected. A single value leaves the second and the fourth element alone.
template <class Value>
Field<Value> absent()
{
    return {0, nothing<Value>};
}
template <class Value>
Field<Value> single(Value value, Value mask)
{
    return {1, {value, nothing<Value>[1], mask, nothing<Value>[3]}};
}
template <class Value>
Field<Value> range(Value from, Value to, Value mask)
{
    return {1, {from, to, mask, 1}};
}

}  // namespace zelfdb
