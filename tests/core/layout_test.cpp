// Every byte of both segments, fresh and after a fixed sequence of operations, against bytes worked out by hand.
#include "core/big_endian.h"
#include "core/furnished.h"
#include "core/golden.h"
#include "core/segments.h"

namespace zelfdb {
namespace {

class LayoutBytes : public FurnishedDatabase {
protected:
    void SetUp() override { Database::SetUp(); }

    std::vector<u8> main_bytes() const
    {
        return big_endian_main(snapshot().main, header().nport, header().nvlan, header().nfil);
    }
    static void expect_golden(const std::vector<u8>& expected, const std::vector<u8>& actual)
    {
        const std::string lines = difference(expected, actual);
        EXPECT_TRUE(lines.empty()) << "differs, this is there:\n" << lines;
    }
    std::vector<u8> fdb_bytes() const { return big_endian_fdb(snapshot().fdb); }
};

TEST_F(LayoutBytes, FreshMainSegmentIsTheGoldenOneByteForByte)
{
    expect_golden(golden("fresh_main.txt"), main_bytes());
}

TEST_F(LayoutBytes, FreshFdbSegmentIsTheGoldenOneByteForByte) { expect_golden(golden("fresh_fdb.txt"), fdb_bytes()); }

// For other counts: the words that depend on them, from the sizes of the records alone.
struct Counts {
    const char* name;
    u32 nport;
    u32 nvlan;
    u32 nfil;
};

void PrintTo(const Counts& counts, std::ostream* out) { *out << counts.name; }

class LayoutFor : public Database, public testing::WithParamInterface<Counts> {
protected:
    LayoutFor() : Database(GetParam().nport, GetParam().nvlan, GetParam().nfil) {}
    u32 word(u32 offset) const { return *reinterpret_cast<const u32*>(base().bytes + offset); }
};

TEST_P(LayoutFor, FreeListsStartAtTheHighestRecordOfTheirPool)
{
    const auto [name, nport, nvlan, nfil] = GetParam();
    const u32 port = 0x199B0 + nfil * 44;
    const u32 stream = port + nport * 1324;
    const u32 queue = stream + 1024 * 288;
    const u32 vlan = queue + 8192 * 64;
    const u32 phport = vlan + nvlan * 1576;
    const u32 classify = phport + 4 * 24;
    const u32 action = classify + 64 * 24;
    const u32 end = action + 16384 * 132;
    EXPECT_EQ(nport, word(0x00000));
    EXPECT_EQ(nvlan, word(0x00004));
    EXPECT_EQ(nfil, word(0x00008));
    EXPECT_EQ(stream - 1324, word(0x00030));
    EXPECT_EQ(phport + 3 * 24, word(0x08358));
    EXPECT_EQ(0xFFFFFFFFu, word(0x0835C));
    EXPECT_EQ(queue - 288, word(0x08378));
    EXPECT_EQ(vlan - 64, word(0x09384));
    EXPECT_EQ(65536u, word(0x11388));
    EXPECT_EQ(phport - 1576, word(0x11394));
    EXPECT_EQ((nfil - 1) * 44, word(0x19798));
    EXPECT_EQ(action - 24, word(0x197AC));
    EXPECT_EQ(end - 132, word(0x197B0));
    EXPECT_EQ(0x2F2010 + nport * 1324 + nvlan * 1576 + nfil * 44, end);
    EXPECT_EQ(end, layout_of(nport, nvlan, nfil).end);
}

INSTANTIATE_TEST_SUITE_P(Counts, LayoutFor,
                         testing::Values(Counts{"one_of_each", 1, 1, 1}, Counts{"few", 8, 6, 32},
                                         Counts{"a_switch", 64, 256, 8192},
                                         Counts{"all_that_ids_reach", 199, 4094, 65536}),
                         [](const testing::TestParamInfo<Counts>& counts) { return counts.param.name; });

TEST(LayoutSize, Of64Ports256VlansAnd8192EntriesIs3937040Bytes) { EXPECT_EQ(3937040u, layout_of(64, 256, 8192).end); }

TEST(LayoutSize, OfNothingIsTheHeaderAndTheFixedPools)
{
    EXPECT_EQ(0x199B0u, layout_of(0, 0, 0).fil_reserve);
    EXPECT_EQ(0x2F2010u, layout_of(0, 0, 0).end);
}

TEST_F(LayoutBytes, ANewFilteringDatabaseIsEmpty)
{
    struct {
        FdbHead fdb;
        u8 behind[4];
    } memory;
    std::memset(&memory, 0x5A, sizeof memory);
    init_fdb(nullptr, memory.fdb, 4, 0xABCD);

    std::vector<u32> expected(263, 0xFFFFFFFF);
    const u32 fixed[7] = {0xABCD, 4, 0, 0, 0, 0, 0};
    std::copy(std::begin(fixed), std::end(fixed), expected.begin());
    std::vector<u32> words(263);
    std::memcpy(words.data(), &memory.fdb, sizeof memory.fdb);
    EXPECT_EQ(expected, words);
    EXPECT_THAT(memory.behind, testing::Each(0x5A));
}

// One of everything, made, changed and partly unmade, at a time and with ticks that do not move.
class WorkedLayout : public LayoutBytes {
protected:
    void work()
    {
        environment::set_time_s(0x65432100);
        make_ports();
        make_vlans();
        make_entries();
        make_streams();
        make_queues();
        make_profile();
        make_mirror();
        unmake();
    }

    void make_ports()
    {
        done(zelfdb_create_port(1, 2, ZELFDB_PORT_ETHER, &code));
        done(zelfdb_create_port(101, 9, ZELFDB_PORT_VIF, &code));
        done(zelfdb_create_port(5, 0, ZELFDB_PORT_NONE, &code));
        done(zelfdb_set_ph_shaping(2, 0x11223344, 0x55667788, &code));
        done(zelfdb_enable_port(1, &code));
        const zelfdb_port_param param{0, 0, 5, 0, 0, 0, 0};
        done(zelfdb_set_param_to_port(1, &param, 60, 1, 0x00C4, 0, &code));
        done(zelfdb_set_port_class_policing(1, 7, 0x0A0B0C0D, 0x01020304, 2, &code));
        const u32 cosmap[8] = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17};
        done(zelfdb_set_port_cosmap(1, 0x81, cosmap, &code));
        done(zelfdb_set_port_bandwidth_calc_mode(1, 1, &code));
        done(zelfdb_set_default_class(1, 3, 4, 2, &code));
        done(zelfdb_set_link_mode(101, 2, &code));
        done(zelfdb_set_link_depend(101, 0, 3, &code));
    }

    void make_vlans()
    {
        given_vlan(10, "sales");
        given_vlan(20, "ab");
        given_vlan(15, "ba");
        done(zelfdb_set_vlan_sld(10, 1, &code));
        done(zelfdb_set_vlan_learninglimit(10, 50, &code));
        done(zelfdb_create_protgroup(0x0305, &code));
        done(zelfdb_add_prot_to_group(0x0800, 0x0305, &code));
        done(zelfdb_add_prot_to_group(0x0806, 0x0305, &code));
        given_member(10, 1);
        given_member(20, 1, true, 0x9100);
        given_protocol_member(10, 5, 0x0305);
        given_member(20, 101);
        done(zelfdb_set_uplink_flag(101, 1, &code));
    }

    void make_entries()
    {
        done(zelfdb_set_fdb_userarea(9, &code));
        given_static(10, mac(0x020406080A0C), 1, 0x12);
        given_static(10, mac(0x0C0A08060402), 0, 0x4, permit_system);
        done(zelfdb_set_port_link_frames(1, 1, 0, &code));
        done(zelfdb_set_port_link_frames(1, 3, 1, &code));
        learn(mac(0x020406080A0D), 0x01020304);
        learn(mac(0x040206080A0C), 0x05060708);  // goes in front of the two static ones
    }

    void learn(const Mac& station, u32 tick_ms)
    {
        const FrameBytes frame = untagged_frame(station);
        const zelfdb_learn_ind event = indication(1, tick_ms);
        done(zelfdb_add_dfil_by_learn_ind(&d(), &frame, &event));
    }

    void make_streams()
    {
        given_stream(3);
        given_bound(3, 1, 4);
        given_stream(2);
        given_bound(2, 1, 3);
        done(zelfdb_set_stream_priority(2, 9, &code));
        done(zelfdb_set_shaping_in_stream(3, 1000, 8000, 3000, 9000, &code));
        done(zelfdb_set_qostype_in_stream(3, 1, 5, 6, &code));
        done(zelfdb_set_red_in_stream(3, 1, 2, 10, 20, 30, 40, &code));
        const u32 values[8] = {0xBB};
        const u32 masks[8] = {0xFC};
        done(zelfdb_set_stream_tosmap(3, 1, values, masks, &code));
    }

    void make_queues()
    {
        given_queue(25, 100, 0x4000);
        given_queue(24, 50, 0x2000);
        done(zelfdb_add_queue_to_stream(25, 3, 1, 1, 5, 20, &code));
        done(zelfdb_add_queue_to_stream(24, 3, 1, 2, 6, 30, &code));
    }

    void make_profile()
    {
        zelfdb_classify_line by_address{};
        by_address.mode = 1;
        by_address.stream_id = 2;
        by_address.class_id = 3;
        by_address.colour = 1;
        by_address.flags = 0x22;
        by_address.vlan = {10, 0, 0xFFFF, 0};
        by_address.src_ip = {0x0A000001, 0, 0xFFFFFF00, 0};
        zelfdb_classify_line by_port{};
        by_port.mode = 2;
        by_port.stream_id = 0x0102;
        by_port.class_id = 7;
        by_port.colour = 2;
        by_port.flags = 0x01000100;
        by_port.dst_port = {80, 90, 0xFFFF, 1};
        by_port.ext[0] = {0x11223344, 0xFFFFFFFF};
        given_profile(7);
        given_line(7, 0, by_address);
        given_line(7, 1, by_port);  // goes before it
        given_bound(7, 1, 20, {0x00010001, 0x00020004, 0, 0});
    }

    void make_mirror()
    {
        done(zelfdb_create_mirror(2, &code));
        done(zelfdb_set_mirror_source(2, 2, 1, 10, &code));
        done(zelfdb_set_mirror_dest(2, 101, &code));
        done(zelfdb_set_mirror_classify(2, 4, 5, 1, &code));
        done(zelfdb_set_mirror_tag(2, 1, 0x8100, 99, &code));
        done(zelfdb_enable_mirror(2, &code));
    }

    void unmake()
    {
        done(zelfdb_delete_vlan(15, &code));
        done(zelfdb_rem_port_from_vlan(10, 5, &code));
        done(zelfdb_delete_port(5, &code));
        done(zelfdb_delete_sfil(10, mac(0x020406080A0C).byte, 0, &code));
    }
};

TEST_F(WorkedLayout, MainSegmentIsTheGoldenOneByteForByte)
{
    work();
    expect_golden(golden("worked_main.txt"), main_bytes());
}

TEST_F(WorkedLayout, FdbSegmentIsTheGoldenOneByteForByte)
{
    work();
    expect_golden(golden("worked_fdb.txt"), fdb_bytes());
}

TEST(Golden, FilesSayWhatTheyDiffer)
{
    const std::vector<u8> image{0, 1, 2, 3, 0, 0, 0, 0, 9, 9, 9, 9};
    std::vector<u8> other = image;
    EXPECT_EQ("", difference(image, other));
    other[5] = 0xAB;
    EXPECT_EQ("at 0x4  00AB0000\n", difference(image, other));
    other.pop_back();
    EXPECT_EQ("11 bytes, not 12\n", difference(image, other));
}

}  // namespace
}  // namespace zelfdb
