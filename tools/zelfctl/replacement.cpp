#include "replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "database.h"
#include "whole_io.h"

namespace zelfctl {
namespace {

constexpr mode_t permissions = 0777;
constexpr mode_t group_permissions = 0070;

std::string folder_of(const std::string& file)
{
    const std::size_t slash = file.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : file.substr(0, slash);
}

// Whoever wants to end the tool does so a moment later, and no file of ours is left behind.
class WithoutInterrupts {
public:
    WithoutInterrupts()
    {
        sigset_t interrupts;
        sigemptyset(&interrupts);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&interrupts, signal);
        sigprocmask(SIG_BLOCK, &interrupts, &before_);
    }
    ~WithoutInterrupts() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    WithoutInterrupts(const WithoutInterrupts&) = delete;
    WithoutInterrupts& operator=(const WithoutInterrupts&) = delete;

private:
    sigset_t before_{};
};

class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    ~OpenFile()
    {
        const int error = errno;
        if (descriptor_ >= 0) close(descriptor_);
        errno = error;
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

bool copy_all(int from, int to)
{
    char bytes[65536];
    for (;;) {
        const ssize_t count = read(from, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count == 0;
        if (!write_all(to, bytes, static_cast<std::size_t>(count))) return false;
    }
}

mode_t usual_mode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

struct Owned {
    mode_t mode;
    std::optional<struct stat> by;
};

// As far as the file system has modes and owners, and lets them be given. A new file is its owner's alone until then.
void give(int file, const Owned& owned)
{
    mode_t mode = owned.mode;
    if (owned.by && fchown(file, owned.by->st_uid, owned.by->st_gid) != 0) mode &= ~group_permissions;
    const int ignored = fchmod(file, mode);
    static_cast<void>(ignored);
}

// A new file beside the one to be replaced. It goes away unless it is put in the other's place.
class NewFile {
public:
    explicit NewFile(const std::string& file) : name_(file + ".XXXXXX"), file_(mkostemp(name_.data(), O_CLOEXEC))
    {
        if (file_.get() < 0) name_.clear();
    }
    ~NewFile()
    {
        const int error = errno;
        if (!name_.empty()) unlink(name_.c_str());
        errno = error;
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    [[nodiscard]] int get() const { return file_.get(); }
    [[nodiscard]] bool put_in_place_of(const std::string& file)
    {
        if (fsync(get()) != 0 || rename(name_.c_str(), file.c_str()) != 0) return false;
        name_.clear();
        return true;
    }

private:
    std::string name_;
    OpenFile file_;
};

// What there was, with its mode and its owner: nobody reads in the copy what he could not read before.
bool keep_previous(const std::string& file)
{
    const OpenFile previous(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (previous.get() < 0) return errno == ENOENT;  // nothing, or a link that leads nowhere
    struct stat before {};
    if (fstat(previous.get(), &before) != 0) return false;
    if (!S_ISREG(before.st_mode)) return true;  // where a link leads to
    NewFile kept(file + "~");
    if (kept.get() < 0 || !copy_all(previous.get(), kept.get())) return false;
    give(kept.get(), {before.st_mode & permissions, before});
    return kept.put_in_place_of(file + "~");
}

// A link's file is another file: the new one is no wider open than either.
Owned owned_like(const std::string& file, const std::optional<struct stat>& before)
{
    struct stat led_to {};
    if (before && S_ISREG(before->st_mode)) return {before->st_mode & permissions, before};
    const bool leads = before && stat(file.c_str(), &led_to) == 0 && S_ISREG(led_to.st_mode);
    return {leads ? usual_mode() & led_to.st_mode : usual_mode(), std::nullopt};
}

bool sync_folder(const std::string& file)
{
    const OpenFile folder(open(folder_of(file).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.get() >= 0 && fsync(folder.get()) == 0;
}

bool not_saved(const std::string& file, const std::string& why)
{
    complain(file + ": " + why + "; nothing was saved");
    return false;
}

}  // namespace

bool replace_file(const std::string& file, const std::string& text)
{
    const WithoutInterrupts without;
    std::optional<struct stat> before(std::in_place);
    if (lstat(file.c_str(), &*before) != 0) {
        if (errno != ENOENT) return not_saved(file, std::strerror(errno));
        before.reset();
    }
    if (before && !S_ISREG(before->st_mode) && !S_ISLNK(before->st_mode))
        return not_saved(file, S_ISDIR(before->st_mode) ? "it is a folder" : "it is no regular file");
    NewFile replacement(file);
    if (replacement.get() < 0 || !write_all(replacement.get(), text.data(), text.size()))
        return not_saved(file, std::strerror(errno));
    give(replacement.get(), owned_like(file, before));
    if (!keep_previous(file) || !replacement.put_in_place_of(file)) return not_saved(file, std::strerror(errno));
    if (sync_folder(file)) return true;
    complain(file + ": it was saved, but may not outlast a loss of power: " + std::strerror(errno));
    return false;
}

}  // namespace zelfctl
