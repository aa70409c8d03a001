// SPDX-License-Identifier: MIT
// The modes of a position task: pole vector, planes, follower; and which part of the pose it may move.
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

TEST(PositionTask, MovesOnlyTheBonesWithinItsDepth)
{
    for (const std::uint32_t depth : {0u, 1u, 2u, 3u, 4294967295u}) {
        const TestFigure figure = TestFigure::arm(5);
        IKPositionTask* goal = figure->addPositionTask("b4");
        EXPECT_EQ(goal->getDepth(), 4294967295u);
        goal->setOffset(0.3f, 0, 0);
        goal->setTarget(1, 2, 1);
        goal->setDepth(depth);
        figure->solve(50);
        for (std::uint32_t i = 0; i < 5; ++i) {
            const bool moved = angleDegrees(figure->bone(i)->getOrientation(), SinewQuaternion()) > 1e-4;
            EXPECT_EQ(moved, 4 - i < depth) << "bone " << i << " at depth " << depth;
        }
    }
}

TEST(PositionTask, IgnoresItsInactiveAxes)
{
    const auto run = [](float x) {
        const TestFigure figure = TestFigure::arm(4);
        IKPositionTask* goal = figure->addPositionTask("b3");
        figure->addPositionTask("b1")->setTarget(0.2f, 0.9f, 0.1f);
        goal->setActiveDof(false, true, true);
        goal->setTarget(x, 2, 1);
        figure->solve(400);
        const Vec3 tip = figure.point("b3");
        EXPECT_NEAR(tip.y, 2, 2e-2);
        EXPECT_NEAR(tip.z, 1, 2e-2);
        return figure.pose();
    };
    EXPECT_EQ(run(0), run(-70000));
}

TEST(PositionTask, IsSwitchedByItsAxesAndKeepsThemOtherwise)
{
    const TestFigure figure = TestFigure::arm(3);
    IKPositionTask* goal = figure->addPositionTask("b2");
    goal->setActiveDof(false, false, false);
    EXPECT_FALSE(goal->isActive());
    goal->setActiveDof(true, false, false);
    EXPECT_TRUE(goal->isActive());
    goal->setActive(false, false);
    EXPECT_TRUE(goal->isDofActive(0));
    EXPECT_EQ(goal->getActiveDofCount(), 1u);
    goal->setTarget(9, 9, 9);
    const std::vector<float> before = figure.pose();
    figure->solve(20);
    EXPECT_EQ(figure.pose(), before);
    goal->setActive(true, true);
    EXPECT_EQ(goal->getActiveDofCount(), 3u);
    figure->solve(20);
    EXPECT_NE(figure.pose(), before);
}

/// How far the elbow's side of the arm lies from the direction to the target, seen along shoulder to hand.
double poleAngle(const TestFigure& figure, Vec3 target)
{
    const Vec3 shoulder = figure.point("b0"), elbow = figure.point("b1"), hand = figure.point("b2");
    const Vec3 along = (hand - shoulder) * (1 / length(hand - shoulder));
    const auto across = [&](Vec3 v) { return v - along * dot(v, along); };
    const Vec3 a = across(elbow - shoulder), b = across(target - shoulder);
    return std::acos(dot(a, b) / (length(a) * length(b))) * 57.29577951;
}

TEST(PoleVector, SwingsTheElbowTowardsTheTargetWhileTheHandStays)
{
    TestFigure figure;
    figure.add("b0", "", 0, 0, 0).add("b1", "b0", 0.6f, 0.8f, 0).add("b2", "b1", -0.6f, 0.8f, 0).build();
    IKPositionTask* hand = figure->addPositionTask("b2");
    IKPositionTask* pole = figure->addPositionTask("b1");
    pole->setPoleVector(true);
    pole->setWeight(0.1f); // its rows also resist what it doesn't ask for
    figure->setTolerance(0);
    figure->solve(0);
    pole->setTarget(2, 0.8f, 3);
    EXPECT_GT(poleAngle(figure, pole->getTarget()), 50);
    figure->solve(3000);
    EXPECT_LT(poleAngle(figure, pole->getTarget()), 3);
    EXPECT_LT(length(figure.point("b2") - Vec3(hand->getTarget())), 1e-2);
    // The error is what remains normal to the plane, not the whole way.
    EXPECT_LT(length(Vec3(pole->getError())), 0.1);

    TestFigure straight;
    straight.chain("b", "", 3, 0, 1, 0).build();
    std::vector<IKPositionTask*> poles;
    for (const char* bone : {"b0", "b1", "b2"})
        poles.push_back(straight->addPositionTask(bone));
    straight->solve(0); // the first layout starts from the whole way to the target
    for (IKPositionTask* task : poles) {
        task->setPoleVector(true);
        task->setTarget(3, 3, 3);
    }
    const std::vector<float> before = straight.pose();
    straight->solve(20);
    EXPECT_EQ(straight.pose(), before); // no plane to swing
}

TEST(PoleVector, HasNoErrorWhereTheChainIsNearlyStraight)
{
    for (const double degrees : {8.0, 9.5}) { // the cosine's threshold lies between
        TestFigure figure;
        figure.chain("b", "", 3, 0, 1, 0).build();
        setOrientation(figure["b1"], aboutAxis(2, degrees));
        IKPositionTask* pole = figure->addPositionTask("b1");
        pole->setPoleVector(true);
        pole->setTarget(0, 1, 5);
        figure->solve(1);
        // Normal to the plane of the chain, shrunk by the square of the sine.
        const double sine = std::sin(degrees * 0.017453292519943295);
        EXPECT_NEAR(pole->getError().z(), degrees < 9 ? 0 : 5 * sine * sine, 1e-5);
    }
}

TEST(PlaneTarget, KeepsTheGoalOutOfThePlane)
{
    for (const float height : {-1.0f, 1.5f}) {
        const TestFigure figure = TestFigure::arm(4);
        IKPositionTask* goal = figure->addPositionTask("b3");
        goal->setPlaneTarget(true);
        goal->setPlanePoint(0, 0.5f, 0);
        goal->setPlaneNormal(0, 7, 0); // any length
        goal->setTarget(1.5f, height, 0.5f);
        figure->solve(2000);
        EXPECT_LT(length(figure.point("b3") - Vec3(1.5, std::max(height, 0.5f), 0.5)), 5e-2);
        EXPECT_FLOAT_EQ(goal->getPlaneNormal().y(), 1);
        EXPECT_EQ(goal->getTarget().y(), height);
    }
}

TEST(PlaneConstraint, PushesThePointOutAndIgnoresTheTarget)
{
    for (const float floor : {2.4f, -5.0f}) {
        const TestFigure figure = TestFigure::arm(4);
        figure["b1"].setOrientation(0.5f, 0, 0, 0.8660254f); // bent, the hand at about y = 2
        IKPositionTask* hand = figure->addPositionTask("b3");
        hand->setPlaneConstraint(true);
        figure->solve(0); // the first layout starts from the whole way to the target
        hand->setPlanePoint(3, floor, 1);
        hand->setTarget(50, -50, 50);
        const Vec3 before = figure.point("b3");
        figure->solve(2000);
        const Vec3 after = figure.point("b3");
        if (before.y < static_cast<double>(floor))
            EXPECT_NEAR(after.y, floor + 0.05f, 0.06);
        else
            EXPECT_LT(length(after - before), 1e-6); // above it: free
    }
}

TEST(Follower, LaysTheFootFlatAtContactAndLeavesItFreeBefore)
{
    for (const float height : {-0.5f, 0.8f}) {
        TestFigure figure;
        figure.add("hip", "", 0, 2, 0)
            .add("shin", "hip", 0, -1, 0.1f)
            .add("foot", "shin", 0, -1, -0.1f)
            .build();
        setOrientation(figure["foot"], aboutAxis(0, 40));
        IKPositionTask* ankle = figure->addPositionTask("foot");
        ankle->setPlaneTarget(true);
        ankle->setPlanePoint(0, 0.4f, 0);
        ankle->setTarget(0.2f, height, 0.3f);
        IKOrientationTask* sole = figure->addOrientationTask("foot");
        sole->setAimMode(true);
        sole->setLocalAxis(0, 5, 0);
        sole->setTarget(0, 0, 0, 1); // flat, but nobody asks for it before contact
        figure->linkTasks(sole, true, ankle);
        EXPECT_TRUE(sole->follows());
        EXPECT_EQ(static_cast<IKTask*>(sole)->getFollowed(), static_cast<IKTask*>(ankle));
        EXPECT_EQ(ankle->getFollower(), static_cast<IKTask*>(sole));
        figure->setTolerance(0);
        for (int frame = 0; frame < 5; ++frame)
            figure->solve(500);
        const double up = (figure.inDouble().bones()[2].orientation * Vec3(0, 1, 0)).y;
        EXPECT_EQ(up > 0.999, height < 0) << up;
        EXPECT_LT(length(figure.point("foot") - Vec3(0.2, std::max(height, 0.4f), 0.3)), 5e-2);

        // Lifted again, the foot is free: the goal that contact left behind doesn't turn it.
        ankle->setTarget(0.2f, 0.9f, 0.3f);
        figure->solve(500);
        const Mat3 before = figure.inDouble().bones()[2].orientation;
        sole->setTarget(0.5f, 0, 0, 0.8660254f);
        figure->solve(500);
        const Mat3 turned = transposed(before) * figure.inDouble().bones()[2].orientation;
        EXPECT_LT(length(rotationVector(turned)), 0.05);
    }
}

TEST(PositionTask, ReadsItsTargetFromTheRetargetPose)
{
    const TestFigure figure = TestFigure::arm(3);
    IKPositionTask* goal = figure->addPositionTask("b2");
    goal->setTarget(9, 9, 9);
    goal->setTracksRetarget(true, 3);
    EXPECT_TRUE(figure["b0"].isRetargeting());
    TestFigure other = TestFigure::arm(3);
    setOrientation(other["b0"], aboutAxis(2, 40));
    const SinewQuaternion q = aboutAxis(2, 40);
    figure["b0"].setTargetOrientation(q.x(), q.y(), q.z(), q.w());
    figure->solve(500);
    EXPECT_LT(length(Vec3(goal->getTarget()) - other.point("b2")), 1e-5);
    EXPECT_LT(length(figure.point("b2") - other.point("b2")), 1e-2);
    goal->setTracksRetarget(false, 3);
    EXPECT_FALSE(goal->tracksRetarget() || figure["b0"].isRetargeting());
}

} // namespace
