// Replay of mirrors.
#include "replay/replay_test.h"

namespace zelfdb {
namespace {

class ReplayedMirrors : public ReplayTest {
protected:
    Lines mirrors() { return lines_of(zelfdb_reconfig_mirror); }
    Mirror& given_mirror(u32 id)
    {
        EXPECT_EQ(call(zelfdb_create_mirror, id).result, 0);
        return header().mirror[id - 1];
    }
};

TEST_F(ReplayedMirrors, NoMirrorNoLineWhateverItsSlotHolds)
{
    EXPECT_EQ(mirrors(), Lines{});
    given_mirror(1);
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 1, 7).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_tag, 1, 1, 0x8100, 9).result, 0);
    EXPECT_EQ(call(zelfdb_delete_mirror, 1).result, 0);
    EXPECT_EQ(header().mirror[0].tag_VID, 9u);
    EXPECT_EQ(mirrors(), Lines{});
    for (Mirror& mirror : header().mirror) mirror = {0xFFFE, 5, 1, 10, 2, 1, 1, 1, 1, 0x8100, 9};
    EXPECT_EQ(mirrors(), Lines{});
    expect_damage();
}

TEST_F(ReplayedMirrors, UntouchedMirrorsAscend)
{
    given_mirror(4);
    given_mirror(1);
    EXPECT_EQ(mirrors(), (Lines{"create mirror 1", "create mirror 4"}));
}

TEST_F(ReplayedMirrors, EachKindOfSource)
{
    given_vlan(10, "ten");
    Mirror& mirror = given_mirror(2);
    struct Row {
        u16 kind;
        Lines lines;
    };
    const Row rows[] = {
        {0, {"create mirror 2"}},
        {1, {"create mirror 2", "set mirror 2 source port 101 in"}},
        {2, {"create mirror 2", "set mirror 2 source port 101 in vlan ten"}},
        {3, {"create mirror 2", "set mirror 2 source port 101 out"}},
        {4, {"create mirror 2", "set mirror 2 source port 101 out vlan ten"}},
        {5, {"create mirror 2", "set mirror 2 source vlan ten"}},
        {6, {"create mirror 2"}},
        {0xFFFF, {"create mirror 2"}},
    };
    for (const Row& row : rows) {
        mirror.source_kind = row.kind;
        mirror.source_port = 101;
        mirror.source_VID = 10;
        EXPECT_EQ(mirrors(), row.lines) << row.kind;
    }
}

TEST_F(ReplayedMirrors, ASourceWhoseVLANWasDeletedIsLeftOutAndTheRestIsNot)
{
    given_vlan(10, "ten");
    given_vlan(20, "twenty");
    for (const u32 id : {1u, 2u, 3u, 4u}) {
        given_mirror(id);
        EXPECT_EQ(call(zelfdb_set_mirror_dest, id, 7).result, 0);
    }
    EXPECT_EQ(call(zelfdb_set_mirror_source, 1, 2, 101, 10).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 2, 4, 101, 10).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 3, 5, 101, 10).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 4, 1, 101, 10).result, 0);
    EXPECT_EQ(call(zelfdb_delete_vlan, 10).result, 0);
    EXPECT_EQ(mirrors(), (Lines{"create mirror 1", "set mirror 1 dest port 7", "create mirror 2",
                                "set mirror 2 dest port 7", "create mirror 3", "set mirror 3 dest port 7",
                                "create mirror 4", "set mirror 4 source port 101 in", "set mirror 4 dest port 7"}));
}

TEST_F(ReplayedMirrors, EachSettingAlone)
{
    Mirror& mirror = given_mirror(3);
    const Mirror untouched_mirror = mirror;
    struct Row {
        const char* what;
        std::function<void(Mirror&)> edit;
        Lines lines;  // after the creation line
    };
    const auto classify = [](u16 class_no, u16 second, u16 colour) {
        return [=](Mirror& m) {
            m.classify_class = class_no;
            m.classify_second = second;
            m.classify_colour = colour;
        };
    };
    const auto tag = [](u16 on, u16 tagtype, u16 vid) {
        return [=](Mirror& m) {
            m.tag_on = on;
            m.tag_tagtype = tagtype;
            m.tag_VID = vid;
        };
    };
    const Row rows[] = {
        {"destination", [](Mirror& m) { m.dest_port = 0xFFFF; }, {"set mirror 3 dest port 65535"}},
        {"class 0/0/green", classify(0, 0, 0), {}},
        {"class", classify(7, 0, 0), {"set mirror 3 classify 8/0/green"}},
        {"second value", classify(0, 5, 0), {"set mirror 3 classify 1/5/green"}},
        {"yellow", classify(0, 0, 1), {"set mirror 3 classify 1/0/yellow"}},
        {"red", classify(0, 0, 2), {"set mirror 3 classify 1/0/red"}},
        {"beyond the colours", classify(0, 0, 3), {"set mirror 3 classify 1/0/"}},
        {"far beyond", classify(0xFFFF, 0xFFFF, 0xFFFF), {"set mirror 3 classify 65536/65535/"}},
        {"no tag", tag(0, 0x88A8, 9), {}},
        {"tag", tag(1, 0x8100, 9), {"set mirror 3 tag on vid 9"}},
        {"tag, not one", tag(0x100, 0x8100, 0), {"set mirror 3 tag on vid 0"}},
        {"tag of another type", tag(1, 0x88A8, 0xFFFF), {"set mirror 3 tag on tagtype 88a8 vid 65535"}},
        {"tag of type 0", tag(1, 0, 9), {"set mirror 3 tag on tagtype 0 vid 9"}},
        {"enabled", [](Mirror& m) { m.state = 0x3; }, {"enable mirror 3"}},
        {"other state bits", [](Mirror& m) { m.state = 0xFFFD; }, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        mirror = untouched_mirror;
        row.edit(mirror);
        Lines expected{"create mirror 3"};
        expected.insert(expected.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(mirrors(), expected);
    }
    mirror = untouched_mirror;
}

TEST_F(ReplayedMirrors, EverythingAtOnceThroughTheAPI)
{
    given_vlan(10, "ten");
    given_mirror(4);
    EXPECT_EQ(call(zelfdb_set_mirror_source, 4, 4, 3, 10).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_dest, 4, 5).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_classify, 4, 1, 2, 2).result, 0);
    EXPECT_EQ(call(zelfdb_set_mirror_tag, 4, 1, 0x9100, 99).result, 0);
    EXPECT_EQ(call(zelfdb_enable_mirror, 4).result, 0);
    EXPECT_EQ(mirrors(),
              (Lines{"create mirror 4", "set mirror 4 source port 3 out vlan ten", "set mirror 4 dest port 5",
                     "set mirror 4 classify 2/2/red", "set mirror 4 tag on tagtype 9100 vid 99", "enable mirror 4"}));
}

}  // namespace
}  // namespace zelfdb
