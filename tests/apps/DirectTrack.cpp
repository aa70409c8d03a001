// SPDX-License-Identifier: MIT
// The engine driven by the very calls that a rig's node makes.
#include "DirectTrack.h"

#include "track/PoseMatrices.h"

#include <cmath>

using app::Pose;
using app::TrackBone;
using app::TrackGoal;
using refhost::Matrix34;

namespace {

float single(double value) { return static_cast<float>(value); }

} // namespace

DirectTrack::DirectTrack(std::vector<TrackBone> bones, std::vector<TrackGoal> goals,
                         const app::TrackSettings& settings, const std::array<double, 3>& rootStart)
    : m_Bones(std::move(bones)), m_Goals(std::move(goals)), m_Settings(settings)
{
    for (const TrackBone& bone : m_Bones)
        m_Rest.push_back(bone.parent < 0 ? rootStart : bone.restTranslation);
    restart();
}

template <class Use>
void DirectTrack::forGoalsInOrderOfBones(Use&& use)
{
    for (std::size_t bone = 0; bone < m_Bones.size(); ++bone)
        for (std::size_t goal = 0; goal < m_Goals.size(); ++goal)
            if (m_Goals[goal].bone == bone)
                use(goal, m_Bones[bone].name.c_str());
}

void DirectTrack::restart()
{
    m_Solver = std::make_unique<Sinew::IKSolver>();
    std::vector<Sinew::BoneDescriptor> descriptors(m_Bones.size());
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        descriptors[i].name = m_Bones[i].name.c_str();
        if (m_Bones[i].parent >= 0)
            descriptors[i].parent_name = m_Bones[static_cast<std::size_t>(m_Bones[i].parent)].name.c_str();
        for (std::size_t a = 0; a < 3; ++a)
            descriptors[i].rest_translation[a] = std::fabs(m_Rest[i][a]) < 1e-7 ? 0 : single(m_Rest[i][a]);
    }
    m_Solver->setBones(descriptors.data(), static_cast<std::uint32_t>(descriptors.size()));
    m_Positions.assign(m_Goals.size(), nullptr);
    m_Orientations.assign(m_Goals.size(), nullptr);
    forGoalsInOrderOfBones([&](std::size_t goal, const char* bone) {
        if (m_Goals[goal].position)
            m_Positions[goal] = m_Solver->addPositionTask(bone, 0);
        if (m_Goals[goal].rotation)
            m_Orientations[goal] = m_Solver->addOrientationTask(bone, 0);
    });
}

app::SolveResult DirectTrack::solve(std::span<const Pose> goals, std::span<Pose> local)
{
    setBones();
    forGoalsInOrderOfBones([&](std::size_t goal, const char*) { setGoal(goal, goals[goal]); });
    if (m_Settings.fromRest)
        m_Solver->reset();
    m_Solver->setRetargetGain(m_Settings.fromRest ? 1.0f : 0.0f);
    m_Solver->setLimitsGain(1.0f);
    m_Solver->setTolerance(single(m_Settings.tolerance * 10000 / 10000.0));
    m_Solver->setTranslateRoot(m_Settings.translateRoot);
    if (m_Settings.translateRoot)
        m_Solver->setRootTranslationWeight(1.0f);
    m_Solver->setPrecision(single(m_Settings.precision * -1.0));
    m_Solver->setPCoefficient(single(m_Settings.pull));
    const bool converged = m_Solver->solve(m_Settings.steps);
    m_Solver->updateFigure();
    readPose(local);
    return {converged, m_Solver->iterations()};
}

void DirectTrack::setBones()
{
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        Sinew::IKSegment& bone = *m_Solver->bone(static_cast<std::uint32_t>(i));
        const bool retargets = !m_Settings.fromRest && i + 1 == m_Bones.size();
        bone.setActive(true, false);
        bone.setRetargeting(retargets, true);
        if (retargets)
            bone.setTargetOrientation(0, 0, 0, 1);
        if (m_Settings.fromRest) {
            bone.setRestOrientation(0, 0, 0, 1);
            bone.setRestTranslation(single(m_Rest[i][0]), single(m_Rest[i][1]), single(m_Rest[i][2]));
        }
        const std::array<bool, 3>& turns = m_Bones[i].turns;
        bone.setActiveDof(turns[0], turns[1], turns[2], true);
        bone.setActiveDof(false, false, false, false);
        for (std::uint32_t a = 0; a < 6; ++a)
            bone.setWeight(a, 1.0f);
        bone.setHoldOrientation(false);
        bone.enableLimits(false);
        bone.enableStretchLimits(false);
        bone.setMaxVelocity(single(3.3) / 100.0f);
    }
}

void DirectTrack::setGoal(std::size_t index, const Pose& goal)
{
    if (Sinew::IKPositionTask* task = m_Positions[index]) {
        const auto& [x, y, z] = goal.translation;
        task->setActive(true, false);
        task->setTarget(single(x), single(y), single(z));
        task->setWeight(1);
        task->setPrecision(1);
        task->setDepth(0xFFFFFFFFu);
        task->setLevel(0);
        task->scaleTarget(1);
    }
    if (Sinew::IKOrientationTask* task = m_Orientations[index]) {
        const refhost::Matrix33 m = refhost::matrixFromEuler(app::goalAngles(goal), 0);
        const Sinew::SinewQuaternion q = Sinew::fromColumnMatrix(Sinew::makeMatrix(
            single(m[0][0]), single(m[0][1]), single(m[0][2]), single(m[1][0]), single(m[1][1]),
            single(m[1][2]), single(m[2][0]), single(m[2][1]), single(m[2][2])));
        task->setActive(true, false);
        task->setTarget(q.x(), q.y(), q.z(), q.w());
        task->setWeight(1);
        task->setPrecision(1);
        task->setDepth(0xFFFFFFFFu);
        task->setLevel(0);
    }
}

void DirectTrack::readPose(std::span<Pose> local)
{
    std::vector<Matrix34> world(m_Bones.size());
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        Sinew::IKSegment& bone = *m_Solver->bone(static_cast<std::uint32_t>(i));
        const Sinew::SinewMatrix& rotation = bone.getGlobalMatrix();
        const Sinew::SinewVector& position = bone.getGlobalTranslation();
        for (std::uint32_t r = 0; r < 3; ++r) {
            for (std::uint32_t c = 0; c < 3; ++c)
                world[i].linear.m[r][c] = static_cast<double>(rotation[r][c]);
            world[i].offset[r] = static_cast<double>(position[r]);
        }
    }
    app::localPoses(m_Bones, world, local);
}
