// SPDX-License-Identifier: MIT
// The tool on characters from files, with their meshes.
#include "e2e/tool/PoseScene.h"

#include <refhost/Mesh.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <set>

using namespace e2e;

namespace {

std::filesystem::path dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return std::filesystem::path(chosen ? chosen : SINEW_DATA_DIR) / "gltf";
}

/// A character as its file rests, seen as a whole, with the tool on the first item at the top that has
/// children.
class Character : public GestureScene {
public:
    explicit Character(const std::filesystem::path& file)
    {
        run({"scene.setup on:false", "scene.import file:'" + file.string() + "'", "time.set 0"});
        for (Item* item : scene().topItems())
            if (!top && item->isOfType("locator") && !item->children().empty())
                top = item;
        for (Item* item : scene().itemsOfType(host.locatorType()))
            joints.push_back(item);
        tool().view().width = 2000;
        tool().view().height = 1500;
        tool().view().fit(scene(), 0);
        size = tool().view().size;
        run("select.set '" + top->uniqueName() + "'");
        EXPECT_TRUE(tool().use("ik.pose").ok());
        takeMessages(); // what the import had to say
    }
    refhost::Pixel pixelOf(const Item& item)
    {
        refhost::Pixel pixel{};
        EXPECT_TRUE(tool().view().toScreen(matrix(item, "wposMatrix").offset, pixel));
        return pixel;
    }
    /// Joints that a press at their place reaches, rather than one in front of them or above in one place.
    std::vector<Item*> reachable()
    {
        std::vector<Item*> found;
        const std::vector<DrawElement> list = handles();
        std::set<int> parts;
        for (Item* joint : joints) {
            const refhost::Pixel pixel = pixelOf(*joint);
            const int part = tool().partAt(static_cast<int>(std::lround(pixel[0])),
                                           static_cast<int>(std::lround(pixel[1])));
            for (const DrawElement& handle : list)
                if (static_cast<int>(handle.part) == part
                    && distance(handle.transform.offset, matrix(*joint, "wposMatrix").offset) == 0
                    && parts.insert(part).second)
                    found.push_back(joint);
        }
        return found;
    }

    Item* top = nullptr;
    std::vector<Item*> joints;
    double size = 0; ///< height of what is seen
};

class CharacterTests : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        file = dataFolder() / GetParam();
        if (!std::filesystem::exists(file))
            GTEST_SKIP() << "no " << file << "; set SINEW_DATA to the folder of the sample files";
    }
    std::filesystem::path file;
};

/// The joint whose weight is the largest on the first point of the triangle; empty without any.
std::string strongestJoint(const refhost::Scene& scene, const refhost::RayHit& hit)
{
    const auto mesh = refhost::meshOf(*hit.item);
    const std::uint32_t point = mesh->data().triangles[hit.triangle][0];
    std::string name;
    float best = 0;
    for (std::size_t map = 0; map < mesh->data().maps.size(); ++map) {
        if (const float* weight = mesh->weight(map, point); weight && *weight > best) {
            best = *weight;
            name = refhost::mapName(scene, mesh->data().maps[map]);
        }
    }
    return name;
}

} // namespace

TEST(ChildTests, HandsWithinReachMeetThePointerWhileTheFeetAreLocked)
{
    Character child(std::string(SINEW_SOURCE) + "/examples/characters/Child.bvh");
    for (const char* foot : {"foot_l", "foot_r"})
        child.click(foot, "lock");
    const double pixel = child.size / child.tool().view().height,
                 height = child.place("head")[1] - child.place("foot_l")[1];
    for (const std::string side : {"l", "r"}) {
        const std::string hand = "hand_" + side;
        const Vector3 shoulder = child.place("upperarm_" + side), elbow = child.place("lowerarm_" + side),
                      start = child.place(hand), foot = child.place("foot_" + side);
        const double arm = distance(shoulder, elbow) + distance(elbow, start);
        for (int i = 0; i < 20; ++i) {
            const double angle = i * std::numbers::pi / 5, reach = (i < 10 ? 0.6 : 0.9) * arm;
            const Vector3 goal = {shoulder[0] + reach * std::cos(angle),
                                  shoulder[1] + reach * std::sin(angle), start[2]};
            child.drag(hand, goal - start);
            EXPECT_LT(distance(child.place(hand), goal), 0.005 * height + pixel) << hand << ' ' << i;
            EXPECT_LT(distance(child.place("foot_" + side), foot), 0.001 * height) << hand << ' ' << i;
            child.undo();
        }
    }
}

TEST_P(CharacterTests, ADragWithoutMotionLeavesThePose)
{
    Character character(file);
    const std::vector<Matrix34> before = character.pose(character.joints);
    for (const Item* joint : character.reachable()) {
        character.press(joint->uniqueName(), "move");
        character.moveBy(0, 0);
        EXPECT_LT(largestTurnDegrees(character.pose(character.joints), before), 0.1) << joint->label();
        character.release();
        EXPECT_EQ(difference(character.pose(character.joints), before), 0) << joint->label();
    }
}

TEST_P(CharacterTests, AJointTurnsAQuarterOfADegreeAPixel)
{
    Character character(file);
    const std::vector<Matrix34> before = character.pose(character.joints);
    for (const Item* joint : character.reachable()) {
        if (joint == character.top)
            continue; // it has no bone to turn
        SCOPED_TRACE(joint->label());
        const Matrix33 start = character.rotation(joint->uniqueName());
        character.press(joint->uniqueName(), "rotate");
        character.moveBy(1, 0);
        EXPECT_LT(largestTurnDegrees(character.pose(character.joints), before), 0.35);
        character.moveBy(99, 0);
        EXPECT_NEAR(character.turnDegrees(joint->uniqueName(), start), 25, 0.5);
        character.release();
        character.undo();
    }
}

TEST_P(CharacterTests, JointsFollowThePointerAndUndoIsWhole)
{
    Character character(file);
    const std::size_t before = character.digest();
    const double pixel = character.size / character.tool().view().height;
    const Vector3 by = {0.05 * character.size, 0.05 * character.size, 0};
    std::size_t tried = 0, missed = 0;
    for (const Item* joint : character.reachable()) {
        SCOPED_TRACE(joint->label());
        const Vector3 start = character.place(joint->uniqueName());
        character.drag(joint->uniqueName(), by, "move", 2);
        ++tried;
        if (distance(character.place(joint->uniqueName()), start + by) > 0.005 * character.size + pixel)
            ++missed;
        EXPECT_TRUE(character.takeMessages().empty());
        character.undo();
        EXPECT_EQ(character.digest(), before);
    }
    EXPECT_GT(tried, 5u);
    EXPECT_LE(missed, tried / 20) << "of " << tried;
}

TEST_P(CharacterTests, AClickOnTheMeshPicksTheJointThatMovesItMost)
{
    Character character(file);
    int picked = 0;
    for (int y = 50; y < 1500; y += 100) {
        for (int x = 50; x < 2000; x += 100) {
            refhost::RayHit hit;
            if (character.tool().partAt(x, y) >= 0
                || !refhost::castRay(character.scene(), 0, character.tool().view().ray({x + 0.0, y + 0.0}),
                                     hit))
                continue;
            const std::string expected = strongestJoint(character.scene(), hit);
            ASSERT_FALSE(expected.empty());
            EXPECT_TRUE(character.tool().press(x, y, *refhost::gestureByName("lock")).ok());
            EXPECT_TRUE(character.tool().release(x, y).ok());
            EXPECT_TRUE(character.isLocked(expected)) << x << ' ' << y << ' ' << expected;
            character.undo();
            ++picked;
        }
    }
    EXPECT_GT(picked, 10);
}

INSTANTIATE_TEST_SUITE_P(Files, CharacterTests, testing::Values("CesiumMan.glb", "Fox.glb"),
                         [](const auto& file) { return std::string(file.param, 3); });
