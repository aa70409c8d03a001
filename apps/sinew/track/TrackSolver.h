// SPDX-License-Identifier: MIT
// What `track` needs of a solver: bones in, goals per frame, poses out. Knows neither files nor reports.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace refhost {
class Host;
}

namespace app {

/// A rigid transform: translation in the file's unit, rotation x, y, z, w.
struct Pose {
    std::array<double, 3> translation{};
    std::array<double, 4> rotation{0, 0, 0, 1};
};

struct TrackBone {
    std::string name; ///< unique
    int parent = -1; ///< index of a bone before this one; -1 for the root, which there is one of
    std::array<double, 3> restTranslation{}; ///< in the parent's space; a root starts elsewhere
    std::array<bool, 3> turns{true, true, true}; ///< freedom to rotate about local x, y and z
    std::array<double, 4> restRotation{0, 0, 0, 1}; ///< in the parent's space; of a root in the world
};

struct TrackGoal {
    std::size_t bone = 0;
    bool position = true;
    bool rotation = false;
};

struct TrackSettings {
    std::uint32_t steps = 1000; ///< bound of the iterations of a frame
    double tolerance = 1e-4; ///< largest joint step (radians or length units) that ends a solve
    double precision = 2;
    double pull = 1;
    bool translateRoot = true;
    bool fromRest = false; ///< every frame starts from rest rather than from the frame before
};

struct SolveResult {
    bool converged = true; ///< false when the solve diverged
    std::uint32_t iterations = 0;
};

/// One figure being solved frame by frame.
class TrackSolver {
public:
    virtual ~TrackSolver() = default;

    /// Solves one frame. `goals` are world transforms in the order of the goals, `local` receives a transform
    /// per bone in its parent's space; of a solve that diverged, whatever it gave.
    virtual SolveResult solve(std::span<const Pose> goals, std::span<Pose> local) = 0;
    /// Forgets everything of former frames.
    virtual void restart() = 0;
};

/// Makes the solver of one figure. `rootStart` is where the root stands at first, and in rest.
using TrackSolverMaker = std::function<std::unique_ptr<TrackSolver>(
    std::vector<TrackBone> bones, std::vector<TrackGoal> goals, const TrackSettings& settings,
    const std::array<double, 3>& rootStart)>;

/// A rig in a scene of its own on `host`, which must have the plug-in loaded and outlive the solver.
std::unique_ptr<TrackSolver> makeRigSolver(refhost::Host& host, std::vector<TrackBone> bones,
                                           const std::vector<TrackGoal>& goals, const TrackSettings& settings,
                                           const std::array<double, 3>& rootStart);

} // namespace app
