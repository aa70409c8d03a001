// SPDX-License-Identifier: MIT
// Every call that the plug-in makes to the host fails once: nothing breaks, nothing stays behind, and the
// next nodes are as good as new.
#include "e2e/Arm.h"

#include <algorithm>
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
    std::uint64_t before = rig.modules().callCount();
    const Pose undisturbed = rig.pose(rig.bones);
    const std::uint64_t calls = rig.modules().callCount() - before;
    ASSERT_GT(calls, 100u);
    EXPECT_EQ(rig.takeMessages(), std::vector<std::string>());
    std::size_t silentWithoutNode = 0, told = 0, fellBack = 0;
    for (std::uint64_t n = 1; n <= calls; ++n) {
        SCOPED_TRACE(n);
        rig.freshNodes();
        rig.modules().failCall(n);
        const Pose shown = rig.pose(rig.bones);
        rig.modules().failCall(0);
        ASSERT_TRUE(isFinite(shown));
        const bool wasTold = !rig.takeMessages().empty();
        told += wasTold;
        if (getenv("DBG")) printf("%lu told %d nodes %zu diff %g animdiff %g\n", n, wasTold, rig.nodes("ikfb"), difference(shown, undisturbed), difference(shown,rig.animated(rig.bones)));
        if (!wasTold) {
            silentWithoutNode += rig.nodes("ikfb") == 0;
            fellBack += shown != undisturbed;
        }
        rig.freshNodes();
        ASSERT_EQ(rig.pose(rig.bones), undisturbed);
        ASSERT_EQ(rig.takeMessages(), std::vector<std::string>());
    }
    RecordProperty("calls", static_cast<int>(calls));
    RecordProperty("told", static_cast<int>(told));
    RecordProperty("fellBack", static_cast<int>(fellBack));
    EXPECT_EQ(silentWithoutNode, 0u);
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
