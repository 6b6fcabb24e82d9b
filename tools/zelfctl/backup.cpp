#include "backup.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "core/descriptor.h"
#include "database.h"
#include "whole_io.h"

namespace zelfctl {
namespace {

// What stands before the bytes of the main segment and, behind them, of the FDB segment. In the processor's own order, as the
// segments are: a file of another one has other keys.
struct Head {
    char magic[16];
    u32 main_key;
    u32 fdb_key;
    u64 main_bytes;
    u64 fdb_bytes;
    u64 sum;  // of the segments' bytes
};
static_assert(sizeof(Head) == 48);
constexpr char magic[16] = "zelfdb backup 1";

// FNV-1a: tells a file that a disk has spoilt, nothing more.
u64 add_to_sum(u64 sum, const void* bytes, u64 count)
{
    for (u64 i = 0; i < count; ++i) sum = (sum ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001B3;
    return sum;
}
constexpr u64 empty_sum = 0xCBF29CE484222325;

bool sync_folder_of(const std::string& file)
{
    const std::size_t slash = file.rfind('/');
    const std::string name = slash == std::string::npos ? "." : slash == 0 ? "/" : file.substr(0, slash);
    const int folder = open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return false;
    const bool synced = fsync(folder) == 0;
    close(folder);
    return synced;
}

class File {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    ~File()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

std::nullopt_t no_backup(const std::string& file, const std::string& why)
{
    complain(file + ": " + why + "; nothing was restored");
    return std::nullopt;
}

}  // namespace

std::string usual_backup_name()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[64];
    localtime_r(&now, &parts);
    std::strftime(text, sizeof text, "zelfdb-backup-%Y%m%d-%H%M%S.bin", &parts);
    return text;
}

bool write_backup(const std::string& file, const zelfdb::Segments& segments)
{
    const File out(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (out.descriptor() < 0) {
        complain(file + ": " + std::strerror(errno) + "; nothing was changed");
        return false;
    }
    Head head{{}, zelfdb::main_key, zelfdb::fdb_key, segments.main_bytes, segments.fdb_bytes, empty_sum};
    std::memcpy(head.magic, magic, sizeof magic);
    head.sum = add_to_sum(head.sum, segments.main, segments.main_bytes);
    head.sum = add_to_sum(head.sum, segments.fdb, segments.fdb_bytes);
    if (write_all(out.descriptor(), &head, sizeof head) &&
        write_all(out.descriptor(), segments.main, segments.main_bytes) &&
        write_all(out.descriptor(), segments.fdb, segments.fdb_bytes) && fsync(out.descriptor()) == 0 &&
        sync_folder_of(file))
        return true;
    complain(file + ": " + std::strerror(errno) + "; nothing was changed");
    unlink(file.c_str());
    return false;
}

std::optional<Backup> read_backup(const std::string& file)
{
    const File in(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat state {};
    if (in.descriptor() < 0 || fstat(in.descriptor(), &state) != 0) return no_backup(file, std::strerror(errno));
    Head head{};
    const bool has_head = S_ISREG(state.st_mode) && read_all(in.descriptor(), &head, sizeof head);
    if (!has_head || std::memcmp(head.magic, magic, sizeof magic) != 0) return no_backup(file, "it is no backup");
    if (head.main_key != zelfdb::main_key || head.fdb_key != zelfdb::fdb_key)
        return no_backup(file, "it is a backup of another database, or of another kind of processor");
    const auto size = static_cast<u64>(state.st_size);
    if (head.main_bytes > size || head.fdb_bytes > size || sizeof head + head.main_bytes + head.fdb_bytes != size)
        return no_backup(file, "it is not whole");
    Backup backup{std::vector<char>(head.main_bytes), std::vector<char>(head.fdb_bytes)};
    if (!read_all(in.descriptor(), backup.main.data(), head.main_bytes) ||
        !read_all(in.descriptor(), backup.fdb.data(), head.fdb_bytes))
        return no_backup(file, "it cannot be read");
    const u64 sum = add_to_sum(empty_sum, backup.main.data(), head.main_bytes);
    if (add_to_sum(sum, backup.fdb.data(), head.fdb_bytes) != head.sum) return no_backup(file, "it has been spoilt");
    return backup;
}

}  // namespace zelfctl
