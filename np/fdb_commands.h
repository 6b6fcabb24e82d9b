// The NP's commands about MAC entries. They differ from the frame: sent once, with an answer to read, and the command is
// kept (not freed) when it was not delivered or refused, or when the entry asked for was not found.
#pragma once

#include "np/frame.h"

namespace zelfdb {

// The answer of the NP's reader (0 = installed, removed), or -1.
int add_fil_to_NP(const Descriptor& d, const Fil& fil);
int rem_fil_from_NP(const Descriptor& d, const Fil& fil);

// The same as commands of their own, for joining several into one.
vf_cmd* addition_of(const Descriptor& d, const Fil& fil);
vf_cmd* removal_of(const Descriptor& d, const Fil& fil);

// Removes what the NP has under an address, which need not be an entry of the database.
int rem_address_from_NP(const Descriptor& d, u16 FID, const Mac& mac);

// Asks the NP about one entry: its current tick, the tick of the entry's last hit (both milliseconds), and a third value
// that nothing here has a use for. Each output may be null. 0, or -1 with nothing written.
int search_fil_to_NP(const Descriptor& d, const Fil& fil, u32* current_tick, u32* last_hit_tick, u32* third);

}  // namespace zelfdb
