// SPDX-License-Identifier: MIT
// The example scripts do what they say, and a rig that commands built survives saving and loading to the bit.
#include "e2e/commands/CommandScene.h"

#include <refhost/SceneFile.h>

#include <cmath>
#include <fstream>

namespace e2e {
namespace {

/// The lines of an example that come before the one that begins with `end`; all of them without.
std::vector<std::string> linesOf(const std::string& example, std::string_view end = {})
{
    std::ifstream file(SINEW_SOURCE "/examples/" + example);
    EXPECT_TRUE(file.is_open()) << example;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!end.empty() && line.starts_with(end))
            break;
        lines.push_back(line);
    }
    return lines;
}

class Example : public CommandScene {
public:
    explicit Example(const std::string& name, std::string_view end = {})
    {
        commands().setFolder(SINEW_SOURCE "/examples");
        run("scene.setup on:false");
        for (const std::string& line : linesOf(name, end))
            run(line);
    }
    Vector3 position(const char* name, double seconds = 0)
    {
        EXPECT_TRUE(host.setTime(seconds).ok());
        return matrix(item(name), "wposMatrix").offset;
    }
    /// From one item to another, of length 1.
    Vector3 direction(const char* from, const char* to, double seconds)
    {
        const Vector3 a = position(from, seconds), b = position(to, seconds);
        Vector3 d{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        const double length = std::hypot(d[0], d[1], d[2]);
        for (double& x : d)
            x /= length;
        return d;
    }
};

double distance(const Vector3& a, const Vector3& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

TEST(ExampleTests, ARigFromScratchReachesUpWithItsFeetOnTheGround)
{
    Example example("RigFromScratch.sinew");
    EXPECT_EQ(example.links("ikTasks"), "FullBodyIK -> foot_l; FullBodyIK -> foot_r; FullBodyIK -> hand_l");
    EXPECT_EQ(example.packages("hand_l"), "ik.package ik.joint ik.positionTask");
    constexpr double kTolerance = 0.25; // of a figure that is 117 tall
    for (const double seconds : {0.0, 0.25, 0.5, 1.0}) {
        EXPECT_LT(distance(example.position("hand_l", seconds), example.position("Goal_3", seconds)),
                  kTolerance)
            << seconds;
        EXPECT_LT(distance(example.position("foot_l", seconds), {7, 5, 0}), kTolerance) << seconds;
        EXPECT_LT(distance(example.position("foot_r", seconds), {-7, 5, 0}), kTolerance) << seconds;
    }
    EXPECT_LT(distance(example.position("hand_l", 1), {20, 118, 10}), kTolerance);
}

TEST(ExampleTests, AGoalWithAKeptOffsetLeadsTheHandAtItsDistance)
{
    Example before("GoalWithOffset.sinew", "channel.set item:Lantern channel:pos.X value:24");
    EXPECT_LT(distance(before.position("hand_l"), {13, 57, 0}), 1e-6) << "making the pair moves nothing";

    Example after("GoalWithOffset.sinew");
    // The hand was at (0, 12, -3) of the lantern, which has turned by 30 degrees about the upright.
    const double c = std::cos(M_PI / 6), s = std::sin(M_PI / 6);
    EXPECT_LT(distance(after.position("hand_l"), {24 - 3 * s, 68 + 12, 14 - 3 * c}), 0.25);
    const Matrix34 hand = after.matrix(after.item("hand_l"), "wrotMatrix");
    EXPECT_NEAR(hand.linear[0][0], c, 0.02);
    EXPECT_NEAR(hand.linear[0][2], s, 0.02);
}

TEST(ExampleTests, OneRigDrivesAnotherLimbByLimb)
{
    Example example("OneRigDrivesAnother.sinew");
    struct Limb {
        const char *from, *to, *targetFrom, *targetTo;
    };
    constexpr Limb kLimbs[] = {{"LeftUpLeg", "LeftLeg", "thigh_l", "calf_l"},
                               {"LeftLeg", "LeftFoot", "calf_l", "foot_l"},
                               {"RightUpLeg", "RightLeg", "thigh_r", "calf_r"},
                               {"RightLeg", "RightFoot", "calf_r", "foot_r"},
                               {"LeftArm", "LeftForeArm", "upperarm_l", "lowerarm_l"},
                               {"LeftForeArm", "LeftHand", "lowerarm_l", "hand_l"},
                               {"RightForeArm", "RightHand", "lowerarm_r", "hand_r"}};
    for (const double seconds : {0.0, 0.3, 0.5, 1.2, 2.0}) {
        for (const Limb& limb : kLimbs)
            EXPECT_LT(distance(example.direction(limb.from, limb.to, seconds),
                               example.direction(limb.targetFrom, limb.targetTo, seconds)),
                      0.02)
                << limb.targetFrom << " at " << seconds;
        const Vector3 hips = example.position("Hips", seconds);
        EXPECT_LT(distance(example.position("pelvis", seconds),
                           {0.614 * hips[0], 0.614 * hips[1], 0.614 * hips[2]}),
                  0.25)
            << seconds;
    }
}

TEST(ExampleTests, RigsThatCommandsBuiltEvaluateToTheSameBitsWhenLoaded)
{
    for (const char* name : {"RigFromScratch.sinew", "OneRigDrivesAnother.sinew"}) {
        Example built(name);
        const std::vector<Item*> joints = built.joints();
        const auto text = refhost::sceneText(built.scene());
        ASSERT_TRUE(text.ok()) << text.message;
        RigScene loaded;
        auto read = refhost::readSceneText(loaded.host, text.value, "loaded");
        ASSERT_TRUE(read.ok()) << read.message;
        loaded.adopt(loaded.host.addScene(std::move(read.value)));
        EXPECT_EQ(loaded.scene().digest(), built.scene().digest());
        std::vector<Item*> same;
        for (const Item* joint : joints)
            same.push_back(&loaded.item(joint->uniqueName()));
        built.freshNodes();
        for (const double seconds : {0.0, 0.5, 1.0}) {
            ASSERT_TRUE(built.host.setTime(seconds).ok() && loaded.host.setTime(seconds).ok());
            EXPECT_EQ(loaded.pose(same), built.pose(joints)) << name << " at " << seconds;
        }
    }
}

} // namespace
} // namespace e2e
