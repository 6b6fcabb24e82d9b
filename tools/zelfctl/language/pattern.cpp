#include "language/pattern.h"

#include <algorithm>
#include <cctype>

namespace zelfctl {
namespace {

std::vector<std::string> words_of(std::string_view choice)
{
    std::vector<std::string> words;
    for (;;) {
        const std::size_t bar = choice.find('|');
        words.emplace_back(choice.substr(0, bar));
        if (bar == std::string_view::npos) return words;
        choice.remove_prefix(bar + 1);
    }
}

Part read_value_part(std::string_view text)
{
    const std::size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    const std::string_view type = colon == std::string_view::npos ? text : text.substr(colon + 1);
    if (type.find('|') != std::string_view::npos)
        return {Part::What::choice, std::string(name), words_of(type), nullptr, {}};
    return {Part::What::value, std::string(name), {}, find_kind(type), {}};
}

class PatternReader {
public:
    explicit PatternReader(std::string_view pattern) : rest_(pattern) {}

    std::vector<Part> parts()
    {
        std::vector<Part> parts;
        for (skip_blanks(); !rest_.empty() && rest_.front() != ']'; skip_blanks()) parts.push_back(part());
        return parts;
    }

private:
    void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    std::string_view take(std::size_t length)
    {
        const std::string_view taken = rest_.substr(0, length);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    Part part()
    {
        if (rest_.front() == '[') {
            take(1);
            Part optional{Part::What::optional, {}, {}, nullptr, parts()};
            take(1);
            return optional;
        }
        if (rest_.front() == '<') {
            const std::string_view value = take(rest_.find('>'));
            take(1);
            return read_value_part(value.substr(1));
        }
        return {Part::What::word, std::string(take(rest_.find_first_of(" ]"))), {}, nullptr, {}};
    }

    std::string_view rest_;
};

class Matcher {
public:
    Matcher(const std::vector<Token>& tokens, Arguments& arguments, Mismatch* mismatch)
        : tokens_(tokens), arguments_(arguments), mismatch_(mismatch)
    {
    }

    bool whole(const std::vector<Part>& parts)
    {
        if (!all(parts)) return false;
        if (at_ == tokens_.size()) return true;
        if (mismatch_) mismatch_->note_end(at_);
        return false;
    }

private:
    bool all(const std::vector<Part>& parts)
    {
        return std::all_of(parts.begin(), parts.end(), [this](const Part& part) { return one(part); });
    }

    bool one(const Part& part)
    {
        if (part.what == Part::What::optional) {
            if (!fits(part.inner.front())) return true;
            return all(part.inner);
        }
        if (!fits(part)) return false;
        ++at_;
        return true;
    }

    // Whether the next token is right for the part; if so, its value is kept.
    bool fits(const Part& part)
    {
        if (at_ < tokens_.size() && accept(part, tokens_[at_].text)) return true;
        if (mismatch_) mismatch_->note(at_, part);
        return false;
    }

    bool accept(const Part& part, std::string_view text)
    {
        if (part.what == Part::What::word) return same_word(part.name, text);
        Value value;
        value.text = text;
        if (part.what == Part::What::choice) {
            const auto word = std::find_if(part.words.begin(), part.words.end(),
                                           [&](const std::string& known) { return same_word(known, text); });
            if (word == part.words.end()) return false;
            value.number = static_cast<u32>(word - part.words.begin());
        } else if (!part.kind->read(*part.kind, text, value)) {
            return false;
        }
        arguments_.set(part.name, value);
        return true;
    }

    const std::vector<Token>& tokens_;
    Arguments& arguments_;
    Mismatch* mismatch_;
    std::size_t at_ = 0;
};

}  // namespace

bool same_word(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::vector<Part> read_pattern(std::string_view pattern) { return PatternReader(pattern).parts(); }

std::string syntax_of(const std::vector<Part>& parts)
{
    std::string text;
    for (const Part& part : parts) {
        if (!text.empty()) text += ' ';
        switch (part.what) {
        case Part::What::word: text += part.name; break;
        case Part::What::value: text += '<' + std::string(part.kind->name) + '>'; break;
        case Part::What::optional: text += '[' + syntax_of(part.inner) + ']'; break;
        case Part::What::choice:
            for (const std::string& word : part.words) text += (&word == &part.words.front() ? "" : "|") + word;
            break;
        }
    }
    return text;
}

std::vector<std::string> expectations(const Part& part)
{
    switch (part.what) {
    case Part::What::word: return {"'" + part.name + "'"};
    case Part::What::value: return {part.kind->expects};
    case Part::What::optional: return expectations(part.inner.front());
    case Part::What::choice: break;
    }
    std::vector<std::string> quoted;
    for (const std::string& word : part.words) quoted.push_back("'" + word + "'");
    return quoted;
}

bool match(const std::vector<Part>& parts, const std::vector<Token>& tokens, Arguments& arguments, Mismatch* mismatch)
{
    return Matcher(tokens, arguments, mismatch).whole(parts);
}

void Mismatch::note(std::size_t at, const Part& part)
{
    if (!reaches(at)) return;
    parts.push_back(&part);
    for (const std::string& what : expectations(part)) add(what);
}

void Mismatch::note_end(std::size_t at)
{
    if (reaches(at)) add("the end of the line");
}

// What was noted before is of no interest once another attempt came further.
bool Mismatch::reaches(std::size_t at)
{
    if (at < token) return false;
    if (at > token) {
        expected.clear();
        parts.clear();
    }
    token = at;
    return true;
}

void Mismatch::add(const std::string& what)
{
    if (std::find(expected.begin(), expected.end(), what) == expected.end()) expected.push_back(what);
}

bool Arguments::has(std::string_view name) const
{
    return std::any_of(values_.begin(), values_.end(), [&](const Named& named) { return named.name == name; });
}

const Value& Arguments::value(std::string_view name) const
{
    static const Value absent;
    const auto found =
        std::find_if(values_.begin(), values_.end(), [&](const Named& named) { return named.name == name; });
    return found == values_.end() ? absent : found->value;
}

u32 Arguments::number(std::string_view name, u32 otherwise) const { return has(name) ? value(name).number : otherwise; }

std::string Arguments::text(std::string_view name) const { return std::string(value(name).text); }

void Arguments::set(std::string_view name, const Value& value) { values_.push_back({std::string(name), value}); }

}  // namespace zelfctl
