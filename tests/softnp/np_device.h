// An empty private device, a session with it, and one-line commands: what every test of the software NP starts from.
#pragma once

#include "softnp/command.h"
#include "softnp/softnp.h"

#include <gtest/gtest.h>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace softnp_test {

using softnp::i32;
using softnp::u16;
using softnp::u32;
using softnp::u64;
using softnp::u8;

using Mac = std::array<u8, 6>;
using Bytes = std::vector<u8>;

inline constexpr u32 CREATE = 0x800000FF;
inline constexpr u32 ETHER_FLAGS = 0x173;
inline constexpr u16 PORT_FID = 0xC000;

// One command sent alone: what vf_call returned, the verdict in the command, and its reader.
struct Sent {
    int delivered;
    int status;
    int error;
};

inline Sent send(vf_handle* handle, vf_cmd* command)
{
    Sent sent{};
    sent.delivered = vf_call(handle, 0, command, 0, 0);
    sent.status = command->status;
    sent.error = vf_rd_err(command);
    vf_cmdNFreeB(command);
    return sent;
}

class NpDevice : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, softnp_use_private());
        handle = vf_init();
        ASSERT_NE(nullptr, handle);
    }
    void TearDown() override { vf_release(handle); }

    // The error number of a command that is delivered.
    int tell(vf_cmd* command)
    {
        const Sent sent = send(handle, command);
        EXPECT_EQ(0, sent.delivered);
        EXPECT_EQ(sent.status, sent.error);
        return sent.error;
    }

    int create_port(u32 np_port, u32 p_flag = ETHER_FLAGS, u32 PVID = 0)
    {
        return tell(
            vf_mk_set_port_param(np_port, CREATE, p_flag, 1, 0, 1, 0x8100, PVID, PORT_FID + softnp_port_id(np_port)));
    }
    int create_vlan(u32 VID) { return tell(vf_mk_create_vlan(VID, VID)); }
    int join(u32 VID, u32 np_port, u32 tagged = 0)
    {
        return tell(vf_mk_add_port_vlan(VID, np_port, tagged, 0x8100, 0, 0));
    }
    int join_by_protocol(u32 VID, u32 np_port, u32 group, u32 tagged = 0)
    {
        return tell(vf_mk_add_port_vlan(VID, np_port, tagged, 0x8100, 1, group));
    }
    int leave(u32 VID, u32 np_port) { return tell(vf_mk_remove_port_vlan(VID, np_port)); }
    int set_pvid(u32 np_port, u32 PVID) { return tell(vf_mk_set_port_param(np_port, 0x20, 0, 0, 0, 0, 0, PVID, 0)); }
    int set_flags(u32 np_port, u32 p_flag) { return tell(vf_mk_set_port_flags(np_port, p_flag, 0xFFFF)); }

    int add_mac(u16 FID, const Mac& mac, int np_port, u32 cookie, u8 flag = 0)
    {
        return tell(make_add(FID, mac, np_port, cookie, flag));
    }
    static vf_cmd* make_add(u16 FID, const Mac& mac, int np_port, u32 cookie, u8 flag = 0)
    {
        vf_fdb_request request{};
        request.flag = flag;
        request.one = 1;
        request.FID = FID;
        std::copy(mac.begin(), mac.end(), request.mac);
        request.port = static_cast<softnp::i16>(np_port);
        request.port2 = request.port;
        request.cookie = cookie;
        return vf_mk_addFDB(&request, nullptr);
    }
    int remove_mac(u16 FID, const Mac& mac) { return tell(vf_mk_removeFDB(FID, mac.data())); }

    // Ports 1, 2 and 3, untagged members of VLAN 10, which is their PVID.
    void given_three_ports_in_a_vlan()
    {
        ASSERT_EQ(0, create_vlan(10));
        for (u32 np_port = 1; np_port <= 3; np_port++) {
            ASSERT_EQ(0, create_port(np_port, ETHER_FLAGS, 10));
            ASSERT_EQ(0, join(10, np_port));
        }
    }

    static softnp_verdict receive(u32 np_port, const Bytes& frame, u32 tick_ms = 1000)
    {
        softnp_verdict verdict{};
        EXPECT_EQ(0, softnp_receive(np_port, frame.data(), static_cast<u32>(frame.size()), tick_ms, &verdict));
        return verdict;
    }

    static softnp_port port(u32 np_port)
    {
        softnp_port out{};
        EXPECT_EQ(1, softnp_get_port(np_port, &out));
        return out;
    }
    static softnp_vlan vlan(u32 VID)
    {
        softnp_vlan out{};
        EXPECT_EQ(1, softnp_get_vlan(VID, &out));
        return out;
    }
    static softnp_device_counters device_counters()
    {
        softnp_device_counters out{};
        EXPECT_EQ(0, softnp_get_device_counters(&out));
        return out;
    }
    static softnp_port_counters port_counters(u32 np_port)
    {
        softnp_port_counters out{};
        EXPECT_EQ(1, softnp_get_port_counters(np_port, &out));
        return out;
    }
    static bool next_event(softnp_event& event)
    {
        const int result = softnp_next_event(&event);
        EXPECT_GE(result, 0);
        return result == 1;
    }

    vf_handle* handle = nullptr;
};

inline constexpr Mac HOST_A{0x02, 0, 0, 0, 0, 0x0A};
inline constexpr Mac HOST_B{0x02, 0, 0, 0, 0, 0x0B};
inline constexpr Mac HOST_C{0x02, 0, 0, 0, 0, 0x0C};
inline constexpr Mac BROADCAST{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

// Frames of 64 bytes. A tag stands for the four bytes of its type and control information.
inline Bytes frame_of(const Mac& destination, const Mac& source, u32 ethertype = 0x0800, size_t length = 64)
{
    Bytes frame(length);
    std::copy(destination.begin(), destination.end(), frame.begin());
    std::copy(source.begin(), source.end(), frame.begin() + 6);
    frame[12] = static_cast<u8>(ethertype >> 8);
    frame[13] = static_cast<u8>(ethertype);
    return frame;
}
inline Bytes tagged_frame(const Mac& destination, const Mac& source, u32 control, u32 tagtype = 0x8100,
                          u32 ethertype = 0x0800)
{
    Bytes frame = frame_of(destination, source, tagtype);
    frame[14] = static_cast<u8>(control >> 8);
    frame[15] = static_cast<u8>(control);
    frame[16] = static_cast<u8>(ethertype >> 8);
    frame[17] = static_cast<u8>(ethertype);
    return frame;
}

inline bool sent_by(const softnp_verdict& verdict, u32 np_port)
{
    return (verdict.egress[np_port / 32] >> (np_port % 32) & 1) != 0;
}
inline bool sent_tagged_by(const softnp_verdict& verdict, u32 np_port)
{
    return (verdict.egress_tagged[np_port / 32] >> (np_port % 32) & 1) != 0;
}

}  // namespace softnp_test
