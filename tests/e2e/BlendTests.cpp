// SPDX-License-Identifier: MIT
// What is shown between the animated and the solved pose, and what else moves with it.
#include "e2e/Arm.h"

#include <functional>

using namespace e2e;
using Pose = std::vector<Matrix34>;

namespace {

Pose shownAt(Arm& arm, double blend)
{
    arm.set(arm.settings, "iksIKFKBlend", blend);
    return arm.pose(arm.bones);
}

} // namespace

TEST(BlendTests, GoesFromTheAnimatedToTheSolvedPose)
{
    for (const LocalParts& parent : {LocalParts{}, unevenParent()}) {
        for (const double blend : {0.0, 0.25, 0.5, 0.999, 1.0, 1.5, -0.2}) {
            SCOPED_TRACE(blend);
            Arm arm(parent);
            arm.place(arm.a1, at({1, 0, 0.1}, {5, -10, 15}, {1.5, 1, 0.7}));
            arm.set(arm.settings, "iksTransRoot", 1);
            arm.set(arm.settings, "iksIKFKBlend", blend);
            expectAsTold(arm, arm.base, blend <= 0 ? kDoubleTolerance : kSolvedTolerance);
        }
    }
}

TEST(BlendTests, StopsAtItsEndsToTheBit)
{
    Arm arm(unevenParent());
    const Pose solved = shownAt(arm, 1), animated = shownAt(arm, 0);
    EXPECT_GT(difference(solved, animated), 0.1);
    EXPECT_EQ(shownAt(arm, 1.5), solved);
    EXPECT_EQ(shownAt(arm, -0.2), animated);
    arm.undo();
    EXPECT_EQ(arm.pose(arm.bones), solved);
}

TEST(BlendTests, TheAnimatedPoseWithoutMovedParentIsThatOfTheTransforms)
{
    Arm arm(at({3, -2, 1}, {20, -35, 50}));
    EXPECT_LE(difference(shownAt(arm, 0), arm.animated(arm.bones)), kDoubleTolerance);
}

TEST(BlendTests, ARootAtTheTopOfTheSceneHasNoParent)
{
    RigScene scene;
    Item& root = scene.root("root", nullptr, at({1, 2, 3}, {10, 20, 30}));
    Item& tip = scene.chain("joint", root, 3, at({1, 0, 0}, {0, 0, 10}));
    scene.positionTask(tip, root, {2, 4, 4});
    expectAsTold(scene, root);
    scene.set(scene.solver(root), "iksIKFKBlend", 0.0);
    expectAsTold(scene, root, kDoubleTolerance);
    EXPECT_EQ(scene.pose({&root})[0], scene.matrix(root, "localMatrix"));
}

TEST(BlendTests, GoalsBelowAParentWithoutInverseGoThroughItOnceMore)
{
    for (const Vector3& scale : {Vector3{0, 1, 1}, Vector3{0, 0, 0}, Vector3{0.02, 0.02, 0.02}}) {
        SCOPED_TRACE(scale[0] + scale[1]);
        Arm arm(at({3, -2, 1}, {20, -35, 50}, scale));
        expectAsTold(arm, arm.base);
    }
    // Just above what counts as one.
    Arm arm(at({3, -2, 1}, {20, -35, 50}, {0.0216, 0.0216, 0.0216}));
    expectAsTold(arm, arm.base);
}

TEST(BlendTests, EnabledCountsInSetupModeAlone)
{
    Arm arm(unevenParent());
    const Pose solved = shownAt(arm, 1), animated = shownAt(arm, 0), half = shownAt(arm, 0.5);
    arm.set(arm.settings, "iksEnabled", 0);
    EXPECT_EQ(arm.pose(arm.bones), half);
    EXPECT_EQ(shownAt(arm, 1), solved);
    arm.setupMode(true);
    EXPECT_EQ(arm.pose(arm.bones), animated);
    arm.set(arm.settings, "iksEnabled", 1);
    EXPECT_EQ(arm.pose(arm.bones), solved);
    arm.undo();
    EXPECT_EQ(arm.pose(arm.bones), animated);
    arm.setupMode(false);
    EXPECT_EQ(arm.pose(arm.bones), solved);
}

TEST(BlendTests, WhatHangsOnAJointFollowsIt)
{
    Arm arm(unevenParent());
    Item& held = arm.locator("held", &arm.tip, at({0.2, 0.3, 0.4}, {30, 0, 0}));
    const Matrix34 tip = arm.matrix(arm.tip, "worldMatrix"), local = arm.matrix(held, "localMatrix");
    const Pose joint = arm.pose({&arm.tip});
    const Matrix34 scale = arm.matrix(arm.tip, "wsclMatrix");
    EXPECT_LE(difference({tip}, {Matrix34{joint[0].linear * scale.linear, joint[0].offset}}),
              kDoubleTolerance);
    EXPECT_LE(difference({Matrix34{{}, arm.matrix(held, "wposMatrix").offset}},
                         {Matrix34{{}, (tip * local).offset}}),
              kDoubleTolerance);
    EXPECT_LE(difference({Matrix34{arm.matrix(held, "wrotMatrix").linear, {}}},
                         {Matrix34{joint[0].linear * local.linear, {}}}),
              kDoubleTolerance);
}

TEST(BlendTests, UndoOfAnEditGivesTheSameBitsBack)
{
    Arm arm(unevenParent());
    arm.goalItem("goal", arm.tip, "pt", at({4, 1, 1}));
    arm.set(arm.settings, "iksIKFKBlend", 0.7);
    const Pose before = arm.pose(arm.bones);
    const std::function<void()> edits[] = {
        [&] { arm.set(*arm.item("goal").transformItem(refhost::TransformKind::Position), "pos.X", 2); },
        [&] { arm.set(arm.a1, "ikjActive", 0); },
        [&] { arm.set(*arm.a1.transformItem(refhost::TransformKind::Rotation), "rot.Z", 1); },
        [&] { arm.set(*arm.above.transformItem(refhost::TransformKind::Scale), "scl.Y", 3); },
        [&] { arm.set(arm.settings, "iksSteps", 3); },
        [&] { arm.set(arm.settings, "iksTransRoot", 1); },
        [&] { arm.package(arm.side, "ik.orientationTask"); },
    };
    for (const auto& edit : edits) {
        const std::size_t steps = arm.scene().journal().undoCount();
        edit();
        ASSERT_EQ(arm.scene().journal().undoCount(), steps + 1);
        EXPECT_GT(difference(arm.pose(arm.bones), before), 1e-4);
        arm.undo();
        EXPECT_EQ(arm.pose(arm.bones), before);
    }
}
