// Link-local control frames: held by a LOCAL entry of the port, or released.
#include "core/call.h"
#include "fdb/entries.h"

namespace zelfdb {
namespace {

constexpr i32 action_hold = 0;
constexpr i32 action_release = 1;

Mac link_local_group(u32 n) { return {{0x01, 0x80, 0xC2, 0x00, 0x00, static_cast<u8>(n & 0xFF)}}; }

// The bitmap has a bit for frames 0..31; frames beyond are held and released without one.
u32 bit_of(u32 n) { return n < 32 ? u32{1} << n : 0; }

// Holding what is held and releasing what is released are successes, deliberately: callers depend on it.
u32 hold(const Call& call, Port& port, u32 n)
{
    const u32 code =
        add_fdbentry_local(call.descriptor(), port.fdb, link_local_group(n), fil_flag_no_port, permit_system);
    if (code != ZELFDB_DONE && code != ZELFDB_MAC_EXISTS) return code;
    port.link_frames_fwd &= ~bit_of(n);
    return ZELFDB_DONE;
}

u32 release(const Call& call, Port& port, u32 n)
{
    const u32 code = rem_fdbentry(call.descriptor(), fil_local, port.fdb, link_local_group(n), nullptr, permit_system);
    if (code != ZELFDB_DONE && code != ZELFDB_NO_MAC) return code;
    port.link_frames_fwd |= bit_of(n);
    return ZELFDB_DONE;
}

}  // namespace
}  // namespace zelfdb

int zelfdb_set_port_link_frames(uint32_t port_id, uint32_t n, int32_t action, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main_and_fdb, err};
    if (!call) return call.failed();

    Port* const port = call.port(port_id);
    if (!port) return call.fail(ZELFDB_NO_PORT);
    // Told by the code of a descriptor that could not be opened, deliberately: callers compare it.
    if (action != action_hold && action != action_release) return call.fail(ZELFDB_NO_DESCRIPTOR);

    const u32 code = action == action_hold ? hold(call, *port, n) : release(call, *port, n);
    return code == ZELFDB_DONE ? 0 : call.fail(code);
}
