// Listing a database's entries, and flushing one port's. Callers hold both locks.
#pragma once

#include "core/descriptor.h"

namespace zelfdb {

// Fills the buffer with the entries of one type, from where the cursor stands. 1 = full, more remain; 0 = complete; -1.
int list_fil_entries(const Descriptor& d, const FdbHead& fdb, zelfdb_fdb_cursor& cursor, zelfdb_ropebuf& buffer,
                     u32 type);

// Remove every DYNAMIC, or STATIC, entry that names the port, in all VLANs. Always 0.
int delete_dfil_select_port(const Descriptor& d, u32 port_id);
int delete_sfil_select_port(const Descriptor& d, u32 port_id);

}  // namespace zelfdb
