// SPDX-License-Identifier: MIT
// The rig that `track` solves: joints, solver item, tasks and goals.
#pragma once

#include "track/TrackSolver.h"

#include <refhost/Scene.h>

namespace app {

/// Items of a rig that was built, in the order of the bones and of the goals.
struct TrackRig {
    std::vector<refhost::Item*> joints;
    std::vector<refhost::Item*> goals; ///< a locator at the top of the scene for each goal
    refhost::Item* solver = nullptr;
};

/// Fills an empty current scene with the rig: every joint at rest, the root at `rootStart`, each goal at the
/// origin of the world. Throws runtime_error when the host or the plug-in refuses.
TrackRig buildTrackRig(refhost::Scene& scene, const std::vector<TrackBone>& bones,
                       const std::vector<TrackGoal>& goals, const TrackSettings& settings,
                       const std::array<double, 3>& rootStart);

} // namespace app
