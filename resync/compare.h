// What an NP holds against what the database wants of it.
#pragma once

#include "resync/wanted.h"

namespace zelfdb {

struct FoundItem {
    std::map<std::string, std::string> settings;  // by the names and in the texts that wanted.cpp gives them
    std::vector<Object> needs;
    u32 class_no = 0;  // of an attachment, whose first need is its stream
};

// The whole state of an NP that can be read.
struct Found {
    std::map<Object, FoundItem> objects;
    std::vector<Object> bindings;  // each port's in the order in which they were made
};

enum class What { missing, extra, different };

struct Difference {
    What what;
    Object object;     // as the database numbers it, if it has it
    Object np_object;  // as the NP does: the two differ for lines
    std::string setting = {};
    std::string database = {};
    std::string np = {};
    bool implied = false;  // missing, because something that it needs is
};

// Entries that the NP says not to have.
std::vector<Object> entries_not_found(const Descriptor& d, const Wanted& wanted);

// found: null if the NP's state cannot be read. Then only entries are compared, and only whether they are there.
std::vector<Difference> compare(const Descriptor& d, const Wanted& wanted, const Found* found);

}  // namespace zelfdb
