// The port commands: what they store, and when they are refused.
#include "np_device.h"

using namespace softnp_test;

using Ports = NpDevice;

TEST_F(Ports, CreationStoresAllValues)
{
    ASSERT_EQ(0, tell(vf_mk_set_port_param(74, CREATE, 0x232, 2, 3, 9, 0x9100, 77, 0xC0A4)));
    const softnp_port stored = port(74);
    EXPECT_EQ(SOFTNP_PORT_NEW, static_cast<int>(stored.state));
    EXPECT_EQ(0x232, stored.p_flag);
    EXPECT_EQ(2, stored.p_type);
    EXPECT_EQ(3, stored.pri);
    EXPECT_EQ(9, stored.phport);
    EXPECT_EQ(0x9100, stored.tagtype);
    EXPECT_EQ(77, stored.PVID);
    EXPECT_EQ(0xC0A4, stored.FID);
    EXPECT_EQ(0u, stored.binding_count);
    EXPECT_EQ(1u, device_counters().ports);
}

TEST_F(Ports, CreationIsRefused)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, create_vlan(10));
    const struct {
        u32 np_port;
        u32 FID;
        int error;
    } rows[] = {
        {SOFTNP_NO_PORT, 0xC032, SOFTNP_ERR_UNMAPPED_PORT},
        {0, 0xC002, SOFTNP_ERR_NO_PORT},
        {75, 0xC002, SOFTNP_ERR_NO_PORT},
        {1, 0xC001, SOFTNP_ERR_PORT_EXISTS},
        {1, 0x10000, SOFTNP_ERR_PORT_EXISTS},  // the port counts before the value
        {2, 0x10000, SOFTNP_ERR_BAD_VALUE},
        {2, 0xC001, SOFTNP_ERR_FID_IN_USE},
        {2, 10, SOFTNP_ERR_FID_IN_USE},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.error, tell(vf_mk_set_port_param(row.np_port, CREATE, 0, 1, 0, 1, 0x8100, 0, row.FID)))
            << row.np_port << " " << row.FID;
    EXPECT_EQ(1u, device_counters().ports);
}

TEST_F(Ports, AllThatTheDeviceHasCanBeCreated)
{
    for (u32 np_port = 1; np_port <= SOFTNP_PORTS; np_port++) EXPECT_EQ(0, create_port(np_port)) << np_port;
    EXPECT_EQ(SOFTNP_PORTS, device_counters().ports);
}

// Every command that needs an existing port, for ports that do not.
TEST_F(Ports, CommandsForAPortThatIsNotThereAreRefused)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, create_vlan(10));
    const u32 map[8] = {};
    const struct {
        u32 np_port;
        int error;
    } rows[] = {{SOFTNP_NO_PORT, SOFTNP_ERR_UNMAPPED_PORT},
                {0, SOFTNP_ERR_NO_PORT},
                {2, SOFTNP_ERR_NO_PORT},
                {75, SOFTNP_ERR_NO_PORT},
                {0xFFFFFFFE, SOFTNP_ERR_NO_PORT}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.error, tell(vf_mk_set_port_param(row.np_port, 0x20, 0, 0, 0, 0, 0, 1, 0)));
        EXPECT_EQ(row.error, tell(vf_mk_set_port_param(row.np_port, 0x10, 0, 0, 0, 0, 1, 0, 0)));
        EXPECT_EQ(row.error, tell(vf_mk_delete_port(row.np_port)));
        EXPECT_EQ(row.error, tell(vf_mk_enable_port(row.np_port)));
        EXPECT_EQ(row.error, tell(vf_mk_disable_port(row.np_port)));
        EXPECT_EQ(row.error, tell(vf_mk_set_port_flags(row.np_port, 1, 1)));
        EXPECT_EQ(row.error, tell(vf_mk_set_class_policing(row.np_port, 0, 1, 1, 1)));
        EXPECT_EQ(row.error, tell(vf_mk_set_cosmap(row.np_port, 0, map)));
        EXPECT_EQ(row.error, tell(vf_mk_set_bandwidth_calc_mode(row.np_port, 1)));
        EXPECT_EQ(row.error, tell(vf_mk_set_def_class(row.np_port, 1, 1, 1)));
        EXPECT_EQ(row.error, tell(vf_mk_add_port_vlan(10, row.np_port, 0, 0x8100, 0, 0)));
        EXPECT_EQ(row.error, tell(vf_mk_remove_port_vlan(10, row.np_port)));
    }
    EXPECT_EQ(60u, device_counters().commands_refused);
}

TEST_F(Ports, MaskSelectsPvidAndTagType)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_set_port_param(1, 0x20, 0xFFFF, 9, 9, 9, 0x1111, 20, 9)));
    EXPECT_EQ(20, port(1).PVID);
    EXPECT_EQ(0x8100, port(1).tagtype);
    ASSERT_EQ(0, tell(vf_mk_set_port_param(1, 0x10, 0xFFFF, 9, 9, 9, 0x9100, 30, 9)));
    EXPECT_EQ(20, port(1).PVID);
    EXPECT_EQ(0x9100, port(1).tagtype);
    ASSERT_EQ(0, tell(vf_mk_set_port_param(1, 0x30, 0xFFFF, 9, 9, 9, 0x9200, 0xFFFF, 9)));
    EXPECT_EQ(0xFFFF, port(1).PVID);
    EXPECT_EQ(0x9200, port(1).tagtype);
    EXPECT_EQ(ETHER_FLAGS, port(1).p_flag);
    EXPECT_EQ(0xC001, port(1).FID);
}

TEST_F(Ports, OtherMasksAreRefused)
{
    ASSERT_EQ(0, create_port(1));
    for (const u32 mask : {0u, 1u, 0x31u, 0xFFu, 0x80000000u, 0x800000FEu})
        EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_port_param(1, mask, 0, 0, 0, 0, 1, 1, 1))) << mask;
    EXPECT_EQ(0x8100, port(1).tagtype);
}

TEST_F(Ports, FlagsChangeWhereTheMaskSays)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_set_port_flags(1, 0x170, 7)));
    EXPECT_EQ(0x170, port(1).p_flag);
    ASSERT_EQ(0, tell(vf_mk_set_port_flags(1, 0xFFFF, 0x3000)));
    EXPECT_EQ(0x3170, port(1).p_flag);
    ASSERT_EQ(0, tell(vf_mk_set_port_flags(1, 0, 0)));
    EXPECT_EQ(0x3170, port(1).p_flag);
    ASSERT_EQ(0, tell(vf_mk_set_port_flags(1, 0xFFFF0001, 0xFFFF0001)));
    EXPECT_EQ(0x3171, port(1).p_flag);
}

TEST_F(Ports, EnableAndDisableMayBeRepeated)
{
    ASSERT_EQ(0, create_port(1));
    for (int round = 0; round < 2; round++) {
        EXPECT_EQ(0, tell(vf_mk_enable_port(1)));
        EXPECT_EQ(0, tell(vf_mk_enable_port(1)));
        EXPECT_EQ(SOFTNP_PORT_ENABLED, static_cast<int>(port(1).state));
        EXPECT_EQ(0, tell(vf_mk_disable_port(1)));
        EXPECT_EQ(0, tell(vf_mk_disable_port(1)));
        EXPECT_EQ(SOFTNP_PORT_DISABLED, static_cast<int>(port(1).state));
    }
}

TEST_F(Ports, SettingsAreStored)
{
    ASSERT_EQ(0, create_port(1));
    const u32 map[8] = {8, 7, 6, 5, 4, 3, 2, 0xFFFFFFFF};
    ASSERT_EQ(0, tell(vf_mk_set_class_policing(1, 0, 1, 2, 0)));
    ASSERT_EQ(0, tell(vf_mk_set_class_policing(1, 7, 0xFFFFFFFF, 3, 2)));
    ASSERT_EQ(0, tell(vf_mk_set_cosmap(1, 0xFF, map)));
    ASSERT_EQ(0, tell(vf_mk_set_bandwidth_calc_mode(1, 5)));
    ASSERT_EQ(0, tell(vf_mk_set_def_class(1, 6, 7, 2)));
    const softnp_port stored = port(1);
    EXPECT_EQ(1u, stored.policing[0].rate);
    EXPECT_EQ(2u, stored.policing[0].burst);
    EXPECT_EQ(0u, stored.policing[0].color);
    EXPECT_EQ(0u, stored.policing[1].rate);
    EXPECT_EQ(0xFFFFFFFFu, stored.policing[7].rate);
    EXPECT_EQ(3u, stored.policing[7].burst);
    EXPECT_EQ(2u, stored.policing[7].color);
    EXPECT_EQ(0xFFu, stored.valbit);
    EXPECT_EQ(std::vector<u32>(map, map + 8), std::vector<u32>(stored.cosmap, stored.cosmap + 8));
    EXPECT_EQ(5u, stored.bandwidth_calc_mode);
    EXPECT_EQ(6u, stored.def_spno);
    EXPECT_EQ(7u, stored.def_pri);
    EXPECT_EQ(2u, stored.def_color);
}

TEST_F(Ports, PolicingHasEightClasses)
{
    ASSERT_EQ(0, create_port(1));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_class_policing(1, 8, 1, 1, 1)));
    EXPECT_EQ(SOFTNP_ERR_BAD_VALUE, tell(vf_mk_set_class_policing(1, 0xFFFFFFFF, 1, 1, 1)));
}

TEST_F(Ports, FourPhysicalPortsAreShaped)
{
    softnp_phport stored{};
    for (u32 phport = 1; phport <= SOFTNP_PHPORTS; phport++) {
        EXPECT_EQ(0, tell(vf_mk_set_ph_shaping(phport, 100 + phport, 200 + phport)));
        ASSERT_EQ(1, softnp_get_phport(phport, &stored));
        EXPECT_EQ(100 + phport, stored.shaping_rate);
        EXPECT_EQ(200 + phport, stored.shaping_param2);
    }
    for (const u32 phport : {0u, 5u, 0xFFFFFFFFu}) {
        EXPECT_EQ(SOFTNP_ERR_NO_PHPORT, tell(vf_mk_set_ph_shaping(phport, 1, 1)));
        EXPECT_EQ(0, softnp_get_phport(phport, &stored));
    }
}

TEST_F(Ports, DeletionIsRefusedWhileAMember)
{
    given_three_ports_in_a_vlan();
    EXPECT_EQ(SOFTNP_ERR_PORT_IN_USE, tell(vf_mk_delete_port(2)));
    EXPECT_EQ(0, leave(10, 2));
    EXPECT_EQ(0, tell(vf_mk_delete_port(2)));
    EXPECT_EQ(SOFTNP_ERR_NO_PORT, tell(vf_mk_delete_port(2)));
    softnp_port gone{};
    EXPECT_EQ(0, softnp_get_port(2, &gone));
}

TEST_F(Ports, ADeletedPortIsCreatedAnew)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, tell(vf_mk_set_def_class(1, 6, 7, 2)));
    ASSERT_EQ(0, tell(vf_mk_disable_port(1)));
    ASSERT_EQ(0, tell(vf_mk_delete_port(1)));
    ASSERT_EQ(0, create_port(1));
    EXPECT_EQ(0u, port(1).def_spno);
    EXPECT_EQ(SOFTNP_PORT_NEW, static_cast<int>(port(1).state));
}

// The library removes a port's local entries after the port.
TEST_F(Ports, EntriesOutliveTheirPortAndCanBeRemoved)
{
    ASSERT_EQ(0, create_port(1));
    ASSERT_EQ(0, add_mac(0xC001, HOST_A, -1, 1));
    ASSERT_EQ(0, tell(vf_mk_delete_port(1)));
    EXPECT_EQ(SOFTNP_ERR_NO_FID, add_mac(0xC001, HOST_B, -1, 2));
    EXPECT_EQ(0, remove_mac(0xC001, HOST_A));
}

TEST_F(Ports, NumbersMapBothWays)
{
    const struct {
        u32 port_id;
        u32 np_port;
    } rows[] = {{0, SOFTNP_NO_PORT},
                {1, 1},
                {10, 10},
                {11, SOFTNP_NO_PORT},
                {100, SOFTNP_NO_PORT},
                {101, 11},
                {164, 74},
                {165, SOFTNP_NO_PORT},
                {199, SOFTNP_NO_PORT},
                {105, 15},
                {0xFFFFFFFF, SOFTNP_NO_PORT}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.np_port, softnp_np_port(row.port_id)) << row.port_id;
        if (row.np_port != SOFTNP_NO_PORT) {
            EXPECT_EQ(row.port_id, softnp_port_id(row.np_port));
        }
    }
    for (const u32 np_port : {0u, 75u, 0xFFFFFFFFu}) EXPECT_EQ(SOFTNP_NO_PORT, softnp_port_id(np_port)) << np_port;
}
