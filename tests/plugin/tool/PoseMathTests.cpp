// SPDX-License-Identifier: MIT
// The pose tool's arithmetic, checked by rebuilding what it says.
#include "rig/RigMath.h"
#include "tool/ChainFrame.h"
#include "tool/PoseMath.h"

#include "rig/RigMath.h"
#include "rig/RigQueries.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using Sinew::Matrix4d;
using std::numbers::pi;

namespace {

/// The rotation whose angles these are: the axis named first turns first.
Matrix4d fromEuler(const double* angles, int32_t order)
{
    Matrix4d rotation;
    for (const uint32_t axis : kEulerAxes[order])
        rotation.multiply(AxisRotation(angles[axis], axis));
    return rotation;
}

double largestDifference(const Matrix4d& a, const Matrix4d& b)
{
    double largest = 0;
    for (int i = 0; i < 16; ++i)
        largest = std::max(largest, std::fabs(a.m[i] - b.m[i]));
    return largest;
}

TEST(PoseMath, matchedAnglesGiveTheSameRotation)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> angle(-pi, pi), any(-9, 9);
    for (int n = 0; n < 2000; ++n) {
        const int32_t order = n % 6;
        double angles[3], current[3], matched[3];
        for (int a = 0; a < 3; ++a) {
            matched[a] = angles[a] = angle(random);
            current[a] = any(random);
        }
        MatchEuler(current, matched, order);
        ASSERT_LT(largestDifference(fromEuler(angles, order), fromEuler(matched, order)), 1e-12) << n;
    }
}

TEST(PoseMath, aJointThatSpinsHasNoJumpInItsAngles)
{
    constexpr double kStep = pi / 36;
    for (int32_t order = 0; order < 6; ++order) {
        for (const uint32_t spun : {kEulerAxes[order][0], kEulerAxes[order][2]}) {
            double before[3] = {0, 0, 0}, turn[3] = {0, 0, 0};
            for (int n = 1; n < 108; ++n) { // up to a turn and a half: one whole turn is added at most
                turn[spun] = n * kStep;
                double angles[3];
                BlockToEuler(fromEuler(turn, order), static_cast<uint32_t>(order), angles);
                MatchEuler(before, angles, order);
                for (int a = 0; a < 3; ++a) {
                    ASSERT_LT(std::fabs(angles[a] - before[a]), kStep * 1.01)
                        << "order " << order << ", step " << n;
                    before[a] = angles[a];
                }
            }
            EXPECT_NEAR(before[spun], 107 * kStep, 1e-9);
        }
    }
}

TEST(PoseMath, theMiddleAxisPassesAQuarterTurnThroughTheOtherSolution)
{
    for (int32_t order = 0; order < 6; ++order) {
        const auto& [i, j, k] = kEulerAxes[order];
        double current[3], angles[3];
        current[i] = current[k] = 0;
        current[j] = 1.5;
        angles[i] = angles[k] = pi; // as a conversion gives 1.7 about the middle axis
        angles[j] = pi - 1.7;
        MatchEuler(current, angles, order);
        EXPECT_NEAR(angles[i], 0, 1e-12);
        EXPECT_NEAR(angles[j], 1.7, 1e-12);
        EXPECT_NEAR(angles[k], 0, 1e-12);
    }
}

TEST(PoseMath, aChainsSpaceUndoesScaleRotationAndPlace)
{
    const double position[3] = {3, -2, 5}, scale[3] = {0.01, 0.02, 4};
    const Matrix4d rotation = product(AxisRotation(0.7, 0), AxisRotation(-1.9, 2));
    Matrix4d world, scaling;
    for (uint32_t a = 0; a < 3; ++a)
        scaling[a][a] = scale[a];
    world = product(scaling, rotation);
    world.setTranslation(position[0], position[1], position[2]);

    const ChainFrame frame(position, rotation, scale);
    const double local[3] = {10, 20, -30};
    double there[3], back[3];
    for (uint32_t c = 0; c < 3; ++c)
        there[c] = local[0] * world[0][c] + local[1] * world[1][c] + local[2] * world[2][c] + world[3][c];
    frame.toChain(there, back);
    for (int a = 0; a < 3; ++a)
        EXPECT_NEAR(back[a], local[a], 1e-10);
    EXPECT_LT(largestDifference(product(frame.toChain(rotation), AxisRotation(0.3, 1)), AxisRotation(0.3, 1)),
              1e-12)
        << "the frame's own rotation is none in it";

    Matrix4d inverse = world;
    ASSERT_TRUE(InvertTransform(inverse)) << "its determinant is 0.0008";
    EXPECT_LT(largestDifference(product(world, inverse), Matrix4d()), 1e-10);
    Matrix4d flat;
    flat[1][1] = 0;
    EXPECT_FALSE(InvertTransform(flat));
}

TEST(PoseMath, handlesAndTurnsHaveTheirSizes)
{
    EXPECT_EQ(HandleRadius(24, true, 0.4), 2);
    EXPECT_EQ(HandleRadius(24, false, 0.2), 1.2);
    EXPECT_EQ(HandleRadius(0, false, 0.5), 2) << "four pixels at least";
    EXPECT_EQ(HandleRadius(1000, true, 0.5), 6) << "twelve at most";

    const double along[4][3] = {{3, 1, 2}, {1, 3, 2}, {2, 2, 1}, {-9, -1, -1}};
    EXPECT_EQ(MajorAxis(along[0]), 0u);
    EXPECT_EQ(MajorAxis(along[1]), 1u);
    EXPECT_EQ(MajorAxis(along[2]), 2u) << "a tie goes to z";
    EXPECT_EQ(MajorAxis(along[3]), 2u) << "signed components count";

    EXPECT_EQ(ScreenTurnDegrees({.startX = 10, .startY = 10, .currentX = 13, .currentY = 14}), 1.25);
    EXPECT_EQ(ScreenTurnDegrees({.startX = 10, .startY = 10, .currentX = 7, .currentY = 6}), -1.25);
}

} // namespace
