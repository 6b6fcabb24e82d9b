// Patterns of commands: "add port <port> to vlan <vlan> tag off [protgroup <group>]".
//
//   word              that word
//   <kind>            a value of that kind, known by the kind's name
//   <name:kind>       the same, known by another name
//   <name:on|off>     one of these words; its value is the word's index
//   [ ... ]           optional: taken when its first part fits
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "language/token.h"
#include "language/value.h"

namespace zelfctl {

struct Part {
    enum class What { word, choice, value, optional };
    What what;
    std::string name;                // the word, or the name of the value
    std::vector<std::string> words;  // of a choice
    const Kind* kind = nullptr;      // of a value
    std::vector<Part> inner;         // of an optional part
};

// The pattern must be well-formed: patterns are the program's own, and tests read all of them.
std::vector<Part> read_pattern(std::string_view pattern);

// The values of one command by name.
class Arguments {
public:
    [[nodiscard]] bool has(std::string_view name) const;
    [[nodiscard]] const Value& value(std::string_view name) const;  // a value of zeros if it is not there
    [[nodiscard]] u32 number(std::string_view name, u32 otherwise = 0) const;
    [[nodiscard]] std::string text(std::string_view name) const;

    void set(std::string_view name, const Value& value);

private:
    struct Named {
        std::string name;
        Value value;
    };
    std::vector<Named> values_;
};

// Of commands that switch something on or off.
inline bool is_on(const Arguments& arguments) { return arguments.number("switch") != 0; }

// How far the best attempt came, and what would have been right there.
struct Mismatch {
    std::size_t token = 0;
    std::vector<std::string> expected;
    std::vector<const Part*> parts;  // of the patterns, in their order: what the texts above are made from

    void note(std::size_t at, const Part& part);
    void note_end(std::size_t at);

private:
    bool reaches(std::size_t at);
    void add(const std::string& what);
};

// Whether the tokens are such a command. If not, mismatch has more to say than before; it may be null.
bool match(const std::vector<Part>& parts, const std::vector<Token>& tokens, Arguments& arguments, Mismatch* mismatch);

// How the command is written, for people: values by their kind, choices as their words.
std::string syntax_of(const std::vector<Part>& parts);

// Words of the language are read whatever their case; names and numbers as they are.
bool same_word(std::string_view a, std::string_view b);

// What may stand first, as texts of an error: the words of a part, quoted, or what its kind expects.
std::vector<std::string> expectations(const Part& part);

}  // namespace zelfctl
