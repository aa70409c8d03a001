// SPDX-License-Identifier: MIT
// Every call that the plug-in makes to the host fails once: nothing breaks, nothing stays behind, and the
// next nodes are as good as new.
#include "e2e/Arm.h"

#include <cmath>

using namespace e2e;
using Pose = std::vector<Matrix34>;

namespace {

/// Small, with a joint that has everything: both kinds of tasks, limits, a list and a link.
struct SmallRig : RigScene {
    SmallRig()
    {
        positionTask(tip, base, {1, 2, 0.5});
        orientationTask(tip, base, {0.2, 0.4, 0.6});
        goalItem("goal", tip, "ot", at({0, 0, 0}, {20, 30, 40}));
        link("ikTasks", tip, locator("listed", nullptr, at({1.5, 1.5, 0})));
        set(tip, "ikptLinkIndex", 1);
        set(tip, "ikjEnableLimits", 1);
        set(tip, "ikAxisXLimits", 1);
        set(solver(base), "iksIKFKBlend", 0.8);
    }

    Item& above = locator("above", nullptr, at({1, 0, 0}, {0, 30, 0}, {1, 2, 1}));
    Item& base = root("base", &above, at({0, 1, 0}), 3);
    Item& tip = joint("tip", &base, at({1, 0, 0}, {0, 0, 30}));
    std::vector<Item*> bones = {&base, &tip};
};

bool isFinite(const Pose& pose) { return std::isfinite(difference(pose, Pose(pose.size()))); }

void expectNothingHeld(RigScene& scene)
{
    const std::vector<std::string> names = scene.modules().names();
    for (const std::string& name : names) {
        const refhost::Result result = scene.modules().unload(name);
        EXPECT_TRUE(result.ok()) << result.message;
    }
    for (const refhost::LiveReferences& left : scene.modules().liveReferences())
        ADD_FAILURE() << left.references << " references to " << left.objects << " of " << left.interfaceName;
    EXPECT_EQ(scene.modules().instanceCount(), 0u);
}

} // namespace

TEST(FailureTests, AnyCallMayFailWhileNodesAreMadeAndRun)
{
    SmallRig rig;
    rig.freshNodes();
    const std::uint64_t start = rig.modules().callCount();
    ASSERT_EQ(rig.nodes("ikfb") + rig.nodes("iktask"), 2u);
    const std::uint64_t making = rig.modules().callCount() - start;
    const Pose undisturbed = rig.pose(rig.bones), animated = rig.animated(rig.bones);
    const std::uint64_t calls = rig.modules().callCount() - start;
    ASSERT_GT(making, 100u);
    ASSERT_GT(calls, making + 100);
    EXPECT_EQ(rig.takeMessages(), std::vector<std::string>());
    std::string silent;
    int silentCount = 0;
    for (std::uint64_t n = 1; n <= calls; ++n) {
        SCOPED_TRACE(n);
        rig.freshNodes();
        rig.modules().failCall(n);
        (void)rig.nodes("ikfb");
        (void)rig.nodes("iktask");
        const Pose shown = rig.pose(rig.bones);
        rig.modules().failCall(0);
        ASSERT_TRUE(isFinite(shown));
        const bool told = !rig.takeMessages().empty();
        // While nodes run, a failing read counts as 0 or off. While they are made, a rig is made in full, or
        // left alone, or the user hears of it.
        if (n <= making && !told && shown != undisturbed && difference(shown, animated) > 1e-6)
            silent += (++silentCount, ' ' + std::to_string(n));
        rig.freshNodes();
        ASSERT_EQ(rig.pose(rig.bones), undisturbed);
        ASSERT_EQ(rig.takeMessages(), std::vector<std::string>());
    }
    // Two calls may: a count of the links into a task's matrix that fails stands for none, and the first read
    // of the task's node, which `making` counts in, stands for off.
    EXPECT_LE(silentCount, 2) << "calls of " << making << " that make another rig without a word:" << silent;
    expectNothingHeld(rig);
}

TEST(FailureTests, AnyCallMayFailWhileTheModuleIsLoaded)
{
    RigScene counting;
    const std::uint64_t calls = counting.modules().callCount();
    for (std::uint64_t n = 1; n <= calls; ++n) {
        SCOPED_TRACE(n);
        RigScene scene(false);
        scene.modules().failCall(n);
        const refhost::Result loaded = scene.modules().load(SINEW_MODULE_PATH);
        scene.modules().failCall(0);
        EXPECT_TRUE(loaded.ok() || loaded.message.size() > 10);
        expectNothingHeld(scene);
    }
}

TEST(FailureTests, ARigAtWorkLetsTheModuleGo)
{
    Arm arm(at({3, -2, 1}, {20, -35, 50}));
    EXPECT_GT(difference(arm.pose(arm.bones), arm.animated(arm.bones)), 0.1);
    expectNothingHeld(arm);
    EXPECT_LE(difference(arm.pose(arm.bones), arm.animated(arm.bones)), kDoubleTolerance);
    ASSERT_TRUE(arm.modules().load(SINEW_MODULE_PATH).ok());
    EXPECT_GT(difference(arm.pose(arm.bones), arm.animated(arm.bones)), 0.1);
}

TEST(FailureTests, DeletedRigsAndClosedScenesLeaveNothingBehind)
{
    Arm arm;
    (void)arm.pose(arm.bones);
    {
        refhost::Step step(arm.scene().journal(), "delete");
        ASSERT_TRUE(arm.scene().deleteItem(arm.base).ok());
        ASSERT_TRUE(step.commit().ok());
    }
    EXPECT_EQ(arm.nodes("ikfb"), 0u);
    arm.undo();
    EXPECT_EQ(arm.nodes("ikfb"), 1u);
    ASSERT_TRUE(arm.host.closeScene(arm.scene()).ok());
    expectNothingHeld(arm);
}
