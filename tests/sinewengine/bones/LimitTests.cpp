// SPDX-License-Identifier: MIT
// Limits, holding, retargeting and stretch as a user sees them in the pose.
#include "support/ExpectAssert.h"
#include "support/TestFigure.h"

#include <gtest/gtest.h>

namespace {

using namespace Sinew;
using namespace support;

/// One jointed bone below a root, with an optional rest orientation.
TestFigure joint(SinewQuaternion rest = {})
{
    TestFigure figure;
    figure.add("root", "", 0, 0, 0).add("joint", "root", 0, 1, 0, rest).add("end", "joint", 0, 0, 1);
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

TEST(BoxLimit, PullsBackInsideAndLeavesAloneWhatIsInside)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    bone.setProjectionAxis(2);
    bone.setLimit(0, -0.3f, 0.5f);
    bone.setRotationAxis(2, nullptr);
    bone.setLimit(3, -40, 40);
    bone.enforceLimits(true);
    for (const double degrees : {-15.0, 0.0, 28.0}) { // sines -0.26 to 0.47
        setOrientation(bone, aboutAxis(1, degrees));
        EXPECT_LT(pulledBy(figure), 1e-4) << degrees;
    }
    for (const double degrees : {-60.0, 80.0}) {
        setOrientation(bone, aboutAxis(1, degrees));
        figure->solve(2000);
        const double x = (figure.inDouble().bones()[1].rotation * Vec3(0, 0, 1)).x;
        EXPECT_NEAR(x, degrees < 0 ? -0.3 : 0.5, 2e-3);
    }
    // Enforced, the pull keeps to the edge; without, it heads for the rest pose, the other tilt included.
    for (const bool enforce : {true, false}) {
        bone.resetToRest();
        bone.enforceLimits(enforce);
        setOrientation(bone, aboutAxis(0, 40) * aboutAxis(1, 70));
        const auto tilt = [&] { return (figure.inDouble().bones()[1].rotation * Vec3(0, 0, 1)); };
        const double before = tilt().y / tilt().z;
        figure->solve(2000);
        EXPECT_NEAR(tilt().x, 0.5, 1e-2);
        EXPECT_EQ(std::fabs(tilt().y / tilt().z - before) < 0.15, enforce) << tilt().y / tilt().z;
    }
}

TEST(RollLimit, PullsTheRollBackAndKeepsTheDirection)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    bone.setLimit(3, -30, 45);
    bone.enableLimits(true);
    setOrientation(bone, aboutAxis(0, 35) * aboutAxis(2, 40));
    EXPECT_LT(pulledBy(figure), 1e-4);
    setOrientation(bone, aboutAxis(0, 35) * aboutAxis(2, 80));
    figure->solve(3000);
    const double roll = twistAngle(bone.getOrientation(), 2) * 57.29577951;
    EXPECT_LT(roll, 45.1);
    EXPECT_GT(roll, 40.0); // inside, and the pull then stops
    EXPECT_LT(length(figure.inDouble().bones()[1].rotation * Vec3(0, 0, 1)
                     - turn({0.6108652, 0, 0}) * Vec3(0, 0, 1)),
              2e-2);
}

TEST(RollLimit, MayHaveAnAxisOfItsOwn)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    bone.setLimit(3, -20, 20);
    const float axis[3] = {3, 0, 9};
    bone.setRotationAxis(3, axis);
    bone.enableLimits(true);
    const auto about = [](double degrees) { // about the axis itself
        const float s = static_cast<float>(std::sin(degrees * 0.00872664626));
        return SinewQuaternion(0.31622777f * s, 0, 0.9486833f * s,
                               static_cast<float>(std::cos(degrees * 0.00872664626)));
    };
    setOrientation(bone, about(15));
    EXPECT_LT(pulledBy(figure), 1e-4);
    setOrientation(bone, about(35));
    EXPECT_GT(pulledBy(figure), 0.1);
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

TEST(EulerLimits, TakeFreeAxesAndRangesOffCentre)
{
    const TestFigure free = joint();
    EulerLimits limits; // all three free
    free["joint"].setEulerLimits(limits, true);
    for (int axis = 0; axis < 2; ++axis)
        for (const double degrees : {-170.0, -60.0, 100.0}) {
            setOrientation(free["joint"], aboutAxis(axis, degrees));
            EXPECT_LT(pulledBy(free), 1e-4);
        }

    const TestFigure bent = joint();
    const float range[6] = {20, 60, -30, 30, -30, 30}; // an elbow that never straightens
    std::copy(range, range + 6, limits.range);
    bent["joint"].setEulerLimits(limits, true);
    bent["joint"].enforceLimits(true);
    setOrientation(bent["joint"], aboutAxis(0, 50));
    EXPECT_LT(pulledBy(bent), 1e-4);
    for (const double degrees : {0.0, 85.0}) {
        setOrientation(bent["joint"], aboutAxis(0, degrees));
        EXPECT_GT(pulledBy(bent), 0.05);
    }

    const SinewQuaternion rest = aboutAxis(1, 90); // measured from a rest pose
    const TestFigure turned = joint(rest);
    const float small[6] = {-25, 25, -25, 25, -25, 25};
    std::copy(small, small + 6, limits.range);
    turned["joint"].setEulerLimits(limits, true);
    turned["joint"].enforceLimits(true);
    for (int axis = 0; axis < 2; ++axis) {
        setOrientation(turned["joint"], rest * aboutAxis(axis, 20));
        EXPECT_LT(pulledBy(turned), 1e-4);
        setOrientation(turned["joint"], rest * aboutAxis(axis, 45));
        EXPECT_GT(pulledBy(turned), 0.05);
    }
}

TEST(Hold, PullsToRestUntilALimitIsInForceOrItIsSwitchedOff)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    const auto isPulled = [&] {
        setOrientation(bone, aboutAxis(0, 30));
        return pulledBy(figure) > 0.1;
    };
    EXPECT_FALSE(isPulled());
    bone.setHoldOrientation(true);
    EXPECT_TRUE(isPulled());
    setOrientation(bone, aboutAxis(0, 10));
    const double once = pulledBy(figure);
    setOrientation(bone, aboutAxis(0, 10));
    bone.setLimitsGain(3);
    EXPECT_NEAR(pulledBy(figure) / once, 3, 1e-2);
    figure->solve(1000);
    EXPECT_LT(angleDegrees(bone.getOrientation(), SinewQuaternion()), 0.1);
    bone.setLimit(1, -1, 1); // a full range is no limit
    EXPECT_TRUE(isPulled());
    bone.setLimit(3, -90, 90);
    bone.setLimit(1, -0.9f, 1);
    EXPECT_FALSE(isPulled());
    bone.enableLimits(false);
    EXPECT_FALSE(bone.limitsEnabled());
}

TEST(Retargeting, FollowsTheTargetPlainlyOrSoftly)
{
    const SinewQuaternion target = aboutAxis(0, 20) * aboutAxis(2, 30);
    double first[2];
    for (const bool soft : {false, true}) {
        const TestFigure figure = joint();
        IKSegment& bone = figure["joint"];
        if (soft)
            bone.setFullRetargeting(true);
        else
            bone.setRetargeting(true, true);
        bone.setTargetOrientation(target.x(), target.y(), target.z(), target.w());
        first[soft] = pulledBy(figure);
        figure->solve(soft ? 3000 : 300);
        EXPECT_LT(angleDegrees(bone.getOrientation(), target), 0.1);
        bone.setRetargeting(false, false);
        EXPECT_FALSE(bone.isRetargeting());
        EXPECT_LT(pulledBy(figure), 1e-5);
    }
    EXPECT_NEAR(first[0] / first[1], 10.0, 0.1);
}

TEST(Retargeting, HasAGainPerAxisAndReadsAWholePose)
{
    const TestFigure figure = joint();
    IKSegment& bone = figure["joint"];
    bone.setRetargeting(true, true);
    bone.setRetargetingAxisGain(0, 0);
    bone.setRetargetingAxisGain(3, 5); // no such axis
    EXPECT_EQ(bone.getRetargetingAxisGain(3), -1.0f);
    const SinewQuaternion target = aboutAxis(0, 20);
    const float wxyz[4] = {target.w(), target.x(), target.y(), target.z()};
    const float* table[3] = {wxyz, wxyz, nullptr};
    const float* const* poses[1] = {table};
    figure->setRetargetPose(poses, 1);
    EXPECT_LT(angleDegrees(bone.getTargetOrientation(), target), 1e-4);
    EXPECT_LT(angleDegrees(figure["root"].getTargetOrientation(), SinewQuaternion()), 1e-4); // doesn't follow
    EXPECT_LT(pulledBy(figure), 1e-6);
    bone.setRetargetingAxisGain(0, 1);
    EXPECT_GT(pulledBy(figure), 0.1);
}

TEST(Retargeting, ShutsLimitsOutUnlessTheSolverLetsBothAct)
{
    for (const bool both : {false, true}) {
        const TestFigure figure = joint();
        IKSegment& bone = figure["joint"];
        figure->setLimitsWithRetargeting(both);
        bone.setLimit(0, -0.2f, 0.2f);
        bone.setLimit(3, -90, 90);
        bone.enforceLimits(true);
        bone.setRetargeting(true, true);
        const SinewQuaternion target = aboutAxis(1, 50);
        bone.setTargetOrientation(target.x(), target.y(), target.z(), target.w());
        figure->setLimitsGain(20);
        figure->solve(1000);
        EXPECT_EQ(angleDegrees(bone.getOrientation(), target) < 1, !both);
    }
}

TEST(Stretch, LetsABoneReachFurtherAndComesBack)
{
    TestFigure figure = TestFigure::arm(4);
    IKPositionTask* goal = figure->addPositionTask("b3");
    goal->setTarget(0.5f, 5, 0); // three units of arm
    figure->setTolerance(0);
    figure->solve(1500);
    const double stiff = length(figure.point("b3") - Vec3(goal->getTarget()));
    EXPECT_GT(stiff, 1.9);
    IKSegment& stretching = figure["b1"];
    stretching.setActiveDof(true, true, true, false);
    EXPECT_TRUE(stretching.isTranslational());
    figure->solve(3000);
    EXPECT_LT(length(figure.point("b3") - Vec3(goal->getTarget())), 0.1);
    EXPECT_GT(length(Vec3(figure["b2"].getTranslation())), 2.5); // its child moved out
    EXPECT_LT(length(Vec3(figure["b3"].getTranslation())), 1.1);

    figure->computeStretchRatio(1);
    EXPECT_GT(stretching.getStretchRatio(), 1.5f);
    goal->setActive(false, false);
    stretching.enableStretchLimits(true);
    stretching.setStretchGain(100);
    figure->solve(1000);
    EXPECT_NEAR(length(Vec3(figure["b2"].getTranslation()) - Vec3(figure["b2"].getRestTranslation())), 0,
                1e-2);
}

TEST(Stretch, IsStiffenedByEnforcedLimits)
{
    const auto stretchAt = [](bool enforce) {
        TestFigure figure = TestFigure::arm(4);
        figure["b1"].setActiveDof(true, true, true, false);
        for (std::uint32_t axis = 0; axis < 3; ++axis)
            figure["b1"].setStretchLimit(axis, -0.3f, 0.3f);
        figure["b1"].enableStretchLimits(true);
        figure["b1"].enforceStretchLimits(enforce);
        figure->addPositionTask("b3")->setTarget(0.5f, 5, 0);
        figure->setTolerance(0);
        figure->solve(200);
        return length(Vec3(figure["b2"].getTranslation()) - Vec3(figure["b2"].getRestTranslation()));
    };
    EXPECT_NE(stretchAt(true), stretchAt(false));
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
    bone.setStretchLimit(3, -1, 1);
    bone.setLimit(3, -180, 180); // a full roll range stores nothing
    EXPECT_EQ(std::vector<float>(bone.getLimits(), bone.getLimits() + 8), before);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(bone.getStretchLimits()[i], 0.0f);
}

} // namespace
