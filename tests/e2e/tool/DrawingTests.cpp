// SPDX-License-Identifier: MIT
// What a rig and the tool draw, as lists.
#include "e2e/tool/PoseScene.h"

#include <cmath>
#include <numbers>

using namespace e2e;

namespace {

constexpr std::uint32_t kRigPart = 0x88CA6C00u;

/// A figure with a rig, whose chains are drawn.
class DrawnFigure : public PoseScene {
public:
    DrawnFigure()
    {
        run({"scene.setup on:true", "ikfb.assign", "channel.set FullBodyIK iksDrawChains 1",
             "scene.setup on:false", "select.set Hips"});
    }
    std::vector<DrawElement> drawnBy(std::string_view name)
    {
        std::vector<DrawElement> found;
        for (const DrawElement& element : drawn())
            if (element.item == item(name).id())
                found.push_back(element);
        return found;
    }
};

std::vector<Vector3> world(const DrawElement& element) { return refhost::worldOutline(element); }

void expectLine(const DrawElement& element, const Vector3& from, const Vector3& to)
{
    EXPECT_EQ(element.kind, DrawKind::Lines);
    ASSERT_EQ(element.vertices.size(), 2u);
    EXPECT_LT(distance(world(element)[0], from), 1e-6);
    EXPECT_LT(distance(world(element)[1], to), 1e-6);
}

/// `v` turned about a unit axis.
Vector3 turned(const Vector3& v, const Vector3& axis, double angle)
{
    const Vector3 c = {axis[1] * v[2] - axis[2] * v[1], axis[2] * v[0] - axis[0] * v[2],
                       axis[0] * v[1] - axis[1] * v[0]};
    const double along = axis[0] * v[0] + axis[1] * v[1] + axis[2] * v[2];
    Vector3 out;
    for (std::size_t a = 0; a < 3; ++a)
        out[a] = v[a] * std::cos(angle) + c[a] * std::sin(angle) + axis[a] * along * (1 - std::cos(angle));
    return out;
}

} // namespace

TEST(DrawingTests, TheSolverDrawsItsMarkerAndASegmentForEachJoint)
{
    DrawnFigure scene;
    scene.run("channel.set LeftArm ikjActive 0");
    {
        refhost::Step step(scene.scene().journal(), "colour");
        ASSERT_TRUE(
            scene.scene()
                .setTag(scene.item("FullBodyIK"), refhost::tagCode('O', 'V', 'C', 'L'), "r=0.2 g=0.4 b=0.6")
                .ok());
        ASSERT_TRUE(step.commit().ok());
    }
    const std::vector<DrawElement> list = scene.drawnBy("FullBodyIK");
    const std::vector<Item*> joints = scene.figure();
    ASSERT_EQ(list.size(), 3 + 2 * (joints.size() - 1));
    const double gap = distance(scene.place("Hips"), scene.place("Spine"));
    for (int axis = 0; axis < 3; ++axis) {
        const DrawElement& circle = list[static_cast<std::size_t>(axis)];
        EXPECT_EQ(circle.kind, DrawKind::Circle);
        EXPECT_EQ(circle.axis, axis);
        EXPECT_NEAR(circle.radius, gap / 12, 1e-12);
        EXPECT_EQ(circle.colour, (std::array<float, 3>{0.2f, 0.4f, 0.6f}));
        EXPECT_EQ(circle.alpha, 1);
        EXPECT_LT(distance(circle.transform.offset, scene.place("Hips")), 1e-12);
    }
    for (std::size_t i = 1; i < joints.size(); ++i) {
        SCOPED_TRACE(joints[i]->label());
        const DrawElement &line = list[1 + 2 * i], &point = list[2 + 2 * i];
        const Vector3 end = scene.matrix(*joints[i], "wposMatrix").offset;
        expectLine(line, end, scene.matrix(*joints[i]->parent(), "wposMatrix").offset);
        EXPECT_EQ(line.dashes, joints[i]->parent() == &scene.item("LeftArm") ? 0xF0F0 : 0xFFFF);
        EXPECT_EQ(point.kind, DrawKind::Points);
        ASSERT_EQ(point.vertices.size(), 1u);
        EXPECT_LT(distance(world(point)[0], end), 1e-6);
        EXPECT_EQ(point.width, 6);
        EXPECT_EQ(line.width, 3);
        for (const DrawElement* element : {&line, &point}) {
            EXPECT_EQ(element->colour, (std::array<float, 3>{1, 1, 0}));
            EXPECT_EQ(element->alpha, 0.7f);
            EXPECT_EQ(element->part, kRigPart);
        }
    }
}

TEST(DrawingTests, ChainsGoByTheirSwitchTheSelectionAndTheHierarchy)
{
    DrawnFigure scene;
    const auto count = [&] { return scene.drawnBy("FullBodyIK").size(); };
    const std::size_t all = count();
    scene.run("channel.set FullBodyIK iksDrawChains 0");
    EXPECT_EQ(count(), 3u);
    scene.run("channel.set FullBodyIK iksDrawChains 2");
    EXPECT_EQ(count(), 3u) << "it isn't selected";
    scene.run("select.set FullBodyIK");
    EXPECT_EQ(count(), all);
    scene.run({"item.create name:Hat parent:Head", "item.create name:Feather parent:Hat"});
    EXPECT_EQ(count(), all) << "no joints, and nothing below them";
    scene.unlink("ikRefs", scene.item("Chest"), scene.item("LeftArm"));
    EXPECT_EQ(count(), all - 6) << "the arm ends the walk with all below it";
    scene.run({"item.create name:World", "item.parent Hips World"});
    EXPECT_EQ(count(), 3u) << "a root with a parent ends all chains";
    scene.run("channel.set Spine pos.Y 0");
    EXPECT_EQ(count(), 0u) << "nothing tells a size";
}

TEST(DrawingTests, ASelectedJointDrawsItsLimits)
{
    DrawnFigure scene;
    const double range[3][2] = {{-0.5, 1.1}, {0.2, 2.5}, {-1.3, -0.4}};
    scene.run({"channel.set LeftArm ikjEnableLimits 1"});
    for (std::size_t a = 0; a < 3; ++a) {
        const std::string axis = std::string("ikAxis") + "XYZ"[a];
        scene.set(scene.item("LeftArm"), axis + "Limits", 1);
        scene.set(scene.item("LeftArm"), axis + "Min", range[a][0]);
        scene.set(scene.item("LeftArm"), axis + "Max", range[a][1]);
    }
    EXPECT_TRUE(scene.drawnBy("LeftArm").empty()) << "it isn't selected";
    scene.run("select.set LeftArm");
    const std::vector<DrawElement> list = scene.drawnBy("LeftArm");
    ASSERT_EQ(list.size(), 15u);
    const double radius = 0.75 * distance(scene.place("LeftArm"), scene.place("LeftForeArm"));
    const Matrix34 frame = scene.matrix(scene.item("LeftArm"), "worldMatrix");
    const auto place = [&](const Vector3& local) { return refhost::transformPoint(frame, local); };
    constexpr std::array<float, 3> kColours[3] = {{0.9f, 0.2f, 0.2f}, {0.2f, 0.8f, 0.2f}, {0.2f, 0.4f, 1.0f}};
    for (std::size_t a = 0; a < 3; ++a) {
        SCOPED_TRACE(std::string("axis ") + "XYZ"[a]);
        const DrawElement* limit = &list[5 * a];
        Vector3 axis{}, reference{};
        axis[a] = 1;
        reference[a == 2 ? 1 : 2] = radius;
        const Vector3 low = place(turned(reference, axis, range[a][0])),
                      high = place(turned(reference, axis, range[a][1]));
        expectLine(limit[0], frame.offset, place(reference));
        expectLine(limit[1], frame.offset, low);
        expectLine(limit[2], frame.offset, high);
        EXPECT_EQ(limit[0].dashes, 0xF0F0);
        EXPECT_EQ(limit[1].dashes, 0xFFFF);
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(limit[i].colour, kColours[a]);
            EXPECT_EQ(limit[i].part, kRigPart);
        }
        EXPECT_EQ(limit[1].alpha, 1);
        EXPECT_EQ(limit[3].alpha, 0.15f);
        EXPECT_EQ(limit[4].alpha, 0.5f);
        EXPECT_TRUE(limit[3].filled);
        EXPECT_FALSE(limit[4].filled);
        const std::vector<Vector3> outline = world(limit[4]);
        EXPECT_LT(distance(outline.front(), low), 1e-9) << "the arc begins where the lower edge ends";
        EXPECT_LT(distance(outline.back(), high), 1e-9);
    }
    scene.run("channel.set LeftArm ikAxisYLimits 0");
    EXPECT_EQ(scene.drawnBy("LeftArm").size(), 10u);
    scene.run("channel.set LeftArm ikjEnableLimits 0");
    EXPECT_TRUE(scene.drawnBy("LeftArm").empty());
    scene.run({"select.set LeftHand", "channel.set LeftHand ikjEnableLimits 1",
               "channel.set LeftHand ikAxisXLimits 1"});
    EXPECT_TRUE(scene.drawnBy("LeftHand").empty()) << "a joint without a child has no size";
}

TEST(DrawingTests, TheToolDrawsAHandleOnEachJoint)
{
    DrawnFigure scene;
    scene.run("ikfb.task item:RightHand type:0 mode:1");
    scene.click("Head", "lock");
    const std::vector<DrawElement> list = scene.handles();
    const std::vector<Item*> joints = scene.figure();
    ASSERT_EQ(list.size(), joints.size() - 1) << "a joint with a target has none";
    const double pixel = 2.4 / 600;
    std::size_t next = 0;
    for (std::size_t i = 0; i < joints.size(); ++i) {
        if (joints[i] == &scene.item("RightHand"))
            continue;
        const DrawElement& handle = list[next++];
        SCOPED_TRACE(joints[i]->label());
        const bool isHead = joints[i] == &scene.item("Head");
        EXPECT_EQ(handle.kind, DrawKind::Disc);
        EXPECT_EQ(handle.part, i);
        EXPECT_EQ(handle.axis, 2);
        EXPECT_LT(distance(handle.transform.offset, scene.matrix(*joints[i], "wposMatrix").offset), 1e-12);
        EXPECT_EQ(handle.colour,
                  isHead ? (std::array<float, 3>{1.0f, 0.3f, 0.3f})
                         : (std::array<float, 3>{0.8f, 0.8f, 1.0f}));
        // The offset to the first child, or the joint's own at the end of a chain.
        const Item* child = nullptr;
        for (const Item* other : joints)
            if (!child && other->parent() == joints[i])
                child = other;
        const Vector3 along = scene.matrix(child ? *child : *joints[i], "localMatrix").offset;
        const double radius = distance(along, {}) / (isHead ? 12 : 20);
        EXPECT_NEAR(handle.radius, std::min(std::max(radius, 4 * pixel), 12 * pixel), 1e-12);
        EXPECT_EQ(scene.tool().partAt(0, 0), -1);
    }
    refhost::Pixel pixelOfHand{};
    ASSERT_TRUE(
        scene.tool().view().toScreen(scene.place("RightHand") + Vector3{1.4 * 4 * pixel, 0, 0}, pixelOfHand));
    EXPECT_EQ(scene.tool().partAt(static_cast<int>(pixelOfHand[0]), static_cast<int>(pixelOfHand[1])), 10)
        << "it is half as large again to hit";
}
