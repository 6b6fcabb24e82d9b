#include "language/mirror_commands.h"

#include "language/vlan_commands.h"

namespace zelfctl {
namespace {

enum SourceKind { source_none, source_in, source_in_vlan, source_out, source_out_vlan, source_vlan };

constexpr u32 usual_tagtype = 0x8100;

Outcome done_with(int result, u32 code) { return outcome_of_NP_command(result, code); }

Outcome set_source(u32 mirror, SourceKind kind, u32 port, u32 vid)
{
    u32 code = 0;
    const int result = zelfdb_set_mirror_source(mirror, kind, port, vid, &code);
    return done_with(result, code);
}

// Frames of a port, of one VLAN if the command names it.
Outcome set_port_source(zelfdb_descriptor* descriptor, const Arguments& arguments, SourceKind all, SourceKind of_vlan)
{
    Outcome outcome;
    u32 vid = 0;
    const bool one_vlan = arguments.has("vlan");
    if (one_vlan && !find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    return set_source(arguments.number("mirror"), one_vlan ? of_vlan : all, arguments.number("port"), vid);
}

Outcome set_dest(u32 mirror, u32 port)
{
    u32 code = 0;
    const int result = zelfdb_set_mirror_dest(mirror, port, &code);
    return done_with(result, code);
}

}  // namespace

Outcome create_mirror(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_create_mirror(arguments.number("mirror"), &code);
    return done_with(result, code);
}

Outcome delete_mirror(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_delete_mirror(arguments.number("mirror"), &code);
    return done_with(result, code);
}

Outcome set_source_in(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_port_source(descriptor, arguments, source_in, source_in_vlan);
}

Outcome set_source_out(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return set_port_source(descriptor, arguments, source_out, source_out_vlan);
}

Outcome set_source_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    return set_source(arguments.number("mirror"), source_vlan, 0, vid);
}

Outcome set_source_none(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_source(arguments.number("mirror"), source_none, 0, 0);
}

Outcome set_mirror_dest(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_dest(arguments.number("mirror"), arguments.number("port"));
}

Outcome set_mirror_dest_none(zelfdb_descriptor*, const Arguments& arguments)
{
    return set_dest(arguments.number("mirror"), 0);
}

Outcome set_copy_class(zelfdb_descriptor*, const Arguments& arguments)
{
    const Value& value = arguments.value("copy_class");
    u32 code = 0;
    const int result = zelfdb_set_mirror_classify(arguments.number("mirror"), value.numbers[0] - 1, value.numbers[1],
                                                  value.numbers[2], &code);
    return done_with(result, code);
}

Outcome set_tag_on(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_mirror_tag(arguments.number("mirror"), 1, arguments.number("tagtype", usual_tagtype),
                                             arguments.number("vid"), &code);
    return done_with(result, code);
}

Outcome set_tag_off(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_mirror_tag(arguments.number("mirror"), 0, 0, 0, &code);
    return done_with(result, code);
}

Outcome enable_mirror(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_enable_mirror(static_cast<i32>(arguments.number("mirror")), &code);
    return done_with(result, code);
}

Outcome disable_mirror(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_disable_mirror(arguments.number("mirror"), &code);
    return done_with(result, code);
}

}  // namespace zelfctl
