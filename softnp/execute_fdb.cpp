// The commands of the MAC table. Called through the table of executors.
#include "clock.h"
#include "execute.h"
#include "mac_table.h"

namespace softnp {

namespace {

constexpr u32 FLAG_NO_PORT = 0x4;
constexpr u32 NONE = 0xFFFFFFFF;  // the 16-bit -1 of a request, as an argument word

struct MacKey {
    u32 FID;
    u8 mac[6];
};

MacKey key_of(const vf_cmd& command)
{
    MacKey key{command.args[0], {}};
    mac_of_words(command.args[1], command.args[2], key.mac);
    return key;
}

// An entry of a port's own database, and one with the flag, are bound to no port whatever the request names.
// Any other has to name a port that is there.
int port_of_request(State& state, const vf_cmd& command, i16& np_port)
{
    const u32 requested = command.args[3];
    const bool is_local = state.fid[command.args[0]].np_port != 0;
    np_port = -1;
    if (is_local || (command.args[5] & FLAG_NO_PORT) != 0) return SOFTNP_OK;
    int error = SOFTNP_OK;
    if (find_port(state, requested, error)) np_port = static_cast<i16>(requested);
    return error;
}

bool is_well_formed(const vf_cmd& request)
{
    return request.args[3] == request.args[4] && request.args[6] == 1 && request.args[7] == 0;
}

}  // namespace

static_assert(NONE == SOFTNP_NO_PORT, "a request without a port reads as an unmapped one");

// An entry that is there already is replaced: whoever adds has the newer knowledge.
int execute_addFDB(State& state, vf_cmd& command)
{
    const MacKey key = key_of(command);
    if (!is_well_formed(command)) return SOFTNP_ERR_BAD_VALUE;
    if (state.fid[key.FID].np_port == 0 && state.fid[key.FID].vlans == 0) return SOFTNP_ERR_NO_FID;
    i16 np_port = -1;
    const int error = port_of_request(state, command, np_port);
    if (error != SOFTNP_OK) return error;
    softnp_mac_entry* entry = find_or_make_mac(state, key.FID, key.mac);
    if (!entry) return SOFTNP_ERR_TABLE_FULL;
    entry->np_port = np_port;
    entry->flag = static_cast<u8>(command.args[5]);
    entry->cookie = command.args[8];
    entry->last_hit_ms = tick_now(state);
    return SOFTNP_OK;
}

int execute_removeFDB(State& state, vf_cmd& command)
{
    const MacKey key = key_of(command);
    return remove_mac(state, key.FID, key.mac) ? SOFTNP_OK : SOFTNP_ERR_NO_ENTRY;
}

// The question is answered either way; that there is no such entry is the answer's status, not the command's.
int execute_findFDB(State& state, vf_cmd& command)
{
    const MacKey key = key_of(command);
    const softnp_mac_entry* entry = find_mac(state, key.FID, key.mac);
    const u32 tick_ms = tick_now(state);
    command.answer[3] = tick_ms;
    if (!entry) {
        command.answer[0] = SOFTNP_ERR_NO_ENTRY;
        return SOFTNP_OK;
    }
    command.answer[1] = entry->last_hit_ms;
    command.answer[2] = static_cast<u32>(entry->np_port);
    command.answer[4] = entry->cookie;
    command.answer[5] = tick_ms - entry->last_hit_ms;
    return SOFTNP_OK;
}

}  // namespace softnp
