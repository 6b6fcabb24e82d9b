// A mirror's slot has its new values at the moment when the NP is told of them.
#include "support/telling.h"

#include "mirror_test.h"

namespace zelfdb {
namespace {

const Mirror* slot_told_of = nullptr;
Mirror wanted{};

bool is_as_wanted() { return std::memcmp(slot_told_of, &wanted, sizeof wanted) == 0; }

TEST_F(MirrorTest, TheSlotIsWrittenBeforeTheNPIsToldOfIt)
{
    slot(2) = {0, 3, 0x1111, 0x2222, 0x3333, 0x4444, 0x5555, 0x6666, 0x7777, 0x8888, 0x9999};
    slot_told_of = &slot(2);
    u32 err = 0;

    wanted = {1, 0, 0x1111, 0x2222, 0, 0, 0, 0, 0, 0x8888, 0x9999};
    Telling::expect(is_as_wanted, [&] { return zelfdb_create_mirror(2, &err); });
    wanted = {1, 4, 5, 10, 0, 0, 0, 0, 0, 0x8888, 0x9999};
    Telling::expect(is_as_wanted, [&] { return zelfdb_set_mirror_source(2, 4, 5, 10, &err); });
    wanted.dest_port = 6;
    Telling::expect(is_as_wanted, [&] { return zelfdb_set_mirror_dest(2, 6, &err); });
    wanted = {1, 4, 5, 10, 6, 7, 8, 2, 0, 0x8888, 0x9999};
    Telling::expect(is_as_wanted, [&] { return zelfdb_set_mirror_classify(2, 7, 8, 2, &err); });
    wanted = {1, 4, 5, 10, 6, 7, 8, 2, 1, 0x8100, 20};
    Telling::expect(is_as_wanted, [&] { return zelfdb_set_mirror_tag(2, 1, 0x8100, 20, &err); });
    wanted.state = 3;
    Telling::expect(is_as_wanted, [&] { return zelfdb_enable_mirror(2, &err); });
    wanted.state = 1;
    Telling::expect(is_as_wanted, [&] { return zelfdb_disable_mirror(2, &err); });
    wanted.state = 0;
    Telling::expect(is_as_wanted, [&] { return zelfdb_delete_mirror(2, &err); });
}

}  // namespace
}  // namespace zelfdb
