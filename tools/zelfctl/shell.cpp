#include "shell.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "database.h"
#include "editor.h"
#include "line_completion.h"
#include "verbs.h"
#include "words.h"

namespace zelfctl {
namespace {

bool shell_runs = false;

// Whether Ctrl-C came while no key was waited for: it is for the line that is being run, or will be.
volatile std::sig_atomic_t shell_interrupted = 0;

void interrupt_shell(int) { shell_interrupted = 1; }

bool ends_shell(const std::vector<std::string>& words)
{
    return words.size() == 1 && (words.front() == "exit" || words.front() == "quit");
}

int run_checked(const std::vector<std::string>& words)
{
    try {
        const int code = run_words(words);
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
        complain("standard output cannot be written");
    } catch (const std::exception& error) {  // no memory, for one
        complain(error.what());
    }
    return exit_failed;
}

int code_of(int status)
{
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WTERMSIG(status) == SIGINT)
        std::fputs("\n", stdout);
    else
        complain(std::string("ended by a signal: ") + strsignal(WTERMSIG(status)));
    return exit_failed;
}

// Each line is a child's: an interrupt, or what goes wrong, ends it and not the shell, and no lock that an operation leaves with
// its process stays longer than the line.
int run_in_child(const std::vector<std::string>& words)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        complain(std::string("no process for this line: ") + std::strerror(errno));
        return exit_failed;
    }
    if (child == 0) {
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGQUIT, SIG_DFL);
        if (shell_interrupted != 0) std::raise(SIGINT);
        _exit(run_checked(words));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return code_of(status);
}

enum class Next { goes_on, ends };

Next run_line(const std::string& line, int& code)
{
    const SplitLine read = split_words(line);
    code = exit_done;
    if (read.quote_is_open) {
        complain("a quote is not closed");
        code = exit_usage;
    } else if (ends_shell(read.words)) {
        return Next::ends;
    } else if (!read.words.empty()) {
        code = run_in_child(read.words);
    }
    return Next::goes_on;
}

Completion complete(const std::string& text)
{
    const SplitLine read = split_words(text);
    if (read.is_comment) return {};
    std::vector<std::string> before = read.words;
    std::string beginning;
    Completion completion{text.size(), {}};
    if (read.last_goes_on) {
        completion.from = read.last_at;
        beginning = before.back();
        before.pop_back();
    }
    Candidates candidates = complete_line(before, beginning);
    if (before.empty())
        for (const char* const word : {"exit", "quit"})
            if (std::string(word).starts_with(beginning)) candidates.words.emplace_back(word);
    if (candidates.files)
        for (std::string& file : complete_file(beginning)) candidates.words.push_back(std::move(file));
    for (const std::string& word : candidates.words) {
        std::string written = quoted(word);
        if (word.ends_with('/') && written != word) written.pop_back();  // its quote stays open
        completion.words.push_back(std::move(written));
    }
    return completion;
}

std::string path_of(const std::string& history)
{
    if (!history.starts_with("~/")) return history;
    const char* const home = std::getenv("HOME");
    return home && *home ? home + history.substr(1) : "";
}

int run_terminal(const ShellOptions& options)
{
    std::printf("zelfctl %s. Tab completes; 'help' lists what there is, 'exit' ends.\n", ZELFCTL_VERSION);
    Editor editor("zelfctl> ", path_of(options.history), complete);
    std::signal(SIGINT, interrupt_shell);
    std::signal(SIGQUIT, SIG_IGN);
    for (;;) {
        shell_interrupted = 0;
        std::string line;
        const Editor::Got got = editor.read(line);
        if (got == Editor::Got::end) return exit_done;
        int code = exit_done;
        if (got == Editor::Got::line && run_line(line, code) == Next::ends) return exit_done;
    }
}

// Byte by byte: what is behind the line is for the verb that reads standard input.
bool read_line_of_pipe(std::string& line)
{
    line.clear();
    for (;;) {
        char byte = 0;
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return !line.empty();
        if (byte == '\n') return true;
        line += byte;
    }
}

int run_pipe()
{
    int worst = exit_done;
    std::string line;
    for (unsigned number = 1; read_line_of_pipe(line); ++number) {
        int code = exit_done;
        if (run_line(line, code) == Next::ends) break;
        if (code != exit_done)
            complain("-:" + std::to_string(number) + ": this line ended with " + std::to_string(code));
        worst = std::max(worst, code);
    }
    return worst;
}

}  // namespace

int shell(const ShellOptions& options)
{
    if (shell_runs) {
        complain("a shell cannot run another");
        return exit_usage;
    }
    shell_runs = true;
    const bool at_terminal = isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
    return at_terminal ? run_terminal(options) : run_pipe();
}

}  // namespace zelfctl
