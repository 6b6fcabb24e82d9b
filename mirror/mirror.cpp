// The four mirrors: created, given a source and a destination, enabled. All results are the NP's, after the slot was written.
#include "core/call.h"
#include "np/mirror_commands.h"

namespace zelfdb {
namespace {

constexpr u16 source_port_out = 3;
constexpr u16 source_port_out_in_vlan = 4;

u16 low_half(u32 value) { return static_cast<u16>(value & 0xFFFF); }

Mirror* find_mirror(const Call& call, u32 id)
{
    return id - 1 < std::size(call.header().mirror) ? &call.header().mirror[id - 1] : nullptr;
}

// Why a setting of the mirror may not be changed. Source and destination are frozen while it is enabled.
enum class Setting { free, frozen };

u32 refuse(const Mirror* mirror, Setting setting)
{
    if (!mirror) return ZELFDB_BAD_MIRROR;
    if (!(mirror->state & mirror_created)) return ZELFDB_NO_MIRROR;
    if (setting == Setting::frozen && (mirror->state & mirror_enabled)) return ZELFDB_MIRROR_FROZEN;
    return ZELFDB_DONE;
}

u32 refuse_enabling(const Mirror* mirror)
{
    if (const u32 code = refuse(mirror, Setting::free)) return code;
    if (mirror->state & mirror_enabled) return ZELFDB_MIRROR_ENABLED;
    if (mirror->source_kind == 0) return ZELFDB_MIRROR_NO_SOURCE;
    if (mirror->dest_port == 0) return ZELFDB_MIRROR_NO_DEST;
    const bool egress = mirror->source_kind == source_port_out || mirror->source_kind == source_port_out_in_vlan;
    if (egress && mirror->source_port == mirror->dest_port) return ZELFDB_MIRROR_ONTO_ITSELF;
    return ZELFDB_DONE;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_create_mirror(uint32_t id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (!mirror) return call.fail(ZELFDB_BAD_MIRROR);
    if (mirror->state & mirror_created) return call.fail(ZELFDB_MIRROR_EXISTS);

    // Source port and VID, tag type and tag VID keep their old values: deliberate, they mean nothing without the rest.
    mirror->state = mirror_created;
    mirror->source_kind = 0;
    mirror->dest_port = 0;
    mirror->classify_class = 0;
    mirror->classify_second = 0;
    mirror->classify_colour = 0;
    mirror->tag_on = 0;
    return create_mirror_to_NP(call.descriptor(), id);
}

int zelfdb_delete_mirror(uint32_t id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::free)) return call.fail(code);
    if (mirror->state & mirror_enabled) return call.fail(ZELFDB_MIRROR_IN_USE);

    mirror->state = 0;
    return delete_mirror_to_NP(call.descriptor(), id);
}

int zelfdb_set_mirror_source(uint32_t id, uint32_t kind, uint32_t port_id, uint32_t vid, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::frozen)) return call.fail(code);

    mirror->source_kind = low_half(kind);
    mirror->source_port = low_half(port_id);
    mirror->source_VID = low_half(vid);
    return set_mirror_source_to_NP(call.descriptor(), id, mirror->source_kind, mirror->source_port, mirror->source_VID);
}

int zelfdb_set_mirror_dest(uint32_t id, uint32_t port_id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::frozen)) return call.fail(code);

    mirror->dest_port = low_half(port_id);
    return set_mirror_dest_to_NP(call.descriptor(), id, mirror->dest_port);
}

int zelfdb_set_mirror_classify(uint32_t id, uint32_t class_no, uint32_t second, uint32_t colour, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::free)) return call.fail(code);

    mirror->classify_class = low_half(class_no);
    mirror->classify_second = low_half(second);
    mirror->classify_colour = low_half(colour);
    return set_mirror_classify_to_NP(call.descriptor(), id, mirror->classify_class, mirror->classify_second,
                                     mirror->classify_colour);
}

int zelfdb_set_mirror_tag(uint32_t id, uint32_t tag_on, uint32_t tagtype, uint32_t vid, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::free)) return call.fail(code);

    mirror->tag_on = low_half(tag_on);
    mirror->tag_tagtype = low_half(tagtype);
    mirror->tag_VID = low_half(vid);
    return set_mirror_tag_to_NP(call.descriptor(), id, mirror->tag_on, mirror->tag_tagtype, mirror->tag_VID);
}

int zelfdb_enable_mirror(int32_t id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, static_cast<u32>(id));
    if (const u32 code = refuse_enabling(mirror)) return call.fail(code);

    mirror->state |= mirror_enabled;
    return enable_mirror_to_NP(call.descriptor(), static_cast<u32>(id));
}

int zelfdb_disable_mirror(uint32_t id, uint32_t* err)
{
    using namespace zelfdb;
    preset(err);
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    Mirror* const mirror = find_mirror(call, id);
    if (const u32 code = refuse(mirror, Setting::free)) return call.fail(code);
    if (!(mirror->state & mirror_enabled)) return call.fail(ZELFDB_MIRROR_DISABLED);

    mirror->state &= static_cast<u16>(~u32{mirror_enabled});
    return disable_mirror_to_NP(call.descriptor(), id);
}
