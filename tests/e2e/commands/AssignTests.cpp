// SPDX-License-Identifier: MIT
// From locators to a rig, and rest poses.
#include "e2e/commands/CommandScene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace e2e;

namespace {

constexpr double kExact = 1e-12;

void expectNear(const Vector3& a, const Vector3& b, double tolerance = kExact)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << "component " << i;
}

/// The rest channels of a joint say what its transforms say.
void expectRest(CommandScene& scene, const char* name, const Vector3& position, const Vector3& radians,
                int order = 0)
{
    SCOPED_TRACE(name);
    const Matrix33 rotation = refhost::matrixFromEuler(radians, order);
    expectNear(scene.values(name, "ikRestPos"), position);
    const char* axes[] = {"ikRestXAxis", "ikRestYAxis", "ikRestZAxis"};
    for (int c = 0; c < 3; ++c)
        expectNear(scene.values(name, axes[c]), {rotation[0][c], rotation[1][c], rotation[2][c]});
    expectNear(scene.values(name, "ikRestRot"), radians);
    EXPECT_EQ(scene.value(name, "ikRotOrder"), order);
}

constexpr double degrees(double d) { return d * std::numbers::pi / 180; }
constexpr const char* kJoint = "ik.package ik.joint";

/// R with the children A and B, C below B.
struct Figure : CommandScene {
    Figure()
    {
        run({"item.create name:R", "item.create name:A parent:R", "item.create name:B parent:R",
             "item.create name:C parent:B", "channel.set R pos.Y 1", "channel.set B rot.Z 20deg",
             "channel.set C pos.X 2", "channel.set C rot.X 10deg", "channel.set C rot.Y 40deg"});
    }
};

} // namespace

TEST(AssignTests, TheEndsThatAreSelectedTellTheChains)
{
    Figure figure;
    figure.run(
        {"channel.set C order yzx", "channel.set C scl.Y 3", "select.set R", "select.add C", "ikfb.assign"});
    EXPECT_EQ(figure.ask("items"),
              "R (locator) +ik.package +ik.joint;   A (locator);   B (locator) +ik.package +ik.joint;     C "
              "(locator) +ik.package +ik.joint;   FullBodyIK (ikFullBody)");
    EXPECT_EQ(figure.tag("FullBodyIK", "PRNT"), "denied");
    EXPECT_EQ(figure.links("ikRefs"), "R -> B; B -> C");
    EXPECT_EQ(figure.links("ikTasks") + figure.links("chanLinks"), "");
    EXPECT_EQ(figure.selected(), "C");
    expectRest(figure, "B", {0, 0, 0}, {0, 0, degrees(20)});
    expectRest(figure, "C", {2, 0, 0}, {degrees(10), degrees(40), 0}, 3);
    // R has no rotation item: its angles stay as they were.
    expectNear(figure.values("R", "ikRestPos"), {0, 1, 0});
    EXPECT_EQ(figure.value("R", "ikRotOrder"), 4);
    EXPECT_EQ(figure.value("FullBodyIK", "iksTransRoot"), 0);
    EXPECT_EQ(figure.value("FullBodyIK", "iksEnabled"), 1);
    EXPECT_NE(figure.answer("item.parent item:FullBodyIK parent:A"), "") << "the tag keeps it where it is";

    figure.run("undo");
    EXPECT_EQ(figure.links("ikRefs") + figure.packages("C"), "");
    EXPECT_EQ(figure.selected(), "R C");
}

TEST(AssignTests, TheRootAloneTakesAllLocatorsBelowIt)
{
    Figure figure;
    figure.run({"item.create name:M type:mesh parent:B", "item.create name:BelowM parent:M",
                "item.create name:Other parent:C", "item.create name:O1 parent:Other",
                "ikfb.assign item:Other", "item.create name:D parent:C", "select.set A",
                "ikfb.assign item:R"});
    EXPECT_EQ(figure.links("ikRefs"), "R -> A; R -> B; B -> C; C -> D; Other -> O1");
    EXPECT_EQ(figure.packages("M") + figure.packages("BelowM"), "");
    EXPECT_EQ(figure.packages("R"), kJoint);
    EXPECT_EQ(figure.selected(), "");
    EXPECT_EQ(figure.item("R").children().size(), 3u);
}

TEST(AssignTests, ItemsThatAreNotBelowTheRootAreLeftOut)
{
    Figure figure;
    figure.run({"item.create name:L", "item.create name:M type:mesh parent:R", "item.create name:X parent:M",
                "select.set R", "select.add L", "select.add X", "ikfb.assign"});
    EXPECT_EQ(figure.links("ikRefs"), "R -> A; R -> B; B -> C") << "as if nothing else had been selected";
    EXPECT_EQ(figure.selected(), "");
}

TEST(AssignTests, AChainThroughAnotherRigIsLinkedFromAboveItAlone)
{
    Figure figure;
    figure.run({"item.create name:S parent:C", "item.create name:S1 parent:S", "item.create name:E parent:S1",
                "select.set S", "ikfb.assign", "select.set R", "select.add E", "select.add A",
                "ikfb.assign"});
    EXPECT_EQ(figure.links("ikRefs"), "R -> B; R -> A; B -> C; S -> S1; S1 -> E");
    EXPECT_EQ(figure.selected(), "E A");
}

TEST(AssignTests, TransRootIsANumberAndMoreThanOneCancels)
{
    Figure figure;
    const std::size_t before = figure.digest();
    const auto assign = figure.commands().spawn("ikfb.assign");
    ASSERT_TRUE(assign.ok());
    ASSERT_TRUE(assign.value->arguments().setItem(0, figure.item("R")).ok());
    ASSERT_TRUE(assign.value->arguments().setInteger(1, 2).ok());
    EXPECT_TRUE(figure.commands().test(*assign.value).yes);
    EXPECT_TRUE(figure.commands().execute(*assign.value).ok());
    EXPECT_EQ(figure.digest(), before);
    // The same object again, with another value.
    ASSERT_TRUE(assign.value->arguments().setInteger(1, 1).ok());
    EXPECT_TRUE(figure.commands().execute(*assign.value).ok());
    EXPECT_EQ(figure.value("FullBodyIK", "iksTransRoot"), 1);
}

TEST(AssignTests, ASceneCanHaveItsNewRigsStartDisabled)
{
    for (const auto& [tag, enabled] : {std::pair("disabled", 0), std::pair("Disabled", 1)}) {
        Figure figure;
        figure.run("select.set R");
        figure.run("scene.tag IKEN " + std::string(tag));
        figure.run("ikfb.assign");
        EXPECT_EQ(figure.value("FullBodyIK", "iksEnabled"), enabled) << tag;
    }
}

TEST(AssignTests, TwoRigsLiveInOneScene)
{
    Stage stage;
    EXPECT_EQ(stage.links("ikRefs"), "R -> B; B -> C; C -> D; S -> S1; S1 -> S2");
    EXPECT_EQ(stage.nodes("ikfb"), 2u);
    const std::vector<Item*> first = {&stage.item("R"), &stage.item("B"), &stage.item("C"), &stage.item("D")};
    const std::vector<Matrix34> before = stage.pose(first);
    stage.run("channel.set FullBodyIK iksEnabled 0");
    EXPECT_LT(difference(before, stage.pose(first)), 1e-5) << "without tasks the pose stays";
    stage.run("undo");
    stage.run({"ikfb.goal item:S2", "channel.set Goal pos.X -4", "channel.set Goal pos.Y 2"});
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK_2 -> S2");
    EXPECT_EQ(stage.pose(first), before) << "the goal of one rig is none of the other's";
    EXPECT_NEAR(stage.matrix(stage.item("S2"), "wposMatrix").offset[0], -4, 0.2);
}

TEST(SetRestTests, OneJointOrAWholeRig)
{
    Stage stage;
    stage.run({"channel.set C rot.X 50deg", "channel.set D pos.X 6", "channel.set B scl.X 2"});
    const std::size_t moved = stage.digest();
    stage.run("ikfb.setRest item:C");
    expectRest(stage, "C", {2, 0, 0}, {degrees(50), 0, 0});
    expectNear(stage.values("D", "ikRestPos"), {5, 0, 0});
    stage.run("undo");
    EXPECT_EQ(stage.digest(), moved);
    EXPECT_EQ(stage.nodes("ikfb"), 2u);
    const std::uint64_t making = stage.evaluation().makingCount("ikfb");
    stage.run("ikfb.setRest item:FullBodyIK");
    EXPECT_EQ(stage.nodes("ikfb"), 2u);
    EXPECT_GT(stage.evaluation().makingCount("ikfb"), making) << "solvers are made with the rest pose";
    expectRest(stage, "B", {1, 0, 0}, {0, 0, degrees(20)}); // without its scale
    expectRest(stage, "D", {6, 0, 0}, {0, degrees(30), 0});
    EXPECT_EQ(stage.packages("A"), "");
}

TEST(SetRestTests, AnAxisWithoutLengthIsWrittenAsItIs)
{
    Stage stage;
    stage.run({"channel.set D scl.X 0", "ikfb.setRest item:D"});
    EXPECT_EQ(stage.values("D", "ikRestXAxis"), (Vector3{0, 0, 0}));
    expectNear(stage.values("D", "ikRestYAxis"), {0, 1, 0});
}
