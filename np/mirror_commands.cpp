#include "np/mirror_commands.h"

namespace zelfdb {

int create_mirror_to_NP(const Descriptor& d, u32 mirror) { return send(d, vf_mk_create_mirror(mirror)); }

int delete_mirror_to_NP(const Descriptor& d, u32 mirror) { return send(d, vf_mk_delete_mirror(mirror)); }

int enable_mirror_to_NP(const Descriptor& d, u32 mirror) { return send(d, vf_mk_enable_mirror(mirror)); }

int disable_mirror_to_NP(const Descriptor& d, u32 mirror) { return send(d, vf_mk_disable_mirror(mirror)); }

int set_mirror_source_to_NP(const Descriptor& d, u32 mirror, u32 kind, u32 port_id, u32 VID)
{
    return send(d, vf_mk_set_mirror_source(mirror, kind, port_id, VID));
}

int set_mirror_dest_to_NP(const Descriptor& d, u32 mirror, u32 port_id)
{
    return send(d, vf_mk_set_mirror_dest(mirror, port_id));
}

int set_mirror_classify_to_NP(const Descriptor& d, u32 mirror, u32 class_no, u32 second, u32 colour)
{
    return send(d, vf_mk_set_mirror_classify(mirror, class_no, second, colour));
}

int set_mirror_tag_to_NP(const Descriptor& d, u32 mirror, u32 tag_on, u32 tagtype, u32 VID)
{
    return send(d, vf_mk_set_mirror_tag(mirror, tag_on, tagtype, VID));
}

}  // namespace zelfdb
