// Loop detection, learning limit, ignoring the FDB, learning off: for one VLAN or for all.
#include <climits>

#include "support/exported.h"

namespace zelfdb {
namespace {

// The four setters as one kind of call.
struct Setter {
    const char* name;
    std::function<int(u32 vid, u32 value, u32* err)> set;
    u16 flag;              // of vlan_flag; 0 = the learning limit
    const char* on_in_NP;  // value and selector as they are sent; null = nothing is sent
    const char* off_in_NP;
};

const Setter setters[] = {
    {"sld", [](u32 vid, u32 on, u32* err) { return zelfdb_set_vlan_sld(static_cast<i32>(vid), on, err); }, 0x2, nullptr,
     nullptr},
    {"learninglimit",
     [](u32 vid, u32 limit, u32* err) { return zelfdb_set_vlan_learninglimit(static_cast<i32>(vid), limit, err); }, 0,
     nullptr, nullptr},
    {"ignore_fdb", [](u32 vid, u32 on, u32* err) { return zelfdb_set_vlan_ignore_fdb(vid, on, err); }, 0x4, "1, 0xfe",
     "0, 0xfe"},
    {"learning_off", [](u32 vid, u32 on, u32* err) { return zelfdb_set_vlan_learning_off(vid, on, err); }, 0x8,
     "2, 0xfd", "0, 0xfd"},
};

class VlanSettings : public Exported {
protected:
    static Outcome set(const Setter& setter, u32 vid, u32 value)
    {
        u32 err = untouched;
        recorder::log().clear();
        const int result = setter.set(vid, value, &err);
        return {result, err, sent()};
    }
    // What the setter makes of a VLAN.
    static void apply(const Setter& setter, Vlan& vlan, u32 value)
    {
        if (setter.flag == 0) {
            vlan.fdb.learnlimit = value;
        } else {
            vlan.vlan_flag =
                static_cast<u16>(value != 0 ? vlan.vlan_flag | setter.flag : vlan.vlan_flag & ~setter.flag);
        }
    }
    static Commands told(const Setter& setter, std::vector<const char*> vids, u32 value)
    {
        Commands commands;
        const char* const text = value != 0 ? setter.on_in_NP : setter.off_in_NP;
        for (const char* const vid : vids) {
            if (text) commands.push_back(std::string("set_vl_flag(") + vid + ", " + text + ")");
        }
        return commands;
    }
};

TEST_F(VlanSettings, ChangeOneVlanAloneAndOneBitOfItsFlags)
{
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    for (const Setter& setter : setters) {
        SCOPED_TRACE(setter.name);
        for (const u16 flags : {u16{0}, u16{0xFFFF}}) {
            vlan(20)->vlan_flag = flags;
            for (const u32 value : {1u, 0u, 2u, 0x80000000u, 0u}) {
                Expected after = now();
                apply(setter, after.of(*vlan(20)), value);
                EXPECT_EQ(set(setter, 20, value), done_preset(told(setter, {"0x14"}, value))) << value;
                EXPECT_TRUE(after.is_now());
            }
        }
        vlan(20)->vlan_flag = 0;
    }
}

TEST_F(VlanSettings, AVidIsLookedUpByItsLowHalf)
{
    given_vlan(10, "ten");
    for (const Setter& setter : setters) {
        SCOPED_TRACE(setter.name);
        EXPECT_EQ(set(setter, 0x7FFF000A, 1), done_preset(told(setter, {"0xa"}, 1)));
        EXPECT_EQ(set(setter, 0xFFFF000A, 0), done_preset(told(setter, {"0xa"}, 0)));
    }
}

// A VID that is not zero is one VLAN's, even if its low half is zero.
TEST_F(VlanSettings, AnUnknownVidIsRefusedAndNothingChanges)
{
    given_vlan(10, "ten");
    const Expected unchanged = now();
    for (const Setter& setter : setters) {
        SCOPED_TRACE(setter.name);
        for (const u32 vid : {11u, 4095u, 8191u, 8192u, 0xFFFFu, 0x10000u, 0x1000Bu, 0x80000000u, 0xFFFFFFFFu}) {
            EXPECT_EQ(set(setter, vid, 1), refused(103)) << vid;
        }
    }
    EXPECT_TRUE(unchanged.is_now());
}

TEST_F(VlanSettings, ZeroIsEveryVlanButTheNPIsNotToldOfTheLast)
{
    given_vlan(300, "c");
    given_vlan(10, "a");
    given_vlan(20, "b");
    for (const Setter& setter : setters) {
        SCOPED_TRACE(setter.name);
        for (const u32 value : {1u, 0u}) {
            Expected after = now();
            for (const u32 vid : {10u, 20u, 300u}) apply(setter, after.of(*vlan(vid)), value);
            EXPECT_EQ(set(setter, 0, value), done_preset(told(setter, {"0xa", "0x14"}, value)));
            EXPECT_TRUE(after.is_now());
        }
    }
}

TEST_F(VlanSettings, ZeroWithOneVlanChangesItAndTellsTheNPNothing)
{
    given_vlan(10, "ten");
    for (const Setter& setter : setters) {
        SCOPED_TRACE(setter.name);
        Expected after = now();
        apply(setter, after.of(*vlan(10)), 1);
        EXPECT_EQ(set(setter, 0, 1), done_preset());
        EXPECT_TRUE(after.is_now());
    }
}

TEST_F(VlanSettings, ZeroWithoutAnyVlanSucceeds)
{
    const Expected unchanged = now();
    for (const Setter& setter : setters) EXPECT_EQ(set(setter, 0, 1), done_preset()) << setter.name;
    EXPECT_TRUE(unchanged.is_now());
}

// The last VLAN in the order of VIDs is told like any other when it is asked for by name.
TEST_F(VlanSettings, TheLastVlanAloneIsToldToTheNP)
{
    given_vlan(10, "ten");
    given_vlan(4094, "last");
    EXPECT_EQ(call(zelfdb_set_vlan_ignore_fdb, 4094, 1), done_preset({"set_vl_flag(0xffe, 1, 0xfe)"}));
    EXPECT_EQ(call(zelfdb_set_vlan_learning_off, 4094, 7), done_preset({"set_vl_flag(0xffe, 2, 0xfd)"}));
}

TEST_F(VlanSettings, ALearningLimitTakesAnyValueAndRemovesNoEntry)
{
    Vlan& vlan = given_vlan(10, "ten");
    for (u64 i = 1; i <= 3; ++i) given_learned(10, mac(i), 1);
    for (const u32 limit : {1u, 0xFFFFFFFFu, 0u}) {
        EXPECT_EQ(call(zelfdb_set_vlan_learninglimit, 10, limit), done_preset());
        EXPECT_EQ(vlan.fdb.learnlimit, limit);
        EXPECT_EQ(vlan.fdb.nfil, 3u);
    }
}

}  // namespace
}  // namespace zelfdb
