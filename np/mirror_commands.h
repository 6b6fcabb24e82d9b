// The NP's commands about mirrors. 0 = accepted, -1 = not. Port IDs are sent as they are, not mapped.
#pragma once

#include "np/frame.h"

namespace zelfdb {

int create_mirror_to_NP(const Descriptor& d, u32 mirror);
int delete_mirror_to_NP(const Descriptor& d, u32 mirror);
int enable_mirror_to_NP(const Descriptor& d, u32 mirror);
int disable_mirror_to_NP(const Descriptor& d, u32 mirror);
int set_mirror_source_to_NP(const Descriptor& d, u32 mirror, u32 kind, u32 port_id, u32 VID);
int set_mirror_dest_to_NP(const Descriptor& d, u32 mirror, u32 port_id);
int set_mirror_classify_to_NP(const Descriptor& d, u32 mirror, u32 class_no, u32 second, u32 colour);
int set_mirror_tag_to_NP(const Descriptor& d, u32 mirror, u32 tag_on, u32 tagtype, u32 VID);

}  // namespace zelfdb
