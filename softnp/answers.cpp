// The readers of vf.h: what the device left in a command. Called by the library's np/ after vf_call.
#include "command.h"

#include <cstring>

using softnp::Delivery;
using softnp::Kind;
using softnp::u32;

namespace {

// 0 = the device answered a command of this kind, and said yes.
int verdict(const vf_cmd& command, Kind kind)
{
    if (command.kind != kind) return SOFTNP_ERR_BAD_VALUE;
    if (command.delivery != Delivery::answered) return SOFTNP_ERR_NOT_DELIVERED;
    return command.error != 0 ? command.error : command.answer_error;
}

int read_answer(const vf_cmd& command, Kind kind, u32* out, u32 count)
{
    const int failed = verdict(command, kind);
    if (failed == 0)
        std::memcpy(out, command.answer, count * sizeof(u32));
    else
        std::memset(out, 0, count * sizeof(u32));
    return failed;
}

}  // namespace

int vf_rd_err(vf_cmd* command)
{
    return command->delivery == Delivery::failed ? SOFTNP_ERR_NOT_DELIVERED : command->error;
}

int vf_rd_addFDB(vf_cmd* command) { return verdict(*command, Kind::addFDB); }

int vf_rd_removeFDB(vf_cmd* command) { return verdict(*command, Kind::removeFDB); }

void vf_rd_findFDB(vf_cmd* command, u32 out[6])
{
    const int failed = read_answer(*command, Kind::findFDB, out, 6);
    if (failed != 0) out[0] = static_cast<u32>(failed);
}

int vf_rd_get_stream_info(vf_cmd* command, u32 out[18])
{
    return read_answer(*command, Kind::get_stream_info, out, 18);
}

int vf_rd_get_stream_busy_info(vf_cmd* command, u32 out[3])
{
    return read_answer(*command, Kind::get_stream_busy_info, out, 3);
}
