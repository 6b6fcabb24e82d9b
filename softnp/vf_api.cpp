// Sessions and the sending of commands, as vf.h has them. Called by libzelfdb.
#include "device.h"
#include "execute.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>

using softnp::u32;
using softnp::u8;

struct vf_handle {
    u8 callers[4];  // the first four bytes are the caller's
    u32 magic;
};

namespace {

constexpr u32 HANDLE_MAGIC = 0x534E5048;

bool is_refused(softnp::State& device)
{
    const softnp::DeviceLock lock(&device);
    if (!lock.state) return true;
    if (device.header.refuse_init == 0) return false;
    device.header.refuse_init--;
    return true;
}

void sleep_ms(u32 time_ms)
{
    timespec rest{static_cast<time_t>(time_ms / 1000), static_cast<long>(time_ms % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

}  // namespace

vf_handle* vf_init(void)
{
    softnp::State* device = softnp::attach();
    if (!device) return nullptr;
    vf_handle* handle = is_refused(*device) ? nullptr : static_cast<vf_handle*>(std::calloc(1, sizeof(vf_handle)));
    if (!handle) {
        softnp::detach();
        return nullptr;
    }
    handle->magic = HANDLE_MAGIC;
    return handle;
}

void vf_release(vf_handle* handle)
{
    if (!handle || handle->magic != HANDLE_MAGIC) return;
    handle->magic = 0;
    std::free(handle);
    softnp::detach();
}

int vf_call(vf_handle* handle, int /*zero1*/, vf_cmd* command, int /*zero2*/, int /*zero3*/)
{
    if (!handle || handle->magic != HANDLE_MAGIC || !command || command->magic != softnp::COMMAND_MAGIC) return -1;
    u32 late_ms = 0;
    int result = -1;
    {
        const softnp::DeviceLock lock(softnp::attached());
        if (lock.state) result = softnp::execute_chain(*lock.state, *command, late_ms);
    }
    if (late_ms != 0) sleep_ms(late_ms);
    return result;
}
