// SPDX-License-Identifier: MIT
// Tasks on joints, goals that drive them, and branches that join a rig or leave it.
#include "e2e/commands/CommandScene.h"

#include <cmath>
#include <numbers>

using namespace e2e;
using refhost::Layer;

namespace {

constexpr double kRead = 1e-12;

void expectNear(const Vector3& a, const Vector3& b, double tolerance)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << "component " << i;
}

/// Row-vector joint times inverse goal: the joint in the goal's frame.
struct Offset {
    Vector3 position, angles;
};
Offset offsetOf(CommandScene& scene, const char* joint, const char* goal)
{
    const Matrix33 j = scene.matrix(scene.item(joint), "wrotMatrix").linear,
                   g = scene.matrix(scene.item(goal), "wrotMatrix").linear;
    const Vector3 p = scene.matrix(scene.item(joint), "wposMatrix").offset,
                  q = scene.matrix(scene.item(goal), "wposMatrix").offset;
    return {transposed(g) * Vector3{p[0] - q[0], p[1] - q[1], p[2] - q[2]},
            refhost::eulerFromMatrix(transposed(g) * j, 4)};
}

} // namespace

TEST(TaskTests, ANewTaskIsKeyedWhereTheJointStands)
{
    Stage stage;
    stage.run({"scene.setup on:false", "time.set 1.5"});
    const std::vector<Item*> joints = stage.joints();
    const Vector3 place = stage.matrix(stage.item("D"), "wposMatrix").offset;
    const Matrix33 turn = stage.matrix(stage.item("D"), "wrotMatrix").linear;
    const std::vector<Matrix34> before = stage.pose(joints);
    stage.run({"ikfb.task item:D type:0 mode:1", "ikfb.task item:D type:1 mode:1"});
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint ik.positionTask ik.orientationTask");
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK -> D");
    for (const char* name : {"ikptPos.X", "ikptPos.Y", "ikptPos.Z", "ikotRot.X", "ikotRot.Y", "ikotRot.Z"}) {
        const auto& keys = RigScene::channel(stage.item("D"), name).keys(Layer::Anim);
        ASSERT_EQ(keys.count(), 1u) << name;
        EXPECT_EQ(keys.keys().front().time, 1.5) << name;
    }
    expectNear(stage.values("D", "ikptPos", Layer::Anim, 1.5), place, kRead);
    expectNear(stage.values("D", "ikotRot", Layer::Anim, 1.5), refhost::eulerFromMatrix(turn, 0), kRead);
    EXPECT_FALSE(RigScene::channel(stage.item("D"), "ikptScale").isSet(Layer::Anim, 0));
    EXPECT_LT(difference(stage.pose(joints), before), 1e-4) << "it starts satisfied";
    stage.run("ikfb.task item:S2 type:0 mode:1 scale:2.5");
    EXPECT_EQ(stage.value("S2", "ikptScale", Layer::Anim), 2.5);
    EXPECT_FALSE(RigScene::channel(stage.item("S2"), "ikptScale").isSet(Layer::Setup, 0));
}

TEST(TaskTests, RemovingTakesBackWhatAddingDid)
{
    Stage stage;
    const std::string bare = stage.content();
    stage.run("ikfb.task item:D type:0 mode:1 scale:-3");
    EXPECT_EQ(stage.value("D", "ikptScale"), 1) << "a scale that is not above 0 counts as 1";
    EXPECT_EQ(RigScene::channel(stage.item("D"), "ikptPos.X").keys(Layer::Setup).count(), 1u);
    const std::string links = stage.links("ikTasks");
    stage.run({"ikfb.task item:D type:1 mode:3", "ikfb.task item:D type:0"});
    EXPECT_EQ(stage.links("ikTasks"), links) << "one link serves both kinds";
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint ik.orientationTask");
    stage.run("ikfb.task item:D type:1 mode:0");
    EXPECT_EQ(stage.links("ikTasks"), "");
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint");
    EXPECT_EQ(stage.content(), bare);
}

TEST(TaskTests, WhatIsInNoRigIsPassedOverInSilence)
{
    Stage stage;
    stage.run({"select.set D", "select.add F", "select.add M", "select.add S2", "select.add FullBodyIK",
               "ikfb.task type:0 mode:1"});
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK -> D; FullBodyIK_2 -> S2");
    EXPECT_EQ(stage.packages("F") + stage.packages("M") + stage.packages("FullBodyIK"), "");
    const std::size_t before = stage.digest();
    stage.run("ikfb.task item:D type:2 mode:1");
    EXPECT_EQ(stage.digest(), before) << "another type is enabled and does nothing";
    stage.run("item.delete item:FullBodyIK");
    const std::size_t orphaned = stage.digest();
    stage.run("ikfb.task item:C type:0 mode:1");
    EXPECT_EQ(stage.digest(), orphaned) << "a joint that has lost its solver item";
}

TEST(GoalTests, AGoalStandsAtItsJointAndDrivesItsTasks)
{
    CommandScene stage;
    stage.run({"item.create name:R", "item.create name:C parent:R", "item.create name:D parent:C",
               "channel.set R pos.X -2", "channel.set R rot.X 40deg", "channel.set D pos.X 5",
               "channel.set D rot.Y 30deg", "ikfb.assign item:R", "time.set 0.5", "select.set D",
               "ikfb.goal item:D"});
    ASSERT_NEAR(stage.matrix(stage.item("D"), "wposMatrix").offset[0], 3, 1e-4);
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint ik.positionTask ik.orientationTask");
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK -> D");
    EXPECT_EQ(stage.links("chanLinks"), "Goal.wposMatrix -> D.ikptMatrix; Goal.wrotMatrix -> D.ikotMatrix");
    EXPECT_EQ(stage.selected(), "");
    const std::vector<Item*> both = {&stage.item("D"), &stage.item("Goal")};
    const std::vector<Matrix34> pose = stage.pose(both);
    EXPECT_LT(difference({pose[0]}, {pose[1]}), 1e-4);
    EXPECT_EQ(stage.packages("Goal"), "drawing");
    EXPECT_EQ(stage.values("Goal", "isSize"), (Vector3{0.5, 0.5, 0.5}));
    for (const char* one : {"drawShape", "isStyle", "fillOptions", "wireOptions"})
        EXPECT_EQ(stage.value("Goal", one), 1) << one;
    for (const auto& [name, number] : {std::pair("fillColor.R", 0.4), std::pair("fillColor.G", 1.0),
                                       std::pair("fillColor.B", 0.4), std::pair("wireColor.R", 0.0)})
        EXPECT_EQ(stage.value("Goal", name), number) << name;
    stage.run("undo");
    EXPECT_EQ(stage.links("chanLinks") + stage.links("ikTasks"), "");
    EXPECT_EQ(stage.selected(), "D");
}

TEST(GoalTests, SidesAreToldByColour)
{
    struct Side {
        double x;
        double red, green, blue, size;
    };
    // The size of a goal is 1 tenth of its bone, or 0.25 where that has no length; half of it is the middle.
    for (const Side& side : {Side{2.6, 0.4, 1, 0.4, 0.5}, Side{-2.4, 1, 0.4, 0.4, 0.5},
                             Side{0.2, 0.4, 0.4, 1, 0.5}, Side{-0.2, 0.4, 0.4, 1, 0.5}}) {
        CommandScene scene;
        scene.run({"item.create name:R", "item.create name:J parent:R", "channel.set J pos.Y 5"});
        scene.run("channel.set R pos.X " + std::to_string(side.x));
        scene.run({"ikfb.assign item:R", "ikfb.goal item:J"});
        EXPECT_EQ(scene.value("Goal", "isSize.Z"), side.size) << side.x;
        EXPECT_EQ(scene.value("Goal", "fillColor.R"), side.red) << side.x;
        EXPECT_EQ(scene.value("Goal", "fillColor.G"), side.green) << side.x;
        EXPECT_EQ(scene.value("Goal", "fillColor.B"), side.blue) << side.x;
    }
    CommandScene scene;
    scene.run(
        {"item.create name:R", "item.create name:J parent:R", "ikfb.assign item:R", "ikfb.goal item:J"});
    EXPECT_EQ(scene.value("Goal", "isSize.X"), 0.25);
}

TEST(GoalTests, EverySelectedJointGetsItsOwnGoal)
{
    Stage stage;
    stage.run({"ikfb.task item:S2 type:1 mode:1", "select.set D", "select.add F", "select.add C",
               "select.add S2", "ikfb.goal"});
    EXPECT_EQ(stage.links("chanLinks"),
              "Goal.wposMatrix -> D.ikptMatrix; Goal.wrotMatrix -> D.ikotMatrix; Goal_2.wposMatrix -> "
              "C.ikptMatrix; Goal_2.wrotMatrix -> C.ikotMatrix; Goal_3.wposMatrix -> S2.ikptMatrix; "
              "Goal_3.wrotMatrix -> S2.ikotMatrix");
    EXPECT_EQ(stage.selected(), "");
    EXPECT_TRUE(stage.takeMessages().empty());
}

TEST(GoalTests, TheJointInWorkGetsItsTasksWhateverIsSelectedFirst)
{
    constexpr const char* kBoth = "ik.package ik.joint ik.positionTask ik.orientationTask";
    struct Mix {
        std::initializer_list<std::string_view> before;
        const char* line;
        const char* joint; ///< it gets its tasks and a goal
    };
    const Mix mixes[] = {
        {{}, "ikfb.goal item:D", "D"},
        {{"select.set L", "select.add FullBodyIK"}, "ikfb.goal item:D", "D"},
        {{"select.set C"}, "ikfb.goal item:D", "D"},
        {{"ikfb.task item:D type:0 mode:1", "select.set D", "select.add M", "select.add C"},
         "ikfb.goal",
         "C"},
        {{"ikfb.task item:D type:1 mode:1", "select.set D", "select.add L", "select.add S2"},
         "ikfb.goal",
         "S2"},
    };
    for (const Mix& mix : mixes) {
        Stage stage;
        stage.run(mix.before);
        const std::vector<Item*> selected = [&] {
            std::vector<Item*> items;
            for (const refhost::Packet& packet : stage.host.selection().packets(refhost::SelectionType::Item))
                items.push_back(packet.item);
            return items;
        }();
        stage.run(mix.line);
        SCOPED_TRACE(std::string(mix.line) + " for " + mix.joint);
        EXPECT_EQ(stage.packages(mix.joint), kBoth);
        EXPECT_NE(stage.links("chanLinks").find(std::string("rotMatrix -> ") + mix.joint), std::string::npos);
        for (const Item* item : selected) {
            const bool isJoint = item->hasPackage("ik.joint");
            EXPECT_EQ(item->hasPackage("ik.positionTask"), isJoint) << item->uniqueName();
        }
        EXPECT_EQ(stage.selected(), "");
        EXPECT_TRUE(stage.takeMessages().empty());
    }
}

TEST(GoalAssignTests, TheKindOfGoalDecidesTasksAndLinks)
{
    struct Kind {
        const char* line;
        const char* packages;
        const char* links;
    };
    const Kind kinds[] = {
        {"ikfb.goalAssign item:L goal:D type:0", "ik.package ik.joint ik.positionTask ik.orientationTask",
         "L.wposMatrix -> D.ikptMatrix; L.wrotMatrix -> D.ikotMatrix"},
        {"ikfb.goalAssign item:D goal:L type:1 comp:1", "ik.package ik.joint ik.positionTask",
         "L.wposMatrix -> D.ikptMatrix"},
        {"ikfb.goalAssign item:D goal:L type:2 comp:1", "ik.package ik.joint ik.orientationTask",
         "L.wrotMatrix -> D.ikotMatrix"},
    };
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.line);
        Stage stage;
        stage.run({"channel.set L pos.X 4", "channel.set L rot.Y 15deg", kind.line});
        EXPECT_EQ(stage.packages("D"), kind.packages);
        EXPECT_EQ(stage.links("chanLinks"), kind.links);
        EXPECT_EQ(stage.links("ikTasks"), "") << "that link is the task command's";
        for (const char* offset : {"ikptOffset.X", "ikotOffset.X"}) {
            if (const refhost::Channel* channel = stage.item("D").channel(offset)) {
                EXPECT_EQ(channel->number(Layer::Setup, 0), 0) << offset;
            }
        }
    }
}

TEST(GoalAssignTests, CompKeepsJointAndGoalApart)
{
    Stage stage;
    stage.run({"channel.set F pos.X 1", "channel.set F rot.Y 35deg", "channel.set F1 pos.Z 2",
               "channel.set F1 rot.X -60deg", "channel.set F1 rot.Z 25deg"});
    const Offset expected = offsetOf(stage, "D", "F1");
    stage.run({"select.set F1", "select.add D", "ikfb.goalAssign type:0 comp:2"});
    expectNear(stage.values("D", "ikptOffset"), expected.position, 1e-9);
    expectNear(stage.values("D", "ikotOffset"), expected.angles, 1e-9);
    EXPECT_GT(std::hypot(expected.position[0], expected.position[1], expected.position[2]), 1);
    // A task that counts does not move the joint then.
    const std::vector<Item*> joints = stage.joints();
    const std::vector<Matrix34> before = stage.pose(joints);
    stage.run("graph.link ikTasks FullBodyIK D");
    EXPECT_LT(difference(stage.pose(joints), before), 1e-3);
}

TEST(GoalQueryTests, TellsHowTheSolveEndedAndWhatIsLeftToEachGoal)
{
    Stage stage;
    // Below a parent of uneven scale, with offsets and scaled goals: what counts is the joint as it is shown.
    stage.run({"item.create name:P", "item.parent item:R parent:P", "channel.set P rot.Y 35deg",
               "channel.set P scl.X 2", "channel.set P scl.Z 0.5", "select.set D", "ikfb.goal",
               "ikfb.task item:C type:1 mode:1", "ikfb.task item:B type:0 mode:1",
               "channel.set B ikptEnable 0", "channel.set D ikptOffset.X 0.5",
               "channel.set D ikotOffset.Z 30deg", "channel.set Goal pos.Y 40",
               "channel.set FullBodyIK iksSteps 500"});
    for (const double scale : {1.0, 0.5}) {
        stage.set(stage.item("D"), "ikptScale", scale);
        const std::string told = stage.ask("query item:FullBodyIK goals:true");
        const Matrix34 joint{stage.matrix(stage.item("D"), "wrotMatrix").linear,
                             stage.matrix(stage.item("D"), "wposMatrix").offset};
        const Matrix33 turn = stage.matrix(stage.item("Goal"), "wrotMatrix").linear;
        const Matrix33 wanted = turn * refhost::matrixFromEuler({0, 0, std::numbers::pi / 6}, 4);
        const Vector3 lever = wanted * Vector3{0, 0, 0}, ahead = turn * Vector3{0.5, 0, 0};
        Vector3 place = stage.matrix(stage.item("Goal"), "wposMatrix").offset;
        for (std::size_t a = 0; a < 3; ++a)
            place[a] = scale * (place[a] + ahead[a] + lever[a]); // the parent stands at the origin
        const double distance =
            std::hypot(joint.offset[0] - place[0], joint.offset[1] - place[1], joint.offset[2] - place[2]);
        double squares = 0;
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                squares += std::pow(joint.linear[r][c] - wanted[r][c], 2);
        const double degrees = 2 * std::asin(std::sqrt(squares / 8)) * 180 / std::numbers::pi;
        EXPECT_EQ(told.rfind("iterations ", 0), 0u) << told;
        EXPECT_NE(told.find(" of 500; converged "), std::string::npos) << told;
        const auto number = [&](const std::string& label) {
            const std::size_t at = told.find(label);
            return at == std::string::npos ? -1 : std::stod(told.substr(at + label.size()));
        };
        EXPECT_GT(distance, 1) << "out of reach";
        EXPECT_NEAR(number("D distance "), distance, 1e-6 * distance);
        EXPECT_NEAR(number("D angle "), degrees, 1e-4);
        EXPECT_GE(number("C angle "), 0) << told;
        EXPECT_EQ(number("C distance "), -1) << "it has no such goal";
        EXPECT_EQ(number("B distance "), -1) << "it is switched off";
    }
    stage.run("channel.set FullBodyIK iksSteps 1");
    EXPECT_NE(stage.ask("query item:FullBodyIK goals:true").find("1 of 1; converged no: its steps"),
              std::string::npos);
    stage.run("item.rename item:D Hand");
    EXPECT_NE(stage.ask("query item:FullBodyIK goals:true").find("; Hand distance "), std::string::npos);
    for (const char* line : {"query item:L goals:true", "query item:FullBodyIK goals:true time:3",
                             "query item:FullBodyIK goals:true tags:true"})
        EXPECT_NE(stage.answer(line), "") << line;
}

TEST(GoalQueryTests, TagsSuchAsLocksCanBeAskedFor)
{
    Stage stage;
    stage.run("item.tag PSTL ikLock item:F1");
    EXPECT_EQ(stage.ask("query item:F1 tags:true"), "PSTL ikLock");
    EXPECT_EQ(stage.ask("items item:F tags:true"),
              "F (locator);   F1 (locator) PSTL=ikLock;     F2 (locator)");
    EXPECT_EQ(stage.ask("items item:F1"), "F1 (locator);   F2 (locator)");
    EXPECT_NE(stage.ask("items item:F1 json:true").find(R"("tags":{"PSTL":"ikLock"})"), std::string::npos);
}

TEST(ChainTests, ABranchJoinsWithAllItsLocators)
{
    Stage stage;
    stage.run({"item.create name:A1 parent:A", "item.create name:AM type:mesh parent:A",
               "item.create name:AMx parent:AM", "item.create name:A2 parent:A1",
               "channel.set A1 rot.X 30deg", "channel.set A1 pos.Y 2", "ikfb.chain item:A mode:1"});
    EXPECT_EQ(stage.links("ikRefs"), "R -> B; R -> A; B -> C; A -> A1; C -> D; S -> S1; S1 -> S2; A1 -> A2");
    EXPECT_EQ(stage.packages("A2"), "ik.package ik.joint");
    EXPECT_EQ(stage.packages("AM") + stage.packages("AMx"), "");
    EXPECT_EQ(stage.value("A1", "ikRestPos.Y"), 2);
    EXPECT_NEAR(stage.value("A1", "ikRestRot.X"), std::numbers::pi / 6, 1e-12);
    EXPECT_EQ(stage.answer("ikfb.chain item:A1"), "") << "an unset mode removes";
    EXPECT_EQ(stage.links("ikRefs"), "R -> B; R -> A; B -> C; C -> D; S -> S1; S1 -> S2");
}

TEST(ChainTests, ABranchLeavesWithItsTasksAndTheGoalsStay)
{
    Stage stage;
    stage.run({"ikfb.goal item:D", "ikfb.task item:C type:0 mode:1", "ikfb.chain item:C mode:0"});
    EXPECT_EQ(stage.links("ikRefs"), "R -> B; S -> S1; S1 -> S2");
    EXPECT_EQ(stage.packages("C") + stage.packages("D"), "");
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK -> D; FullBodyIK -> C");
    EXPECT_EQ(stage.links("chanLinks"), "");
    EXPECT_EQ(stage.packages("Goal"), "drawing");
    const std::string pruned = stage.content();
    stage.run("ikfb.chain item:C mode:1");
    EXPECT_EQ(stage.links("ikRefs"), "R -> B; B -> C; C -> D; S -> S1; S1 -> S2");
    stage.run("ikfb.chain item:C");
    EXPECT_EQ(stage.content(), pruned);
}

TEST(ChainTests, AChildThatIsNotLinkedStopsTheWalk)
{
    Stage stage;
    stage.run({"item.create name:D1 parent:D", "item.create name:E parent:D1", "ikfb.chain item:D1 mode:1",
               "graph.unlink ikRefs D D1", "graph.unlink ikRefs D1 E", "ikfb.chain item:C"});
    EXPECT_EQ(stage.packages("C") + stage.packages("D"), "");
    EXPECT_EQ(stage.packages("D1"), "ik.package ik.joint");
    EXPECT_EQ(stage.packages("E"), "ik.package ik.joint");
}

TEST(RemoveTests, TwoRigsGoInOneStepAndComeBack)
{
    Stage stage;
    stage.run({"ikfb.goal item:D", "ikfb.task item:S2 type:0 mode:1", "select.set FullBodyIK", "select.add F",
               "select.add FullBodyIK_2"});
    const std::size_t before = stage.digest();
    const std::size_t steps = stage.scene().journal().undoCount();
    stage.run("ikfb.remove");
    EXPECT_EQ(stage.links("ikRefs") + stage.links("ikTasks") + stage.links("chanLinks"), "");
    for (const char* name : {"R", "B", "C", "D", "S", "S1", "S2"})
        EXPECT_EQ(stage.packages(name), "") << name;
    EXPECT_EQ(stage.scene().findByUniqueName("FullBodyIK"), nullptr);
    EXPECT_EQ(stage.scene().findByUniqueName("FullBodyIK_2"), nullptr);
    EXPECT_NE(stage.scene().findByUniqueName("Goal"), nullptr);
    EXPECT_EQ(stage.selected(), "");
    EXPECT_EQ(stage.scene().journal().undoCount(), steps + 1);
    EXPECT_TRUE(stage.takeMessages().empty());
    stage.run("undo");
    EXPECT_EQ(stage.digest(), before);
    EXPECT_EQ(stage.selected(), "FullBodyIK F FullBodyIK_2");
}

TEST(RemoveTests, NothingOfARigStaysWhereverItHangs)
{
    struct Place {
        const char* name;
        std::initializer_list<std::string_view> before;
        const char* solver;
        std::initializer_list<const char*> stripped, kept;
    };
    const Place places[] = {
        {"right below another rig's root",
         {"item.create name:X parent:R", "item.create name:Y parent:X", "ikfb.assign item:X",
          "ikfb.task item:Y type:0 mode:1"},
         "FullBodyIK_3",
         {"X", "Y"},
         {"R", "B", "D", "FullBodyIK"}},
        {"no joints left", {"item.delete item:S1"}, "FullBodyIK_2", {"S"}, {"R", "D", "FullBodyIK"}},
        {"a rig nested below goes with it",
         {"item.create name:X parent:D", "item.create name:Y parent:X", "ikfb.assign item:X"},
         "FullBodyIK",
         {"R", "B", "C", "D", "X", "Y"},
         {"S", "S2", "FullBodyIK_3"}},
        {"another solver item at the same root",
         {"item.create type:ikFullBody name:Other parent:S"},
         "Other",
         {},
         {"S", "S1", "S2", "FullBodyIK_2"}},
    };
    for (const Place& place : places) {
        SCOPED_TRACE(place.name);
        Stage stage;
        stage.run(place.before);
        const std::size_t before = stage.digest();
        stage.run("ikfb.remove item:" + std::string(place.solver));
        EXPECT_EQ(stage.scene().findByUniqueName(place.solver), nullptr);
        for (const char* name : place.stripped) {
            EXPECT_EQ(stage.packages(name), "") << name;
            EXPECT_EQ((" " + stage.links("ikRefs") + ";").find(std::string(" ") + name + ";"),
                      std::string::npos);
        }
        for (const char* name : place.kept) {
            const bool isSolver = stage.item(name).isOfType("ikFullBody");
            EXPECT_TRUE(isSolver || stage.item(name).hasPackage("ik.joint")) << name;
        }
        EXPECT_TRUE(stage.takeMessages().empty());
        stage.run("undo");
        EXPECT_EQ(stage.digest(), before);
    }
}

TEST(RemoveTests, ASolverItemWithoutAParentIsLeftAlone)
{
    Stage stage;
    stage.run({"item.create type:ikFullBody name:Alone", "ikfb.remove item:Alone"});
    EXPECT_NE(stage.scene().findByUniqueName("Alone"), nullptr);
}
