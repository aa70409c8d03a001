// SPDX-License-Identifier: MIT
// Keys: order, equal times, and the curve between them.
#include <refhost/Keys.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace refhost;

TEST(KeyTests, EndValuesHoldAndSegmentsFollowTheKeyAtTheirStart)
{
    KeyList keys;
    keys.put({.time = 2, .number = 30, .interpolation = Interpolation::Step});
    keys.put({.time = 0, .number = 10, .interpolation = Interpolation::Linear});
    keys.put({.time = 3, .number = -1});
    EXPECT_EQ(keys.sample(-5), 10);
    EXPECT_EQ(keys.sample(0), 10);
    EXPECT_DOUBLE_EQ(keys.sample(0.5), 15);
    EXPECT_EQ(keys.sample(2), 30);
    EXPECT_EQ(keys.sample(2.999), 30);
    EXPECT_EQ(keys.sample(3), -1);
    EXPECT_EQ(keys.sample(99), -1);
    EXPECT_EQ(KeyList().sample(1), 0);
}

TEST(KeyTests, ACubicSegmentMeetsValuesAndSlopes)
{
    KeyList keys;
    keys.put({.time = 1, .number = 4, .outSlope = 3, .interpolation = Interpolation::Cubic});
    keys.put({.time = 3, .number = 6, .inSlope = -2, .interpolation = Interpolation::Cubic});
    const double h = 1e-5;
    EXPECT_EQ(keys.sample(1), 4);
    EXPECT_EQ(keys.sample(3), 6);
    EXPECT_NEAR((keys.sample(1 + h) - 4) / h, 3, 1e-3);
    EXPECT_NEAR((6 - keys.sample(3 - h)) / h, -2, 1e-3);
    // Hermite by hand at the middle: (v0 + v1) / 2 + dt (s0 - s1) / 8.
    EXPECT_NEAR(keys.sample(2), 5 + 2 * (3 + 2) / 8.0, 1e-12);
}

TEST(KeyTests, TimesWithinAMicrosecondAreOneKey)
{
    KeyList keys;
    keys.put({.time = 1, .number = 1});
    keys.put({.time = 1 + 1.5e-6, .number = 2});
    EXPECT_EQ(keys.count(), 2u);
    keys.put({.time = 1 + 0.9e-6, .number = 3});
    ASSERT_EQ(keys.count(), 2u);
    EXPECT_EQ(keys.keys()[1].number, 3);
    EXPECT_EQ(keys.keys()[1].time, 1 + 1.5e-6);
    EXPECT_EQ(keys.find(1 - 0.9e-6), 0u);
    EXPECT_FALSE(keys.find(0.99));
    EXPECT_TRUE(keys.remove(1));
    EXPECT_FALSE(keys.remove(0.5));
    EXPECT_EQ(keys.count(), 1u);
}

TEST(KeyTests, TextsStayWithTheirKeys)
{
    KeyList keys;
    keys.put({.time = 2}, "two");
    keys.put({.time = 1});
    keys.put({.time = 3}, "three");
    EXPECT_EQ(keys.sampleText(1.5), "");
    EXPECT_EQ(keys.sampleText(2.5), "two");
    keys.remove(2);
    EXPECT_EQ(keys.sampleText(2.5), "");
    EXPECT_EQ(keys.sampleText(9), "three");
}

TEST(KeyTests, FlatCurvesStayFlatAndHugeNumbersFinite)
{
    KeyList keys;
    for (const Interpolation way : {Interpolation::Linear, Interpolation::Cubic}) {
        keys.put({.time = 0, .number = 0.1, .interpolation = way});
        keys.put({.time = 1, .number = 0.1, .interpolation = way});
        for (double t = 0; t <= 1; t += 1 / 64.0)
            EXPECT_EQ(keys.sample(t), 0.1) << t;
    }
    const double huge = std::numeric_limits<double>::max();
    for (const Interpolation way : {Interpolation::Linear, Interpolation::Cubic}) {
        keys.put({.time = 0, .number = -huge, .outSlope = huge, .interpolation = way});
        keys.put({.time = 1, .number = huge, .inSlope = huge, .interpolation = way});
        EXPECT_TRUE(std::isfinite(keys.sample(0.3)));
    }
}
