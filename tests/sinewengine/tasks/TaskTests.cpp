// SPDX-License-Identifier: MIT
// What all tasks share, and orientation goals.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(Task, ClampsPrecisionsAndKeepsWeightsPerAxis)
{
    const TestFigure figure = TestFigure::arm(3);
    IKPositionTask* goal = figure->addPositionTask("b2", 17);
    EXPECT_EQ(goal->getCreationDepth(), 17u);
    goal->setPrecision(5);
    EXPECT_EQ(goal->getAxisPrecision(0), 2.0f);
    goal->setAxisPrecision(1, std::nanf(""));
    EXPECT_EQ(goal->getAxisPrecision(1), 0.001f);
    EXPECT_EQ(goal->getAxisPrecision(2), 2.0f);
    goal->setWeight(2);
    goal->setAxisWeight(1, 3);
    EXPECT_EQ(goal->getWeight(), 2.0f);
    EXPECT_EQ(goal->getAxisWeight(0), 2.0f);
    EXPECT_EQ(goal->getAxisWeight(1), 3.0f);
    goal->setAxisLevel(0, 9);
    EXPECT_EQ(goal->getAxisLevel(0), 0u);
    figure->setMomentsPrecision(9);
    EXPECT_NEAR(figure->momentsPrecision(), 2, 1e-6);
    figure->setSecondaryTaskPrecision(0);
    EXPECT_NEAR(figure->secondaryTaskPrecision(), 0.2, 1e-6);
}

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

TEST(Task, IsKnownToTheSolverUntilItIsRemoved)
{
    const TestFigure figure = TestFigure::arm(4);
    testing::internal::CaptureStderr();
    EXPECT_EQ(figure->addPositionTask("nobody"), nullptr);
    EXPECT_EQ(figure->addOrientationTask(nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Uknown bone name\nUknown bone name\n");
    IKPositionTask* first = figure->addPositionTask("b1");
    IKPositionTask* second = figure->addPositionTask("b3");
    EXPECT_EQ(figure->taskCount(), 2u);
    const float a[3] = {1, 2, 3}, b[3] = {4, 5, 6};
    const float* targets[2] = {a, b};
    figure->setTaskTargets(targets);
    EXPECT_EQ(first->getTarget().y(), 2.0f);
    EXPECT_EQ(second->getTarget().z(), 6.0f);
    figure->solve(1);
    EXPECT_EQ(second->getFirstRow(), 3u);
    figure->removeTask(first);
    figure->solve(1);
    EXPECT_EQ(figure->taskCount(), 1u);
    EXPECT_EQ(second->getFirstRow(), 0u);
}

TEST(OrientationTask, TurnsTheBoneToItsTargetWithinItsDepth)
{
    const TestFigure figure = TestFigure::arm(4);
    IKOrientationTask* goal = figure->addOrientationTask("b3");
    const SinewQuaternion target = aboutAxis(0, 50) * aboutAxis(2, 20);
    goal->setTarget(target);
    goal->setDepth(1);
    figure->setTolerance(1e-5f);
    figure->solve(3000);
    figure->updateFigure();
    EXPECT_LT(angleDegrees(figure["b3"].getGlobalOrientation(), target), 0.2);
    EXPECT_LT(angleDegrees(figure["b2"].getOrientation(), SinewQuaternion()), 1e-4);
}

TEST(OrientationTask, StandsStillHalfATurnAway)
{
    const TestFigure figure = TestFigure::arm(3);
    figure->addOrientationTask("b2")->setTarget(1, 0, 0, 0);
    const std::vector<float> before = figure.pose();
    EXPECT_TRUE(figure->solve(50));
    EXPECT_EQ(figure.pose(), before);
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

TEST(OrientationTask, AimsAnAxisAndIgnoresQuaternionsThen)
{
    const TestFigure figure = TestFigure::arm(3);
    IKOrientationTask* goal = figure->addOrientationTask("b2");
    goal->setLocalAxis(0, 0, 4);
    goal->setAimMode(true);
    figure->updateFigure();
    goal->setAimDirection(0, 3, 4);
    const SinewQuaternion aimed = goal->getTarget();
    goal->setTarget(SinewQuaternion());
    EXPECT_EQ(angleDegrees(goal->getTarget(), aimed), 0.0);
    figure->setTolerance(1e-5f);
    figure->solve(3000);
    const Vec3 axis = figure.inDouble().bones()[2].orientation * Vec3(0, 0, 1);
    EXPECT_LT(length(axis - Vec3(0, 0.6, 0.8)), 5e-3);
    goal->setAimDirection(0, 0, 0); // none: the present orientation
    figure->updateFigure();
    goal->setAimDirection(0, 0, 0);
    EXPECT_LT(angleDegrees(goal->getTarget(), figure["b2"].getGlobalOrientation()), 1e-3);
    goal->setTarget(0, 0, 0, 1); // the form with four numbers counts
    EXPECT_EQ(goal->getTarget().w(), 1.0f);
    const float matrix[16] = {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    goal->setTargetMatrix(matrix); // stored only
    EXPECT_EQ(goal->getTarget().w(), 1.0f);
}

} // namespace
