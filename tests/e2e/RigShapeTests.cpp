// SPDX-License-Identifier: MIT
// Which items make a rig: roots, links in every strange form, several rigs, large rigs.
#include "e2e/Arm.h"

using namespace e2e;
using Pose = std::vector<Matrix34>;
using Messages = std::vector<std::string>;

namespace {

/// A parent under which the animated pose is that of the transforms in every number.
const LocalParts kParent = at({3, -2, 1}, {20, -35, 50});

void expectAnimated(RigScene& scene, const std::vector<Item*>& items)
{
    EXPECT_LE(difference(scene.pose(items), scene.animated(items)), kDoubleTolerance);
}

} // namespace

TEST(RigShapeTests, ALoneRootIsNoRig)
{
    RigScene scene;
    Item& root = scene.root("root", nullptr, at({1, 2, 3}));
    scene.positionTask(root, root, {5, 5, 5});
    EXPECT_EQ(scene.nodes("ikfb"), 0u);
    expectAnimated(scene, {&root});
    scene.joint("tip", &root, at({1, 0, 0}));
    EXPECT_EQ(scene.nodes("ikfb"), 1u);
    EXPECT_EQ(scene.takeMessages(), Messages());
}

TEST(RigShapeTests, ASolverBelowNoRootMakesNoNode)
{
    Arm arm(kParent);
    EXPECT_EQ(arm.nodes("ikfb"), 1u);
    // Below a joint that has a parent joint, and below none at all.
    refhost::Step step(arm.scene().journal(), "move solver");
    ASSERT_TRUE(arm.scene().setParent(arm.settings, &arm.a0).ok());
    ASSERT_TRUE(step.commit().ok());
    EXPECT_EQ(arm.nodes("ikfb"), 0u);
    expectAnimated(arm, arm.bones);
    refhost::Step next(arm.scene().journal(), "move solver");
    ASSERT_TRUE(arm.scene().setParent(arm.settings, nullptr).ok());
    ASSERT_TRUE(next.commit().ok());
    EXPECT_EQ(arm.nodes("ikfb"), 0u);
    arm.undo();
    arm.undo();
    EXPECT_EQ(arm.nodes("ikfb"), 1u);
    EXPECT_EQ(arm.takeMessages(), Messages());
}

TEST(RigShapeTests, ACycleBelowTheRootLeavesTheAnimatedPoseAndIsTold)
{
    for (const bool self : {false, true}) {
        Arm arm(kParent);
        const Pose solved = arm.pose(arm.bones);
        arm.link("ikRefs", arm.tip, self ? arm.tip : arm.a0);
        arm.freshNodes();
        expectAnimated(arm, arm.bones);
        EXPECT_FALSE(arm.takeMessages().empty());
        arm.unlink("ikRefs", arm.tip, self ? arm.tip : arm.a0);
        arm.freshNodes();
        EXPECT_EQ(arm.pose(arm.bones), solved);
        EXPECT_EQ(arm.takeMessages(), Messages());
    }
}

TEST(RigShapeTests, ACycleThroughTheRootLeavesNoRoot)
{
    Arm arm(kParent);
    arm.link("ikRefs", arm.tip, arm.base);
    arm.freshNodes();
    EXPECT_EQ(arm.nodes("ikfb"), 0u);
    expectAnimated(arm, arm.bones);
}

TEST(RigShapeTests, AJointStandsOnceBelowItsFirstParent)
{
    Arm arm(unevenParent());
    const Pose before = arm.pose(arm.bones);
    arm.link("ikRefs", arm.side, arm.tip); // tip is reached through a1 before
    arm.link("ikRefs", arm.base, arm.a0); // a link that is there already
    expectAsTold(arm, arm.base);
    EXPECT_EQ(arm.pose(arm.bones), before);
    EXPECT_EQ(arm.takeMessages(), Messages());
}

TEST(RigShapeTests, TheFirstLinkDecidesTheParentEvenWhenItIsReachedLater)
{
    // hand is linked from b first, and b is walked after a: the bone stands below b.
    RigScene scene;
    Item& root = scene.root("root", nullptr, at({0, 1, 0}));
    Item& a = scene.joint("a", &root, at({1, 0, 0}, {0, 0, 30}));
    Item& b = scene.joint("b", &root, at({-1, 0, 0}, {0, 20, 30}));
    Item& hand = scene.joint("hand", &b, at({0, 1, 0}, {10, 0, 0}));
    scene.link("ikRefs", a, hand);
    scene.positionTask(hand, root, {-2, 2, 1});
    expectAsTold(scene, root);
    EXPECT_EQ(scene.takeMessages(), Messages());
}

TEST(RigShapeTests, TheWalkGoesThroughAnItemWithoutRestChannels)
{
    Arm arm(unevenParent());
    Item& plain = arm.locator("plain", &arm.a0, at({0, 0, 1}));
    arm.link("ikRefs", arm.a0, plain);
    expectAsTold(arm, arm.base);

    // What hangs below it in the links has no bone above it: it is shown where it was made, at the origin.
    Item& orphan = arm.joint("orphan", &plain, at({0, 0, 1}));
    arm.link("ikRefs", plain, orphan);
    expectAsTold(arm, arm.base);
    EXPECT_EQ(arm.pose({&orphan})[0], Matrix34());
}

TEST(RigShapeTests, AJointWithoutItsSwitchesIsTold)
{
    Arm arm(kParent);
    const Pose solved = arm.pose(arm.bones);
    refhost::Step step(arm.scene().journal(), "package");
    ASSERT_TRUE(arm.scene().removePackage(arm.a1, "ik.joint").ok());
    ASSERT_TRUE(step.commit().ok());
    expectAnimated(arm, arm.bones);
    EXPECT_FALSE(arm.takeMessages().empty());
    arm.undo();
    EXPECT_EQ(arm.pose(arm.bones), solved);
}

TEST(RigShapeTests, LinksMayPassALocatorByAndLeaveTheRigAsItIs)
{
    RigScene plain, passing;
    Pose shown[2];
    for (RigScene* scene : {&plain, &passing}) {
        Item& root = scene->root("root", nullptr, at({0, 1, 0}));
        Item& knee = scene->joint("knee", &root, at({1, 0, 0}, {0, 0, 20}));
        Item& between = scene == &passing ? scene->locator("between", &knee) : knee;
        Item& foot = scene->joint("foot", &between, at({1, 0, 0}, {0, 0, 20}));
        if (scene == &passing)
            scene->link("ikRefs", knee, foot);
        scene->positionTask(foot, root, {1.2, 2.4, 0.3});
        expectAsTold(*scene, root);
        shown[scene == &passing] = scene->pose({&root, &knee, &foot});
    }
    EXPECT_EQ(shown[0], shown[1]);
}

TEST(RigShapeTests, ChangesOfTheLinksActWithTheNextNodes)
{
    Arm reset(unevenParent()), package(unevenParent());
    const Pose before = reset.pose(reset.bones);
    for (Arm* each : {&reset, &package}) {
        (void)each->pose(each->bones);
        each->unlink("ikRefs", each->a1, each->tip);
        each->link("ikRefs", each->side, each->tip);
        each->evaluation().invalidate();
        EXPECT_EQ(each->pose(each->bones), before);
    }
    reset.freshNodes();
    package.package(package.side, "ik.positionTask");
    package.set(package.side, "ikptEnable", 0);
    expectAsTold(package, package.base);
    EXPECT_GT(difference(reset.pose(reset.bones), before), 1e-2);
    EXPECT_EQ(reset.pose(reset.bones), package.pose(package.bones));
}

TEST(RigShapeTests, RestChannelsActWithTheNextNodes)
{
    Arm arm(unevenParent());
    arm.set(arm.a0, "ikjRetargeting", 1);
    const Pose before = arm.pose(arm.bones);
    arm.setRest(arm.base, at({0, 2, 0}, {0, 0, -40}));
    arm.evaluation().invalidate();
    EXPECT_EQ(arm.pose(arm.bones), before);
    expectAsTold(arm, arm.base);
    EXPECT_GT(difference(arm.pose(arm.bones), before), 0.01);
}

TEST(RigShapeTests, TwoRigsOfASceneAreSolvedEachForItself)
{
    Arm arm(unevenParent());
    const Pose alone = arm.pose(arm.bones);
    Item& other = arm.root("other", nullptr, at({5, 0, 0}));
    Item& tip = arm.chain("segment", other, 3, at({0, 1, 0}, {0, 0, 15}));
    arm.positionTask(tip, other, {6, 2, 1});
    // The second rig reaches for a joint of the first one.
    arm.link(arm.tip, "wposMatrix", tip, "ikptMatrix");
    arm.freshNodes();
    EXPECT_EQ(arm.nodes("ikfb"), 2u);
    ExpectedRig first(arm, arm.base), second(arm, other);
    expectSame(arm, first);
    expectSame(arm, second);
    EXPECT_EQ(arm.pose(arm.bones), alone);
    arm.set(arm.a1, "ikjActive", 0);
    expectSame(arm, first);
    expectSame(arm, second);
}

TEST(RigShapeTests, ARigBelowAJointOfAnotherFollowsItsSolvedPose)
{
    Arm arm(unevenParent());
    Item& hand = arm.root("hand", &arm.tip, at({0.5, 0, 0}));
    Item& finger = arm.chain("finger", hand, 2, at({0.3, 0, 0}, {0, 0, 15}));
    arm.unlink("ikRefs", arm.tip, hand);
    arm.positionTask(finger, hand, arm.matrix(finger, "wposMatrix").offset);
    arm.freshNodes();
    EXPECT_EQ(arm.nodes("ikfb"), 2u);
    ExpectedRig outer(arm, arm.base), inner(arm, hand);
    expectSame(arm, outer);
    expectSame(arm, inner);
}

TEST(RigShapeTests, AThousandJointsInARow)
{
    RigScene scene;
    Item& root = scene.root("root", nullptr, at({0, 1, 0}), 3);
    Item& tip = scene.chain("j", root, 999, at({0.01, 0, 0}, {0, 0, 0.1}));
    scene.positionTask(tip, root, {4, 8, 2});
    // A thousand joints in a row add up what each one rounds.
    expectAsTold(scene, root, 1e-5);
    EXPECT_GT(difference(scene.pose({&tip}), scene.animated({&tip})), 0.01);
    scene.set(scene.solver(root), "iksIKFKBlend", 0.5);
    expectAsTold(scene, root, 1e-5);
    EXPECT_EQ(scene.takeMessages(), Messages());
}

TEST(RigShapeTests, AHundredRigs)
{
    RigScene scene;
    std::vector<Item*> roots;
    for (int i = 0; i < 100; ++i) {
        Item& root = scene.root("root", nullptr, at({5.0 * i, 0, 0}, {0, 3.0 * i, 0}), 5);
        Item& tip = scene.chain("arm", root, 3, at({1, 0, 0}, {0, 0, 15}));
        scene.positionTask(tip, root, {5.0 * i + 1, 2, 1});
        roots.push_back(&root);
    }
    EXPECT_EQ(scene.nodes("ikfb"), 100u);
    scene.freshNodes();
    for (std::size_t i = 0; i < roots.size(); ++i) {
        SCOPED_TRACE(i);
        ExpectedRig expected(scene, *roots[i]);
        expectSame(scene, expected);
    }
    EXPECT_EQ(scene.takeMessages(), Messages());
}
