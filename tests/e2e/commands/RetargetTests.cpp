// SPDX-License-Identifier: MIT
// Pairs of joints, one leading the other.
#include "e2e/commands/CommandScene.h"

#include <cmath>
#include <numbers>

using namespace e2e;
using refhost::Layer;

namespace {

constexpr double kQuarter = 1.5707963267948966;
constexpr double kSingle = 1e-6; // a solver writes its poses from single numbers

/// S2 and D stand turned, so that no angle between them is 0.
struct TurnedStage : Stage {
    TurnedStage()
    {
        run({"channel.set S rot.Y 70deg", "channel.set S1 rot.X -50deg", "channel.set B rot.Y 25deg"});
    }
    /// The target in the source's frame, as angles.
    Vector3 exactOffset(const char* source, const char* target)
    {
        const Matrix33 s = matrix(item(source), "wrotMatrix").linear,
                       t = matrix(item(target), "wrotMatrix").linear;
        return refhost::eulerFromMatrix(transposed(s) * t, 4);
    }
};

void expectAngles(const Vector3& a, const Vector3& b)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], kSingle) << "component " << i;
}

Vector3 snapped(Vector3 angles)
{
    for (double& angle : angles)
        angle = std::round(angle / kQuarter) * kQuarter; // round takes a tie away from zero
    return angles;
}

} // namespace

TEST(RetargetTests, APairOfOrientations)
{
    TurnedStage stage;
    const Vector3 offset = stage.exactOffset("S2", "D");
    const std::size_t before = stage.digest();
    stage.run({"select.set S2", "select.add M", "select.add D", "ikfb.retarget"});
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint ik.orientationTask");
    EXPECT_EQ(stage.links("ikTasks"), "FullBodyIK -> D");
    EXPECT_EQ(stage.links("chanLinks"), "S2.wrotMatrix -> D.ikotMatrix");
    EXPECT_EQ(stage.links("ikRetarget"), "S2 -> D");
    EXPECT_EQ(stage.value("D", "ikotEnable", Layer::Setup), 0);
    EXPECT_EQ(stage.value("D", "ikotEnable", Layer::Anim), 1);
    expectAngles(stage.values("D", "ikotOffset"), snapped(offset));
    EXPECT_GT(std::hypot(offset[0], offset[1], offset[2]), 0.2);
    EXPECT_EQ(stage.tag("S2", "OVCL"), "r=0.3 g=0.8 b=0.3");
    EXPECT_EQ(stage.tag("D", "OVCL"), "r=0.6 g=1.0 b=0.6");
    stage.run("undo");
    EXPECT_EQ(stage.digest(), before);
}

TEST(RetargetTests, BonesOfTheSpineKeepTheirExactTurn)
{
    for (const auto& [bone, exact] :
         {std::pair("Hips", true), std::pair("LeftAnkle", true), std::pair("hips", false),
          std::pair("LeftKnee", false), std::pair("''", false)}) {
        SCOPED_TRACE(bone);
        TurnedStage stage;
        stage.run("item.tag BVHN " + std::string(bone) + " item:D");
        const Vector3 offset = stage.exactOffset("S2", "D");
        stage.run("ikfb.retarget itemS:S2 itemT:D type:0 mode:1");
        expectAngles(stage.values("D", "ikotOffset"), exact ? offset : snapped(offset));
        EXPECT_NE(snapped(offset), offset);
    }
}

TEST(RetargetTests, ATieGoesAwayFromZero)
{
    for (const double sign : {1.0, -1.0}) {
        Stage stage;
        // Without the solver's rounding the angle is an eighth of a turn to the last bit.
        stage.run("channel.set FullBodyIK_2 iksEnabled 0");
        stage.run("channel.set L rot.Y " + std::string(sign > 0 ? "-45deg" : "45deg"));
        stage.run({"item.tag BVHN Hips item:S1", "ikfb.retarget itemS:L itemT:S1"});
        ASSERT_EQ(stage.value("S1", "ikotOffset.Y"), sign * std::numbers::pi / 4);
        stage.run({"item.tag BVHN Knee item:S1", "select.set S1", "ikfb.retarget"});
        EXPECT_EQ(stage.value("S1", "ikotOffset.Y"), sign * kQuarter);
    }
}

TEST(RetargetTests, ATargetAloneIsFittedAgainToItsSource)
{
    TurnedStage stage;
    stage.run({"item.tag BVHN Neck item:D", "ikfb.retarget itemS:S2 itemT:D", "channel.set S2 rot.Z 80deg",
               "item.tag OVCL item:D"});
    const Vector3 offset = stage.exactOffset("S2", "D");
    stage.run({"select.set D", "ikfb.retarget"});
    expectAngles(stage.values("D", "ikotOffset"), offset);
    EXPECT_EQ(stage.tag("D", "OVCL"), "r=0.6 g=1.0 b=0.6");
    EXPECT_EQ(stage.links("ikRetarget"), "S2 -> D");
}

TEST(RetargetTests, TakingAPairApart)
{
    Stage stage;
    stage.run({"ikfb.retarget itemS:S2 itemT:D", "select.set D", "ikfb.retarget mode:0"});
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint");
    EXPECT_EQ(stage.links("ikRetarget") + stage.links("ikTasks"), "");
    EXPECT_EQ(stage.tag("S2", "OVCL") + stage.tag("D", "OVCL"), "nonenone");
    // Also when the task has gone before.
    stage.run({"ikfb.retarget itemS:S2 itemT:D", "ikfb.task item:D type:1 mode:0",
               "ikfb.retarget itemS:S2 itemT:D mode:0"});
    EXPECT_EQ(stage.links("ikRetarget"), "");
    EXPECT_EQ(stage.tag("S2", "OVCL"), "none");
}

TEST(RetargetTests, APairOfPositionsHasItsScaleFromTheBeginning)
{
    Stage stage;
    stage.run("ikfb.retarget itemS:S2 itemT:D type:1 scale:3");
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint ik.positionTask");
    EXPECT_EQ(stage.links("chanLinks"), "S2.wposMatrix -> D.ikptMatrix");
    EXPECT_EQ(stage.links("ikRetarget"), "");
    EXPECT_EQ(stage.tag("S2", "OVCL"), "none");
    EXPECT_EQ(stage.value("D", "ikptScale"), 3);
    EXPECT_EQ(stage.value("D", "ikptEnable", Layer::Setup), 0);
    EXPECT_EQ(stage.value("D", "ikptEnable", Layer::Anim), 1);
    const std::size_t paired = stage.digest();
    stage.run("ikfb.retarget itemS:S2 itemT:D type:1 scale:4");
    EXPECT_EQ(stage.digest(), paired);
    stage.run("ikfb.retarget itemS:S2 itemT:D type:1 mode:0");
    EXPECT_EQ(stage.packages("D"), "ik.package ik.joint");
}

TEST(RetargetTests, WithoutAPairNothingHappens)
{
    struct Idle {
        std::initializer_list<std::string_view> before;
        const char* line;
    };
    const Idle idles[] = {
        {{"select.set S2", "select.add D"}, "ikfb.retarget itemT:D"},
        {{"select.set S2", "select.add D"}, "ikfb.retarget type:2"},
        {{"select.set S2", "select.add D"}, "ikfb.retarget type:-1"},
        {{"select.set S2", "select.add D"}, "ikfb.retarget mode:2"},
        {{"select.set S2", "select.add D", "select.add F"}, "ikfb.retarget"},
        {{"select.set D"}, "ikfb.retarget"},
        {{}, "ikfb.retarget"},
        {{}, "ikfb.retarget itemS:M itemT:D"},
        {{}, "ikfb.retarget itemS:Nobody itemT:D"},
        {{"select.set S2"}, "ikfb.retarget itemS:S2"},
    };
    for (const Idle& idle : idles) {
        Stage stage;
        stage.run(idle.before);
        const std::size_t before = stage.digest();
        stage.run(idle.line);
        EXPECT_EQ(stage.digest(), before) << idle.line;
    }
    Stage stage;
    const std::size_t before = stage.digest();
    stage.run("ikfb.retarget itemS:S2 itemT:F");
    EXPECT_EQ(stage.digest(), before) << "a target outside every rig can have no task";
    EXPECT_EQ(stage.takeMessages(), std::vector<std::string>{"ikfb.task: ikfb.task 1001"});
}
