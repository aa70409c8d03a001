// SPDX-License-Identifier: MIT
// Every setting of joints, tasks and solver does to the shown pose what it is said to do.
#include "e2e/Arm.h"

#include <functional>
#include <numbers>

using namespace e2e;

namespace {

constexpr double kDegree = std::numbers::pi / 180;

struct Case {
    const char* name;
    std::function<void(Arm&)> change;
    bool visible = true; ///< the change shows in the pose
    std::function<void(Arm&)> ground{}; ///< what the change is compared to, when not to the plain arm
};

void limit(Arm& arm, Item& joint, const char* axes, double low, double high)
{
    arm.set(joint, "ikjEnableLimits", 1);
    for (const char* axis = axes; *axis; ++axis) {
        const std::string channel = std::string("ikAxis") + *axis;
        arm.set(joint, channel + "Limits", 1);
        arm.set(joint, channel + "Min", low * kDegree);
        arm.set(joint, channel + "Max", high * kDegree);
    }
}

void slide(Arm& arm, Item& joint, const char* axes)
{
    for (const char* axis = axes; *axis; ++axis)
        arm.set(joint, std::string("ikAxis") + *axis + "PosEnable", 1);
}

void stretch(Arm& arm, Item& joint, const char* axes, double low, double high)
{
    arm.set(joint, "ikjEnableLimits", 1);
    for (const char* axis = axes; *axis; ++axis) {
        const std::string channel = std::string("ikAxis") + *axis;
        arm.set(joint, channel + "LimitsTrans", 1);
        arm.set(joint, channel + "MinTrans", low);
        arm.set(joint, channel + "MaxTrans", high);
    }
}

void retarget(Arm& arm)
{
    for (Item* joint : {&arm.a0, &arm.a1})
        arm.set(*joint, "ikjRetargeting", 1);
    arm.place(arm.a1, at({1, 0, 0.1}, {40, -10, 15}));
}

void orient(Arm& arm) { arm.orientationTask(arm.tip, arm.base, {0.4, -0.8, 1.1}); }
void second(Arm& arm) { arm.positionTask(arm.side, arm.base, {-0.5, 2.5, 0.4}); }
void slideA1(Arm& arm) { slide(arm, arm.a1, "XYZ"); }
void limitA1(Arm& arm) { limit(arm, arm.a1, "XYZ", -4, 4); }
std::function<void(Arm&)> setting(const char* channel, double value)
{
    return [=](Arm& arm) { arm.set(arm.settings, channel, value); };
}
std::function<void(Arm&)> tipSetting(const char* channel, double value)
{
    return [=](Arm& arm) { arm.set(arm.tip, channel, value); };
}

const Case kCases[] = {
    {"nothing", [](Arm&) {}, false},
    // Joints
    {"inactive joint", [](Arm& arm) { arm.set(arm.a1, "ikjActive", 0); }},
    {"joint turns about z alone",
     [](Arm& arm) {
         arm.set(arm.a1, "ikAxisXRotEnable", 0);
         arm.set(arm.a1, "ikAxisYRotEnable", 0);
     }},
    {"joint turns about y and z", [](Arm& arm) { arm.set(arm.a0, "ikAxisXRotEnable", 0); }},
    {"rotation weight", [](Arm& arm) { arm.set(arm.a1, "ikAxisZRotWeight", 0.05); }},
    {"joint slides", slideA1},
    {"joint slides along y", [](Arm& arm) { slide(arm, arm.a1, "Y"); }},
    {"sliding weight", [](Arm& arm) { arm.set(arm.a1, "ikAxisXPosWeight", 0.1); }, true, slideA1},
    {"slow joint", [](Arm& arm) { arm.set(arm.a0, "ikjMaxVelocity", 0.5); }},
    {"joints of other sizes",
     [](Arm& arm) {
         arm.place(arm.a0, at({1, 0, 0.1}, {5, -10, 15}, {1, 2, 0.5}));
         arm.place(arm.tip, at({1, 0, 0.1}, {5, -10, 15}, {3, 3, 3}));
     },
     false},
    {"mirrored joint",
     [](Arm& arm) {
         arm.place(arm.side, at({0, 1, 0}, {40, 0, 0}, {-1, 1, 1}));
     }},
    // Limits
    {"limits on all axes", limitA1},
    {"limit on x alone", [](Arm& arm) { limit(arm, arm.a1, "X", -2, 2); }},
    {"limit on y alone", [](Arm& arm) { limit(arm, arm.a1, "Y", -2, 2); }},
    {"limit on z alone", [](Arm& arm) { limit(arm, arm.a1, "Z", -0.5, 0.5); }},
    {"limits enabled, none on", [](Arm& arm) { arm.set(arm.a1, "ikjEnableLimits", 1); }},
    {"limits on, not enabled", [](Arm& arm) { arm.set(arm.a1, "ikjEnableLimits", 0); }, true, limitA1},
    {"limits not enforced", [](Arm& arm) { arm.set(arm.a1, "ikjEnforceLimits", 0); }, true, limitA1},
    {"limits about x", [](Arm& arm) { arm.set(arm.a1, "ikjLimitsAxis", 0); }, true, limitA1},
    {"limits about y", [](Arm& arm) { arm.set(arm.a1, "ikjLimitsAxis", 1); }, true, limitA1},
    {"gain of limits", setting("iksLimitsGain", 0.2), true, limitA1},
    {"stretch limits", [](Arm& arm) { stretch(arm, arm.a1, "XYZ", 0, 0.05); }, true, slideA1},
    {"stretch limit on x alone", [](Arm& arm) { stretch(arm, arm.a1, "X", 0, 0.05); }, true, slideA1},
    {"stretch limit without room on y",
     [](Arm& arm) {
         stretch(arm, arm.a1, "XZ", 0, 0.05);
         stretch(arm, arm.a1, "Y", 0.2, 0.2);
     },
     true, slideA1},
    {"stretch limits without room anywhere", [](Arm& arm) { stretch(arm, arm.a1, "XYZ", 0.2, 0.2); }, false,
     [](Arm& arm) {
         slideA1(arm);
         arm.set(arm.a1, "ikjEnableLimits", 1);
     }},
    // Retargeting
    {"retargeting joints", retarget},
    {"gain of retargeting", setting("iksRetargetGain", 0.1), true, retarget},
    {"retargeting with an offset",
     [](Arm& arm) {
         arm.set(arm.a1, "ikjTargetOffsetX", {0, 1, 0});
         arm.set(arm.a1, "ikjTargetOffsetY", {-1, 0, 0});
     },
     true, retarget},
    {"retargeting sets out from the rest channels",
     [](Arm& arm) {
         arm.setRest(arm.base, at({0, 1.5, 0}, {0, 0, -40}));
     },
     true, retarget},
    // The solver
    {"few steps", setting("iksSteps", 3)},
    {"no steps", setting("iksSteps", 0)},
    {"early end", setting("iksTolerance", 300)},
    {"precision", setting("iksPrecision", 40)},
    {"pull", setting("iksTaskPull", 0.2)},
    {"root moves", setting("iksTransRoot", 1)},
    {"weight of the root's motion", setting("iksTransRootWeight", 0.1), true, setting("iksTransRoot", 1)},
    {"scale of goals", setting("iksRetargetScale", 0.6)},
    {"offset of retargeting counts for nothing",
     [](Arm& arm) {
         arm.set(arm.settings, "iksRetargetOffset", {5, 5, 5});
     },
     false},
    // Tasks
    {"second task", second},
    {"weight of a task", tipSetting("ikptWeight", 0.05), true, second},
    {"precision of a task", tipSetting("ikptPrecision", 0.01), true, second},
    {"reach of a task", tipSetting("ikptLength", 2)},
    {"scale of a task", tipSetting("ikptScale", 0.5)},
    {"offset of a task",
     [](Arm& arm) {
         arm.set(arm.tip, "ikptOffset", {0.3, -0.4, 0.5});
     }},
    {"disabled task", tipSetting("ikptEnable", 0)},
    {"orientation task", orient},
    {"reach of an orientation task", tipSetting("ikotLength", -1), true, orient},
    {"weight of an orientation task", tipSetting("ikotWeight", 0.05), true, orient},
    {"precision of an orientation task", tipSetting("ikotPrecision", 0.01), true, orient},
    {"offset of an orientation task",
     [](Arm& arm) {
         arm.set(arm.tip, "ikotOffset", {0.5, -0.7, 0.3});
     },
     true, orient},
    {"offset in the frame of an orientation goal",
     [](Arm& arm) {
         arm.set(arm.tip, "ikptOffset", {0.3, -0.4, 0.5});
     },
     true, orient},
    {"disabled orientation task", tipSetting("ikotEnable", 0), true, orient},
    {"orientation task alone",
     [](Arm& arm) {
         arm.orientationTask(arm.side, arm.base, {0, 0, 0});
     }},
};

class SettingTests : public ::testing::TestWithParam<Case> { };

} // namespace

TEST_P(SettingTests, ShowsWhatIsTold)
{
    const Case& each = GetParam();
    for (const LocalParts& parent : {LocalParts{}, unevenParent()}) {
        Arm plain(parent), arm(parent);
        if (each.ground) {
            each.ground(plain);
            each.ground(arm);
        }
        each.change(arm);
        expectAsTold(arm, arm.base);
        EXPECT_EQ(difference(plain.pose(plain.bones), arm.pose(arm.bones)) > 1e-3, each.visible);
        EXPECT_EQ(arm.takeMessages(), std::vector<std::string>());
    }
}

INSTANTIATE_TEST_SUITE_P(All, SettingTests, ::testing::ValuesIn(kCases), [](const auto& each) {
    std::string name;
    for (const char* c = each.param.name; *c; ++c)
        name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return name;
});

TEST(SettingTests, MoreThanAHundredThousandStepsAreToldOnce)
{
    Arm arm;
    arm.set(arm.settings, "iksTolerance", 1); // so that a solve ends by itself
    const auto told = [&](int steps) {
        arm.set(arm.settings, "iksSteps", steps);
        arm.pose(arm.bones);
        return arm.takeMessages();
    };
    EXPECT_EQ(told(100000), std::vector<std::string>());
    const std::vector<std::string> first = told(100001);
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].find("'baseSolver': iksSteps is 100001"), 0u) << first[0];
    arm.freshNodes();
    EXPECT_EQ(told(200000), std::vector<std::string>());
}

TEST(SettingTests, TheArmReachesItsGoal)
{
    Arm arm(unevenParent());
    arm.set(arm.settings, "iksSteps", 300);
    const Vector3 tip = arm.matrix(arm.tip, "wposMatrix").offset;
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(tip[i], arm.vector(arm.tip, "ikptPos")[i], 0.01);
}
