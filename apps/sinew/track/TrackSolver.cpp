// SPDX-License-Identifier: MIT
// Tracks through the engine itself.
#include "track/TrackSolver.h"

#include <sinew/IKSolver.h>

namespace app {

namespace {

class EngineSolver final : public TrackSolver {
public:
    EngineSolver(std::vector<TrackBone> bones, std::vector<TrackGoal> goals, const TrackSettings& settings,
                 const std::array<double, 3>& rootStart)
        : m_Bones(std::move(bones)), m_Goals(std::move(goals)), m_Settings(settings), m_RootStart(rootStart)
    {
        restart();
    }

    void restart() override
    {
        m_Solver = std::make_unique<Sinew::IKSolver>();
        setBones();
        m_PositionTasks.assign(m_Goals.size(), nullptr);
        m_OrientationTasks.assign(m_Goals.size(), nullptr);
        for (std::size_t i = 0; i < m_Goals.size(); ++i) {
            const char* name = m_Bones[m_Goals[i].bone].name.c_str();
            if (m_Goals[i].position)
                m_PositionTasks[i] = m_Solver->addPositionTask(name);
            if (m_Goals[i].rotation)
                m_OrientationTasks[i] = m_Solver->addOrientationTask(name);
        }
    }

    SolveResult solve(std::span<const Pose> goals, std::span<Pose> local) override
    {
        for (std::size_t i = 0; i < m_Goals.size(); ++i) {
            const auto& [t, q] = goals[i];
            if (m_PositionTasks[i])
                m_PositionTasks[i]->setTarget(single(t[0]), single(t[1]), single(t[2]));
            if (m_OrientationTasks[i])
                m_OrientationTasks[i]->setTarget(single(q[0]), single(q[1]), single(q[2]), single(q[3]));
        }
        // The order of calls is the one of a rig that is evaluated by the plug-in.
        if (m_Settings.fromRest)
            m_Solver->reset();
        m_Solver->setRetargetGain(1.0f);
        m_Solver->setLimitsGain(1.0f);
        m_Solver->setTolerance(single(m_Settings.tolerance));
        m_Solver->setTranslateRoot(m_Settings.translateRoot);
        if (m_Settings.translateRoot)
            m_Solver->setRootTranslationWeight(1.0f);
        m_Solver->setPrecision(single(-m_Settings.precision));
        m_Solver->setPCoefficient(single(m_Settings.pull));
        const bool converged = m_Solver->solve(m_Settings.steps);
        m_Solver->updateFigure();
        readPose(local);
        return {converged, m_Solver->iterations()};
    }

private:
    static float single(double value) { return static_cast<float>(value); }

    void setBones()
    {
        std::vector<Sinew::BoneDescriptor> descriptors(m_Bones.size());
        for (std::size_t i = 0; i < m_Bones.size(); ++i) {
            const TrackBone& bone = m_Bones[i];
            descriptors[i].name = bone.name.c_str();
            descriptors[i].parent_name =
                bone.parent < 0 ? nullptr : m_Bones[static_cast<std::size_t>(bone.parent)].name.c_str();
            for (std::size_t a = 0; a < 3; ++a)
                descriptors[i].rest_translation[a] = single(bone.restTranslation[a]);
        }
        m_Solver->setBones(descriptors.data(), static_cast<std::uint32_t>(descriptors.size()));
        m_Solver->setFullRetargeting(false);
        for (std::size_t i = 0; i < m_Bones.size(); ++i) {
            // Without this a new bone is drawn back to its rest pose.
            Sinew::IKSegment* bone = m_Solver->bone(static_cast<std::uint32_t>(i));
            bone->setRetargeting(false, true);
            bone->setHoldOrientation(false);
            bone->enableLimits(false);
            const std::array<bool, 3>& turns = m_Bones[i].turns;
            if (!turns[0] || !turns[1] || !turns[2])
                bone->setActiveDof(turns[0], turns[1], turns[2], true);
        }
        m_Solver->rootBone()->setRestTranslation(single(m_RootStart[0]), single(m_RootStart[1]),
                                                 single(m_RootStart[2]));
    }

    void readPose(std::span<Pose> local)
    {
        for (std::size_t i = 0; i < m_Bones.size(); ++i) {
            Sinew::IKSegment* bone = m_Solver->bone(static_cast<std::uint32_t>(i));
            const Sinew::SinewQuaternion q = bone->getOrientation();
            local[i].rotation = {q.x(), q.y(), q.z(), q.w()};
            // Only the root moves: for the others the file's own numbers are the exact ones.
            local[i].translation = m_Bones[i].restTranslation;
            if (m_Bones[i].parent < 0) {
                const Sinew::SinewVector t = bone->getTranslation();
                local[i].translation = {t.x(), t.y(), t.z()};
            }
        }
    }

    std::vector<TrackBone> m_Bones;
    std::vector<TrackGoal> m_Goals;
    TrackSettings m_Settings;
    std::array<double, 3> m_RootStart;
    std::unique_ptr<Sinew::IKSolver> m_Solver;
    std::vector<Sinew::IKPositionTask*> m_PositionTasks; // null where the goal has no position
    std::vector<Sinew::IKOrientationTask*> m_OrientationTasks;
};

} // namespace

std::unique_ptr<TrackSolver> makeEngineSolver(std::vector<TrackBone> bones, std::vector<TrackGoal> goals,
                                              const TrackSettings& settings,
                                              const std::array<double, 3>& rootStart)
{
    return std::make_unique<EngineSolver>(std::move(bones), std::move(goals), settings, rootStart);
}

} // namespace app
