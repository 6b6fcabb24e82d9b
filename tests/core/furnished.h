// A database with something of everything in it: what the checks of a whole database are tried on.
#pragma once

#include <array>
#include <cstring>

#include "support/database.h"

namespace zelfdb {

class FurnishedDatabase : public Database {
public:
    using Database::base;
    using Database::d;
    using Database::fdb;
    using Database::fil;
    using Database::header;
    using Database::mac;
    using Database::port;
    using Database::vlan;

    Mac sales_static = mac(0x020000000001);
    Mac sales_system = mac(0x020000000002);
    Mac sales_learned = mac(0x020000000011);
    Mac sales_neighbour = mac(0x020000001001);  // of the bucket of sales_learned
    Mac local = mac(0x020000000021);

    Fil& entry(u16 vid, const Mac& address) { return *fil(vlan(vid)->fdb, address); }
    Fil& local_entry() { return *fil(port(1)->fdb, local); }
    Pv& pv(u16 vid, u32 port_id) { return *lookup_pv_by_port_in_a_vlan(base(), header(), *vlan(vid), *port(port_id)); }
    Stream& stream(u32 number) { return *lookup_stream(base(), header(), number); }
    Queue& queue(u32 number) { return *lookup_queue(base(), header(), number); }
    Classify& profile(u32 number) { return *lookup_classify(base(), header(), number); }
    Action& line(u32 profile_number, u32 position)
    {
        return *lookup_action(base(), header(), profile(profile_number), position);
    }
    template <class Record>
    Offset at(const Record& record)
    {
        return offset_of(base(), record);
    }

    // Made by the operations, which must succeed.
    void given_stream(u32 number) { done(zelfdb_create_stream(number, &code)); }
    void given_bound(u32 stream_number, u32 port_id, u32 sno_port)
    {
        done(zelfdb_add_stream_to_port(stream_number, port_id, sno_port, &code));
    }
    void given_queue(u32 number, i32 size = 16, u32 length = 16384)
    {
        done(zelfdb_create_queue(number, size, length, &code));
    }
    void given_attached(u32 queue_number, u32 stream_number, u32 class_no)
    {
        done(zelfdb_add_queue_to_stream(queue_number, stream_number, class_no, 1, 2, 3, &code));
    }
    void given_profile(u32 number) { done(zelfdb_create_classify_profile(number, &code)); }
    void given_line(u32 profile_number, u32 line_number = 0, const zelfdb_classify_line& content = {})
    {
        done(zelfdb_add_classify_action_to_profile(profile_number, line_number, &content, &code));
    }
    void given_bound(u32 profile_number, u32 port_id, u16 vid, const std::array<u32, 4>& words)
    {
        done(zelfdb_add_classify_profile_to_pv(profile_number, port_id, vid, words.data(), &code));
    }
    void done(int result) { EXPECT_EQ(0, result) << "code " << code; }
    u32 code = 0;

    void SetUp() override
    {
        Database::SetUp();
        given_port(1, ZELFDB_PORT_ETHER, 2);
        given_port(3);
        given_port(7, ZELFDB_PORT_VIF);
        done(zelfdb_create_port(300, 0, ZELFDB_PORT_NONE, &code));  // no look-up finds it
        given_group(5, {0x0800, 0x0806});
        given_group(6, {0x86DD});
        given_vlan(10, "sales");
        given_vlan(20, "ab");
        given_vlan(30, "ba");
        given_member(10, 1);
        given_member(10, 3);
        given_member(20, 1, true);
        given_member(20, 7);
        given_protocol_member(30, 3, 5);
        given_static(10, sales_static, 1);
        given_static(10, sales_system, 3, 0, permit_system);
        given_learned(10, sales_learned, 3, 100, 5);
        given_learned(10, sales_neighbour, 1, 200, 6);
        given_local(1, local);

        for (const u32 number : {7u, 8u, 9u}) given_stream(number);
        given_bound(7, 3, 1);
        given_bound(9, 3, 2);
        for (const u32 number : {56u, 57u, 58u, 59u}) given_queue(number);
        given_attached(57, 7, 2);
        given_attached(56, 7, 2);
        given_attached(58, 9, 0);

        given_profile(4);
        for (int i = 0; i < 3; ++i) given_line(4);
        given_profile(9);
        given_bound(4, 1, 20, {1, 2, 3, 4});
        given_bound(4, 3, 10, {});

        done(zelfdb_create_mirror(2, &code));
        done(zelfdb_set_mirror_source(2, 3, 1, 0, &code));
        done(zelfdb_set_mirror_dest(2, 7, &code));
        done(zelfdb_enable_mirror(2, &code));
        environment::reset();
        recorder::reset();
    }
};

}  // namespace zelfdb
