// SPDX-License-Identifier: MIT
// What a node carries from one evaluation to the next, and what it doesn't.
#include "e2e/Arm.h"

#include <refhost/SceneFile.h>

#include <functional>

using namespace e2e;
using Pose = std::vector<Matrix34>;

namespace {

constexpr double kTimes[] = {0.1, 0.4, 1.0, 1.6, 2.0, 0.4, 0.1};

/// The goal is at another place at each time.
struct Runner : Arm {
    explicit Runner(bool continuous = false, bool retargeting = false) : Arm(unevenParent())
    {
        const Vector3 from = vector(tip, "ikptPos");
        key(tip, "ikptPos.X", 0, from[0]);
        key(tip, "ikptPos.X", 2, from[0] - 2);
        key(tip, "ikptPos.Y", 0, from[1]);
        key(tip, "ikptPos.Y", 1, from[1] - 1.5);
        key(tip, "ikptPos.Y", 2, from[1] + 1);
        set(settings, "iksSolveContinuous", continuous);
        set(a1, "ikjRetargeting", retargeting);
    }
    std::vector<Pose> run()
    {
        freshNodes();
        std::vector<Pose> out;
        for (const double seconds : kTimes) {
            EXPECT_TRUE(host.setTime(seconds).ok());
            out.push_back(pose(bones));
        }
        return out;
    }
};

} // namespace

TEST(SequenceTests, EveryFrameOfARunIsAsTold)
{
    for (const bool retargeting : {false, true}) {
        for (const bool continuous : {false, true}) {
            SCOPED_TRACE(retargeting ? "retargeting" : "plain");
            SCOPED_TRACE(continuous ? "continuous" : "from rest");
            Runner runner(continuous, retargeting);
            runner.freshNodes();
            ExpectedRig expected(runner, runner.base);
            for (const double seconds : kTimes) {
                ASSERT_TRUE(runner.host.setTime(seconds).ok());
                expectSame(runner, expected);
            }
        }
    }
}

TEST(SequenceTests, SolvingOnFromTheLastPoseShowsWithRetargetingAlone)
{
    EXPECT_EQ(Runner(false, false).run(), Runner(true, false).run());
    const std::vector<Pose> fromRest = Runner(false, true).run(), onwards = Runner(true, true).run();
    EXPECT_EQ(fromRest[0], onwards[0]);
    EXPECT_GT(difference(fromRest[2], onwards[2]), 1e-3);
    // The same time again: from rest it is the same pose, while a pose that was solved on has a history.
    EXPECT_EQ(fromRest[1], fromRest[5]);
    EXPECT_NE(onwards[1], onwards[5]);
}

TEST(SequenceTests, AReadAtAnotherTimeDoesNotDisturbARun)
{
    Runner plain(true, true), watched(true, true);
    std::vector<Pose> expected = plain.run(), shown;
    watched.freshNodes();
    for (const double seconds : kTimes) {
        ASSERT_TRUE(watched.host.setTime(seconds).ok());
        Matrix34 elsewhere;
        ASSERT_TRUE(watched.evaluation().matrix(RigScene::channel(watched.tip, "wposMatrix"), seconds + 0.3,
                                                elsewhere));
        shown.push_back(watched.pose(watched.bones));
    }
    EXPECT_EQ(shown, expected);
}

TEST(SequenceTests, SwitchingThingsOffLeavesWhatIsToldToStay)
{
    // Each row is edited on top of the one before, with the nodes kept.
    Arm arm(unevenParent());
    arm.set(arm.settings, "iksSteps", 100);
    const auto joint = [&](const char* channel, double value) {
        return [&arm, channel, value] { arm.set(arm.a1, channel, value); };
    };
    const auto settings = [&](const char* channel, double value) {
        return [&arm, channel, value] { arm.set(arm.settings, channel, value); };
    };
    const std::pair<const char*, std::function<void()>> edits[] = {
        {"wide tolerance", settings("iksTolerance", 300)},
        {"the last tolerance stays", settings("iksUseTolerance", 0)},
        {"also when another is set", settings("iksTolerance", 0)},
        {"until it is used again", settings("iksUseTolerance", 1)},
        {"root moves", settings("iksTransRoot", 1)},
        {"lightly", settings("iksTransRootWeight", 0.2)},
        {"root stays", settings("iksTransRoot", 0)},
        {"slides", joint("ikAxisYPosEnable", 1)},
        {"limits enabled", joint("ikjEnableLimits", 1)},
        {"narrow slide", joint("ikAxisYMaxTrans", 0.05)},
        {"slide limited", joint("ikAxisYLimitsTrans", 1)},
        {"turn limited", joint("ikAxisXLimits", 1)},
        {"narrowly", joint("ikAxisXMax", 0.1)},
        {"not enforced", joint("ikjEnforceLimits", 0)},
        {"slide limited no more", joint("ikAxisYLimitsTrans", 0)},
        {"limits disabled", joint("ikjEnableLimits", 0)},
        {"limits enabled again", joint("ikjEnableLimits", 1)},
        {"retargeting", joint("ikjRetargeting", 1)},
        {"no limits while retargeting", joint("ikjEnableLimits", 0)},
        {"retargeting no more", joint("ikjRetargeting", 0)},
        {"inactive", joint("ikjActive", 0)},
        {"active", joint("ikjActive", 1)},
        {"slides no more", joint("ikAxisYPosEnable", 0)},
        {"task off", [&] { arm.set(arm.tip, "ikptEnable", 0); }},
        {"task on", [&] { arm.set(arm.tip, "ikptEnable", 1); }},
    };
    arm.freshNodes();
    ExpectedRig expected(arm, arm.base);
    expectSame(arm, expected);
    const std::uint64_t making = arm.evaluation().makingCount("ikfb");
    for (const auto& [name, edit] : edits) {
        SCOPED_TRACE(name);
        edit();
        expectSame(arm, expected);
    }
    EXPECT_EQ(arm.evaluation().makingCount("ikfb"), making);
}

TEST(SequenceTests, TheLastToleranceStaysInForce)
{
    Arm arm;
    arm.set(arm.settings, "iksSteps", 100);
    const Pose exact = arm.pose(arm.bones);
    arm.set(arm.settings, "iksTolerance", 300);
    const Pose rough = arm.pose(arm.bones);
    EXPECT_GT(difference(exact, rough), 1e-3);
    arm.set(arm.settings, "iksUseTolerance", 0);
    arm.set(arm.settings, "iksTolerance", 0);
    EXPECT_EQ(arm.pose(arm.bones), rough);
    arm.set(arm.settings, "iksUseTolerance", 1);
    EXPECT_EQ(arm.pose(arm.bones), exact);
}

TEST(SequenceTests, WithoutRetargetingTheRestChannelsCountForAStartAlone)
{
    // The first solve of a node sets out with the errors of the figure as it was built.
    Arm plain(unevenParent()), other(unevenParent());
    other.setRest(other.base, at({0, 1, 0}, {0, 0, -40}));
    (void)plain.pose(plain.bones);
    ExpectedRig expected(other, other.base);
    expectSame(other, expected);
    plain.evaluation().invalidate();
    other.evaluation().invalidate();
    expectSame(other, expected);
    EXPECT_EQ(other.pose(other.bones), plain.pose(plain.bones));
}

TEST(SequenceTests, TheSameSceneGivesTheSameBits)
{
    Runner first(true, true), second(true, true);
    const std::vector<Pose> run = first.run();
    EXPECT_EQ(second.run(), run);
    EXPECT_EQ(first.run(), run) << "with fresh nodes in the same scene";

    const auto text = refhost::sceneText(first.scene());
    ASSERT_TRUE(text.ok()) << text.message;
    RigScene loaded;
    auto read = refhost::readSceneText(loaded.host, text.value, "loaded");
    ASSERT_TRUE(read.ok()) << read.message;
    loaded.adopt(loaded.host.addScene(std::move(read.value)));
    std::vector<Item*> bones;
    for (const Item* bone : first.bones)
        bones.push_back(&loaded.item(bone->uniqueName()));
    for (std::size_t i = 0; i < run.size(); ++i) {
        ASSERT_TRUE(loaded.host.setTime(kTimes[i]).ok());
        EXPECT_EQ(loaded.pose(bones), run[i]) << "time " << kTimes[i] << " after saving and loading";
    }
}
