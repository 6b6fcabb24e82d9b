// The shaping-rate update: a physical port's rate is shared out among the streams of the port with that number.
#include "core/call.h"
#include "np/qos_commands.h"

namespace zelfdb {
namespace {

// Rates are 32-bit words that count as signed in the sums.
i64 wide(u32 rate) { return static_cast<i32>(rate); }

struct Sums {
    i64 min;
    i64 excess;
};

Sums sums_of(const Call& call, u32 portno)
{
    Sums sums{};
    for (const Stream& stream : walk(all_streams, call.base(), call.header())) {
        if (stream.portno != portno) continue;
        sums.min += wide(stream.minrate);
        sums.excess += wide(stream.excess_rate);
    }
    return sums;
}

// What is left of the port's rate is granted in proportion to each stream's excess. Left over and excess are compared
// unsigned, so a port whose committed rates exceed its rate grants every stream its peak: deliberate, and relied on by
// platforms that over-commit.
u32 share_of(const Stream& stream, i64 port_rate, const Sums& sums)
{
    if (sums.excess == 0) return stream.minrate;
    const u64 left = static_cast<u64>(port_rate - sums.min);
    const u64 all_excess = static_cast<u64>(sums.excess);
    if (left > all_excess) return stream.maxrate;
    const u64 granted = left * static_cast<u64>(wide(stream.excess_rate)) / all_excess;
    return stream.minrate + static_cast<u32>(granted);
}

}  // namespace
}  // namespace zelfdb

int zelfdb_stream_shaping_rate_update(uint32_t phport_id, uint32_t* err)
{
    using namespace zelfdb;
    const Call call{Lock::main, err};
    if (!call) return call.failed();
    const Phport* const phport = call.phport(phport_id);
    if (!phport) return call.fail(ZELFDB_NO_PHPORT);

    // The streams are those whose (logical) port number equals the physical one's: deliberate, Ethernet ports are numbered
    // alike. Binding limits nobody to 256, so there is room for every stream.
    const i64 port_rate = wide(phport->shaping_rate);
    const Sums sums = sums_of(call, phport_id);
    vf_actual_rate entries[stream_count];
    u32 count = 0;
    for (Stream& stream : walk(all_streams, call.base(), call.header())) {
        if (stream.portno != phport_id) continue;
        if (port_rate == 0) {
            stream.actual_rate = stream.minrate;
            stream.actual_excess = stream.excess_rate;
        } else {
            stream.actual_rate = share_of(stream, port_rate, sums);
            stream.actual_excess = stream.maxrate - stream.actual_rate;
        }
        if (count < stream_count) entries[count++] = {stream.streamno, stream.actual_rate, stream.actual_excess};
    }
    return set_actual_rate_in_stream_to_NP(call.descriptor(), count, entries);
}
