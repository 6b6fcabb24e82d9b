// Physical ports.
#include "support/exported.h"

namespace zelfdb {
namespace {

class PhysicalPort : public Exported {};

TEST_F(PhysicalPort, IsReadWithItsShaping)
{
    for (u32 id = 1; id <= 4; ++id) {
        zelfdb_phinfo info{9, 9, 9};
        EXPECT_EQ(call(zelfdb_get_phinfo, id, &info), done());
        EXPECT_EQ(info.phport, id);
        EXPECT_EQ(info.shaping_rate, 0u);
        EXPECT_EQ(info.shaping_param2, 0u);
    }
    EXPECT_EQ(call(zelfdb_set_ph_shaping, 4, 100000, 8000).result, 0);
    zelfdb_phinfo info{};
    EXPECT_EQ(call(zelfdb_get_phinfo, 4, &info), done());
    EXPECT_EQ(info.shaping_rate, 100000u);
    EXPECT_EQ(info.shaping_param2, 8000u);
}

// 0 too, although its slot of the index is the free list's head.
TEST_F(PhysicalPort, OnlyOneToFourExist)
{
    for (const u32 id : {0u, 5u, 255u, 0x10001u, 0xFFFFFFFFu}) {
        zelfdb_phinfo info{7, 8, 9};
        EXPECT_TRUE(refuses(108, zelfdb_get_phinfo, id, &info)) << id;
        EXPECT_EQ(info.phport, 7u);
        EXPECT_EQ(info.shaping_rate, 8u);
        EXPECT_EQ(info.shaping_param2, 9u);
        EXPECT_TRUE(refuses(108, zelfdb_set_ph_shaping, id, 1, 2)) << id;
    }
}

TEST_F(PhysicalPort, ShapingIsStoredAndSentUnderItsOwnNumber)
{
    Expected after = now();
    Phport& phport = *lookup_phport(after.base(), after.header(), 3);
    phport.shaping_rate = 0xFFFFFFFF;
    phport.shaping_param2 = 0;
    EXPECT_EQ(call(zelfdb_set_ph_shaping, 3, 0xFFFFFFFFu, 0), done({"set_ph_shaping(3, 0xffffffff, 0)"}));
    EXPECT_TRUE(after.is_now());
}

TEST_F(PhysicalPort, IsReadWhetherBoundOrNot)
{
    given_port(1, ZELFDB_PORT_ETHER, 2);
    zelfdb_phinfo info{};
    EXPECT_EQ(call(zelfdb_get_phinfo, 2, &info), done());
    EXPECT_EQ(info.phport, 2u);
}

}  // namespace
}  // namespace zelfdb
