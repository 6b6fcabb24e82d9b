// Mirrors and the ring of captured copies, as they lie in the shared segment.
#pragma once

#include "types.h"

namespace softnp {

inline constexpr u32 MIRROR_SLOTS = SOFTNP_MIRRORS + 1;  // by mirror number; slot 0 stays empty

struct Mirror {
    u32 exists;
    u32 pad;
    softnp_mirror record;
};

struct CopyRing {
    u32 is_on;
    u32 first;
    u32 count;
    u32 pad;
    softnp_copy copy[SOFTNP_COPIES];
};

struct Mirrors {
    Mirror mirror[MIRROR_SLOTS];
    CopyRing ring;
};

}  // namespace softnp
