// SPDX-License-Identifier: MIT
// Scenes that benchmarks, the bench command and the hash tests share, and how a scene is run.
#pragma once

#include <sinew/IKSolver.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A figure with goals that move from frame to frame. Figures are about two units tall and built from numbers
/// in the source, so every build of every compiler starts from the same bits.
struct Scene {
    std::string name;
    std::string what; ///< one line: bones, goals, features
    std::unique_ptr<Sinew::IKSolver> solver = std::make_unique<Sinew::IKSolver>();
    std::vector<Sinew::IKPositionTask*> goals;
    std::vector<Sinew::SinewVector> goalCentre; ///< world places that the goals move around
    std::vector<float> goalPhase; ///< where on its curve each goal starts, radians
    float height = 1.0f; ///< longest chain from the root
    float swing = 0.2f; ///< how far goals move, in heights
    std::uint32_t frames = 1;
    std::uint32_t steps = 1000;
    bool fromRest = false;

    /// Sets all goals for a frame.
    void moveGoals(std::uint32_t frame);
    /// Largest distance of a goal from its target, in heights, at the pose as it stands.
    float residual() const;
    std::uint32_t columns() const;
};

struct Run {
    std::string name;
    std::string what;
    std::uint32_t solves = 0;
    std::uint64_t iterations = 0;
    std::uint32_t diverged = 0; ///< solves that reported divergence
    std::uint32_t blocks = 0; ///< non-zero Jacobian blocks
    double seconds = 0.0; ///< inside `solve`
    float worstResidual = 0.0f; ///< in heights, over all frames
    std::uint64_t hash = 0; ///< of every bone's orientation and translation after every frame
};

/// The works whose speed is measured: W1 to W4.
struct Work {
    std::string name;
    std::function<Scene()> make;
};
const std::vector<Work>& timedWorks();
/// The works whose pose hashes must be equal in every build; they cover limits, stretch, balance and the
/// rest.
const std::vector<Work>& hashedWorks();

/// Solves every frame of a scene.
Run run(Scene scene);

/// Iterations until the largest residual falls below each of `levels` (in heights, largest first), starting
/// at rest with all goals moved to their first frame; `limit` where as many don't do.
std::vector<std::uint32_t> iterationsTo(Scene scene, const std::vector<float>& levels, std::uint32_t limit);
/// The largest P coefficient of those tried, in steps of a tenth, at which a 1,000-step solve doesn't
/// diverge.
float largestStableCoefficient(const std::function<Scene()>& make);

/// A tree of four chains of equal length with a goal at each end.
Scene makeTree(std::uint32_t bones);
/// Chains on one root, `goals` of them with a goal: for time against non-zero blocks.
Scene makeFan(std::uint32_t chains, std::uint32_t bonesPerChain, std::uint32_t goals);

} // namespace bench
