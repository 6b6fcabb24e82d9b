#include "language/query_commands.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "language/qos_commands.h"
#include "language/vlan_commands.h"

namespace zelfctl {
namespace {

constexpr u32 most_vlans = 4094;
constexpr u32 most_ports = 199;

Outcome answer(std::string text) { return {true, ZELFDB_DONE, std::move(text)}; }

std::string listed(const std::vector<u32>& numbers)
{
    std::string text;
    for (const u32 number : numbers) text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}

// A count from an operation that fills as much as there is room for, and refuses where there is nothing.
Outcome answer_list(int count, std::vector<u32> numbers, u32 code)
{
    if (count < 0 && code == ZELFDB_NOT_MEMBER) return answer({});
    if (count < 0) return failure(code);
    numbers.resize(std::min(numbers.size(), static_cast<std::size_t>(count)));
    return answer(listed(numbers));
}

// Operations that ask whether there is one answer by refusing.
Outcome answer_yes_no(int result, u32 code, u32 code_of_yes)
{
    if (result == 0) return answer("no");
    return code == code_of_yes ? answer("yes") : failure(code);
}

std::string text_of(const zelfdb_pv_info& membership)
{
    char tail[64];
    std::snprintf(tail, sizeof tail, " vid %u flags %02x tagtype %04x", membership.VID, membership.pv_flag,
                  membership.tagtype);
    return std::string(membership.vlan_name, strnlen(membership.vlan_name, sizeof membership.vlan_name)) + tail;
}

}  // namespace

Outcome query_port_vid(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    u32 vid = 0;
    u32 code = 0;
    if (zelfdb_get_port_vid2(descriptor, arguments.number("port"), &vid, &code) != 0) return failure(code);
    return answer(std::to_string(vid));
}

Outcome query_port_vlans(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    std::vector<u32> vids(most_vlans);
    u32 code = 0;
    const int count = zelfdb_get_vid_from_portID2(descriptor, static_cast<i32>(vids.size()), arguments.number("port"),
                                                  vids.data(), &code);
    return answer_list(count, std::move(vids), code);
}

// The listing refuses in the same way whether there is no port or no membership.
Outcome query_port_memberships(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    if (Outcome vids = query_port_vlans(descriptor, arguments); !vids.done || vids.text.empty()) return vids;
    const std::unique_ptr<zelfdb_ropebuf, void (*)(zelfdb_ropebuf*)> buffer(
        zelfdb_alloc_ropebuf(most_vlans, sizeof(zelfdb_pv_info)), zelfdb_free_ropebuf);
    zelfdb_cursor cursor{};
    if (!buffer || zelfdb_get_all_pvinfo_in_a_port(arguments.number("port"), &cursor, buffer.get()) < 0)
        return failure("the memberships could not be read");
    std::string text;
    for (u32 i = 0; i < buffer->filled; ++i) {
        zelfdb_pv_info membership{};
        std::memcpy(&membership, buffer->records + i * sizeof membership, sizeof membership);
        text += (text.empty() ? "" : "\n") + text_of(membership);
    }
    return answer(std::move(text));
}

Outcome query_port_streams(zelfdb_descriptor*, const Arguments& arguments)
{
    u32 code = 0;
    const int result = zelfdb_check_stream_in_port(arguments.number("port"), &code);
    return answer_yes_no(result, code, ZELFDB_PORT_HAS_STREAM);
}

Outcome query_vlan_vid(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    return find_vlan(descriptor, arguments, vid, outcome) ? answer(std::to_string(vid)) : outcome;
}

Outcome query_vid_vlan(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    char name[32] = {};
    u32 code = 0;
    if (zelfdb_get_vlanname2(descriptor, arguments.number("vid"), name, &code) != 0) return failure(code);
    return answer(name);
}

Outcome query_vlan_ports(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    std::vector<u32> ports(most_ports);
    u32 code = 0;
    const int count = zelfdb_get_portID_from_vid2(descriptor, static_cast<i32>(ports.size()), vid, ports.data(), &code);
    return answer_list(count, std::move(ports), code);
}

Outcome query_vlan_counts(zelfdb_descriptor* descriptor, const Arguments& arguments)
{
    Outcome outcome;
    u32 vid = 0;
    if (!find_vlan(descriptor, arguments, vid, outcome)) return outcome;
    struct {
        zelfdb_vlan_info info;
        u32 ports[most_ports];  // whose PVID it is
    } room{};
    if (zelfdb_get_vlan_info(vid, &room.info) != 0) return failure(ZELFDB_NO_VLAN);
    const zelfdb_vlan_info& info = room.info;
    return answer("vid " + std::to_string(info.VID) + " members " + std::to_string(info.nmember) + " untagged " +
                  std::to_string(info.nuntagged) + " pvid " + std::to_string(info.npvid) + " entries " +
                  std::to_string(info.nfil));
}

Outcome query_stream_queues(zelfdb_descriptor*, const Arguments& arguments)
{
    const Value& name = arguments.value("stream");
    u32 code = 0;
    const int result = zelfdb_check_queue_in_stream(name.numbers[0], name.numbers[1], &code);
    return answer_yes_no(result, code, ZELFDB_STREAM_HAS_QUEUE);
}

Outcome query_stream_busy(zelfdb_descriptor*, const Arguments& arguments)
{
    const Value& name = arguments.value("stream");
    const u32 stream = find_stream(name.numbers[0], name.numbers[1]);
    if (stream == most_streams) return failure(ZELFDB_NO_STREAM);
    std::vector<u32> words(3);
    u32 code = 0;
    if (zelfdb_get_stream_busy_info(stream, words.data(), &code) != 0 || code != 0)
        return failure("the network processor did not answer");
    return answer(listed(words));
}

}  // namespace zelfctl
