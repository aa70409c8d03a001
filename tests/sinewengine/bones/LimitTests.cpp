// SPDX-License-Identifier: MIT
// Euler limits of all sizes as a user sees them in the pose, and what limit setters assert.
#include "support/ExpectAssert.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

/// One jointed bone below a root.
TestFigure joint()
{
    TestFigure figure;
    figure.add("root", "", 0, 0, 0).add("joint", "root", 0, 1, 0).add("end", "joint", 0, 0, 1);
    figure.build();
    figure->setTolerance(0);
    return figure;
}

/// How far the joint turns, in degrees, in one iteration with nothing but its pulls.
double pulledBy(const TestFigure& figure)
{
    const SinewQuaternion before = figure["joint"].getOrientation();
    figure->solve(1);
    return angleDegrees(before, figure["joint"].getOrientation());
}

/// Ranges containing 0 about all axes, and the figure's answer to a single swing or twist from rest.
TEST(EulerLimits, ContainWhatTheyShould)
{
    std::mt19937 random(11);
    for (int round = 0; round < 120; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const TestFigure figure = joint();
        IKSegment& bone = figure["joint"];
        EulerLimits limits;
        for (int i = 0; i < 3; ++i) {
            limits.range[2 * i] = -uniform(random, 10, 80);
            limits.range[2 * i + 1] = uniform(random, 10, 80);
        }
        limits.axis = static_cast<std::uint32_t>(round % 3);
        bone.setEulerLimits(limits, true);
        bone.enforceLimits(true);
        for (int axis = 0; axis < 3; ++axis) {
            const double low = static_cast<double>(limits.range[2 * axis]),
                         high = static_cast<double>(limits.range[2 * axis + 1]);
            for (int i = 1; i < 8; ++i) {
                const double degrees = low + (high - low) * i / 8;
                setOrientation(bone, aboutAxis(axis, degrees));
                EXPECT_LT(pulledBy(figure), 1e-4)
                    << degrees << " about " << axis << " in " << low << ".." << high;
            }
            // The box is as wide as the widest swing in each component, so outside means clearly outside.
            for (const double degrees : {low - 20, high + 20}) {
                setOrientation(bone, aboutAxis(axis, degrees));
                const double pull = pulledBy(figure);
                EXPECT_GT(pull, 0.02) << degrees << " about " << axis << " in " << low << ".." << high;
                figure->solve(20);
                EXPECT_LT(angleDegrees(bone.getOrientation(), SinewQuaternion()), std::fabs(degrees));
            }
        }
    }
}

TEST(LimitSetters, AssertOnAxesOutOfRangeAndChangeNothing)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    const std::vector<float> before(bone.getLimits(), bone.getLimits() + 8);
    {
        const ExpectAssert three(3);
        bone.setLimit(4, -0.5f, 0.5f);
        EXPECT_EQ(ExpectAssert::last(), "axis<=3 (SegmentO, 589)");
        bone.setRotationAxis(4, nullptr);
        EXPECT_EQ(ExpectAssert::last(), "rotation_axis<=3 (SegmentO, 1133)");
        bone.setProjectionAxis(3);
        EXPECT_EQ(ExpectAssert::last(), "projection_axis <=2 (SegmentO, 1172)");
    }
    EXPECT_EQ(std::vector<float>(bone.getLimits(), bone.getLimits() + 8), before);
}

} // namespace
