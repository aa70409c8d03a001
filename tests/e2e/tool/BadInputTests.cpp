// SPDX-License-Identifier: MIT
// What a tool meets when the scene is not as it expects.
#include "e2e/tool/PoseScene.h"

#include <cmath>
#include <limits>

using namespace e2e;

TEST(BadInputTests, WithoutALocatorTheToolSaysWhatToDo)
{
    PoseScene scene;
    for (const char* select : {"select.clear", "select.set Stone"}) {
        scene.run({"item.create name:Stone type:mesh", select});
        const refhost::Enabled enabled = scene.tool().enabled();
        EXPECT_FALSE(enabled.yes);
        EXPECT_NE(enabled.message.find("Select a locator"), std::string::npos) << enabled.message;
        const std::size_t before = scene.digest();
        EXPECT_FALSE(scene.tool().press(400, 300, *refhost::gestureByName("move")).ok());
        EXPECT_TRUE(scene.handles().empty());
        EXPECT_EQ(scene.digest(), before);
    }
}

TEST(BadInputTests, ItemsThatGoDuringADragEndItAndUndoIsWhole)
{
    for (const char* gone : {"LeftHand", "LeftArm", "Hips", "RightLeg"}) {
        SCOPED_TRACE(gone);
        PoseScene scene;
        scene.click("RightFoot", "lock");
        const std::size_t before = scene.digest(), steps = scene.undoCount();
        scene.press("LeftHand", "move");
        scene.moveBy(-20, -20);
        (void)scene.commands().execute(std::string("item.delete ") + gone);
        (void)scene.tool().move(300, 200);
        (void)scene.tool().move(320, 210);
        (void)scene.tool().release(320, 210);
        scene.handles();
        while (scene.undoCount() > steps)
            scene.undo();
        EXPECT_EQ(scene.digest(), before);
        scene.run("select.set Hips");
        scene.drag("LeftHand", {-0.1, 0.1, 0});
    }
}

TEST(BadInputTests, JointsOfNoLengthAndWildNumbersMoveNothingFar)
{
    PoseScene scene;
    Item* parent = &scene.item("LeftHand");
    for (const char* name : {"Same", "Sames", "Samest"})
        parent = &scene.locator(name, parent);
    const std::vector<Matrix34> before = scene.pose(scene.figure());
    scene.drag("Samest", {-0.1, 0.1, 0});
    scene.drag("LeftHand", {40, 60, 0}, "move", 2);
    EXPECT_LT(distance(scene.place("LeftHand"), scene.place("LeftForeArm")), 0.27)
        << "bones keep their lengths";
    for (const Item* joint : scene.figure())
        for (const double number : scene.matrix(*joint, "wposMatrix").offset)
            EXPECT_TRUE(std::fabs(number) < 100) << joint->label();
    scene.undo();
    scene.undo();
    EXPECT_EQ(difference(scene.pose(scene.figure()), before), 0);
    EXPECT_FALSE(scene.tool().setAttribute("offsetX", std::numeric_limits<double>::quiet_NaN()).ok());
}

TEST(BadInputTests, APoseThatRanAwayIsNotWrittenAndTheDragGoesOn)
{
    for (const double size : {0.01, 1.0, 1000.0}) {
        for (const char* joint : {"LeftHand", "Hips"}) {
            SCOPED_TRACE(std::string(joint) + ' ' + std::to_string(size));
            PoseScene scene(size);
            const double height = PoseScene::kHeight * size;
            for (const char* locked : {"LeftFoot", "RightFoot"})
                scene.click(locked, "lock");
            const Vector3 start = scene.place(joint), by = {0.02 * size, 0.03 * size, 0};
            const std::size_t before = scene.digest(), steps = scene.undoCount();
            const auto expectNear = [&](double heights) {
                for (const Item* item : scene.figure()) {
                    const Vector3 place = scene.matrix(*item, "wposMatrix").offset;
                    EXPECT_TRUE(distance(place, start) <= heights * height) << item->label();
                }
            };
            scene.press(joint, "move");
            scene.moveTo(start + by);
            const std::vector<Matrix34> good = scene.pose(scene.figure());
            EXPECT_LT(distance(scene.place(joint), start + by), 0.02 * height);
            for (const double heights : {40.0, 4e5}) {
                scene.moveTo(start + Vector3{heights * height, 0, 0});
                expectNear(10);
            }
            scene.moveTo(start + by);
            EXPECT_LT(difference(scene.pose(scene.figure()), good), 1e-5 * std::max(size, 1.0));
            scene.release();
            EXPECT_EQ(scene.undoCount(), steps + 1);
            scene.undo();
            EXPECT_EQ(scene.digest(), before);

            EXPECT_TRUE(scene.tool().setAttribute("posTaskWeight", 50).ok()); // diverges
            scene.press(joint, "move");
            for (const double part : {0.5, 1.0, 5.0}) {
                scene.moveTo(start + Vector3{part * by[0], part * by[1], 0});
                expectNear(1);
            }
            EXPECT_TRUE(scene.tool().setAttribute("posTaskWeight", 1).ok());
            scene.moveTo(start + by);
            EXPECT_LT(difference(scene.pose(scene.figure()), good), 1e-5 * std::max(size, 1.0));
            scene.release();
            scene.undo();
            EXPECT_EQ(scene.digest(), before);
        }
    }
}

TEST(BadInputTests, AFigureWithoutHeightIsDraggedAllTheSame)
{
    for (const Vector3& place : {Vector3{0, 0, 0}, Vector3{30, 900, -2}}) {
        PoseScene scene;
        Item* joint = &scene.locator("Alone", nullptr, at(place));
        scene.run("select.set Alone");
        const Vector3 by = {0.5, -0.25, 0};
        scene.drag("Alone", by);
        EXPECT_LT(distance(scene.place("Alone"), place + by), 2.4 / 600);
        for (const char* name : {"Same", "Sames"})
            joint = &scene.locator(name, joint);
        scene.run("item.tag tag:PSTL value:ikLock item:Sames"); // a solver runs, about no length at all
        const Matrix33 before = scene.rotation("Alone");
        const Vector3 there = scene.place("Alone");
        scene.drag("Alone", {0.4, 0, 0}, "rotate");
        EXPECT_NEAR(scene.turnDegrees("Alone", before), 25, 0.5);
        EXPECT_LT(distance(scene.place("Alone"), there), 1e-3);
        scene.drag("Alone", by);
        EXPECT_LT(distance(scene.place("Alone"), there), 10 * distance(by, {}));
        EXPECT_GT(distance(scene.place("Alone"), there), 0);
    }
}

TEST(BadInputTests, AFlatScaleAboveTheFigureIsNoPlaceToDragIn)
{
    PoseScene scene;
    Item& above = scene.locator("Above", nullptr, at({}, {}, {1, 0, 1}));
    scene.run("item.parent Hips Above");
    EXPECT_EQ(scene.item("Hips").parent(), &above);
    const std::size_t before = scene.digest();
    scene.press("LeftHand", "move");
    scene.moveBy(30, 30);
    scene.release();
    EXPECT_EQ(scene.digest(), before);
}

TEST(BadInputTests, APointerFarOutsideTheViewDragsNobodyAway)
{
    PoseScene scene;
    const std::size_t before = scene.digest(), steps = scene.undoCount();
    for (const refhost::Camera camera : {refhost::Camera::Front, refhost::Camera::Free}) {
        scene.tool().view().axes = refhost::View::of(camera).axes;
        scene.tool().view().perspective = refhost::View::of(camera).perspective;
        for (const char* gesture : {"move", "free", "rotate", "parent"}) {
            scene.press("LeftHand", gesture);
            for (const int far : {-5000, 90000, 2000000000})
                (void)scene.tool().move(far, -far);
            scene.release();
            for (const Item* joint : scene.figure())
                for (const double number : scene.matrix(*joint, "wposMatrix").offset)
                    EXPECT_TRUE(std::isfinite(number)) << gesture << ' ' << joint->label();
            while (scene.undoCount() > steps)
                scene.undo();
            EXPECT_EQ(scene.digest(), before);
        }
    }
}
