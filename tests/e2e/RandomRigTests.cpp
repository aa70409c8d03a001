// SPDX-License-Identifier: MIT
// Rigs with everything set at random, over several times, against the expected pose.
#include "e2e/Arm.h"

#include <random>

using namespace e2e;

namespace {

class RandomRig {
public:
    explicit RandomRig(std::uint32_t seed) : m_Random(seed) { build(); }

    RigScene scene;
    Item* root = nullptr;

private:
    double in(double low, double high)
    {
        return low + (high - low) * static_cast<double>(m_Random()) / 4294967295.0;
    }
    bool chance(double p) { return in(0, 1) < p; }
    Vector3 in3(double low, double high) { return {in(low, high), in(low, high), in(low, high)}; }
    LocalParts placement(double step, double degrees)
    {
        const Vector3 scale = chance(0.2) ? in3(0.5, 1.6) : Vector3{1, 1, 1};
        LocalParts out = at(in3(-step, step), in3(-degrees, degrees), scale);
        out.order = static_cast<int>(m_Random() % 6);
        return out;
    }
    void vary(Item& item, const char* channel, double low, double high)
    {
        scene.set(item, channel, in(low, high));
        if (chance(0.2))
            scene.key(item, channel, 1.0, in(low, high));
    }
    void toggle(Item& item, const std::string& channel, double p)
    {
        scene.set(item, channel, chance(p));
        if (chance(0.2))
            scene.key(item, channel, in(0, 1), chance(p));
    }

    void build()
    {
        Item* above = chance(0.8) ? &scene.locator("above", nullptr, placement(3, 170)) : nullptr;
        if (above && chance(0.5))
            above = &scene.locator("above", above, placement(3, 170));
        root = &scene.root("root", above, placement(1, 60), static_cast<int>(m_Random() % 12));
        std::vector<Item*> joints = {root};
        const std::size_t count = 3 + m_Random() % 8;
        while (joints.size() < count) {
            Item* parent = chance(0.7) ? joints.back() : joints[m_Random() % joints.size()];
            joints.push_back(&scene.joint("joint", parent, placement(1, 40)));
        }
        for (Item* joint : joints)
            dress(*joint);
        Item& solver = scene.solver(*root);
        toggle(solver, "iksSolveContinuous", 0.5);
        vary(solver, "iksPrecision", 0.5, 8);
        vary(solver, "iksTaskPull", 0.2, 1.2);
        toggle(solver, "iksTransRoot", 0.3);
        vary(solver, "iksTransRootWeight", 0.1, 1);
        vary(solver, "iksRetargetGain", 0.1, 1);
        vary(solver, "iksRetargetScale", 0.7, 1.2);
        vary(solver, "iksLimitsGain", 0.2, 1);
        if (chance(0.5))
            vary(solver, "iksIKFKBlend", -0.2, 1.3);
        for (int i = 0; i < 1 + static_cast<int>(m_Random() % 3); ++i)
            aim(*joints[1 + m_Random() % (joints.size() - 1)], solver);
    }

    void dress(Item& joint)
    {
        for (const char* axis : {"X", "Y", "Z"}) {
            const std::string channel = std::string("ikAxis") + axis;
            toggle(joint, channel + "PosEnable", 0.15);
            toggle(joint, channel + "RotEnable", 0.9);
            vary(joint, (channel + "PosWeight").c_str(), 0.1, 1);
            vary(joint, (channel + "RotWeight").c_str(), 0.1, 1);
            toggle(joint, channel + "Limits", 0.5);
            vary(joint, (channel + "Min").c_str(), -0.8, 0);
            vary(joint, (channel + "Max").c_str(), 0, 0.8);
            toggle(joint, channel + "LimitsTrans", 0.3);
            vary(joint, (channel + "MaxTrans").c_str(), -0.1, 0.4);
        }
        toggle(joint, "ikjActive", 0.9);
        toggle(joint, "ikjEnableLimits", 0.3);
        toggle(joint, "ikjEnforceLimits", 0.7);
        toggle(joint, "ikjRetargeting", 0.08);
        vary(joint, "ikjMaxVelocity", 0.5, 6);
        scene.set(joint, "ikjLimitsAxis", m_Random() % 3);
        const Matrix33 turn = refhost::matrixFromEuler(in3(-1, 1), 0);
        const char* rows[] = {"ikjTargetOffsetX", "ikjTargetOffsetY", "ikjTargetOffsetZ"};
        for (std::size_t r = 0; r < 3 && chance(0.8); ++r)
            scene.set(joint, rows[r], {turn.m[r][0], turn.m[r][1], turn.m[r][2]});
        if (chance(0.3))
            vary(*joint.transformItem(refhost::TransformKind::Rotation), "rot.Z", -1, 1);
    }

    void aim(Item& joint, Item& solver)
    {
        const Vector3 place = scene.matrix(joint, "wposMatrix").offset;
        scene.link("ikTasks", solver, joint);
        const auto goal = [&](const std::string& kind) {
            vary(joint, (kind + "Weight").c_str(), 0.2, 2);
            vary(joint, (kind + "Precision").c_str(), 0.2, 1.5);
            scene.set(joint, kind + "Length", static_cast<double>(m_Random() % 6) - 1);
            toggle(joint, kind + "Enable", 0.9);
            if (chance(0.4)) {
                Item& item = scene.goalItem("goal", joint, kind.substr(2), placement(0, 90));
                Item& position = *item.transformItem(refhost::TransformKind::Position);
                for (const char* axis : {"X", "Y", "Z"}) {
                    const std::size_t k = static_cast<std::size_t>(*axis - 'X');
                    scene.key(position, std::string("pos.") + axis, 0, place[k] + in(-1, 1));
                    scene.key(position, std::string("pos.") + axis, 1, place[k] + in(-1, 1));
                }
            } else if (chance(0.4)) {
                Item& item = scene.locator("listed", nullptr, placement(2, 90));
                scene.link("ikTasks", joint, item);
                scene.set(joint, kind + "LinkIndex", 1);
            }
        };
        if (chance(0.8)) {
            scene.package(joint, "ik.positionTask");
            for (const char* axis : {"X", "Y", "Z"}) {
                const std::string channel = std::string("ikptPos.") + axis;
                const std::size_t k = static_cast<std::size_t>(*axis - 'X');
                scene.key(joint, channel, 0, place[k] + in(-1, 1));
                scene.key(joint, channel, 1, place[k] + in(-1, 1));
            }
            scene.set(joint, "ikptOffset", in3(-0.3, 0.3));
            vary(joint, "ikptScale", 0.7, 1.2);
            goal("ikpt");
        }
        if (chance(0.6)) {
            scene.package(joint, "ik.orientationTask");
            scene.set(joint, "ikotRot", in3(-2, 2));
            scene.set(joint, "ikotOffset", in3(-1, 1));
            goal("ikot");
        }
    }

    std::mt19937 m_Random;
};

class RandomRigTests : public ::testing::TestWithParam<std::uint32_t> { };

} // namespace

TEST_P(RandomRigTests, ShowsTheExpectedPoseAtEveryTime)
{
    RandomRig rig(GetParam());
    rig.scene.freshNodes();
    ExpectedRig expected(rig.scene, *rig.root);
    for (const double seconds : {0.05, 0.3, 0.55, 0.8, 1.05, 0.3}) {
        SCOPED_TRACE(seconds);
        ASSERT_TRUE(rig.scene.host.setTime(seconds).ok());
        const std::uint64_t before = rig.scene.evaluation().evaluationCount();
        (void)rig.scene.pose({rig.root});
        if (rig.scene.evaluation().evaluationCount() == before)
            continue; // nothing is keyed: the node has nothing to do
        expectSame(rig.scene, expected);
    }
    EXPECT_EQ(rig.scene.takeMessages(), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomRigTests, ::testing::Range(1u, 31u));
