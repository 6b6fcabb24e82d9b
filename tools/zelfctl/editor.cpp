#include "editor.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cwchar>

#include "language/types.h"

namespace zelfctl {
namespace {

constexpr int lines_of_history = 1000;
constexpr std::size_t most_listed = 200;

volatile std::sig_atomic_t editor_interrupted = 0;
volatile std::sig_atomic_t resized = 0;
volatile std::sig_atomic_t stopped = 0;

void note_signal(int signal)
{
    if (signal == SIGINT) editor_interrupted = 1;
    if (signal == SIGWINCH) resized = 1;
    if (signal == SIGTSTP) stopped = 1;
}

constexpr int noted[] = {SIGINT, SIGWINCH, SIGTSTP};

sigset_t noted_set()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : noted) sigaddset(&set, signal);
    return set;
}

sigset_t mask_before{};

// While a line is edited these signals come in nowhere but where a key is waited for.
class NotesSignals {
public:
    NotesSignals()
    {
        editor_interrupted = 0;
        const sigset_t set = noted_set();
        sigprocmask(SIG_BLOCK, &set, &mask_before);
        struct sigaction action {};
        action.sa_handler = note_signal;
        for (std::size_t i = 0; i < std::size(noted); ++i) sigaction(noted[i], &action, &before_[i]);
    }
    ~NotesSignals()
    {
        for (std::size_t i = 0; i < std::size(noted); ++i) sigaction(noted[i], &before_[i], nullptr);
        sigprocmask(SIG_SETMASK, &mask_before, nullptr);
    }
    NotesSignals(const NotesSignals&) = delete;
    NotesSignals& operator=(const NotesSignals&) = delete;

private:
    struct sigaction before_[std::size(noted)]{};
};

// Gives the terminal back as it was for as long as the shell is stopped.
void stop(EditLine* edit)
{
    stopped = 0;
    el_set(edit, EL_PREP_TERM, 0);
    struct sigaction ours {};
    struct sigaction usual {};
    usual.sa_handler = SIG_DFL;
    sigaction(SIGTSTP, &usual, &ours);
    std::raise(SIGTSTP);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTSTP);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);  // here it stops, and goes on
    sigprocmask(SIG_BLOCK, &set, nullptr);
    sigaction(SIGTSTP, &ours, nullptr);
    el_set(edit, EL_PREP_TERM, 1);
    el_set(edit, EL_REFRESH);
}

// False: the line is to be abandoned.
bool wait_for_key(EditLine* edit)
{
    for (;;) {
        pollfd file{STDIN_FILENO, POLLIN, 0};
        if (ppoll(&file, 1, nullptr, &mask_before) > 0) return true;
        if (editor_interrupted != 0) return false;
        if (stopped != 0) stop(edit);
        if (resized != 0) {
            resized = 0;
            el_resize(edit);
        }
    }
}

std::size_t width_of_terminal()
{
    constexpr std::size_t usual = 80;
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : usual;
}

bool begins_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

std::size_t characters_in(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins_character));
}

std::string common_beginning(const std::vector<std::string>& words)
{
    std::string common = words.front();
    for (const std::string& word : words) {
        const auto [end, other] = std::mismatch(common.begin(), common.end(), word.begin(), word.end());
        common.erase(end, common.end());
    }
    while (!common.empty() && common.size() < words.front().size() && !begins_character(words.front()[common.size()]))
        common.pop_back();
    return common;
}

// In columns, read downwards.
void list(const std::vector<std::string>& words)
{
    constexpr std::size_t gap = 2;
    const std::size_t count = std::min(words.size(), most_listed);
    std::size_t width = 0;
    for (std::size_t i = 0; i < count; ++i) width = std::max(width, characters_in(words[i]) + gap);
    const std::size_t columns = std::max<std::size_t>(1, (width_of_terminal() - 1) / width);
    const std::size_t rows = (count + columns - 1) / columns;
    std::fputs("\n", stdout);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = row; i < count; i += rows) {
            const std::size_t fill = i + rows < count ? width - characters_in(words[i]) : 0;
            std::fputs((words[i] + std::string(fill, ' ')).c_str(), stdout);
        }
        std::fputs("\n", stdout);
    }
    if (words.size() > count) std::printf("... and %zu more\n", words.size() - count);
    std::fflush(stdout);
}

bool may_go_on(const std::string& word)
{
    const char first = word.front();
    const bool open_quote = (first == '\'' || first == '"') && (word.size() == 1 || word.back() != first);
    return word.back() == '/' || open_quote;
}

}  // namespace

Editor::Editor(const char* prompt, std::string history_file, Completer completer)
    : prompt_(prompt),
      history_file_(std::move(history_file)),
      completer_(std::move(completer)),
      edit_(nullptr),
      history_(history_init())
{
    std::setlocale(LC_CTYPE, "");  // names may be UTF-8
    HistEvent event{};
    history(history_, &event, H_SETSIZE, lines_of_history);
    history(history_, &event, H_SETUNIQUE, 1);
    if (!history_file_.empty()) history(history_, &event, H_LOAD, history_file_.c_str());

    edit_ = el_init("zelfctl", stdin, stdout, stderr);
    el_set(edit_, EL_CLIENTDATA, this);
    el_set(edit_, EL_PROMPT, prompt_of);
    el_set(edit_, EL_EDITOR, "emacs");
    el_set(edit_, EL_SIGNAL, 0);
    el_set(edit_, EL_GETCFN, read_character);
    el_set(edit_, EL_HIST, history, history_);
    el_wset(edit_, EL_ADDFN, L"zelfctl-complete", L"Complete the word", complete_key);  // el_set keeps a copy for good
    el_set(edit_, EL_BIND, "^I", "zelfctl-complete", nullptr);
    el_set(edit_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(edit_, nullptr);  // what the user prefers
}

Editor::~Editor()
{
    el_end(edit_);
    history_end(history_);
}

Editor::Got Editor::read(std::string& line)
{
    listed_at_.clear();
    int length = 0;
    const char* text = nullptr;
    {
        const NotesSignals notes_signals;
        el_set(edit_, EL_PREP_TERM, 1);  // before the prompt, which is what a person waits for
        text = el_gets(edit_, &length);
    }
    if (editor_interrupted != 0) {
        std::fputs("^C\n", stdout);
        return Got::interrupt;
    }
    if (!text || length <= 0) {
        std::fputs("\n", stdout);
        return Got::end;
    }
    line.assign(text, static_cast<std::size_t>(length));
    if (line.back() == '\n') line.pop_back();
    remember(line);
    return Got::line;
}

void Editor::remember(const std::string& line)
{
    if (line.find_first_not_of(" \t") == std::string::npos) return;
    HistEvent event{};
    history(history_, &event, H_ENTER, line.c_str());
    if (!history_file_.empty()) history(history_, &event, H_SAVE, history_file_.c_str());
}

char* Editor::prompt_of(EditLine* edit) { return editor_of(edit).prompt_.data(); }

Editor& Editor::editor_of(EditLine* edit)
{
    void* editor = nullptr;
    el_get(edit, EL_CLIENTDATA, &editor);
    return *static_cast<Editor*>(editor);
}

int Editor::read_character(EditLine* edit, wchar_t* character)
{
    std::mbstate_t state{};
    for (;;) {
        if (!wait_for_key(edit)) return -1;
        char byte = 0;
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count <= 0) return static_cast<int>(count);
        const std::size_t length = std::mbrtowc(character, &byte, 1, &state);
        constexpr auto unfinished = static_cast<std::size_t>(-2);
        if (length == unfinished) continue;
        if (length > 1) *character = L'?';  // not of the terminal's character set
        return 1;
    }
}

unsigned char Editor::complete_key(EditLine* edit, int) { return editor_of(edit).complete(); }

// Once: as much as is certain. Twice: what there is to choose from.
unsigned char Editor::complete()
{
    const LineInfo* const info = el_line(edit_);
    const std::string text(info->buffer, info->cursor);
    const Completion completion = completer_(text);
    if (completion.words.empty()) return CC_REFRESH_BEEP;
    const std::string typed = text.substr(completion.from);
    std::string certain = common_beginning(completion.words);
    if (completion.words.size() == 1 && !may_go_on(certain)) certain += ' ';
    if (certain.size() > typed.size() || (certain.size() == typed.size() && completion.words.size() == 1)) {
        replace_end(text, completion.from, certain);
        listed_at_ = text.substr(0, completion.from) + certain;
        return CC_REFRESH;
    }
    if (listed_at_ != text) {
        listed_at_ = text;
        return CC_REFRESH_BEEP;
    }
    list(completion.words);
    return CC_REDISPLAY;
}

void Editor::replace_end(const std::string& text, std::size_t from, const std::string& replacement)
{
    el_deletestr(edit_, static_cast<int>(characters_in(text.substr(from))));
    el_insertstr(edit_, replacement.c_str());
}

}  // namespace zelfctl
