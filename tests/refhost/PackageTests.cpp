// SPDX-License-Identifier: MIT
// Packages and graphs: stable indices, order of links, everything back after undo.
#include "HostFixture.h"

using namespace refhost;
using support::namesOf;
using Names = std::vector<std::string>;

namespace {
using PackageTests = support::HostFixture;
}

TEST_F(PackageTests, OtherIndicesStayWhenAPackageGoes)
{
    begin();
    Item& item = make("joint");
    ASSERT_TRUE(scene.addPackage(item, "limits").ok());
    ASSERT_TRUE(scene.addPackage(item, "note").ok());
    const int limits = item.channelIndex("limitOn"), note = item.channelIndex("note");
    const int first = host.locatorType().layout().count();
    EXPECT_EQ(limits, first);
    EXPECT_EQ(note, first + 6);
    EXPECT_EQ(item.channel("limitAxis.Y")->definition().vector, "limitAxis");
    ASSERT_TRUE(scene.addPackage(item, "limits").ok());
    EXPECT_EQ(item.packages().size(), 2u);
    ASSERT_TRUE(scene.removePackage(item, "limits").ok());
    EXPECT_EQ(item.channel(limits), nullptr);
    EXPECT_EQ(item.channelIndex("limitOn"), -1);
    EXPECT_EQ(item.channelIndex("note"), note);
    ASSERT_TRUE(scene.addPackage(item, "limits").ok());
    EXPECT_EQ(item.channelIndex("limitOn"), first + 9);
    EXPECT_FALSE(scene.addPackage(item, "unheard").ok());
    EXPECT_FALSE(scene.removePackage(item, "unheard").ok());
}

TEST_F(PackageTests, UndoBringsValuesKeysAndLinksBackUnderTheSameIndices)
{
    begin();
    Item& item = make("joint");
    Item& goal = make("goal");
    ASSERT_TRUE(scene.addPackage(item, "limits").ok());
    ASSERT_TRUE(scene.addPackage(item, "note").ok());
    Channel& speed = *item.channel("limitSpeed");
    ASSERT_TRUE(scene.writeNumber(speed, Action::Setup, 0, 7, WriteMode::Plain).ok());
    ASSERT_TRUE(scene.putKey(speed, Action::Anim, {.time = 1, .number = 4}).ok());
    ASSERT_TRUE(scene.addLink(*goal.channel("visible"), speed).ok());
    ASSERT_TRUE(scene.addLink(speed, *goal.channel("visible")).ok());
    commit();
    const std::string before = scene.digest();
    begin();
    ASSERT_TRUE(scene.removePackage(item, "limits").ok());
    EXPECT_EQ(scene.channelGraph().linkCount(), 0u);
    EXPECT_FALSE(scene.writeNumber(speed, Action::Setup, 0, 8, WriteMode::Plain).ok());
    commit();
    const std::string without = scene.digest();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
    EXPECT_EQ(item.channel("limitSpeed"), &speed);
    EXPECT_EQ(speed.number(Layer::Anim, 1), 4);
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(scene.digest(), without);
}

TEST_F(PackageTests, APackageTakenBackLeavesNoHole)
{
    begin();
    Item& item = make("joint");
    commit();
    begin();
    ASSERT_TRUE(scene.addPackage(item, "limits").ok());
    commit();
    ASSERT_TRUE(scene.journal().undo().ok());
    begin();
    ASSERT_TRUE(scene.addPackage(item, "note").ok());
    commit();
    EXPECT_EQ(item.channelIndex("note"), host.locatorType().layout().count());
}

TEST_F(PackageTests, LinksKeepTheirOrderAndUndoItsPlaces)
{
    begin();
    Item& solver = make("solver");
    Item* tasks[4];
    for (Item*& task : tasks)
        task = &make("task");
    for (Item* task : tasks)
        ASSERT_TRUE(scene.addLink("ikTasks", solver, *task).ok());
    Item& second = make("solver");
    ASSERT_TRUE(scene.addLink("ikTasks", second, *tasks[1]).ok());
    ASSERT_TRUE(scene.addLink("ikTasks", solver, *tasks[0]).ok());
    commit();
    const ItemGraph& graph = scene.graph("ikTasks");
    EXPECT_EQ(namesOf(graph.forward(solver)), (Names{"task", "task_2", "task_3", "task_4"}));
    EXPECT_EQ(namesOf(graph.reverse(*tasks[1])), (Names{"solver", "solver_2"}));
    begin();
    ASSERT_TRUE(scene.deleteLink("ikTasks", solver, *tasks[1]).ok());
    EXPECT_FALSE(scene.deleteLink("ikTasks", solver, *tasks[1]).ok());
    EXPECT_FALSE(scene.deleteLink("ikRefs", solver, *tasks[0]).ok());
    commit();
    EXPECT_EQ(namesOf(graph.forward(solver)), (Names{"task", "task_3", "task_4"}));
    EXPECT_EQ(namesOf(graph.reverse(*tasks[1])), (Names{"solver_2"}));
    EXPECT_TRUE(graph.reverse(solver).empty());
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(namesOf(graph.forward(solver)), (Names{"task", "task_2", "task_3", "task_4"}));
    EXPECT_EQ(namesOf(graph.reverse(*tasks[1])), (Names{"solver", "solver_2"}));
}
