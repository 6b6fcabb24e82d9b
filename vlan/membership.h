// Memberships of ports in VLANs. Callers hold the locks.
#pragma once

#include "core/descriptor.h"

namespace zelfdb {

// Ends every membership of a port that goes away. The NP is not told, and PVID, protocol bindings and learned entries stay.
void delete_all_pv_in_a_port(const Descriptor& d, Port& port);

// The step of the above.
void delete_one_pv(const Descriptor& d, Port& port, Pv& pv);

}  // namespace zelfdb
