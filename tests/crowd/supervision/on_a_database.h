// A database and a software NP for a crowd, in an IPC namespace of the test's own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "crowd/supervision/np_life.h"
#include "softnp/softnp.h"
#include "support/namespace.h"
#include "zelfdb/zelfdb.h"

namespace crowd {

class OnADatabase : public testing::Test {
protected:
    // So few that they run out; and so many that they last, although an entry that the NP refuses keeps its record for good.
    static constexpr u32 few_entries = 48;
    static constexpr u32 many_entries = 65536;

    void SetUp() override
    {
        ASSERT_TRUE(enter_ipc_namespace());
        ASSERT_EQ(0, softnp_use_shared());
        ASSERT_EQ(0, softnp_set_mac_capacity(1024));  // of every device that a worker makes, too
    }

    // Comes before the crowd.
    static void lay_out(u32 nfil)
    {
        const zelfdb_counts counts{12, 6, nfil};
        ASSERT_EQ(0, zelfdb_init(&counts));
    }
    void TearDown() override { EXPECT_EQ(0, softnp_remove_device()); }

    Random random_;
};

}  // namespace crowd
