// Lines from a terminal, with editing, history and completion. Used by the shell.
#pragma once

#include <histedit.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelfctl {

// What may stand instead of the end of the text that is before the cursor.
struct Completion {
    std::size_t from = 0;            // where that end begins
    std::vector<std::string> words;  // one that ends with a slash, or with a quote still open, may go on
};

class Editor {
public:
    enum class Got { line, interrupt, end };
    using Completer = std::function<Completion(const std::string& text)>;

    // An empty name: no history but this one.
    Editor(const char* prompt, std::string history_file, Completer completer);
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    Got read(std::string& line);

private:
    static char* prompt_of(EditLine* edit);
    static int read_character(EditLine* edit, wchar_t* character);
    static unsigned char complete_key(EditLine* edit, int key);
    static Editor& editor_of(EditLine* edit);

    unsigned char complete();
    void replace_end(const std::string& text, std::size_t from, const std::string& replacement);
    void remember(const std::string& line);

    std::string prompt_;
    std::string history_file_;
    Completer completer_;
    std::string listed_at_;  // the text at the last Tab that could add nothing
    EditLine* edit_;
    History* history_;
};

}  // namespace zelfctl
