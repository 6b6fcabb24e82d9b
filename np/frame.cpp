// The command frame: send, check, send once more, free.
#include "np/frame.h"

#include <unistd.h>

#include <cstring>

namespace zelfdb {
namespace {

constexpr std::size_t status_at = 8;

}  // namespace

i16 status_of(const vf_cmd* command)
{
    i16 status = 0;
    std::memcpy(&status, reinterpret_cast<const u8*>(command) + status_at, sizeof status);
    return status;
}

bool deliver(const Descriptor& d, vf_cmd* command)
{
    return vf_call(d.NP, 0, command, 0, 0) == 0 && status_of(command) == 0;
}

int send(const Descriptor& d, vf_cmd* command, Retry retry)
{
    if (!command) return -1;
    if (!deliver(d, command)) {
        if (retry == Retry::after_1_s) sleep(1);
        if (!deliver(d, command)) return -1;
    }
    vf_cmdNFreeB(command);
    return 0;
}

}  // namespace zelfdb
