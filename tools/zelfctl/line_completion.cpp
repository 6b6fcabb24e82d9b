#include "line_completion.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <set>
#include <span>
#include <sstream>

#include "database.h"
#include "language/completion.h"
#include "live_names.h"
#include "verbs.h"

namespace zelfctl {
namespace {

using Before = std::span<const std::string>;

std::vector<const CLI::App*> parts_of(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

const CLI::App* find_part(const CLI::App& app, const std::string& name)
{
    for (const CLI::App* part : parts_of(app))
        if (part->get_name() == name) return part;
    return nullptr;
}

bool looks_like_option(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

const CLI::Option* find_option(const CLI::App& verb, const std::string& word)
{
    for (const CLI::Option* option : verb.get_options())
        if (!option->get_positional() && option->check_name(word)) return option;
    return nullptr;
}

// "N FILE...": the first value is an N, all others are files.
std::string type_of_value(const CLI::Option& option, u32 index)
{
    std::istringstream types(option.get_type_name());
    std::string type;
    for (u32 i = 0; i <= index; ++i)
        if (std::string next; types >> next) type = next;
    return type;
}

// How far the words of a verb came.
struct Progressed {
    std::set<const CLI::Option*> used;
    const CLI::Option* open = nullptr;  // an option that takes more values
    u32 values = 0;                     // that it has
    u32 positionals = 0;
};

Progressed follow(const CLI::App& verb, Before before)
{
    Progressed state;
    for (const std::string& word : before) {
        if (looks_like_option(word)) {
            const CLI::Option* option = find_option(verb, word);
            if (option) state.used.insert(option);
            state.open = option && option->get_items_expected_max() > 0 ? option : nullptr;
            state.values = 0;
        } else if (state.open) {
            if (++state.values >= static_cast<u32>(state.open->get_items_expected_max())) state.open = nullptr;
        } else {
            ++state.positionals;
        }
    }
    return state;
}

class LineCompleter {
public:
    LineCompleter(const CLI::App& app, std::string beginning) : app_(app), beginning_(std::move(beginning)) {}

    Candidates take() { return std::move(candidates_); }

    void line(Before before)
    {
        if (!before.empty() && before.front() == "--sandbox") {
            names_ = [](std::string_view) { return std::vector<std::string>{}; };  // a new sandbox is empty
            before = before.subspan(1);
        }
        if (before.empty()) {
            parts(app_);
            command(before);
        } else if (const CLI::App* verb = find_part(app_, before.front())) {
            words_of_verb(*verb, before.subspan(1));
        } else {
            command(before);
        }
    }

private:
    void offer(const std::string& word)
    {
        if (word.starts_with(beginning_)) add(word);
    }

    void add(const std::string& word)
    {
        auto& words = candidates_.words;
        if (std::find(words.begin(), words.end(), word) == words.end()) words.push_back(word);
    }

    void command(Before before)
    {
        for (const std::string& word : complete_command({before.begin(), before.end()}, beginning_, names_)) add(word);
    }

    void names_of_parts(const CLI::App& app)
    {
        for (const CLI::App* part : parts_of(app))
            if (!part->get_group().empty()) offer(part->get_name());
    }

    void names_of_verbs(Before before)
    {
        const CLI::App* verb = &app_;
        for (const std::string& word : before)
            if (verb) verb = find_part(*verb, word);
        if (verb) names_of_parts(*verb);
    }

    void parts(const CLI::App& app)
    {
        names_of_parts(app);
        if (looks_like_option(beginning_) || beginning_ == "-") options(app, {});
    }

    void options(const CLI::App& verb, const std::set<const CLI::Option*>& used)
    {
        for (const CLI::Option* option : verb.get_options())
            if (!option->get_positional() && (!used.contains(option) || option->get_items_expected_max() > 1))
                offer(option->get_name());
    }

    void words_of_verb(const CLI::App& verb, Before before)
    {
        if (!parts_of(verb).empty()) {
            if (before.empty())
                parts(verb);
            else if (const CLI::App* part = find_part(verb, before.front()))
                words_of_verb(*part, before.subspan(1));
        } else if (verb.get_prefix_command()) {
            words_behind_prefix(verb, before);
        } else {
            options_and_values(verb, before);
        }
    }

    // A verb with options of its own before words that are somebody else's.
    void words_behind_prefix(const CLI::App& verb, Before before)
    {
        while (!before.empty() && looks_like_option(before.front())) {
            const CLI::Option* option = find_option(verb, before.front());
            const std::size_t length = option ? 1 + static_cast<std::size_t>(option->get_items_expected_max()) : 1;
            if (length > before.size()) return;  // its value is being written
            before = before.subspan(length);
        }
        if (before.empty() && beginning_.starts_with('-')) options(verb, {});
        if (verb.get_name() == "watch")
            words_of_verb(*find_part(app_, "show"), before);
        else
            candidates_.files = true;
    }

    void options_and_values(const CLI::App& verb, Before before)
    {
        const Progressed state = follow(verb, before);
        if (beginning_.starts_with('-')) {
            options(verb, state.used);
            if (beginning_ != "-") return;
        }
        if (state.open)
            value(verb, *state.open, state.values);
        else
            positional(verb, before, state.positionals);
        const bool must_have_value =
            state.open && state.values < static_cast<u32>(state.open->get_items_expected_min());
        if (candidates_.words.empty() && !candidates_.files && !must_have_value) options(verb, state.used);
    }

    void positional(const CLI::App& verb, Before before, u32 index)
    {
        for (const CLI::Option* option : verb.get_options()) {
            if (!option->get_positional()) continue;
            const auto room = static_cast<u32>(option->get_items_expected_max());
            if (index < room) return value(verb, *option, index, before);
            index -= room;
        }
    }

    void value(const CLI::App& verb, const CLI::Option& option, u32 index, Before before = {})
    {
        const std::string type = type_of_value(option, index);
        if (type.starts_with("FILE")) {
            candidates_.files = true;
        } else if (verb.get_name() == "help") {
            names_of_verbs(before);
            command(before);
        } else if (type == "COMMAND...") {
            command(before);
        } else if (type == "NAME|VID") {
            objects("vlan");
        } else if (type == "PORT/NUMBER") {
            objects("stream");
        } else if (type == "N") {
            objects(object_of_kind(option.get_positional() ? verb.get_name() : option.get_name().substr(2)));
        } else if (type.find('|') != std::string::npos) {
            std::istringstream choices(type);
            for (std::string choice; std::getline(choices, choice, '|');) offer(choice);
        }
    }

    void objects(std::string_view object)
    {
        if (object.empty()) return;
        for (const std::string& name : names_(object))
            if (name.starts_with(beginning_)) candidates_.words.push_back(name);
    }

    const CLI::App& app_;
    std::string beginning_;
    LiveNames names_ = live_names;
    Candidates candidates_;
};

// The words come from the line itself: bash would split them at colons and equals signs, too. What it then takes a candidate
// for begins behind the last of these.
constexpr const char* bash_script = R"(# Completion of zelfctl for bash. Made with 'zelfctl completion bash'.
_zelfctl() {
    local line=${COMP_LINE:0:COMP_POINT} words current behind
    read -ra words <<<"$line"
    [[ $line == *[[:blank:]] ]] && words+=("")
    current=${words[-1]}
    mapfile -t COMPREPLY < <("$1" complete "${words[@]:1}" 2>/dev/null)
    if ((${#COMPREPLY[@]} > 0)) && [[ ${COMPREPLY[-1]} == "FILE NAME" ]]; then
        unset 'COMPREPLY[-1]'
        compopt -o bashdefault -o default 2>/dev/null
    fi
    behind=${current##*[:=]}
    COMPREPLY=("${COMPREPLY[@]#"${current%"$behind"}"}")
}
complete -F _zelfctl zelfctl
)";

}  // namespace

Candidates complete_line(const std::vector<std::string>& before, const std::string& beginning)
{
    bool sandbox = false;
    std::function<int()> act;
    const auto app = make_app(sandbox, act);
    LineCompleter completer(*app, beginning);
    completer.line(before);
    return completer.take();
}

std::vector<std::string> complete_file(const std::string& beginning)
{
    const std::size_t slash = beginning.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : beginning.substr(0, slash + 1);
    const std::string name = beginning.substr(folder.size());
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder.empty() ? "." : folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::string file = it->path().filename().string();
        if (!file.starts_with(name) || (name.empty() && file.starts_with('.'))) continue;
        std::error_code unknown;
        files.push_back(folder + file + (it->is_directory(unknown) ? "/" : ""));
    }
    std::sort(files.begin(), files.end());
    return files;
}

int print_candidates(const std::vector<std::string>& words)
{
    std::vector<std::string> before = words;
    const std::string beginning = before.empty() ? "" : before.back();
    if (!before.empty()) before.pop_back();
    const Candidates candidates = complete_line(before, beginning);
    for (const std::string& word : candidates.words) std::printf("%s\n", word.c_str());
    if (candidates.files) std::printf("%s\n", file_mark);
    return exit_done;
}

int print_bash_completion()
{
    std::fputs(bash_script, stdout);
    return exit_done;
}

}  // namespace zelfctl
