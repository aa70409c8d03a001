// SPDX-License-Identifier: MIT
// What a caller of solve sees: goals reached, steps used, warm starts, divergence, scale.
#include "solver/IKSolverState.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

std::uint32_t iterations(const TestFigure& figure) { return figure->bone(0)->getSolver()->iteration(); }

double distance(const TestFigure& figure, const char* bone, const IKPositionTask* task)
{
    return length(figure.point(bone, task->getOffset()) - Vec3(task->getTarget()));
}

TEST(Solve, BringsAChainToItsGoalAndAWholeFigureToSeveral)
{
    const TestFigure arm = TestFigure::arm(5);
    IKPositionTask* goal = arm->addPositionTask("b4");
    goal->setTarget(1.5f, 1.8f, 0.9f);
    arm->setTolerance(1e-5f);
    EXPECT_TRUE(arm->solve(1000));
    EXPECT_LT(iterations(arm), 1000u);
    EXPECT_LT(distance(arm, "b4", goal), 4e-3); // a thousandth of the height

    TestFigure tree;
    tree.chain("spine", "", 3, 0, 0.4f, 0.02f).chain("left", "spine2", 4, 0.3f, 0.05f, 0.02f);
    tree.chain("right", "spine2", 4, -0.3f, 0.05f, 0.02f).build();
    tree->setTranslateRoot(true);
    tree->setTolerance(1e-5f);
    IKPositionTask* left = tree->addPositionTask("left3");
    IKPositionTask* right = tree->addPositionTask("right3");
    left->setTarget(0.9f, 1.6f, 0.4f);
    right->setTarget(-0.2f, 0.7f, 0.8f);
    IKOrientationTask* palm = tree->addOrientationTask("left3");
    palm->setTarget(aboutAxis(1, 40) * palm->getTarget());
    EXPECT_TRUE(tree->solve(2000));
    EXPECT_LT(distance(tree, "left3", left), 2e-3);
    EXPECT_LT(distance(tree, "right3", right), 2e-3);
    tree->updateFigure();
    EXPECT_LT(angleDegrees(tree["left3"].getGlobalOrientation(), palm->getTarget()), 0.5);
}

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

TEST(Solve, WithNoStepsOnlyRenewsTheCentreOfMass)
{
    const TestFigure figure = TestFigure::arm();
    figure->addPositionTask("b3")->setTarget(1, 1, 1);
    figure["b0"].setTranslation(5, 6, 7);
    const std::vector<float> before = figure.pose();
    EXPECT_TRUE(figure->solve(0));
    EXPECT_EQ(figure.pose(), before);
    EXPECT_LT(length(Vec3(*figure->centreOfMass()) - Vec3(5, 6, 7)), 1e-6); // no balance task: no offset
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
    EXPECT_LT(distance(figure, "b6", goal), 0.06);

    TestFigure point; // without any length every dual counts as diverged
    point.chain("p", "", 3, 0, 0, 0).build();
    point->addPositionTask("p2")->setTarget(1, 0, 0);
    EXPECT_FALSE(point->solveAdaptive(5, &status));
    EXPECT_EQ(status, 2);
}

TEST(Solve, CallsItDivergedWhenADualPassesFourFigureLengthsPerErrorOfTheLastRows)
{
    // A goal that may move nothing: after one sweep its dual is 2 - 0.164 times its error. The figure is
    // three units long; errors below 1 count as 1, and only the last block of four rows is looked at.
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

TEST(Solve, MovesTheRootByItsWeight)
{
    const auto rootWay = [](float weight, bool translate) {
        const TestFigure figure = TestFigure::arm(4);
        figure->setTranslateRoot(translate);
        figure->setRootTranslationWeight(weight);
        figure->addPositionTask("b3")->setTarget(1.5f, 3, 1);
        figure->setTolerance(1e-5f);
        figure->solve(500);
        EXPECT_EQ(figure->translateRoot(), translate);
        return length(Vec3(*figure->rootTranslation()));
    };
    EXPECT_EQ(rootWay(1, false), 0.0);
    EXPECT_EQ(rootWay(0, true), 0.0);
    const double little = rootWay(0.02f, true), much = rootWay(1, true);
    EXPECT_GT(little, 1e-3);
    EXPECT_GT(much, 3 * little);
}

TEST(Reset, ReturnsToRestAndForgetsTheDuals)
{
    const TestFigure figure = TestFigure::arm();
    const std::vector<float> rest = figure.pose();
    figure->setTolerance(1e-5f);
    IKPositionTask* goal = figure->addPositionTask("b3");
    const SinewVector home = goal->getTarget();
    goal->setTarget(0, 0, 50); // far out of reach: the duals grow
    figure->solve(200);
    EXPECT_NE(figure.pose(), rest);
    figure->reset();
    EXPECT_EQ(figure.pose(), rest);
    goal->setTarget(home);
    figure->solve(1500);
    EXPECT_LT(distance(figure, "b3", goal), 1e-2);
}

} // namespace
