// SPDX-License-Identifier: MIT
// What a caller of solve sees: the stopping step, warm starts, scale, divergence.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(Solve, GivesTheStoppingStepToTheRootAlone)
{
    const TestFigure stopped = TestFigure::arm(), one = TestFigure::arm(), two = TestFigure::arm();
    for (const TestFigure* figure : {&stopped, &one, &two})
        (*figure)->addPositionTask("b3")->setTarget(1, 1, 1);
    stopped->setTolerance(1e9f);
    stopped->solve(9);
    one->solve(1);
    two->setTolerance(0);
    two->solve(2);
    const std::vector<float> s = stopped.pose(), a = one.pose(), b = two.pose();
    EXPECT_TRUE(std::equal(s.begin(), s.begin() + 7, b.begin()));
    EXPECT_TRUE(std::equal(s.begin() + 7, s.end(), a.begin() + 7));
    EXPECT_NE(a, b);
}

TEST(Solve, GoesOnWhereItStoppedUntilASettingRestartsTheDuals)
{
    const auto run = [](std::initializer_list<std::uint32_t> parts, bool restart) {
        const TestFigure figure = TestFigure::arm();
        figure->setTolerance(0);
        figure->addPositionTask("b3")->setTarget(1.2f, 1.1f, 0.8f);
        for (const std::uint32_t steps : parts) {
            figure->solve(steps);
            if (restart)
                figure->setPCoefficient(figure->pCoefficient());
        }
        return figure.pose();
    };
    const std::vector<float> whole = run({24}, false);
    EXPECT_EQ(run({10, 14}, false), whole);
    EXPECT_NE(run({10, 14}, true), whole);
}

TEST(Solve, IsTheSameAtAnyScaleOfTheFigure)
{
    const auto run = [](float scale) {
        const TestFigure figure = TestFigure::arm(4, scale);
        figure->setTolerance(0);
        IKPositionTask* goal = figure->addPositionTask("b3");
        goal->setOffset(0.1f * scale, 0, 0);
        goal->setTarget(1.2f * scale, 1.1f * scale, 0.8f * scale);
        figure->solve(60);
        return figure["b1"].getOrientation();
    };
    EXPECT_LT(angleDegrees(run(1), run(100)), 1e-3);
    EXPECT_LT(angleDegrees(run(1), run(0.01f)), 1e-3);
    EXPECT_GT(angleDegrees(run(1), SinewQuaternion()), 5.0);
}

TEST(Solve, KeepsWeightsUntilAGoalReachesMoreThanTwiceTheHeight)
{
    // The turn of the first iteration goes with the row weight, and that with the inverse square of the
    // height.
    const auto firstTurn = [](float offset) {
        TestFigure figure;
        figure.chain("b", "", 5, 0, 1, 0).build(); // four units high
        figure->setTolerance(0);
        IKPositionTask* goal = figure->addPositionTask("b4");
        goal->setOffset(0, offset, 0);
        goal->setTarget(0.05f, 5 + offset, 0);
        figure["b0"].setMaxVelocity(10);
        figure->solve(1);
        return angleDegrees(figure["b0"].getOrientation(), SinewQuaternion());
    };
    const double base = firstTurn(4.0f); // reach 8: exactly twice
    EXPECT_GT(base, 0.01);
    EXPECT_NEAR(firstTurn(3.999f) / base, 1.0, 1e-2);
    EXPECT_NEAR(firstTurn(4.001f) / base, 0.25, 1e-2);
}

TEST(Solve, ReportsDivergenceAndFindsACoefficientThatHolds)
{
    const TestFigure figure = TestFigure::arm(7);
    figure->setTolerance(0);
    IKPositionTask* goal = figure->addPositionTask("b6");
    goal->setTarget(2, 3, 1);
    int status = -1;
    EXPECT_FALSE(figure->solveAdaptive(300, &status));
    EXPECT_EQ(status, 0); // nothing to change
    EXPECT_EQ(figure->pCoefficient(), 1.0f);

    figure->setPCoefficient(50);
    figure->reset();
    EXPECT_FALSE(figure->solve(300));
    EXPECT_TRUE(figure.isFinite());
    figure->reset();
    EXPECT_TRUE(figure->solveAdaptive(300, &status));
    EXPECT_EQ(status, 1);
    EXPECT_LT(figure->pCoefficient(), 50.0f);
    EXPECT_GT(figure->pCoefficient(), 1.0f);
    EXPECT_LT(length(figure.point("b6") - Vec3(goal->getTarget())), 0.06);

    TestFigure point; // without any length every dual counts as diverged
    point.chain("p", "", 3, 0, 0, 0).build();
    point->addPositionTask("p2")->setTarget(1, 0, 0);
    EXPECT_FALSE(point->solveAdaptive(5, &status));
    EXPECT_EQ(status, 2);
}

TEST(Solve, CallsItDivergedWhenADualPassesFourFigureLengthsPerErrorOfTheLastRows)
{
    // A goal that may move nothing: after one sweep its dual is 2 - 0.164 times its error. The figure is
    // four units long; errors below 1 count as 1, and only the last block of four rows is looked at.
    const auto converges = [](float error, float lastError) {
        TestFigure figure;
        figure.chain("b", "", 4, 0, 1, 0).build();
        figure["b0"].setRestTranslation(0, 0, 0);
        for (const float way : {error, lastError}) {
            IKPositionTask* goal = figure->addPositionTask("b3");
            goal->setDepth(0);
            const SinewVector at = goal->getTarget();
            way == error ? goal->setTarget(at.x() + way, at.y(), at.z())
                         : goal->setTarget(at.x(), at.y(), at.z() + way);
        }
        return figure->solve(1);
    };
    const float length = 4; // setBones added up the rest translations, the root's included
    const float limit = 4 * length / (2 - 0.164f);
    EXPECT_TRUE(converges(limit * 0.999f, 0));
    EXPECT_FALSE(converges(limit * 1.001f, 0));
    EXPECT_TRUE(converges(limit * 1.001f, 2));
    EXPECT_FALSE(converges(limit * 2.01f, 2));
}

} // namespace
