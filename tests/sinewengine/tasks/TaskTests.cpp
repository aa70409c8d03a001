// SPDX-License-Identifier: MIT
// What all tasks share, and orientation goals.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(Task, WeighsMoreAgainstAnotherWithAHigherWeight)
{
    // Two goals that can't both be met.
    const auto height = [](float weight, bool bound) {
        const TestFigure figure = TestFigure::arm(4);
        IKPositionTask* up = figure->addPositionTask("b3");
        IKPositionTask* down = figure->addPositionTask("b3");
        if (bound)
            figure->solve(0);
        up->setWeight(weight);
        up->setTarget(1, 2, 0.5f);
        down->setTarget(1, 1, 0.5f);
        figure->solve(2000);
        EXPECT_EQ(figure.isFinite(), true);
        return figure.point("b3").y;
    };
    EXPECT_NEAR(height(1, false), 1.5, 0.05);
    EXPECT_GT(height(4, false), 1.7);
    EXPECT_NEAR(height(4, true), height(4, false), 0.05);
}

TEST(Task, IsRefusedForAnUnknownBone)
{
    const TestFigure figure = TestFigure::arm(4);
    testing::internal::CaptureStderr();
    EXPECT_EQ(figure->addPositionTask("nobody"), nullptr);
    EXPECT_EQ(figure->addOrientationTask(nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Uknown bone name\nUknown bone name\n");
    EXPECT_EQ(figure->taskCount(), 0u);
}

TEST(OrientationTask, PullsHalfAsHardOnTheFastPath)
{
    const auto turnOf = [](int missing) {
        const TestFigure figure = TestFigure::arm(4);
        figure["b0"].setActiveDof(missing != 0, missing != 1, missing != 2, true);
        // A depth that leaves the bone with the missing freedom out.
        IKOrientationTask* goal = figure->addOrientationTask("b3");
        goal->setDepth(2);
        const SinewQuaternion q = aboutAxis(1, 30);
        goal->setTarget(q);
        figure->setTolerance(0);
        figure->solve(200);
        for (int i = 0; i < 4; ++i)
            figure->bone(static_cast<std::uint32_t>(i))->setMaxVelocity(0);
        figure->reset();
        for (int i = 0; i < 400; ++i)
            figure->solve(1); // the duals settle at the rest pose
        figure["b3"].setMaxVelocity(1);
        figure->solve(1);
        return angleDegrees(figure["b3"].getOrientation(), SinewQuaternion());
    };
    const double fast = turnOf(-1);
    for (int missing = 0; missing < 3; ++missing)
        EXPECT_NEAR(turnOf(missing) / fast, 2, 1e-3) << "without axis " << missing;
}

} // namespace
