#include "watch.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <set>

#include "database.h"
#include "interrupt.h"
#include "language/captured_output.h"
#include "language/types.h"
#include "table.h"
#include "verbs.h"

namespace zelfctl {
namespace {

constexpr const char* clear_screen = "\x1b[H\x1b[2J";
constexpr const char* inverse = "\x1b[7m";
constexpr const char* plain = "\x1b[0m";

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t line_end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, line_end - at));
        at = line_end + 1;
    }
    return lines;
}

// Without the blanks that only set columns: one wide cell moves all the others.
std::string sense_of(const std::string& line)
{
    std::string sense;
    for (const char c : line)
        if (c != ' ' || (!sense.empty() && sense.back() != ' ')) sense += c;
    return sense;
}

class Changes {
public:
    // Whether each line is one that was not there the last time. Nothing is, at first.
    std::vector<bool> of(const std::vector<std::string>& lines)
    {
        std::multiset<std::string> now;
        std::vector<bool> changed;
        for (const std::string& line : lines) {
            const auto same = before_.find(sense_of(line));
            changed.push_back(!is_first_ && same == before_.end());
            if (same != before_.end()) before_.erase(same);
            now.insert(sense_of(line));
        }
        before_ = std::move(now);
        is_first_ = false;
        return changed;
    }

private:
    std::multiset<std::string> before_;
    bool is_first_ = true;
};

winsize size_of_terminal()
{
    constexpr winsize usual{24, 80, 0, 0};
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row != 0 && size.ws_col != 0 ? size : usual;
}

// Only as much as there is room for: otherwise the beginning would be the first to go.
std::string screen_of(const std::string& title, const std::vector<std::string>& lines, const std::vector<bool>& changed)
{
    constexpr std::size_t others = 4;  // title, blank line, what is left out, and the cursor's
    const std::size_t rows = size_of_terminal().ws_row;
    const std::size_t room = rows > others ? rows - others : 1;
    std::string screen = clear_screen + title + "\n\n";
    for (std::size_t i = 0; i < lines.size() && i < room; ++i)
        screen += changed[i] ? inverse + lines[i] + plain + "\n" : lines[i] + "\n";
    if (lines.size() > room) screen += "... and " + counted(lines.size() - room, "line", "lines") + " more\n";
    return screen;
}

std::string screen_of(const std::vector<std::string>& lines, const std::vector<bool>& changed)
{
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i) text += (changed[i] ? "*" : " ") + lines[i] + "\n";
    return text;
}

std::string title_of(const WatchOptions& options, const std::vector<std::string>& words)
{
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", options.interval_s);
    std::string title = "Every " + std::string(seconds) + " s:";
    for (const std::string& word : words) title += " " + word;
    return title + "   (Ctrl-C ends)";
}

}  // namespace

int watch(const WatchOptions& options)
{
    if (options.words.empty()) {
        complain("watch: what is to be shown? See 'zelfctl show --help'");
        return exit_usage;
    }
    std::vector<std::string> words = options.words;
    if (words.front() != "show") words.insert(words.begin(), "show");
    const bool is_terminal = isatty(STDOUT_FILENO) == 1;
    const UntilInterrupted until_interrupted;
    Changes changes;
    for (u32 round = 0; options.count == 0 || round < options.count; ++round) {
        if (round != 0) UntilInterrupted::wait(options.interval_s);
        if (UntilInterrupted::was_interrupted()) break;
        std::string text;
        int code = exit_done;
        table_width = is_terminal ? size_of_terminal().ws_col : 0;
        const bool captured = capture_output([&] { return (code = run_words(words)) == exit_done; }, text);
        table_width = 0;
        if (UntilInterrupted::was_interrupted()) break;
        if (code != exit_done) return code;
        if (!captured) {
            complain("there is no memory for what is shown");
            return exit_failed;
        }
        const std::vector<std::string> lines = lines_of(text);
        const std::vector<bool> changed = changes.of(lines);
        const std::string shown = is_terminal ? screen_of(title_of(options, words), lines, changed)
                                              : (round == 0 ? "" : "\n") + screen_of(lines, changed);
        if (std::fwrite(shown.data(), 1, shown.size(), stdout) != shown.size() || std::fflush(stdout) != 0)
            return exit_failed;
    }
    return exit_done;
}

}  // namespace zelfctl
