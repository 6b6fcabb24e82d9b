#include "language/completion.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "language/commands.h"

namespace zelfctl {
namespace {

constexpr u32 few = 8;  // numbers of a range that is no longer than this are worth a list

constexpr struct {
    std::string_view kind;
    std::string_view object;
} objects_of_kinds[] = {{"port", "port"},   {"anyport", "port"}, {"mirror_port", "port"}, {"vlan", "vlan"},
                        {"vid", "vid"},     {"pvid", "vid"},     {"clslist", "clslist"},  {"stream", "stream"},
                        {"queue", "queue"}, {"group", "group"},  {"mirror", "mirror"}};

// Words that a kind reads beside numbers.
constexpr struct {
    std::string_view kind;
    std::string_view word;
} words_of_kinds[] = {{"color", "green"},     {"color", "yellow"},   {"color", "red"},
                      {"link_frame", "bpdu"}, {"link_frame", "lag"}, {"link_frame", "pae"}};

// "create port 7", "create vlan lab vid 20": these name what is not there yet.
bool names_something_new(const Command& command, const Part& part, std::size_t position)
{
    const bool is_vid = part.what == Part::What::value && std::string_view("vid") == part.kind->name;
    return command.parts.front().name == "create" && (position == 2 || is_vid);
}

class Completer {
public:
    Completer(std::string_view beginning, const LiveNames& names) : beginning_(beginning), names_(names) {}

    void offer(const Part& part, bool is_new)
    {
        switch (part.what) {
        case Part::What::word: offer_word(part.name); break;
        case Part::What::choice:
            for (const std::string& word : part.words) offer_word(word);
            break;
        case Part::What::value: offer_values(*part.kind, is_new); break;
        case Part::What::optional: break;  // what is noted is its first part
        }
    }

    std::vector<std::string> take() { return std::move(candidates_); }

private:
    void offer_word(std::string_view word)
    {
        if (word_begins_with(word, beginning_)) add(word);
    }

    void offer_name(std::string_view name)
    {
        if (name.starts_with(beginning_)) add(name);
    }

    void add(std::string_view candidate)
    {
        if (seen_.emplace(candidate).second) candidates_.emplace_back(candidate);
    }

    void offer_values(const Kind& kind, bool is_new)
    {
        const std::string_view object = object_of_kind(kind.name);
        if (!object.empty() && !is_new) {
            if (!asked_.insert(object).second) return;
            for (const std::string& name : names_(object)) offer_name(name);
            return;
        }
        bool has_words = false;
        for (const auto& known : words_of_kinds) {
            if (known.kind != kind.name) continue;
            offer_name(known.word);
            has_words = true;
        }
        if (has_words || kind.highest <= kind.lowest || kind.highest - kind.lowest >= few) return;
        for (u32 number = kind.lowest; number <= kind.highest; ++number) offer_name(std::to_string(number));
    }

    std::string_view beginning_;
    const LiveNames& names_;
    std::vector<std::string> candidates_;
    std::set<std::string> seen_;
    std::set<std::string_view> asked_;  // objects whose names were offered
};

}  // namespace

std::vector<std::string> complete_command(const std::vector<std::string>& before, std::string_view beginning,
                                          const LiveNames& names)
{
    std::vector<Token> tokens;
    for (const std::string& word : before) {
        if (word.starts_with('#')) return {};  // a comment goes on to the end of the line
        tokens.push_back({word, 0});
    }
    Completer completer(beginning, names);
    for (const Command& command : all_commands()) {
        Arguments arguments;
        Mismatch mismatch;
        match(command.parts, tokens, arguments, &mismatch);
        if (mismatch.token != tokens.size()) continue;
        for (const Part* part : mismatch.parts)
            completer.offer(*part, names_something_new(command, *part, tokens.size()));
    }
    return completer.take();
}

std::string_view object_of_kind(std::string_view kind)
{
    const auto* const found = std::find_if(std::begin(objects_of_kinds), std::end(objects_of_kinds),
                                           [&](const auto& row) { return row.kind == kind; });
    return found == std::end(objects_of_kinds) ? std::string_view{} : found->object;
}

bool word_begins_with(std::string_view word, std::string_view beginning)
{
    return same_word(word.substr(0, beginning.size()), beginning);
}

}  // namespace zelfctl
