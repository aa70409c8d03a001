// SPDX-License-Identifier: MIT
// The balance task: centre of mass, moments, forces and the zero-moment point.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

/// A body with an arm to each side that stands on a root which doesn't move.
TestFigure balancer()
{
    TestFigure figure;
    figure.chain("leg", "", 4, 0.02f, 0.5f, 0.02f);
    figure.chain("left", "leg3", 3, 0.5f, 0.1f, 0).chain("right", "leg3", 3, -0.5f, 0.1f, 0.02f);
    figure.build();
    figure->setTolerance(0);
    return figure;
}

TEST(BalanceTask, BringsTheCentreOfMassToItsTarget)
{
    enum { Plain, FromTheRoot, WithTheFigureShifted };
    for (const int mode : {Plain, FromTheRoot, WithTheFigureShifted}) {
        SCOPED_TRACE(mode);
        const TestFigure figure = balancer();
        figure["leg0"].setTranslation(mode == FromTheRoot ? 10 : 0, 0.5f, 0);
        IKBalanceTask* balance = figure->addBalanceTask(1, false, true);
        EXPECT_EQ(figure->balanceTask(), balance);
        EXPECT_LT(length(Vec3(balance->getTarget()) - figure.inDouble().centreOfMass()), 1e-5);
        if (mode == WithTheFigureShifted)
            figure->setZmp(3, -2, 1);
        const Vec3 from = mode == FromTheRoot ? figure.point("leg0") : Vec3();
        const Vec3 target = figure.inDouble().centreOfMass() - from + Vec3(0.2, -0.1, 0.1);
        balance->setRelativeToRoot(mode == FromTheRoot);
        balance->setTarget(static_cast<float>(target.x), static_cast<float>(target.y),
                           static_cast<float>(target.z));
        figure->solve(3000);
        EXPECT_LT(length(figure.inDouble().centreOfMass() - from - target), 5e-3);
        // A second call reconfigures the same task and keeps its target.
        EXPECT_EQ(figure->addBalanceTask(2, false, true), balance);
        EXPECT_LT(length(Vec3(balance->getTarget()) - target), 1e-6);
        EXPECT_EQ(balance->getGravityDirection().z(), 1.0f);
    }
}

TEST(BalanceTask, ReducesTheMomentOfWeightAndForces)
{
    TestFigure figure = balancer();
    figure["leg1"].setOrientation(0.2f, 0, 0.2f, 1); // leaning
    figure->updateFigure();
    IKPositionTask* hand = figure->addPositionTask("left2");
    hand->setPositionRows(false); // only carries
    hand->setForceTask(true, false);
    hand->setForce(0, -100, 0);
    IKBalanceTask* balance = figure->addBalanceTask(1, true, false);
    balance->setPrecision(1);
    figure->setMomentsWeight(20);
    figure->solve(0); // binds
    SinewVector moment;
    const double before = length(Vec3(balance->computeMoment(moment)));
    // About the world origin: the weight at the centre of mass, the force at the hand.
    const Vec3 expected = cross(figure.inDouble().centreOfMass(), Vec3(0, -9.81 * figure->totalMass(), 0))
        + cross(figure.point("left2"), Vec3(0, -100, 0));
    EXPECT_LT(length(Vec3(moment) - expected), 1e-2);
    figure->solve(2000);
    figure->updateFigure();
    const double after = length(Vec3(balance->computeMoment(moment)));
    EXPECT_LT(after, before / 5);
}

TEST(BalanceTask, BalancesAHeavyFigureLikeALightOne)
{
    const auto run = [](float mass) {
        const TestFigure figure = balancer();
        figure->setTotalMass(mass);
        figure->setMomentsWeight(20);
        figure->addBalanceTask(1, true, false);
        figure["leg1"].setOrientation(0.2f, 0, 0.2f, 1);
        figure->solve(60);
        return figure.pose();
    };
    EXPECT_LT(poseDifference(run(80), run(4000)), 1e-4f);
    EXPECT_GT(poseDifference(run(80), balancer().pose()), 0.1f);
}

} // namespace
