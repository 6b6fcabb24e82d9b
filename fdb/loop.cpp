// Simple loop detection: a station that moves between ports may be one that is seen through a loop.
#include <syslog.h>

#include <cstdio>

#include "fdb/learning.h"
#include "port/npflag.h"  // a tripped breaker changes the port's flags, which is the ports' rule

namespace zelfdb {
namespace {

constexpr u32 burst_gap_ticks = 3;
constexpr u32 messages_per_burst = 3;
constexpr int loop_priority = LOG_LOCAL5 | LOG_WARNING;

void store(u32* output, u32 value)
{
    if (output) *output = value;
}

// At most three messages for moves that follow each other within 3 ticks of the last message.
bool may_report(Vlan& vlan, u32 tick)
{
    if (tick - vlan.sld_lastMsgTick > burst_gap_ticks) {
        vlan.sld_msgcnt = 0;
        return true;
    }
    return vlan.sld_msgcnt < messages_per_burst;
}

bool trip_breaker(const Descriptor& d, Port& port)
{
    if (port.sldbkr_on != 1 || port.sldbkr_state == sldbkr_tripped) return false;
    port.sldbkr_state = sldbkr_tripped;
    port_update_npflag(d, port);
    return true;
}

// The text is a format argument of syslog, so a VLAN's name must not hold a conversion.
struct FormatSafeName {
    char text[2 * sizeof(Vlan::name)];
};

FormatSafeName format_safe(const Vlan& vlan)
{
    FormatSafeName safe{};
    char* out = safe.text;
    for (std::size_t i = 0; i + 1 < sizeof vlan.name && vlan.name[i] != '\0'; ++i) {
        if (vlan.name[i] == '%') *out++ = '%';
        *out++ = vlan.name[i];
    }
    return safe;
}

void write_report(const Vlan& vlan, const Mac& mac, const Port& old_port, const Port& new_port)
{
    char report[256];
    const u8(&m)[6] = mac.byte;
    std::snprintf(report, sizeof report,
                  "simple_loop_detection:LOOP ? (%02x:%02x:%02x:%02x:%02x:%02x)(%d->%d)(VLAN \"%s\")", m[0], m[1], m[2],
                  m[3], m[4], m[5], static_cast<int>(old_port.PortID), static_cast<int>(new_port.PortID),
                  format_safe(vlan).text);
    syslog(loop_priority, report);  // made safe above
}

}  // namespace

void report_simple_loop(const Descriptor& d, Vlan& vlan, const Mac& mac, Port& old_port, Port& new_port, u32 tick,
                        const LoopOutputs& outputs)
{
    store(outputs.old_port, 0);
    store(outputs.new_port, 0);
    store(outputs.tripped_old_port, 0);
    store(outputs.tripped_new_port, 0);
    if (!(vlan.vlan_flag & vflag_loop_detection)) return;

    const bool in_rate = may_report(vlan, tick);
    const bool old_tripped = trip_breaker(d, old_port);
    const bool new_tripped = trip_breaker(d, new_port);
    // A tripped breaker is reported whatever the rate, and counts as a message of the burst.
    if (!in_rate && !old_tripped && !new_tripped) return;

    write_report(vlan, mac, old_port, new_port);
    store(outputs.old_port, old_port.PortID);
    store(outputs.new_port, new_port.PortID);
    vlan.sld_lastMsgTick = tick;
    ++vlan.sld_msgcnt;
    if (old_tripped) store(outputs.tripped_old_port, old_port.PortID);
    if (new_tripped) store(outputs.tripped_new_port, new_port.PortID);
}

}  // namespace zelfdb
