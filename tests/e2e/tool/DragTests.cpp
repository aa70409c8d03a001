// SPDX-License-Identifier: MIT
// Drags of handles: what follows the pointer, what stays, and what undo leaves.
#include "e2e/tool/PoseScene.h"

#include <cmath>

using namespace e2e;

namespace {

/// A pixel of the view, in the scene's unit.
constexpr double kPixel = 2.4 / 600;
constexpr double kRest = 0.005 * PoseScene::kHeight;

/// Distances from each joint to its parent.
std::vector<double> boneLengths(PoseScene& scene)
{
    std::vector<double> lengths;
    for (const Item* joint : scene.figure())
        if (joint->parent())
            lengths.push_back(distance(scene.matrix(*joint, "wposMatrix").offset,
                                       scene.matrix(*joint->parent(), "wposMatrix").offset));
    return lengths;
}

} // namespace

TEST(DragTests, TheHandFollowsThePointerAndUndoTakesTheWholeDragBack)
{
    PoseScene scene;
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    const std::vector<double> lengths = boneLengths(scene);
    const Vector3 start = scene.place("LeftHand"), by = {-0.2, 0.35, 0};
    scene.drag("LeftHand", by);
    EXPECT_LT(distance(scene.place("LeftHand"), start + by), kRest + kPixel);
    EXPECT_LT(std::fabs(scene.place("LeftHand")[2] - start[2]), kRest) << "it stays in the plane of the view";
    const std::vector<double> after = boneLengths(scene);
    for (std::size_t i = 0; i < lengths.size(); ++i)
        EXPECT_NEAR(after[i], lengths[i], 1e-6) << i;
    EXPECT_EQ(scene.undoCount(), steps + 1);
    EXPECT_TRUE(scene.takeMessages().empty());
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
    scene.handles();
    scene.run("time.set 0");
    EXPECT_EQ(scene.digest(), before) << "nothing writes the old result again";
}

TEST(DragTests, WithoutMotionNothingMoves)
{
    for (const char* gesture : {"move", "parent", "rotate", "free"}) {
        for (const char* joint : {"LeftHand", "Head", "RightFoot", "Chest"}) {
            SCOPED_TRACE(std::string(gesture) + ' ' + joint);
            PoseScene scene;
            scene.click("LeftFoot", "lock");
            const std::vector<Matrix34> before = scene.pose(scene.figure());
            scene.press(joint, gesture);
            scene.moveBy(0, 0);
            EXPECT_LT(largestTurnDegrees(scene.pose(scene.figure()), before), 0.1);
            EXPECT_LT(difference(scene.pose(scene.figure()), before), 1e-3);
            scene.release();
        }
    }
}

TEST(DragTests, TheResultDependsOnThePointerAndNotOnItsWay)
{
    PoseScene scene;
    scene.drag("RightHand", {0.1, 0.3, 0}, "move", 1);
    const std::vector<Matrix34> once = scene.pose(scene.figure());
    scene.undo();
    scene.press("RightHand", "move");
    const Vector3 start = scene.place("RightHand");
    for (const Vector3& there : {Vector3{-0.5, -0.5, 0}, Vector3{0.9, 0, 0}, Vector3{0.1, 0.3, 0}})
        scene.moveTo(start + there);
    scene.release();
    EXPECT_LT(difference(once, scene.pose(scene.figure())), 1e-6);
}

TEST(DragTests, ADragWithTheParentAloneMovesNothingElse)
{
    PoseScene scene;
    const std::vector<Matrix34> before = scene.pose({&scene.item("Chest"), &scene.item("LeftArm")});
    const Vector3 start = scene.place("LeftHand"), elbow = scene.place("LeftForeArm");
    const Vector3 arm = start - elbow;
    const double turn = 0.5; // in the plane of the view, so that the pointer is in reach
    const Vector3 wanted = {arm[0] * std::cos(turn) - arm[1] * std::sin(turn),
                            arm[0] * std::sin(turn) + arm[1] * std::cos(turn), arm[2]};
    scene.drag("LeftHand", wanted - arm, "parent");
    EXPECT_EQ(difference(scene.pose({&scene.item("Chest"), &scene.item("LeftArm")}), before), 0);
    EXPECT_EQ(distance(scene.place("LeftForeArm"), elbow), 0);
    EXPECT_LT(distance(scene.place("LeftHand"), elbow + wanted), kRest);
}

TEST(DragTests, ARotationDragTurnsAQuarterOfADegreeAPixelAboutTheBone)
{
    PoseScene scene;
    const Matrix33 before = scene.rotation("LeftArm");
    const Vector3 axis = {before.m[0][0], before.m[1][0], before.m[2][0]}; // its child lies along x
    scene.press("LeftArm", "rotate");
    scene.moveBy(96, 28);
    EXPECT_NEAR(scene.turnDegrees("LeftArm", before), 25, 0.2);
    const Matrix33 after = scene.rotation("LeftArm");
    EXPECT_LT(distance(axis, {after.m[0][0], after.m[1][0], after.m[2][0]}), 1e-3)
        << "the bone's own axis stays";
    const Matrix33 turn = transposed(before) * after;
    EXPECT_GT(turn.m[2][1], 0.4) << "to the right is positive";
    scene.moveBy(-96 - 96, 0);
    EXPECT_NEAR((transposed(before) * scene.rotation("LeftArm")).m[2][1], std::sin(-25 * 3.14159265 / 180),
                0.01);
    scene.release();
}

TEST(DragTests, EveryBonesAxisTurnsAQuarterOfADegreeAPixel)
{
    for (const char* joint : {"LeftArm", "Spine", "LeftUpLeg"}) { // bones along x, y and, by its sign, z
        PoseScene scene;
        const Matrix33 before = scene.rotation(joint);
        scene.press(joint, "rotate");
        scene.moveBy(-100, 0);
        scene.release();
        EXPECT_NEAR(scene.turnDegrees(joint, before), 25, 0.2) << joint;
    }
}

TEST(DragTests, ATurnOfTheTopIsNoMove)
{
    PoseScene scene;
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    scene.drag("Hips", {0.3, 0.1, 0}, "rotate");
    EXPECT_EQ(scene.digest(), before) << "alone, it has no bone to turn";
    EXPECT_EQ(scene.undoCount(), steps);
    scene.click("LeftFoot", "lock");
    const Matrix33 hips = scene.rotation("Hips");
    const Vector3 place = scene.place("Hips"), foot = scene.place("LeftFoot");
    scene.press("Hips", "rotate");
    scene.moveBy(60, 0);
    scene.release();
    EXPECT_NEAR(scene.turnDegrees("Hips", hips), 15, 0.5);
    EXPECT_LT(distance(scene.place("LeftFoot"), foot), 0.01 * PoseScene::kHeight);
    EXPECT_LT(distance(scene.place("Hips"), place), 0.1 * PoseScene::kHeight);
}

TEST(DragTests, ATurnByNoPixelIsNoneToTheBit)
{
    constexpr std::pair<const char*, void (*)(PoseScene&)> kFigures[] = {
        {"as it is", [](PoseScene&) {}},
        {"locked", [](PoseScene& scene) { scene.click("Hips", "lock"), scene.click("LeftArm", "lock"); }},
        {"in setup mode", [](PoseScene& scene) { scene.run("scene.setup on:true"); }},
        {"keyed",
         [](PoseScene& scene) {
             for (const char* joint : {"Hips", "LeftArm"})
                 for (const double time : {0.0, 1.0})
                     scene.key(*scene.item(joint).transformItem(refhost::TransformKind::Rotation), "rot.Y",
                               time, 0.3 + time);
             scene.run("time.set 0.25");
         }},
        {"below a turned, scaled and distant parent",
         [](PoseScene& scene) {
             scene.locator("Above", nullptr, at({3, 0.2, -1}, {40, 20, 130}, {2, 2, 2}));
             scene.run({"item.parent Hips Above", "select.set Hips"});
         }},
        {"outside its limits",
         [](PoseScene& scene) {
             scene.run({"scene.setup on:true", "ikfb.assign", "scene.setup off", "select.set Hips"});
             for (const char* joint : {"Hips", "LeftArm"}) {
                 scene.set(scene.item(joint), "ikjEnableLimits", 1);
                 scene.set(scene.item(joint), "ikAxisYLimits", 1);
                 scene.set(scene.item(joint), "ikAxisYMin", 0.5);
                 scene.set(scene.item(joint), "ikAxisYMax", 1);
             }
         }},
    };
    for (const auto& [name, prepare] : kFigures) {
        for (const char* joint : {"Hips", "LeftArm"}) {
            SCOPED_TRACE(std::string(joint) + ' ' + name);
            PoseScene scene;
            prepare(scene);
            scene.click("LeftFoot", "lock");
            const std::vector<Matrix34> before = scene.pose(scene.figure());
            scene.press(joint, "rotate");
            scene.moveBy(0, 0);
            EXPECT_EQ(difference(scene.pose(scene.figure()), before), 0);
            scene.moveBy(50, 10);
            EXPECT_GT(difference(scene.pose(scene.figure()), before), 0.01);
            scene.moveBy(-50, -10);
            EXPECT_EQ(difference(scene.pose(scene.figure()), before), 0);
            scene.release();
            EXPECT_EQ(difference(scene.pose(scene.figure()), before), 0);
        }
    }
}

TEST(DragTests, AClickWithoutMotionMakesNoStep)
{
    PoseScene scene;
    scene.run("item.create name:Bare parent:LeftHand"); // its transform items come with a drag
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    for (const char* gesture : {"move", "parent", "rotate", "free"}) {
        for (const char* joint : {"LeftHand", "Hips"}) {
            scene.click(joint, gesture);
            scene.press(joint, gesture);
            scene.moveBy(0, 0);
            scene.release();
            EXPECT_EQ(scene.digest(), before) << gesture << ' ' << joint;
            EXPECT_EQ(scene.undoCount(), steps) << gesture << ' ' << joint;
        }
    }
    scene.clickNothing("lock");
    EXPECT_EQ(scene.undoCount(), steps) << "nothing was locked";
    scene.drag("LeftHand", {-0.1, 0.1, 0});
    EXPECT_EQ(scene.undoCount(), steps + 1);
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
}

TEST(DragTests, TheToolItemGoesWhereThePointerIs)
{
    PoseScene scene;
    const std::vector<Matrix34> before = scene.pose(scene.figure());
    const Vector3 start = scene.place("Hips"), by = {0.4, 0.2, 0};
    scene.drag("Hips", by);
    EXPECT_LT(distance(scene.place("Hips"), start + by), kPixel) << "no solver runs for a single joint";
    EXPECT_LT(distance(scene.place("Head"), before[4].offset + by), kPixel);
    EXPECT_EQ(largestTurnDegrees(scene.pose(scene.figure()), before), 0);
}

TEST(DragTests, ALockEndsTheChain)
{
    PoseScene scene;
    scene.click("Chest", "lock");
    const std::vector<Item*> above = {&scene.item("Hips"), &scene.item("Spine"), &scene.item("LeftLeg")};
    const std::vector<Matrix34> before = scene.pose(above), chest = scene.pose({&scene.item("Chest")});
    const Vector3 start = scene.place("LeftHand"), by = {-0.1, 0.1, 0};
    scene.drag("LeftHand", by);
    EXPECT_LT(distance(scene.place("LeftHand"), start + by), 0.02);
    EXPECT_EQ(difference(scene.pose(above), before), 0) << "the lock is the root of the chain";
    EXPECT_LT(largestTurnDegrees(scene.pose({&scene.item("Chest")}), chest), 5) << "and is held";
}

TEST(DragTests, LockedJointsStayWhereverTheOthersGo)
{
    PoseScene scene;
    std::vector<Vector3> held;
    const std::vector<const char*> locked = {"LeftFoot", "RightFoot", "LeftHand", "RightHand"};
    for (const char* joint : locked) {
        scene.click(joint, "lock");
        EXPECT_TRUE(scene.isLocked(joint)) << joint;
        held.push_back(scene.place(joint));
    }
    const Vector3 hips = scene.place("Hips");
    scene.drag("Hips", {0.06, -0.08, 0});
    EXPECT_LT(distance(scene.place("Hips"), hips + Vector3{0.06, -0.08, 0}), 0.05);
    for (std::size_t i = 0; i < locked.size(); ++i)
        EXPECT_LT(distance(scene.place(locked[i]), held[i]), 0.01 * PoseScene::kHeight) << locked[i];
    const Vector3 head = scene.place("Head");
    scene.drag("Head", {0.05, -0.04, 0});
    EXPECT_LT(distance(scene.place("Head"), head + Vector3{0.05, -0.04, 0}), kRest + kPixel);
    for (std::size_t i = 0; i < locked.size(); ++i)
        EXPECT_LT(distance(scene.place(locked[i]), held[i]), 0.01 * PoseScene::kHeight) << locked[i];
}

TEST(DragTests, ADragWritesValuesAndKeysOnlyWhatIsKeyed)
{
    PoseScene scene;
    scene.key(*scene.item("LeftForeArm").transformItem(refhost::TransformKind::Rotation), "rot.Y", 0, -0.4);
    scene.drag("LeftHand", {-0.1, 0.2, 0});
    const auto keys = [&](const char* joint, const char* channel) {
        return RigScene::channel(*scene.item(joint).transformItem(refhost::TransformKind::Rotation), channel)
            .keys(refhost::Layer::Anim)
            .count();
    };
    EXPECT_EQ(keys("LeftForeArm", "rot.Y"), 1u);
    EXPECT_EQ(keys("LeftForeArm", "rot.X"), 0u);
    EXPECT_EQ(keys("LeftArm", "rot.Y"), 0u);
}

TEST(DragTests, AnglesGoOnPastHalfATurnInEveryRotationOrder)
{
    for (int order = 0; order < 6; ++order) {
        SCOPED_TRACE(order);
        // The axis in the middle can't go past a quarter turn but by a jump of the others.
        const bool isMiddle = order == 2 || order == 4;
        PoseScene scene;
        Item& turned = scene.locator("Turned", &scene.item("Hips"), at({0.4, 0.5, 0}));
        scene.locator("Tip", &turned, at({0.2, 0, 0}));
        Item& angles = *turned.transformItem(refhost::TransformKind::Rotation);
        scene.set(angles, "order", order);
        scene.set(angles, "rot", Vector3{0.1, 0.2, 0.3});
        Vector3 before = scene.vector(angles, "rot");
        for (int n = 0; n < 5; ++n) {
            const Matrix33 from = scene.rotation("Turned");
            scene.press("Turned", "rotate");
            scene.moveBy(200, 0); // 50 degrees
            scene.release();
            EXPECT_NEAR(scene.turnDegrees("Turned", from), 50, 0.5);
            const Vector3 after = scene.vector(angles, "rot");
            for (std::size_t a = 0; a < 3 && !isMiddle; ++a)
                EXPECT_LT(std::fabs(after[a] - before[a]), 1.2) << "rot."
                                                                << "XYZ"[a] << " in drag " << n;
            before = after;
        }
        if (!isMiddle) {
            EXPECT_GT(before[0], 3.5) << "250 degrees about x";
        }
    }
}

TEST(DragTests, SettingsOfJointsCountInADrag)
{
    PoseScene scene;
    scene.run({"scene.setup on:true", "ikfb.assign", "channel.set LeftForeArm ikjEnableLimits 1",
               "channel.set RightArm ikjActive 0", "channel.set RightForeArm ikAxisXRotEnable 0",
               "channel.set RightForeArm ikAxisYRotEnable 0"});
    for (const char* axis : {"X", "Y", "Z"}) {
        const std::string name = std::string("ikAxis") + axis;
        scene.set(scene.item("LeftForeArm"), name + "Limits", 1);
        scene.set(scene.item("LeftForeArm"), name + "Min", -0.1);
        scene.set(scene.item("LeftForeArm"), name + "Max", 0.1);
    }
    scene.run({"scene.setup on:false", "select.set Hips"});
    const auto local = [&](const char* name) {
        return std::vector<Matrix34>{{scene.matrix(scene.item(name), "localMatrix").linear, {}}};
    };
    const auto elbow = local("LeftForeArm"), shoulder = local("RightArm"), other = local("RightForeArm");
    scene.drag("LeftHand", {-0.25, 0.3, 0});
    scene.drag("RightHand", {0.1, 0.3, 0});
    EXPECT_LT(largestTurnDegrees(local("LeftForeArm"), elbow), 10) << "0.1 radians about each axis";
    EXPECT_LT(largestTurnDegrees(local("RightArm"), shoulder), 1e-3) << "it takes no part";
    const Matrix33 turn = transposed(other[0].linear) * local("RightForeArm")[0].linear;
    EXPECT_GT(largestTurnDegrees(local("RightForeArm"), other), 2);
    EXPECT_NEAR(turn.m[2][2], 1, 1e-4) << "it turns about its z axis alone";
}

TEST(DragTests, SelectingAJointOfTheFigureKeepsItsTopAndAnotherFigureTakesItsPlace)
{
    PoseScene scene;
    const std::size_t all = scene.handles().size();
    scene.run("select.set LeftHand");
    EXPECT_EQ(scene.handles().size(), all);
    const Vector3 start = scene.place("LeftHand"), by = {-0.2, 0.35, 0};
    scene.drag("LeftHand", by);
    EXPECT_LT(distance(scene.place("LeftHand"), start + by), kRest + kPixel)
        << "the chain still reaches its top";
    scene.run({"item.create name:Other", "item.create name:Tip parent:Other", "select.set Other"});
    EXPECT_EQ(scene.handles().size(), 2u);
}
