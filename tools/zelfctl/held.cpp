#include "held.h"

#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "core/descriptor.h"
#include "database.h"

namespace zelfctl {
namespace {

constexpr time_t lock_patience_s = 60;

// A segment. Its size is the system's word, not the segment's own.
class Attached {
public:
    Attached(int key, Access access)
    {
        const int id = shmget(key, 0, 0);
        void* const address =
            id < 0 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, access == Access::read ? SHM_RDONLY : 0);
        shmid_ds state{};
        if (address == reinterpret_cast<void*>(-1) || shmctl(id, IPC_STAT, &state) != 0) {
            error_ = errno;
            return;
        }
        address_ = address;
        bytes_ = state.shm_segsz;
    }
    ~Attached()
    {
        if (address_) shmdt(address_);
    }
    Attached(const Attached&) = delete;
    Attached& operator=(const Attached&) = delete;

    [[nodiscard]] void* address() const { return address_; }
    [[nodiscard]] u64 bytes() const { return bytes_; }
    [[nodiscard]] int error() const { return error_; }

private:
    void* address_ = nullptr;
    u64 bytes_ = 0;
    int error_ = 0;
};

// One of the two locks. The system gives it back if the tool dies with it.
class Lock {
public:
    explicit Lock(int key) : id_(semget(key, 1, 0)), error_(id_ < 0 ? errno : take()) {}
    ~Lock()
    {
        if (error_ == 0) move(+1, nullptr);
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    [[nodiscard]] int error() const { return error_; }
    // Who moved it last: while it is held, that is its holder.
    [[nodiscard]] int holder() const { return semctl(id_, 0, GETPID); }

private:
    [[nodiscard]] int take() const
    {
        const timespec patience{lock_patience_s, 0};
        return move(-1, &patience) ? 0 : errno;
    }
    bool move(short by, const timespec* patience) const
    {
        sembuf step{0, by, SEM_UNDO};
        int result = 0;
        do {
            result = semtimedop(id_, &step, 1, patience);
        } while (result < 0 && errno == EINTR);
        return result == 0;
    }

    int id_;
    int error_;
};

bool is_held(const Lock& lock, const char* which)
{
    if (lock.error() == 0) return true;
    const std::string name = std::string("the ") + which + " lock";
    complain(lock.error() == EAGAIN
                 ? name + " was not to be had within a minute; the process " + std::to_string(lock.holder()) + " has it"
                 : name + " cannot be taken: " + std::strerror(lock.error()));
    return false;
}

bool is_attached(const Attached& segment)
{
    if (segment.error() == 0) return true;
    complain(segment.error() == ENOENT
                 ? "there is no database: make one with 'zelfctl init'"
                 : std::string("the database cannot be opened: ") + std::strerror(segment.error()));
    return false;
}

}  // namespace

struct Held::Parts {
    explicit Parts(Access access) : main(zelfdb::main_key, access), fdb(zelfdb::fdb_key, access) {}
    Attached main;
    Attached fdb;
    std::optional<Lock> main_lock;
    std::optional<Lock> fdb_lock;
};

Held::Held() = default;
Held::Held(Held&&) noexcept = default;
Held::~Held() = default;

std::optional<Held> Held::take(Access access)
{
    Held held;
    held.parts_ = std::make_unique<Parts>(access);
    Parts& parts = *held.parts_;
    if (!is_attached(parts.main)) return std::nullopt;
    // A main segment alone is a database, and damaged.
    if (parts.fdb.error() != ENOENT && !is_attached(parts.fdb)) return std::nullopt;
    if (!is_held(parts.main_lock.emplace(zelfdb::main_key), "main")) return std::nullopt;
    if (!is_held(parts.fdb_lock.emplace(zelfdb::fdb_key), "FDB")) return std::nullopt;
    return held;
}

zelfdb::Segments Held::segments() const
{
    return {parts_->main.address(), parts_->main.bytes(), parts_->fdb.address(), parts_->fdb.bytes()};
}

void* Held::main() const { return parts_->main.address(); }
void* Held::fdb() const { return parts_->fdb.address(); }

}  // namespace zelfctl
