// SPDX-License-Identifier: MIT
// Tracks through the plug-in: a rig in a scene of the host, whose goals move and whose joints are read.
#include "track/TrackSolver.h"

#include "track/PoseMatrices.h"
#include "track/TrackRig.h"

#include <refhost/Evaluation.h>
#include <refhost/Host.h>

#include <stdexcept>

namespace app {

namespace {

using refhost::Channel;
using refhost::Item;
using refhost::Matrix34;
using refhost::TransformKind;

void expect(const refhost::Result& result)
{
    if (!result.ok())
        throw std::runtime_error("the host refused to move a goal: " + result.message);
}

class RigSolver final : public TrackSolver {
public:
    RigSolver(refhost::Host& host, std::vector<TrackBone> bones, const std::vector<TrackGoal>& goals,
              const TrackSettings& settings, const std::array<double, 3>& rootStart)
        : m_Scene(host.newScene("track")), m_Bones(std::move(bones))
    {
        m_Scene.journal().setStepLimit(1); // nobody undoes a frame
        refhost::Step step(m_Scene.journal(), "build the rig");
        const TrackRig rig = buildTrackRig(m_Scene, m_Bones, goals, settings, rootStart);
        for (Item* joint : rig.joints)
            m_Joints.push_back({joint->channel("wposMatrix"), joint->channel("wrotMatrix")});
        m_Solver = rig.solver;
        for (std::size_t i = 0; i < goals.size(); ++i) {
            MovedGoal moved;
            if (goals[i].position)
                addChannels(*rig.goals[i], TransformKind::Position, "pos", moved.position);
            if (goals[i].rotation)
                addChannels(*rig.goals[i], TransformKind::Rotation, "rot", moved.rotation);
            m_Goals.push_back(moved);
        }
        expect(step.commit());
        m_World.resize(m_Bones.size());
    }
    ~RigSolver() override { (void)m_Scene.host().closeScene(m_Scene); }

    void restart() override
    {
        refhost::Step step(m_Scene.journal(), "start the solve anew");
        expect(m_Scene.resetModifier("ikfb"));
        expect(step.commit());
    }

    SolveResult solve(std::span<const Pose> goals, std::span<Pose> local) override
    {
        moveGoals(goals);
        refhost::Evaluation& evaluation = refhost::Evaluation::of(m_Scene);
        const double time = m_Scene.host().time();
        for (std::size_t i = 0; i < m_Joints.size(); ++i) {
            Matrix34 position, rotation;
            evaluation.matrix(*m_Joints[i].position, time, position);
            evaluation.matrix(*m_Joints[i].rotation, time, rotation);
            m_World[i] = {rotation.linear, position.offset};
        }
        localPoses(m_Bones, m_World, local);
        return {evaluation.figure(*m_Solver, "ikfb", "converged").value_or(0) != 0,
                static_cast<std::uint32_t>(evaluation.figure(*m_Solver, "ikfb", "iterations").value_or(0))};
    }

private:
    struct Joint {
        Channel* position;
        Channel* rotation;
    };
    struct MovedGoal {
        std::array<Channel*, 3> position{}; // null where the goal has no position
        std::array<Channel*, 3> rotation{};
    };

    void addChannels(Item& goal, TransformKind kind, const std::string& name,
                     std::array<Channel*, 3>& channels)
    {
        const auto transform = m_Scene.addTransformItem(goal, kind);
        expect(transform.result());
        for (std::size_t a = 0; a < 3; ++a)
            channels[a] = transform.value->channel(name + '.' + "XYZ"[a]);
    }

    void moveGoals(std::span<const Pose> goals)
    {
        refhost::Step step(m_Scene.journal(), "move the goals");
        for (std::size_t i = 0; i < m_Goals.size(); ++i) {
            if (m_Goals[i].position[0])
                write(m_Goals[i].position, goals[i].translation);
            if (m_Goals[i].rotation[0])
                write(m_Goals[i].rotation, goalAngles(goals[i]));
        }
        expect(step.commit());
    }
    void write(const std::array<Channel*, 3>& channels, const std::array<double, 3>& values)
    {
        for (std::size_t a = 0; a < 3; ++a)
            expect(m_Scene.writeNumber(*channels[a], refhost::Action::Anim, 0, values[a],
                                       refhost::WriteMode::Plain));
    }

    refhost::Scene& m_Scene;
    std::vector<TrackBone> m_Bones;
    std::vector<Joint> m_Joints;
    std::vector<MovedGoal> m_Goals;
    std::vector<Matrix34> m_World;
    Item* m_Solver = nullptr;
};

} // namespace

std::unique_ptr<TrackSolver> makeRigSolver(refhost::Host& host, std::vector<TrackBone> bones,
                                           const std::vector<TrackGoal>& goals, const TrackSettings& settings,
                                           const std::array<double, 3>& rootStart)
{
    return std::make_unique<RigSolver>(host, std::move(bones), goals, settings, rootStart);
}

} // namespace app
