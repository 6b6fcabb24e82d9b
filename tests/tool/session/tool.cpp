#include "tool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tool {
namespace {

constexpr auto longest_run = std::chrono::seconds(60);

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() { EXPECT_EQ(0, pipe2(ends, O_CLOEXEC)); }
    ~Pipe()
    {
        close_end(0);
        close_end(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void close_end(int which)
    {
        if (ends[which] >= 0) close(ends[which]);
        ends[which] = -1;
    }
};

[[noreturn]] void become(const std::vector<std::string>& words, const Pipe& in, const Pipe& out, const Pipe& err)
{
    dup2(in.ends[0], STDIN_FILENO);
    dup2(out.ends[1], STDOUT_FILENO);
    dup2(err.ends[1], STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    _exit(127);
}

// Moves what there is to move in either direction. False when there is nothing more to come.
bool pump(Pipe& in, std::string_view& input, Pipe& out, std::string& out_text, Pipe& err, std::string& err_text,
          int wait_ms)
{
    pollfd files[3] = {{out.ends[0], POLLIN, 0}, {err.ends[0], POLLIN, 0}, {in.ends[1], POLLOUT, 0}};
    if (poll(files, 3, wait_ms) <= 0) return true;
    char bytes[65536];
    const auto take = [&](Pipe& from, const pollfd& file, std::string& text) {
        if (file.revents == 0) return;
        const ssize_t count = read(from.ends[0], bytes, sizeof bytes);
        if (count > 0)
            text.append(bytes, static_cast<std::size_t>(count));
        else
            from.close_end(0);
    };
    take(out, files[0], out_text);
    take(err, files[1], err_text);
    if (files[2].revents != 0) {
        const ssize_t count =
            input.empty() ? 0 : write(in.ends[1], input.data(), std::min<std::size_t>(input.size(), 4096));
        if (count > 0) input.remove_prefix(static_cast<std::size_t>(count));
        if (count < 0 || input.empty()) in.close_end(1);
    }
    return out.ends[0] >= 0 || err.ends[0] >= 0;
}

int status_of(int status) { return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status); }

}  // namespace

Result run(const std::vector<std::string>& words, const std::string& input)
{
    signal(SIGPIPE, SIG_IGN);
    Result result;
    Pipe in;
    Pipe out;
    Pipe err;
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGPIPE, SIG_DFL);
        become(words, in, out, err);
    }
    in.close_end(0);
    out.close_end(1);
    err.close_end(1);
    std::string_view rest = input;
    if (rest.empty()) in.close_end(1);
    const auto deadline = std::chrono::steady_clock::now() + longest_run;
    while (pump(in, rest, out, result.out, err, result.err, 100)) {
        if (std::chrono::steady_clock::now() < deadline) continue;
        ADD_FAILURE() << "killed after a minute: " << words.front();
        kill(child, SIGKILL);
        break;
    }
    int status = 0;
    waitpid(child, &status, 0);
    result.code = status_of(status);
    return result;
}

Result zelfctl(const std::vector<std::string>& words, const std::string& input)
{
    std::vector<std::string> all{ZELFCTL};
    all.insert(all.end(), words.begin(), words.end());
    return run(all, input);
}

std::string good(const std::vector<std::string>& words, const std::string& input)
{
    const Result result = zelfctl(words, input);
    EXPECT_EQ(0, result.code) << testing::PrintToString(words) << "\n" << result.out;
    EXPECT_EQ("", result.err) << testing::PrintToString(words);
    return result.out;
}

nlohmann::json good_json(const std::vector<std::string>& words)
{
    const std::string text = good(words);
    nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << text;
    // Sorted keys and one way to write them, so that two printouts can be compared as text.
    EXPECT_EQ(json.dump(2) + "\n", text);
    return json;
}

Folder::Folder()
{
    char name[] = "/tmp/zelfctl-test-XXXXXX";
    EXPECT_NE(nullptr, mkdtemp(name));
    path_ = name;
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string Folder::file(const std::string& name, const std::string& content) const
{
    const std::string path = path_ + "/" + name;
    std::ofstream out(path, std::ios::binary);
    out << content;
    EXPECT_TRUE(out.flush().good());
    return path;
}

std::string content_of(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void given_office()
{
    good({"init", "--ports", "8", "--vlans", "8", "--entries", "64"});
    good({"apply", "-"},
         "create vlan sales vid 10\n"
         "create port 1 npport 1 portType ether\n"
         "create port 2 npport 2 portType ether\n"
         "create port 3 npport 3 portType ether\n"
         "enable port 1\nenable port 2\nenable port 3\n"
         "add port 1 to vlan sales tag off\n"
         "add port 2 to vlan sales tag off\n"
         "add port 3 to vlan sales tag off\n");
}

}  // namespace tool
