#include "language/fdb_commands.h"

#include "language/captured_output.h"
#include "language/difference.h"
#include "language/reader.h"

#include <zelfdb/zelfdb.h>

#include "language/vlan_commands.h"

namespace zelfctl {
namespace {

// Entries are the user's unless the command says otherwise: "user" is the first word of the choice.
u32 permit_of(const Arguments& arguments) { return arguments.number("permit") != 0 ? ZELFDB_FIL_SYSTEM : 0; }

Outcome create_in_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments, u32 port, u32 flag)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result = zelfdb_create_sfil2(descriptor, vid, arguments.value("mac").mac.data(), port, flag,
                                           permit_of(arguments), &code);
    return outcome_of(result, code);
}

}  // namespace

Outcome create_discard_entry(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return create_in_vlan(descriptor, arguments, 0, ZELFDB_FIL_FLAG_NO_PORT);
}

Outcome create_static_entry(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return create_in_vlan(descriptor, arguments, arguments.number("port"), arguments.number("flag"));
}

Outcome delete_static_entry(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    u32 code = 0;
    const int result =
        zelfdb_delete_sfil2(descriptor, vid, arguments.value("mac").mac.data(), permit_of(arguments), &code);
    return outcome_of(result, code);
}

Outcome delete_static_entries_of_port(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    return outcome_of(zelfdb_delete_sfil_select_port2(descriptor, arguments.number("port")), ZELFDB_NO_DESCRIPTOR);
}

Outcome create_local_entry(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result =
        zelfdb_create_lfil(arguments.number("port"), arguments.value("mac").mac.data(),
                           arguments.number("flag", ZELFDB_FIL_FLAG_NO_PORT), permit_of(arguments), &code);
    return outcome_of(result, code);
}

Outcome delete_local_entry(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result =
        zelfdb_delete_lfil(arguments.number("port"), arguments.value("mac").mac.data(), permit_of(arguments), &code);
    return outcome_of(result, code);
}

Outcome set_userarea(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_set_fdb_userarea(arguments.number("limit"), &code);
    return outcome_of(result, code);
}

Outcome clear_all(zelfdb_descriptor*, const Arguments&) { return outcome_of(zelfdb_clear_fdb(), ZELFDB_NO_DESCRIPTOR); }

Outcome clear_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    return outcome_of(zelfdb_clear_fdb_vlan(vid), ZELFDB_NO_VLAN);
}

// The same as a link change that flushes: nothing else is recorded of it.
Outcome clear_port(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    const int result = zelfdb_notify_portstate(descriptor, arguments.number("port"), B_PORT_UP, 1);
    return outcome_of(result, ZELFDB_NO_PORT);
}

Outcome clear_type(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    if (arguments.number("type") == 0) return clear_all(descriptor, arguments);
    auto* const replay = arguments.number("type") == 1 ? zelfdb_reconfig_sfil : zelfdb_reconfig_lfil;
    std::string text;
    if (!capture_output([&] { return replay("", "\n") == 0; }, text)) return failure("the entries could not be read");
    Outcome outcome;
    for (const PlannedCommand& command : commands_between(read_configuration(text), {})) {
        const ReadLine read = read_line(command.text);
        outcome = read.command->row->run(descriptor, read.arguments);
        // Somebody may have been faster.
        if (!outcome.done && outcome.code != ZELFDB_NO_MAC) return outcome;
    }
    return {};
}

}  // namespace zelfctl
