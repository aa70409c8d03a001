// SPDX-License-Identifier: MIT
// Input that no rig should contain: nothing crashes, hangs or destroys the pose.
#include "support/ExpectAssert.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <pthread.h>

namespace {

using namespace Sinew;
using namespace support;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// Adds a goal of each kind and solves.
void solveSomething(TestFigure& figure)
{
    for (std::uint32_t i = 0; i < figure->boneCount(); ++i) {
        if (IKPositionTask* task = figure->addPositionTask(figure->bone(i)->getName()))
            task->setTarget(1, 2, 3);
        figure->addOrientationTask(figure->bone(i)->getName());
    }
    figure->addBalanceTask(1, true, true);
    figure->solve(20);
    figure->updateFigure();
    EXPECT_TRUE(figure.isFinite());
}

TEST(Guards, ParentCyclesAreUnknownParents)
{
    TestFigure figure;
    figure.add("root", "", 0, 0, 0).add("self", "self", 1, 0, 0).add("a", "c", 1, 0, 0);
    figure.add("b", "a", 1, 0, 0).add("c", "b", 1, 0, 0).add("child", "self", 0, 1, 0);
    figure.buildBare();
    EXPECT_EQ(figure["self"].getParent(), nullptr);
    int linked = 0;
    for (const char* name : {"a", "b", "c"})
        linked += figure[name].getParent() != nullptr;
    EXPECT_EQ(linked, 2); // one link of the ring is left out
    figure["root"].setParent(&figure["root"]);
    figure["root"].setParent(&figure["child"]); // no cycle: allowed
    figure["self"].setParent(&figure["root"]); // would close one
    EXPECT_EQ(figure["self"].getParent(), nullptr);
    solveSomething(figure);
}

TEST(Guards, BonesOfAnotherSolverAreNoParents)
{
    const TestFigure figure = TestFigure::arm(3), other = TestFigure::arm(3);
    figure["b1"].setParent(&other["b0"]);
    EXPECT_EQ(figure["b1"].getParent(), &figure["b0"]);
    other->addPositionTask("b2");
    figure->removeTask(other->addPositionTask("b1"));
    EXPECT_EQ(other->taskCount(), 2u);
}

TEST(Guards, SecondSetBonesIsRefused)
{
    TestFigure figure = TestFigure::arm(4);
    IKPositionTask* goal = figure->addPositionTask("b3");
    goal->setTarget(1, 1, 1);
    figure->solve(5);
    const std::vector<float> before = figure.pose();
    {
        const ExpectAssert one(1);
        figure->setBones(figure.descriptors().data(), 2);
    }
    EXPECT_EQ(figure->boneCount(), 4u);
    EXPECT_EQ(figure->bone(4), nullptr);
    EXPECT_EQ(figure->taskCount(), 1u);
    EXPECT_LT(poseDifference(figure.pose(), before), 1e-6f);
    EXPECT_TRUE(figure->solve(100));
}

TEST(Guards, NamesMayBeDuplicateEmptyOrMissing)
{
    TestFigure figure;
    figure.add("root", "", 0, 0, 0).add("", "root", 0, 1, 0).add("twin", "root", 1, 0, 0);
    figure.add("twin", "twin", 0, 1, 0).add("lost", "nowhere", 1, 1, 1).add("x", "root", 0, 0, 1);
    figure.descriptors().back().name = nullptr;
    {
        const ExpectAssert one(1);
        figure.buildBare();
        EXPECT_EQ(ExpectAssert::last(), "pNode->m_Key != (*p)->m_Key (SinewRedBlackTree, 342)");
    }
    EXPECT_EQ(figure->findBone("twin"), figure->bone(2));
    EXPECT_EQ(figure->findBone(""), nullptr);
    EXPECT_EQ(figure->findBone(nullptr), nullptr);
    EXPECT_STREQ(figure->bone(5)->getName(), "");
    EXPECT_EQ(figure->bone(4)->getParent(), nullptr);
    testing::internal::CaptureStderr();
    solveSomething(figure);
    testing::internal::GetCapturedStderr();
}

TEST(Guards, NonFiniteQuaternionsAndEmptyLimitsKeepThePose)
{
    const TestFigure figure = TestFigure::arm(2);
    IKSegment& bone = figure["b1"];
    setOrientation(bone, aboutAxis(0, 30));
    for (const float bad : {kNan, kInfinity}) {
        bone.setOrientation(bad, bad, bad, bad);
        bone.setRestOrientation(bad, bad, bad, bad);
        EXPECT_LT(angleDegrees(bone.getOrientation(), aboutAxis(0, 30)), 1e-3);
        EXPECT_LT(angleDegrees(bone.getRestOrientation(), SinewQuaternion()), 1e-3);
    }
    // A box that clamps the direction to nothing.
    for (std::uint32_t axis = 0; axis < 3; ++axis)
        bone.setLimit(axis, 0, 0);
    bone.enforceLimits(true);
    figure->solve(50);
    EXPECT_TRUE(figure.isFinite());
    EulerLimits odd;
    const float range[6] = {kNan, kInfinity, -kInfinity, 5, 0, 0};
    std::copy(range, range + 6, odd.range);
    for (const std::uint32_t axis : {0u, 2u, 3u, 77u}) {
        odd.axis = axis;
        bone.setEulerLimits(odd, true);
        figure->solve(10);
    }
    bone.setEulerLimits({.range = {0, 359, 0, 359, -20, 20}, .axis = 3}, true);
    figure->solve(10);
    EXPECT_TRUE(figure.isFinite());
}

TEST(Guards, AFigureWithoutLengthOrMassKeepsItsPose)
{
    for (const int count : {1, 3}) {
        TestFigure figure;
        figure.chain("p", "", count, 0, 0, 0).build();
        solveSomething(figure);
        figure->setTotalMass(0);
        figure->solve(20);
        EXPECT_TRUE(figure.isFinite());
    }
    // Without mass there is nothing to balance.
    const TestFigure figure = TestFigure::arm(3);
    for (std::uint32_t i = 0; i < 3; ++i)
        figure->bone(i)->setMass(0);
    figure->addBalanceTask(1, true, true);
    const std::vector<float> before = figure.pose();
    figure->solve(30);
    EXPECT_LT(poseDifference(figure.pose(), before), 1e-6f);
}

TEST(Guards, TasksGoInAnyOrder)
{
    std::vector<int> order = {0, 1, 2, 3};
    do {
        const TestFigure figure = TestFigure::arm(4);
        IKPositionTask* foot = figure->addPositionTask("b3");
        IKOrientationTask* sole = figure->addOrientationTask("b3");
        IKPositionTask* other = figure->addPositionTask("b2");
        IKPositionTask* last = figure->addPositionTask("b1");
        foot->setPlaneTarget(true);
        foot->setTarget(1, -1, 0);
        sole->setAimMode(true);
        sole->setLocalAxis(0, 1, 0);
        figure->linkTasks(other, true, foot);
        figure->linkTasks(sole, true, foot); // takes the follower's place
        figure->linkTasks(last, true, last);
        foot->setForceTask(true, true);
        figure->addBalanceTask(1, true, true);
        IKTask* tasks[4] = {foot, sole, other, last};
        figure->solve(5);
        for (const int i : order) {
            figure->removeTask(tasks[i]);
            figure->solve(5);
            if (i == 1)
                figure->removeBalanceTask();
        }
        EXPECT_EQ(figure->taskCount(), 0u);
        figure->removeTask(tasks[0]); // gone already: compared, never read
        EXPECT_TRUE(figure->solve(5));
        figure->setUseDefaultZmp(true); // the figure still stands where the foot carried it
        figure->addPositionTask("b3")->setTarget(1, 1, 1);
        figure->solve(500);
        EXPECT_LT(length(figure.point("b3") - Vec3(1, 1, 1)), 0.05);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Guards, NonFiniteTargetsAreForgottenAfterAReset)
{
    for (const float bad : {kNan, kInfinity, -kInfinity, 3e38f}) {
        for (const bool general : {false, true}) {
            const TestFigure figure = TestFigure::arm(4);
            figure->setTranslateRoot(true);
            if (general)
                figure["b1"].setActiveDof(true, false, true, true);
            IKPositionTask* goal = figure->addPositionTask("b3");
            IKOrientationTask* turn = figure->addOrientationTask("b2");
            IKBalanceTask* balance = general ? figure->addBalanceTask(1, true, true) : nullptr;
            const SinewQuaternion home = turn->getTarget();
            figure->solve(3);
            goal->setTarget(bad, 1, 1);
            goal->setOffset(0, bad, 0);
            turn->setTarget(bad, 0, bad, 1);
            if (balance)
                balance->setTarget(bad, bad, 1);
            figure->solve(50);
            goal->setOffset(0, 0, 0);
            goal->setTarget(1, 2, 0.5f);
            turn->setTarget(home);
            if (balance)
                figure->removeBalanceTask();
            figure->requestMeasure();
            figure->reset();
            figure->solve(2000);
            EXPECT_TRUE(figure.isFinite());
            EXPECT_LT(length(figure.point("b3") - Vec3(1, 2, 0.5)), 0.05) << bad;
        }
    }
}

TEST(Guards, AnInfiniteReachIsForgotten)
{
    const TestFigure figure = TestFigure::arm(4);
    IKPositionTask* goal = figure->addPositionTask("b3");
    goal->setOffset(0, kInfinity, 0);
    figure->solve(3);
    goal->setOffset(0, 0, 0);
    goal->setTarget(1, 2, 0.5f);
    figure->reset();
    figure->solve(1000);
    EXPECT_LT(length(figure.point("b3") - Vec3(1, 2, 0.5)), 0.05);
}

TEST(Guards, UnboundedVelocityNeverLosesThePose)
{
    for (const float velocity : {1e30f, kInfinity, kNan}) {
        const TestFigure figure = TestFigure::arm(4);
        for (std::uint32_t i = 0; i < 4; ++i)
            figure->bone(i)->setMaxVelocity(velocity);
        IKPositionTask* goal = figure->addPositionTask("b3");
        figure->setPCoefficient(1e6f);
        goal->setTarget(1, 1, 1);
        figure->solve(300);
        EXPECT_TRUE(figure.isFinite()) << velocity;
        goal->setTarget(kNan, 1, 1);
        figure->solve(10);
        EXPECT_TRUE(figure.isFinite()) << velocity;
    }
}

TEST(Guards, AForceTaskWithoutBalanceTaskDoesNothing)
{
    const auto solved = [](bool force) {
        const TestFigure figure = TestFigure::arm(4);
        IKPositionTask* goal = figure->addPositionTask("b3");
        goal->setTarget(1, 1, 1);
        goal->setForceTask(force, force);
        goal->setForce(1e4f, 1e4f, 1e4f);
        goal->setBalanceMoments(force);
        figure["b1"].setActiveDof(true, true, false, true); // off the fast path
        figure->solve(30);
        return figure.pose();
    };
    EXPECT_EQ(solved(true), solved(false));
}

/// A long chain through everything that walks the tree.
void* walkLongChain(void*)
{
    TestFigure figure;
    figure.chain("b", "", 4000, 0, 0.01f, 0).buildBare();
    figure->setFullRetargeting(false);
    figure->addPositionTask("b3999")->setTarget(10, 20, 0);
    figure->solve(2);
    figure->updateFigure();
    figure->computeStretchRatio(1);
    figure->rescaleFigure(2);
    EXPECT_EQ(figure["b3999"].getChainDepth(), 4000u);
    EXPECT_TRUE(figure["b3999"].isDirty());
    figure["b0"].setParent(&figure["b3999"]); // a cycle, refused
    EXPECT_EQ(figure["b0"].getParent(), nullptr);
    figure->addBalanceTask(1, true, true);
    figure->solve(1);
    figure->reset();
    return nullptr;
}

TEST(Guards, WalksOfTheTreeNeedNoStack)
{
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 64 * 1024); // 16 bytes a bone
    ASSERT_EQ(pthread_create(&thread, &attributes, walkLongChain, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

} // namespace
