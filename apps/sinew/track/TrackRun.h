// SPDX-License-Identifier: MIT
// Solves a motion frame by frame and measures the outcome.
#pragma once

#include "report/TrackReport.h"
#include "track/GoalSelection.h"
#include "track/TrackMotion.h"
#include "track/TrackSolver.h"

namespace app {

struct TrackRequest {
    std::vector<Goal> goals;
    TrackSettings settings;
    std::size_t firstFrame = 0;
    std::size_t lastFrame = 0; ///< included
    std::size_t animationFrames = 0; ///< keep at most so many frames for drawing; 0 keeps none
};

/// Solves the frames through the plug-in and replaces `motion` by the solved motion of just them. Fills the
/// part of `report` that comes from solving; `report.height` must be set. Throws BadInput for a figure that
/// can't be solved.
void trackMotion(TrackMotion& motion, const TrackRequest& request, TrackReport& report);
/// The same with solvers of another make.
void trackMotion(TrackMotion& motion, const TrackRequest& request, TrackReport& report,
                 const TrackSolverMaker& makeSolver);

} // namespace app
