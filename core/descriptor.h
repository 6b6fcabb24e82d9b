// A process's way to the database: where it has attached the two segments, and its NP session.
#pragma once

#include "core/records.h"
#include "zelfdb/vf.h"
#include "zelfdb/zelfdb.h"

// Three machine words on the heap, owned by whoever opened it. NP is null when opened without the NP.
struct zelfdb_descriptor {
    void* main_segment;
    void* fdb_segment;
    vf_handle* NP;
};

namespace zelfdb {

using Descriptor = zelfdb_descriptor;

inline constexpr int main_key = 0x5A454C01;
inline constexpr int fdb_key = 0x5A454C02;

inline Base main_base(const Descriptor& d) { return {static_cast<u8*>(d.main_segment)}; }
inline Base fdb_base(const Descriptor& d) { return {static_cast<u8*>(d.fdb_segment)}; }
inline Header& header_of(const Descriptor& d) { return *static_cast<Header*>(d.main_segment); }

// Null on failure, with one line on standard output. What was attached before the failure stays attached: on purpose,
// callers know it, and a process that opens in a loop without bound pays for it.
Descriptor* open_descriptor();
Descriptor* open_descriptor2();
void close_descriptor(Descriptor* descriptor);

}  // namespace zelfdb
