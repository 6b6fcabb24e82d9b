// The judge of the long run knows a leak from noise.
#include "crowd/soak/growth.h"

#include <gtest/gtest.h>

namespace crowd {
namespace {

Series series(double tolerance, double (*value)(int))
{
    Series all{"", tolerance};
    for (int i = 0; i < 40; ++i) all.values.push_back(value(i));
    return all;
}

TEST(Growth, OfOneInEachSampleIsSeen)
{
    const Series all = series(20, [](int i) { return 100.0 + i; });
    EXPECT_EQ(30, all.at_last() - all.at_first());
    EXPECT_TRUE(all.grows());
}

TEST(Growth, OfALittleIsTolerated)
{
    EXPECT_FALSE(series(30, [](int i) { return 100.0 + i; }).grows());
    EXPECT_FALSE(series(0, [](int) { return 7.0; }).grows());
}

TEST(Growth, OfCountsIsSeenAtOne)
{
    EXPECT_TRUE(series(0, [](int i) { return i < 25 ? 3.0 : 4.0; }).grows());
}

TEST(Growth, IsNotSeenInNoiseNorInWhatShrinks)
{
    EXPECT_FALSE(series(0, [](int i) { return i % 10 == 9 ? 500.0 : 100.0; }).grows());
    EXPECT_FALSE(series(0, [](int i) { return 100.0 - i; }).grows());
}

TEST(Growth, IsNotJudgedFromAHandfulOfSamples)
{
    Series all{"", 0, {1, 2, 3, 4, 5, 6, 7}};
    EXPECT_FALSE(all.has_enough());
    all.values.push_back(8);
    EXPECT_TRUE(all.has_enough());
}

}  // namespace
}  // namespace crowd
