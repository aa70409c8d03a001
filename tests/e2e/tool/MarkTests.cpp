// SPDX-License-Identifier: MIT
// Locks and pins: what clicks on joints, meshes and nothing mark.
#include "e2e/tool/PoseScene.h"

#include <refhost/Mesh.h>

#include <cmath>

using namespace e2e;
using refhost::Layer;

namespace {

constexpr const char* kHands[] = {"LeftHand", "RightHand"};

/// A figure with a rig whose solver has no task yet.
class RiggedFigure : public PoseScene {
public:
    RiggedFigure() { run({"scene.setup on:true", "ikfb.assign", "scene.setup on:false", "select.set Hips"}); }

    std::size_t keyCount(std::string_view name, const char* channelName)
    {
        return channel(item(name), channelName).keys(Layer::Anim).count();
    }
    /// Keys of rot.X of a joint.
    std::size_t rotationKeys(std::string_view name)
    {
        return channel(*item(name).transformItem(refhost::TransformKind::Rotation), "rot.X")
            .keys(Layer::Anim)
            .count();
    }
};

/// A square of two triangles that hangs before the figure, in the plane z = 1; the first triangle moves with
/// `first`, the second with `second`.
Item& addCloth(PoseScene& scene, const char* first, float firstWeight, const char* second)
{
    refhost::MeshData data;
    data.points = {{-1.2f, 1.6f, 1}, {-0.8f, 1.6f, 1}, {-1.2f, 2, 1}, {-0.8f, 2, 1}};
    data.triangles = {{0, 1, 2}, {3, 2, 1}};
    for (const char* name : {first, second}) {
        refhost::WeightMap map{name, 0, {}};
        if (Item* joint = scene.scene().findByUniqueName(name)) {
            const Vector3 place = scene.place(name);
            const Matrix33 back =
                transposed(scene.rotation(name)); // the inverse of the joint's world transform
            map.joint = joint->id();
            map.inverseBind.linear = back;
            map.inverseBind.offset = back * Vector3{-place[0], -place[1], -place[2]};
        }
        data.maps.push_back(map);
    }
    data.weightStarts = {0, 2, 2, 2, 3}; // of the points in the middle nothing is known
    data.weights = {{0, firstWeight}, {1, 0.25f}, {1, 1}};
    refhost::Step step(scene.scene().journal(), "cloth");
    const auto made = refhost::addSkinnedMesh(scene.scene(), std::move(data));
    EXPECT_TRUE(made.ok()) << made.message;
    EXPECT_TRUE(step.commit().ok());
    return *made.value;
}
constexpr Vector3 kFirstTriangle = {-1.1, 1.7, 1}, kSecondTriangle = {-0.9, 1.9, 1};

} // namespace

TEST(MarkTests, AClickLocksAndTheNextOneUnlocks)
{
    PoseScene scene;
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    scene.click("LeftHand", "lock");
    EXPECT_EQ(scene.tag("LeftHand", "PSTL"), "ikLock");
    EXPECT_EQ(scene.undoCount(), steps + 1);
    scene.click("LeftHand", "lock");
    EXPECT_EQ(scene.tag("LeftHand", "PSTL"), "none");
    scene.undo();
    EXPECT_TRUE(scene.isLocked("LeftHand"));
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
}

TEST(MarkTests, AClickOnNothingClearsAllLocksAsOneStep)
{
    PoseScene scene;
    for (const char* hand : kHands)
        scene.click(hand, "lock");
    const std::size_t steps = scene.undoCount();
    scene.clickNothing("lock");
    EXPECT_FALSE(scene.isLocked("LeftHand") || scene.isLocked("RightHand"));
    EXPECT_EQ(scene.undoCount(), steps + 1);
    scene.undo();
    EXPECT_TRUE(scene.isLocked("LeftHand") && scene.isLocked("RightHand"));
    scene.run("item.create name:Stone type:mesh");
    addCloth(scene, "nobody", 1, "no one");
    scene.pressAt(kFirstTriangle, "lock");
    EXPECT_FALSE(scene.isLocked("LeftHand")) << "a mesh of no joint clears them as well";
    scene.release();
}

TEST(MarkTests, AMeshStandsForTheJointThatMovesItMost)
{
    for (const float weight : {0.5f, 0.25f, 0.0f}) {
        PoseScene scene;
        addCloth(scene, "LeftHand", weight, "RightHand");
        scene.pressAt(kFirstTriangle, "lock");
        scene.release();
        EXPECT_EQ(scene.isLocked("LeftHand"), weight >= 0.25f) << weight << ": the first of two equal ones";
        EXPECT_EQ(scene.isLocked("RightHand"), weight < 0.25f) << weight;
        scene.pressAt(kSecondTriangle, "lock");
        scene.release();
        EXPECT_EQ(scene.isLocked("RightHand"), weight >= 0.25f) << weight;
    }
}

TEST(MarkTests, MapsAreCaseSensitiveAndAZeroWeightPicksNothing)
{
    PoseScene scene;
    addCloth(scene, "leftHand", 1, "RIGHTHAND");
    scene.click("LeftHand", "lock");
    scene.pressAt(kFirstTriangle, "lock");
    scene.release();
    EXPECT_FALSE(scene.isLocked("LeftHand")) << "no joint was meant, so all were unlocked";
    const Vector3 hips = scene.place("Hips");
    scene.pressAt(kFirstTriangle, "move");
    scene.moveBy(50, 0);
    scene.release();
    EXPECT_NEAR(scene.place("Hips")[0], hips[0] + 50 * 2.4 / 600, 1e-9)
        << "a drag falls back to the tool item";
}

TEST(MarkTests, ALiveTaskIsALockThatAClickCantChange)
{
    RiggedFigure scene;
    scene.run("ikfb.task item:LeftHand type:0 mode:1");
    scene.click("LeftHand", "lock");
    EXPECT_EQ(scene.tag("LeftHand", "PSTL"), "none");
    bool found = false;
    for (const DrawElement& handle : scene.handles())
        found = found || distance(handle.transform.offset, scene.place("LeftHand")) < 1e-9;
    EXPECT_FALSE(found) << "it shows no handle";
    const Vector3 held = scene.place("LeftHand");
    scene.drag("Chest", {0.05, -0.05, 0});
    EXPECT_LT(distance(scene.place("LeftHand"), held), 0.01 * PoseScene::kHeight) << "and holds";
}

TEST(MarkTests, APinOutsideOfRigsIsALock)
{
    PoseScene scene;
    scene.click("LeftFoot", "pin");
    EXPECT_TRUE(scene.isLocked("LeftFoot"));
    EXPECT_EQ(scene.packages("LeftFoot"), "");
    scene.click("LeftFoot", "pin");
    EXPECT_FALSE(scene.isLocked("LeftFoot"));
}

TEST(MarkTests, APinKeysTheJointAndThePoseStays)
{
    RiggedFigure scene;
    scene.run("time.set 2");
    scene.click("LeftHand", "lock");
    const std::size_t before = scene.digest();
    const std::vector<Matrix34> pose = scene.pose(scene.figure());
    const std::size_t steps = scene.undoCount();

    scene.click("LeftHand", "pin");
    EXPECT_EQ(scene.undoCount(), steps + 1);
    EXPECT_FALSE(scene.isLocked("LeftHand")) << "the pin takes the place of the lock";
    EXPECT_EQ(scene.links("ikTasks"), "FullBodyIK -> LeftHand");
    EXPECT_LT(difference(scene.pose(scene.figure()), pose), 1e-4 * PoseScene::kHeight);
    EXPECT_EQ(scene.value("LeftHand", "ikptEnable", Layer::Anim, 0), 0);
    EXPECT_EQ(scene.value("LeftHand", "ikptEnable", Layer::Anim, 2), 1);
    EXPECT_EQ(scene.value("LeftHand", "ikotEnable", Layer::Anim, 2), 1);
    EXPECT_EQ(scene.value("LeftHand", "ikptEnable"), 0) << "off in the setup";
    for (const char* name : {"ikptPos.X", "ikotRot.Z"})
        EXPECT_EQ(scene.keyCount("LeftHand", name), 1u) << name;
    for (const char* joint : {"LeftHand", "LeftArm", "Chest", "Hips"})
        EXPECT_EQ(scene.rotationKeys(joint), 1u) << joint;
    EXPECT_EQ(scene.rotationKeys("RightHand"), 0u) << "only up to the tool item";
    const std::size_t pinned = scene.digest();

    const Vector3 held = scene.place("LeftHand");
    const Vector3 hips = scene.place("Hips"); // the rig holds the hand while its root goes away
    scene.key(*scene.item("Hips").transformItem(refhost::TransformKind::Position), "pos.X", 2, 0.05);
    EXPECT_NEAR(scene.place("Hips")[0], hips[0] + 0.05, 1e-6);
    EXPECT_LT(distance(scene.place("LeftHand"), held), 0.01 * PoseScene::kHeight);
    const std::vector<Matrix34> dragged = scene.pose(scene.figure());
    scene.click("LeftHand", "pin");
    EXPECT_EQ(scene.value("LeftHand", "ikptEnable", Layer::Anim, 2), 0);
    EXPECT_LT(difference(scene.pose(scene.figure()), dragged), 1e-4 * PoseScene::kHeight);

    scene.undo();
    scene.undo();
    EXPECT_EQ(scene.digest(), pinned);
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
}

TEST(MarkTests, ADragMovesTheTargetOfTheJointsOwnTask)
{
    RiggedFigure scene;
    scene.run("ikfb.task item:LeftHand type:0 mode:1");
    const std::size_t before = scene.digest();
    const Vector3 start = scene.place("LeftHand"), by = {-0.1, 0.15, 0};
    scene.drag("LeftHand", by);
    EXPECT_EQ(scene.keyCount("LeftHand", "ikptPos.X"), 1u);
    EXPECT_LT(distance(scene.values("LeftHand", "ikptPos", Layer::Anim), start + by), 2.4 / 600);
    EXPECT_LT(distance(scene.place("LeftHand"), start + by), 0.01 * PoseScene::kHeight);
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
}

TEST(MarkTests, ADragMovesTheGoalThatFeedsTheTask)
{
    RiggedFigure scene;
    scene.run({"scene.setup on:true", "ikfb.goal item:LeftHand", "scene.setup on:false", "select.set Hips"});
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    const Vector3 start = scene.place("LeftHand"), by = {-0.1, 0.15, 0};
    scene.drag("LeftHand", {0.2, 0, 0}, "rotate");
    EXPECT_EQ(distance(scene.place("Goal"), start), 0) << "a turn leaves the goal's place";
    scene.undo();
    scene.drag("LeftHand", by);
    EXPECT_LT(distance(scene.place("Goal"), start + by), 2.4 / 600);
    EXPECT_LT(distance(scene.place("LeftHand"), start + by), 0.01 * PoseScene::kHeight)
        << "the rig follows it";
    EXPECT_EQ(scene.keyCount("LeftHand", "ikptPos.X"), 0u);
    EXPECT_EQ(scene.undoCount(), steps + 1);
    scene.undo();
    EXPECT_EQ(scene.digest(), before);
}
