// SPDX-License-Identifier: MIT
// Goals: by channels, by linked items, by items of a list; and what the task matrices show.
#include "e2e/Arm.h"

#include <cmath>

using namespace e2e;
using Pose = std::vector<Matrix34>;

namespace {

const LocalParts kGoal = at({1.8, 2.2, 1}, {30, -50, 70}, {2, 0.5, 3});

/// Both tasks on the tip.
struct TaskArm : Arm {
    TaskArm() : Arm(unevenParent()) { orientationTask(tip, base, kGoal.rotation); }
    Pose shown() { return pose(bones); }
};

/// Stands still while the task's own channels change.
template <class Edit>
bool changesPose(TaskArm& arm, Edit edit)
{
    const Pose before = arm.shown();
    edit();
    return arm.shown() != before;
}

} // namespace

TEST(TaskTests, ChannelsLinksAndListsGiveTheSameGoal)
{
    TaskArm channels;
    channels.set(channels.tip, "ikptPos", kGoal.position);
    expectAsTold(channels, channels.base);
    EXPECT_EQ(channels.nodes("iktask"), 1u);

    TaskArm links;
    Item& goal = links.goalItem("goal", links.tip, "pt", kGoal);
    links.link(goal, "wrotMatrix", links.tip, "ikotMatrix");
    expectAsTold(links, links.base);
    EXPECT_EQ(links.nodes("iktask"), 0u) << "links feed both sides";
    EXPECT_LE(difference(links.shown(), channels.shown()), kSolvedTolerance);

    TaskArm list;
    Item& other = list.locator("other", nullptr, at({9, 9, 9}));
    Item& picked = list.locator("picked", nullptr, kGoal);
    list.link("ikTasks", list.tip, other);
    list.link("ikTasks", list.tip, picked);
    list.set(list.tip, "ikptLinkIndex", 2);
    list.set(list.tip, "ikotLinkIndex", 2);
    expectAsTold(list, list.base);
    EXPECT_LE(difference(list.shown(), channels.shown()), kSolvedTolerance);
    EXPECT_TRUE(changesPose(list, [&] { list.set(list.tip, "ikptLinkIndex", 1); }));
    expectAsTold(list, list.base);
}

TEST(TaskTests, EachSideIsDrivenForItself)
{
    TaskArm arm;
    Item& goal = arm.goalItem("goal", arm.tip, "pt", kGoal);
    expectAsTold(arm, arm.base);
    EXPECT_EQ(arm.nodes("iktask"), 1u);
    EXPECT_FALSE(changesPose(arm, [&] { arm.set(arm.tip, "ikptPos", {0, 0, 0}); })) << "a link is stronger";
    EXPECT_TRUE(changesPose(arm, [&] { arm.set(arm.tip, "ikotRot", {0.1, 0.2, 0.3}); }));
    EXPECT_TRUE(changesPose(arm, [&] { arm.place(goal, at({2, 1.5, 1})); }));
    expectAsTold(arm, arm.base);
}

TEST(TaskTests, AGoalBelowMovingItemsIsTakenInTheWorld)
{
    TaskArm arm;
    Item& carrier = arm.locator("carrier", nullptr, at({1, 0, -1}, {0, 90, 0}, {1, 2, 1}));
    Item& goal = arm.locator("goal", &carrier, at({0.5, 1, 1}, {0, 0, 45}));
    arm.link(goal, "wposMatrix", arm.tip, "ikptMatrix");
    arm.link(goal, "wrotMatrix", arm.tip, "ikotMatrix");
    expectAsTold(arm, arm.base);
    EXPECT_TRUE(changesPose(arm, [&] { arm.place(carrier, at({1, 0.5, -1}, {0, 45, 0})); }));
    expectAsTold(arm, arm.base);
}

TEST(TaskTests, MatricesShowTheChannels)
{
    TaskArm arm;
    const Matrix34 position = arm.matrix(arm.tip, "ikptMatrix"), rotation = arm.matrix(arm.tip, "ikotMatrix");
    EXPECT_EQ(position, (Matrix34{{}, arm.vector(arm.tip, "ikptPos")}));
    EXPECT_EQ(rotation.offset, Vector3());
    // About x first, then y, then z.
    EXPECT_LE(difference({rotation}, {Matrix34{refhost::matrixFromEuler(kGoal.rotation, 0), {}}}),
              kDoubleTolerance);
}

TEST(TaskTests, AListGivesPositionsWithoutTurnAndTurnsWithTheirOffset)
{
    TaskArm arm;
    Item& picked = arm.locator("picked", nullptr, kGoal);
    arm.link("ikTasks", arm.tip, picked);
    arm.set(arm.tip, "ikptLinkIndex", 1);
    arm.set(arm.tip, "ikotLinkIndex", 1);
    EXPECT_EQ(arm.matrix(arm.tip, "ikptMatrix"), (Matrix34{{}, kGoal.position}));
    EXPECT_EQ(arm.matrix(arm.tip, "ikotMatrix"), arm.matrix(picked, "wrotMatrix"));
    for (const int index : {0, -1, -1000}) {
        arm.set(arm.tip, "ikptLinkIndex", index);
        EXPECT_EQ(arm.matrix(arm.tip, "ikptMatrix").offset, arm.vector(arm.tip, "ikptPos"));
    }
}

TEST(TaskTests, ADisabledTaskLeavesItsMatrixAlone)
{
    TaskArm arm;
    const Matrix34 kept{refhost::matrixFromEuler({1, 2, 3}, 0), {4, 5, 6}};
    for (const char* kind : {"ikpt", "ikot"}) {
        const std::string prefix = kind, channel = prefix + "Matrix";
        refhost::Step step(arm.scene().journal(), "matrix");
        ASSERT_TRUE(
            arm.scene().writeMatrix(RigScene::channel(arm.tip, channel), refhost::Action::Setup, kept).ok());
        ASSERT_TRUE(step.commit().ok());
        EXPECT_NE(arm.matrix(arm.tip, channel.c_str()), kept);
        arm.set(arm.tip, prefix + "Enable", 0);
        EXPECT_EQ(arm.matrix(arm.tip, channel.c_str()), kept);
    }
    expectAsTold(arm, arm.base);
}

TEST(TaskTests, AnIndexBeyondTheListLeavesTheAnimatedPoseAndIsTold)
{
    for (const char* channel : {"ikptLinkIndex", "ikotLinkIndex"}) {
        for (const int index : {2, 1000000, 2147483647}) {
            SCOPED_TRACE(channel + std::string(" ") + std::to_string(index));
            Arm arm(at({3, -2, 1}, {20, -35, 50}));
            arm.orientationTask(arm.tip, arm.base, kGoal.rotation);
            arm.link("ikTasks", arm.tip, arm.locator("only", nullptr));
            const Pose solved = arm.pose(arm.bones);
            EXPECT_EQ(arm.takeMessages(), std::vector<std::string>());
            arm.set(arm.tip, channel, index);
            EXPECT_LE(difference(arm.pose(arm.bones), arm.animated(arm.bones)), kDoubleTolerance);
            EXPECT_FALSE(arm.takeMessages().empty());
            arm.set(arm.tip, channel, 0);
            EXPECT_EQ(arm.pose(arm.bones), solved);
        }
    }
}

TEST(TaskTests, AnEmptyListOfAJointThatTheSolverAloneLinksToIsToldToo)
{
    Arm arm;
    arm.set(arm.tip, "ikptLinkIndex", 1);
    EXPECT_LE(difference(arm.pose(arm.bones), arm.animated(arm.bones)), kDoubleTolerance);
    EXPECT_FALSE(arm.takeMessages().empty());
}

TEST(TaskTests, ALinkThatComesOrGoesTakesEffectAtOnce)
{
    TaskArm arm;
    const Pose channels = arm.shown();
    Item& goal = arm.goalItem("goal", arm.tip, "pt", at({2, 1.5, 1}));
    const Pose linked = arm.shown();
    EXPECT_GT(difference(linked, channels), 1e-3);
    arm.undo(); // of the link
    EXPECT_EQ(arm.shown(), channels);
    ASSERT_TRUE(arm.scene().journal().redo().ok());
    EXPECT_EQ(arm.shown(), linked);
    expectAsTold(arm, arm.base);
    EXPECT_TRUE(goal.isAlive());
}
