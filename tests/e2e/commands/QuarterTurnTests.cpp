// SPDX-License-Identifier: MIT
// Joints turned by quarter turns and by almost quarter turns: what takes over a pose leaves the pose alone.
#include "e2e/commands/CommandScene.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>

using namespace e2e;

namespace {

constexpr double kQuarter = 1.5707963267948966;

/// A rig R B C D below a parent P of any scale, and a rig S S1 beside it, all turned by chance.
class TurnedRigs : public CommandScene {
public:
    explicit TurnedRigs(std::uint32_t seed, bool square = false) : m_Random(seed), m_Square(square)
    {
        constexpr Vector3 kScales[] = {{1, 1, 1}, {0.5, 0.5, 0.5}, {3, 3, 3}, {0.7, 2, 1.3}, {-1, 1, 1}};
        run("item.create name:P");
        place("P", {1, -2, 0.5}, kScales[seed % std::size(kScales)]);
        for (const char* line : {"R parent:P", "B parent:R", "C parent:B", "D parent:C", "S", "S1 parent:S"})
            run("item.create name:" + std::string(line));
        for (const char* joint : {"R", "B", "C", "D", "S", "S1"})
            place(joint, {0.3, *joint == 'R' ? 0.0 : 1.5, -0.2});
        run("item.create name:L");
        place("L", {0.4, 3, 1});
        run({"ikfb.assign item:R", "ikfb.assign item:S"});
    }

    /// Radians that each angle may miss a quarter turn by.
    double noise() const { return m_Noise; }
    std::vector<Matrix34> figure() { return pose({&item("R"), &item("B"), &item("C"), &item("D")}); }

private:
    double in(double low, double high)
    {
        return low + (high - low) * static_cast<double>(m_Random()) / 4294967295.0;
    }
    void place(const char* name, const Vector3& position, const Vector3& scale = {1, 1, 1})
    {
        LocalParts parts{.position = position, .scale = scale};
        const bool turnsFreely = !m_Square && m_Random() % 16 == 0;
        for (double& angle : parts.rotation)
            angle = turnsFreely ? in(-3.1, 3.1)
                                : kQuarter * static_cast<double>(m_Random() % 4) + in(-m_Noise, m_Noise);
        parts.order = static_cast<int>(m_Random() % 6);
        for (int kind = 0; kind < refhost::kTransformKindCount; ++kind) {
            refhost::Step step(scene().journal(), "transforms");
            EXPECT_TRUE(scene().addTransformItem(item(name), static_cast<refhost::TransformKind>(kind)).ok());
            EXPECT_TRUE(step.commit().ok());
        }
        RigScene::place(item(name), parts);
    }

    std::mt19937 m_Random;
    bool m_Square;
    double m_Noise = m_Random() % 2 == 0 ? 0 : std::pow(10, in(-7, -3));
};

/// The lines that take over the pose, and what they must not move.
struct Takeover {
    const char* name;
    std::vector<std::string_view> lines;
};

const Takeover kTakeovers[] = {
    {"task", {"ikfb.task item:D type:0 mode:1", "ikfb.task item:D type:1 mode:1"}},
    {"goal", {"select.set D", "ikfb.goal"}},
    {"goalAssign",
     {"ikfb.task item:D type:0 mode:1", "ikfb.task item:D type:1 mode:1",
      "ikfb.goalAssign item:D goal:L type:0 comp:1"}},
    {"goalAssign alone", {"ikfb.goalAssign item:D goal:L type:0 comp:1"}},
    {"retarget", {"item.tag BVHN Hips item:D", "ikfb.retarget itemS:S1 itemT:D", "scene.setup on:false"}},
    {"setRest", {"ikfb.setRest item:FullBodyIK"}},
};

} // namespace

TEST(QuarterTurnTests, WhatTakesOverAPoseLeavesItAlone)
{
    for (const Takeover& takeover : kTakeovers) {
        int moved = 0;
        double worst = 0;
        for (std::uint32_t seed = 1; seed <= 20; ++seed) {
            TurnedRigs rigs(seed);
            const std::vector<Matrix34> before = rigs.figure();
            for (const std::string_view line : takeover.lines)
                rigs.run(line);
            const double apart = difference(rigs.figure(), before);
            moved += apart > 1e-4 ? 1 : 0;
            worst = std::max(worst, apart);
        }
        EXPECT_EQ(moved, 0) << takeover.name << " moved so many of 20, by up to " << worst;
    }
}

TEST(QuarterTurnTests, SnappingTakesAnAlmostQuarterTurnForThatOne)
{
    for (std::uint32_t seed = 290; seed < 315; ++seed) { // in two of these the noise stands between two snaps
        TurnedRigs rigs(seed, true);
        const std::vector<Matrix34> before = rigs.figure();
        rigs.run({"ikfb.retarget itemS:S1 itemT:D", "scene.setup on:false"});
        EXPECT_LT(difference(rigs.figure(), before), 1e-5 + 20 * rigs.noise()) << "seed " << seed;
    }
}

TEST(QuarterTurnTests, AnExportersQuarterTurnIsKeptByAGoal)
{
    const char* chosen = std::getenv("SINEW_DATA");
    const auto file = std::filesystem::path(chosen ? chosen : SINEW_DATA_DIR) / "gltf" / "CesiumMan.glb";
    if (!std::filesystem::exists(file))
        GTEST_SKIP() << "no " << file << "; set SINEW_DATA to the folder of the sample files";
    CommandScene scene;
    scene.run({"scene.import file:'" + file.string() + "'", "ikfb.assign item:Z_UP"});
    const std::vector<Matrix34> before = scene.pose({&scene.item("Armature")});
    scene.run({"select.set Armature", "ikfb.goal"});
    EXPECT_LT(difference(scene.pose({&scene.item("Armature")}), before), 1e-5);
}
