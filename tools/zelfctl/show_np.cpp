#include <cstdio>

#include "database.h"
#include "json_output.h"
#include "show.h"
#include "softnp/softnp.h"
#include "table.h"

namespace zelfctl {
namespace {

using nlohmann::json;

struct Commands {
    const char* name = nullptr;
    u64 sent = 0;
    u64 refused = 0;
};

// Kinds of which none was sent are left out.
std::vector<Commands> commands_sent()
{
    std::vector<Commands> all;
    Commands commands;
    for (u32 index = 0; softnp_command_count(index, &commands.name, &commands.sent, &commands.refused) == 1; ++index)
        if (commands.sent != 0) all.push_back(commands);
    return all;
}

void print_commands(const std::vector<Commands>& all)
{
    Table table({{"COMMAND"}, {"SENT", true}, {"REFUSED", true}});
    for (const Commands& commands : all) table.add({commands.name, number(commands.sent), number(commands.refused)});
    table.print();
}

template <class Use>
void for_each_port(const Use& use)
{
    for (u32 np_port = 1; np_port <= SOFTNP_PORTS; ++np_port) {
        softnp_port port{};
        softnp_port_counters counters{};
        if (softnp_get_port(np_port, &port) == 1 && softnp_get_port_counters(np_port, &counters) == 1)
            use(softnp_port_id(np_port), counters);
    }
}

u64 all_dropped(const softnp_port_counters& counters)
{
    u64 frames = 0;
    for (const u64 dropped : counters.dropped) frames += dropped;
    return frames;
}

void print_ports()
{
    Table ports({{"PORT", true},
                 {"RECEIVED", true},
                 {"FORWARDED", true},
                 {"FLOODED", true},
                 {"DELIVERED", true},
                 {"DROPPED", true},
                 {"SENT", true},
                 {"LEARN EVENTS", true}});
    Table drops({{"PORT", true}, {"DROPPED", true}, {"WHY"}});
    for_each_port([&](u32 port_id, const softnp_port_counters& counters) {
        ports.add({number(port_id), number(counters.rx_frames), number(counters.forwarded), number(counters.flooded),
                   number(counters.delivered), number(all_dropped(counters)), number(counters.tx_frames),
                   number(counters.learn_raised)});
        for (int reason = 0; reason < SOFTNP_REASON_COUNT; ++reason)
            if (counters.dropped[reason] != 0)
                drops.add({number(port_id), number(counters.dropped[reason]), softnp_reason_text(reason)});
    });
    ports.print();
    if (drops.empty()) return;
    std::printf("\n");
    drops.print();
}

json json_of_ports()
{
    json ports = json::array();
    for_each_port([&](u32 port_id, const softnp_port_counters& counters) {
        json dropped = json::object();
        for (int reason = 0; reason < SOFTNP_REASON_COUNT; ++reason)
            if (counters.dropped[reason] != 0) dropped[softnp_reason_text(reason)] = counters.dropped[reason];
        ports.push_back({{"port", port_id},
                         {"rx_frames", counters.rx_frames},
                         {"rx_bytes", counters.rx_bytes},
                         {"tx_frames", counters.tx_frames},
                         {"tx_bytes", counters.tx_bytes},
                         {"forwarded", counters.forwarded},
                         {"flooded", counters.flooded},
                         {"delivered", counters.delivered},
                         {"learn_raised", counters.learn_raised},
                         {"learn_lost", counters.learn_lost},
                         {"dropped", dropped}});
    });
    return ports;
}

json json_of(const softnp_device_counters& device, const std::vector<Commands>& all)
{
    json commands = json::array();
    for (const Commands& kind : all)
        commands.push_back({{"command", kind.name}, {"sent", kind.sent}, {"refused", kind.refused}});
    return {{"commands", commands},
            {"frames", device.frames},
            {"events_raised", device.events_raised},
            {"events_lost", device.events_lost},
            {"events_queued", device.events_queued},
            {"commands_delivered", device.commands},
            {"commands_refused", device.commands_refused},
            {"commands_lost", device.commands_lost},
            {"mac_entries", device.mac_entries},
            {"mac_capacity", device.mac_capacity},
            {"ports", json_of_ports()}};
}

}  // namespace

int show_np(bool as_json)
{
    if (!database_is_ready()) return exit_failed;
    softnp_device_counters device{};
    if (softnp_get_device_counters(&device) != 0) {
        complain("the network processor cannot be reached");
        return exit_failed;
    }
    const std::vector<Commands> commands = commands_sent();
    if (as_json) {
        print_json(json_of(device, commands));
        return exit_done;
    }
    print_sentence(number(device.commands) + " commands, " + number(device.commands_refused) + " of them refused; " +
                   number(device.mac_entries) + " of " + number(device.mac_capacity) + " MAC entries in use; " +
                   number(device.events_raised) + " learn events, " + number(device.events_lost) + " lost");
    std::printf("\n");
    print_commands(commands);
    std::printf("\n");
    print_ports();
    return exit_done;
}

}  // namespace zelfctl
