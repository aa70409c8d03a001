// SPDX-License-Identifier: MIT
// Tracking without plug-in and host: the engine driven by the very calls that a rig's node makes.
#pragma once

#include "track/TrackSolver.h"

#include <sinew/IKSolver.h>

/// A rig as `track` builds it. What it gives must equal the plug-in's results bit for bit.
class DirectTrack final : public app::TrackSolver {
public:
    DirectTrack(std::vector<app::TrackBone> bones, std::vector<app::TrackGoal> goals,
                const app::TrackSettings& settings, const std::array<double, 3>& rootStart);

    app::SolveResult solve(std::span<const app::Pose> goals, std::span<app::Pose> local) override;
    void restart() override;

private:
    void setBones();
    void setGoal(std::size_t index, const app::Pose& goal);
    void readPose(std::span<app::Pose> local);
    /// Tasks come in the order of the bones, not in that of the goals.
    template <class Use>
    void forGoalsInOrderOfBones(Use&& use);

    std::vector<app::TrackBone> m_Bones;
    std::vector<app::TrackGoal> m_Goals;
    app::TrackSettings m_Settings;
    std::vector<std::array<double, 3>> m_Rest;
    std::unique_ptr<Sinew::IKSolver> m_Solver;
    std::vector<Sinew::IKPositionTask*> m_Positions; // null where the goal has no position
    std::vector<Sinew::IKOrientationTask*> m_Orientations;
};
