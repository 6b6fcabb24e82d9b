// Every exported operation as one row: its integer arguments, what it may answer, and which bytes it may change.
#pragma once

#include <string>
#include <vector>

#include "support/database.h"
#include "trust/changes.h"

namespace zelfdb::trust {

// What an integer argument stands for: which bounds it has, and which code tells that there is no such object.
enum class Kind {
    value,
    port,
    new_port,
    phport,
    phport_of_new_port,
    vid,
    vid_or_all,
    new_vid,
    stream,
    new_stream,
    any_stream,
    queue,
    new_queue,
    profile,
    profile_or_all,
    new_profile,
    mirror,
    new_mirror,
    group,
    new_group,
    any_port,
    class_no,
    colour,
    sno_port,
    line_no,
    list_index,
    cookie,
    count,
    port_param,
    frame_number,
    capacity,
    listing_size,
    heap_capacity,
    heap_size,
    nport,
    nvlan,
    nfil
};

struct Argument {
    const char* name;
    Kind kind;
    u32 good;  // with which the operation does its work, or as much of it as it can
};

// How the error word is used.
enum class Word { absent, on_failure, preset, final };

enum class Frame { none, opens, opens_without_NP, callers };

// What the result says.
enum class Result {
    status,   // 0, or -1
    refused,  // -1 whatever happens
    done,     // 0 whatever happens
    listing,  // 1 = more to come, 0, or -1
    count,    // a number of objects, or -1
    sent,     // 1 = sent, 0 = not
    handle,   // 1 = made, 0 = not
    nothing
};

// Memory that a call may use.
struct Tools {
    zelfdb_descriptor* d = nullptr;
    zelfdb_ropebuf* buffer = nullptr;  // as the row's capacity and size ask for
    zelfdb_cursor cursor{};
    zelfdb_fdb_cursor fdb_cursor{};
    u8 station[6] = {};  // one that has no entry unless the row names another
    std::vector<u32> memory = std::vector<u32>(4096);

    template <class Record>
    Record* as()
    {
        std::fill(memory.begin(), memory.end(), 0);
        return reinterpret_cast<Record*>(memory.data());
    }
    u32* words() { return as<u32>(); }
};

struct Row {
    const char* name;
    Frame frame;
    Lock lock;
    Word word;
    Result result;
    std::vector<u32> codes;  // that it may answer beside 1 and 0
    std::vector<Argument> arguments;
    int (*call)(const u32* a, Tools& t, u32* err);
    void (*changes)(const u32* a, Changes& c);  // null: it changes nothing
};

const std::vector<Row>& rows();

// The stations of the populated database: in VLAN 10 learned on port 1, static on port 3; local on port 4; none.
inline constexpr u8 learned_station[6] = {2, 0, 0, 0, 0, 0xA1};
inline constexpr u8 static_station[6] = {2, 0, 0, 0, 0, 0xB1};
inline constexpr u8 local_station[6] = {2, 0, 0, 0, 0, 0xC1};
inline constexpr u8 new_station[6] = {2, 0, 0, 0, 0, 0xF1};

}  // namespace zelfdb::trust
