// Random requests, of every exported operation that works on the database, as a platform's processes would make them.
#pragma once

#include <string>
#include <vector>

#include "support/random.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

// What one process needs to make requests: a descriptor of its own, memory for answers, a standard output that nobody reads.
class Requests {
public:
    explicit Requests(Random& random);
    ~Requests();
    Requests(const Requests&) = delete;
    Requests& operator=(const Requests&) = delete;

    // Makes one request of any operation; whether it is granted is not looked at.
    void any() { make(pick(false)); }
    // The same of those operations that change single values or nothing at all. Wherever such a one is cut short, all lists
    // and counters are in order.
    void any_of_values() { make(pick(true)); }
    // The two in steps: which operation is next, by its number; and a request of it, true if it is granted.
    std::size_t pick(bool only_values);
    bool make(std::size_t operation);

    // How often each operation was requested and how often it was granted, in the order of their names.
    struct Count {
        u32 requested;
        u32 granted;
    };
    [[nodiscard]] const std::vector<Count>& counts() const { return counts_; }
    static std::vector<const char*> names();

    // What a request is made of.
    u32 port();
    u32 vid();
    const u8* station();
    u32 permit() { return random_.once_in(3) ? random_.below(3) : 0; }
    u32 stream() { return random_.below(6); }
    u32 queue() { return random_.below(12); }
    u32 profile() { return random_.below(5); }
    u32 group() { return random_.below(4); }
    u32 mirror() { return random_.below(6); }
    u32 below(u32 count) { return random_.below(count); }
    const char* name();
    zelfdb_descriptor* descriptor() { return descriptor_; }
    zelfdb_ropebuf* buffer(u32 record_size);
    zelfdb_cursor* cursor();
    zelfdb_fdb_cursor* fdb_cursor();
    template <class Record>
    Record* memory()
    {
        return reinterpret_cast<Record*>(memory_.data());
    }
    u32* words() { return memory<u32>(); }

    int learn();
    int learn_from_the_np();
    int list_local_entries();
    int export_profiles();

private:
    Random& random_;
    zelfdb_descriptor* descriptor_;
    std::vector<zelfdb_ropebuf*> buffers_;
    std::vector<u64> memory_ = std::vector<u64>(4096);
    zelfdb_cursor cursor_{};
    zelfdb_fdb_cursor fdb_cursor_{};
    u8 station_[6] = {};
    std::string name_;
    std::vector<Count> counts_;
    int output_;
};

}  // namespace zelfdb
