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
