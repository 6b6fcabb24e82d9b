// Entries of the forwarding database as the tool shows them. Read through the library.
#pragma once

#include <zelfdb/zelfdb.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "language/types.h"

namespace zelfctl {

using Mac = std::array<u8, 6>;

struct Entry {
    Mac mac{};
    u32 type = 0;  // enum zelfdb_fil_type
    u32 vid = 0;   // 0: a port's own
    std::string vlan;
    u32 port = 0;  // 0 if bound to none
    u32 flag = 0;
    u32 permit = 0;
    i32 age_s = 0;  // dynamic ones only
};

std::string text_of(const Mac& mac);
const char* type_text(u32 type);

// DYNAMIC or STATIC entries of a VLAN; null if they could not be read. One that has more than the expected number of entries
// is gone through twice.
std::optional<std::vector<Entry>> read_entries(u32 vid, const std::string& vlan, u32 type, u32 expected);

// LOCAL entries of a port. The library leaves its FDB lock with the process that lists these, so that is a child.
std::optional<std::vector<Entry>> read_local_entries(u32 port_id);

// All DYNAMIC entries, for comparing before and after; null if they could not be read.
std::optional<std::vector<Entry>> read_dynamic_entries();

}  // namespace zelfctl
