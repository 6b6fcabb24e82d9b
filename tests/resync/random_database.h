// Random databases, made by random requests of a platform. Made tidily, whatever is asked for leaves the database and the NP
// with the same knowledge. Otherwise there are requests among them that the database grants and the NP is not told of, or
// refuses.
#pragma once

#include <map>

#include "support/random.h"
#include "zelfdb/zelfdb.h"

namespace zelfdb {

class RandomDatabase {
public:
    RandomDatabase(Random& random, zelfdb_descriptor* descriptor, bool tidy)
        : random_(random), descriptor_(descriptor), tidy_(tidy)
    {
    }
    void change(u32 times);

private:
    using Step = void (RandomDatabase::*)();

    u32 below(u32 count) { return random_.below(count); }
    u32 port();
    u32 vid() { return 1 + below(5); }
    const u8* station();

    void create_port();
    void delete_port();
    void set_port();
    void set_flags();
    void create_vlan();
    void delete_vlan();
    void set_vlan();
    void join();
    void leave();
    void change_group();
    void static_entry();
    void local_entry();
    void learn();
    void create_stream();
    void set_stream();
    void delete_stream();
    void create_queue();
    void attach();
    void detach();
    void set_queue();
    void delete_queue();
    void change_profile();
    void bind_profile();
    void change_mirror();
    void set_phport();
    void be_untidy();

    struct Slot {
        u32 stream;
        u32 class_no;
    };

    Random& random_;
    zelfdb_descriptor* descriptor_;
    bool tidy_;
    std::map<u32, Slot> attached_;  // by queue
    u8 station_[6] = {};
    u32 err_ = 0;
};

}  // namespace zelfdb
