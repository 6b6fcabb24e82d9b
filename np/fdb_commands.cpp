#include "np/fdb_commands.h"

#include <cstring>

namespace zelfdb {
namespace {

// The NP knows a filtering database by the low half of its FID.
u16 np_FID(const Descriptor& d, const Fil& fil)
{
    return static_cast<u16>(record_at<FdbHead>(main_base(d), fil.offset).FID & 0xFFFF);
}

vf_fdb_request request_of(const Descriptor& d, const Fil& fil)
{
    const auto port = static_cast<i16>(np_port(fil.port) & 0xFFFF);
    vf_fdb_request request{};
    request.flag = static_cast<u8>(fil.fil_flag & 0xFF);
    request.one = 1;
    request.FID = np_FID(d, fil);
    std::memcpy(request.mac, fil.mac.byte, sizeof request.mac);
    request.port = port;
    request.cookie = offset_of(fdb_base(d), fil).value;
    request.port2 = port;
    return request;
}

// Reads the answer of a command and frees it; -1 without freeing when there is no answer.
int ask(const Descriptor& d, vf_cmd* command, int (*read)(vf_cmd*))
{
    if (!command || !deliver(d, command)) return -1;
    const int answer = read(command);
    vf_cmdNFreeB(command);
    return answer;
}

void store(u32* output, u32 value)
{
    if (output) *output = value;
}

}  // namespace

vf_cmd* addition_of(const Descriptor& d, const Fil& fil)
{
    const vf_fdb_request request = request_of(d, fil);
    return vf_mk_addFDB(&request, &fil);
}

int add_fil_to_NP(const Descriptor& d, const Fil& fil) { return ask(d, addition_of(d, fil), vf_rd_addFDB); }

vf_cmd* removal_of(const Descriptor& d, const Fil& fil) { return vf_mk_removeFDB(np_FID(d, fil), fil.mac.byte); }

int rem_fil_from_NP(const Descriptor& d, const Fil& fil) { return ask(d, removal_of(d, fil), vf_rd_removeFDB); }

int rem_address_from_NP(const Descriptor& d, u16 FID, const Mac& mac)
{
    return ask(d, vf_mk_removeFDB(FID, mac.byte), vf_rd_removeFDB);
}

int search_fil_to_NP(const Descriptor& d, const Fil& fil, u32* current_tick, u32* last_hit_tick, u32* third)
{
    vf_cmd* const command = vf_mk_findFDB(np_FID(d, fil), fil.mac.byte, current_tick, last_hit_tick, third);
    if (!command || !deliver(d, command)) return -1;
    u32 answer[6] = {};
    vf_rd_findFDB(command, answer);
    if (answer[0] != 0) return -1;
    store(current_tick, answer[3]);
    store(last_hit_tick, answer[1]);
    store(third, answer[5]);
    vf_cmdNFreeB(command);
    return 0;
}

}  // namespace zelfdb
