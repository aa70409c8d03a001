// SPDX-License-Identifier: MIT
// One evaluation of a rig: from channels through the solver to the world transforms of the joints.
//
// The engine solves in the space of the root's parent. What comes from the world (goals) is taken there by
// the inverse of the parent's frame, and what the engine gives is taken back. Matrices here are Matrix4d: v'
// = v M, so `a · b` applies a first.
#include "rig/CMarionetNode.h"

#include "host/Services.h"
#include "rig/RigMath.h"

#include <algorithm>
#include <cmath>
#include <string_view>

using Sinew::IKSegment;
using Sinew::Matrix4d;
using Sinew::SinewQuaternion;

namespace {

/// `block` with its last row replaced by that of `translation`.
Matrix4d WithTranslation(Matrix4d block, const Matrix4d& translation)
{
    block.setTranslation(translation[3][0], translation[3][1], translation[3][2]);
    return block;
}

/// Scales each column of a host 3x3 to length 1; a column of length 0 stays.
void NormaliseColumns(double* nine)
{
    for (int c = 0; c < 3; ++c) {
        const double squared = nine[c] * nine[c] + nine[3 + c] * nine[3 + c] + nine[6 + c] * nine[6 + c];
        if (!(squared > 0))
            continue;
        const double length = std::sqrt(squared);
        for (int r = 0; r < 3; ++r)
            nine[3 * r + c] /= length;
    }
}

/// Rotation of a task's offset angles, turned about Z, then X, then Y.
Matrix4d OffsetRotation(const double* radians)
{
    Matrix4d host;
    for (const uint32_t axis : {2u, 0u, 1u})
        if (radians[axis] != 0)
            host = product(HostRotation(radians[axis], axis), host);
    host.transpose3x3();
    return host;
}

} // namespace

zxresult CMarionetNode::evaluate()
{
    if (m_IsSpoilt)
        startAnew();
    const ParentFrame parent = readParentFrame();
    setBones();
    setTasks(parent);
    const double blend = shownBlend();
    solve(); // at any blend: a warm solver goes on from frame to frame
    if (blend != 1)
        composeAnimatedPose(parent);
    if (blend != 0)
        readSolvedPose(parent);
    blendPoses(blend);
    writePose();
    return kZxOk;
}

/// After numbers that were not finite: a pose that is no number and a bone that is infinitely long would stay
/// so whatever comes next. The new solver goes on as the old one would from rest, with its last tolerance.
void CMarionetNode::startAnew()
{
    const float tolerance = m_Solver->tolerance();
    makeSolver();
    m_Solver->setTolerance(tolerance);
    // The frames of the bones count as old by this, as after every solve but the first; nothing else changes.
    m_Solver->setUseDefaultZmp(true);
}

CMarionetNode::ParentFrame CMarionetNode::readParentFrame() const
{
    ParentFrame frame;
    if (m_ParentPosition < 0 || m_ParentRotation < 0 || m_ParentScale < 0)
        return frame;
    Matrix4d position, scale;
    m_Evaluation.matrix(static_cast<uint32_t>(m_ParentPosition), false).readTranslation(position);
    m_Evaluation.matrix(static_cast<uint32_t>(m_ParentRotation), false).readBlock(frame.rotation);
    double nine[9];
    check(m_Evaluation.matrix(static_cast<uint32_t>(m_ParentScale), false).get3x3(nine));
    for (uint32_t a = 0; a < 3; ++a)
        scale[a][a] = nine[4 * a];
    frame.world = product(product(scale, frame.rotation), position);
    frame.worldInverse = frame.world;
    frame.worldInverse.invert();
    frame.rotationInverse = frame.rotation;
    frame.rotationInverse.invert();
    return frame;
}

void CMarionetNode::setBones()
{
    const bool anyRetargeting = std::any_of(m_Bones.begin(), m_Bones.end(), [&](const BoneRecord& bone) {
        return m_Evaluation.isOn(bone.retargeting);
    });
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        BoneRecord& bone = m_Bones[i];
        IKSegment& segment = *m_Solver->bone(static_cast<uint32_t>(i));
        segment.setActive(m_Evaluation.isOn(bone.active), false);
        setBonePose(bone, segment, anyRetargeting);
        const auto on = [&](const uint32_t(&channels)[3], uint32_t a) {
            return m_Evaluation.isOn(channels[a]);
        };
        segment.setActiveDof(on(bone.rotationEnable, 0), on(bone.rotationEnable, 1),
                             on(bone.rotationEnable, 2), true);
        segment.setActiveDof(on(bone.positionEnable, 0), on(bone.positionEnable, 1),
                             on(bone.positionEnable, 2), false);
        for (uint32_t a = 0; a < 3; ++a)
            segment.setWeight(a, m_Evaluation.single(bone.rotationWeight[a]));
        for (uint32_t a = 0; a < 3; ++a)
            segment.setWeight(3 + a, m_Evaluation.single(bone.positionWeight[a]));
        segment.setHoldOrientation(false);
        setBoneLimits(bone, segment);
        segment.setMaxVelocity(m_Evaluation.single(bone.maxVelocity) / 100.0f);
    }
}

void CMarionetNode::setBonePose(BoneRecord& bone, IKSegment& segment, bool anyRetargeting) const
{
    const CZxUser_Matrix local = m_Evaluation.matrix(bone.localMatrix, false);
    double nine[9];
    check(local.get3x3(nine));
    bone.local.set3x3(nine);
    local.readTranslation(bone.local);
    NormaliseColumns(nine);
    const bool retargets = m_Evaluation.isOn(bone.retargeting);
    segment.setRetargeting(retargets, true);
    if (retargets) {
        Matrix4d rotation, offset;
        rotation.set3x3(nine);
        for (uint32_t i = 0; i < 9; ++i)
            offset[i / 3][i % 3] = m_Evaluation.number(bone.targetOffset[i]);
        product(offset, rotation).get3x3(nine);
    }
    const SinewQuaternion q = QuaternionOf(nine);
    if (retargets)
        segment.setTargetOrientation(q.x(), q.y(), q.z(), q.w());
    if (!anyRetargeting) {
        segment.setRestOrientation(q.x(), q.y(), q.z(), q.w());
        const double* offset = bone.local[3];
        segment.setRestTranslation(static_cast<float>(offset[0]), static_cast<float>(offset[1]),
                                   static_cast<float>(offset[2]));
    }
}

void CMarionetNode::setBoneLimits(const BoneRecord& bone, IKSegment& segment) const
{
    if (!m_Evaluation.isOn(bone.enableLimits)) {
        segment.enableLimits(false);
        segment.enableStretchLimits(false);
        return;
    }
    Sinew::EulerLimits limits;
    for (uint32_t a = 0; a < 3; ++a) {
        limits.range[2 * a] = 0.0f;
        limits.range[2 * a + 1] = 359.0f;
        if (m_Evaluation.isOn(bone.limits[a])) {
            limits.range[2 * a] =
                static_cast<float>(m_Evaluation.number(bone.limitMin[a]) * kDegreesPerRadian);
            limits.range[2 * a + 1] =
                static_cast<float>(m_Evaluation.number(bone.limitMax[a]) * kDegreesPerRadian);
        }
    }
    limits.axis = static_cast<uint32_t>(m_Evaluation.integer(bone.limitsAxis));
    segment.setEulerLimits(limits, true);
    segment.enforceLimits(m_Evaluation.isOn(bone.enforceLimits));
    segment.setRotationAxis(limits.axis, nullptr);
    segment.enableLimits(true);

    bool anyStretch = false;
    for (uint32_t a = 0; a < 3; ++a) {
        if (!m_Evaluation.isOn(bone.stretchLimits[a]))
            continue;
        const float min = m_Evaluation.single(bone.stretchMin[a]),
                    max = m_Evaluation.single(bone.stretchMax[a]);
        if (max > min) {
            segment.setStretchLimit(a, min, max);
            anyStretch = true;
        }
    }
    if (anyStretch) {
        segment.enableStretchLimits(true);
        segment.enforceStretchLimits(true);
        segment.setStretchGain(0);
    }
}

void CMarionetNode::setTasks(const ParentFrame& parent)
{
    for (TaskRecord& task : m_Tasks) {
        Matrix4d goal, rotationOffset, positionOffset;
        if (task.hasOrientation) {
            m_Evaluation.matrix(task.ikotMatrix, false).readBlock(goal);
            double radians[3];
            for (uint32_t a = 0; a < 3; ++a)
                radians[a] = m_Evaluation.number(task.ikotOffset[a]);
            rotationOffset = OffsetRotation(radians);
        }
        if (task.hasPosition) {
            m_Evaluation.matrix(task.ikptMatrix, false).readTranslation(goal);
            positionOffset.setTranslation(m_Evaluation.number(task.ikptOffset[0]),
                                          m_Evaluation.number(task.ikptOffset[1]),
                                          m_Evaluation.number(task.ikptOffset[2]));
        }
        goal = product(product(rotationOffset, positionOffset), goal);
        const Matrix4d rotationGoal = product(goal, parent.rotationInverse);
        const Matrix4d positionGoal = product(goal, parent.worldInverse);
        noteAim(task, goal, positionGoal, parent);

        if (Sinew::IKPositionTask* position = task.position) {
            const bool enabled = m_Evaluation.isOn(task.ikptEnable);
            position->setActive(enabled, false);
            if (enabled) {
                const double scale = m_Evaluation.number(m_Settings.retargetScale);
                position->setTarget(static_cast<float>(positionGoal[3][0] * scale),
                                    static_cast<float>(positionGoal[3][1] * scale),
                                    static_cast<float>(positionGoal[3][2] * scale));
                position->setWeight(m_Evaluation.single(task.ikptWeight));
                position->setPrecision(m_Evaluation.single(task.ikptPrecision));
                position->setDepth(static_cast<uint32_t>(m_Evaluation.integer(task.ikptLength)));
                position->setLevel(0);
                position->scaleTarget(m_Evaluation.single(task.ikptScale));
            }
        }
        if (Sinew::IKOrientationTask* orientation = task.orientation) {
            const bool enabled = m_Evaluation.isOn(task.ikotEnable);
            orientation->setActive(enabled, false);
            if (enabled) {
                const SinewQuaternion q = QuaternionOf(rotationGoal);
                orientation->setTarget(q.x(), q.y(), q.z(), q.w());
                orientation->setWeight(m_Evaluation.single(task.ikotWeight));
                orientation->setPrecision(m_Evaluation.single(task.ikotPrecision));
                orientation->setDepth(static_cast<uint32_t>(m_Evaluation.integer(task.ikotLength)));
                orientation->setLevel(0);
            }
        }
    }
}

/// Keeps where the joint should get, to be compared with where it is shown.
void CMarionetNode::noteAim(TaskRecord& task, const Matrix4d& goal, const Matrix4d& inParent,
                            const ParentFrame& parent) const
{
    task.aimsPosition = task.position && m_Evaluation.isOn(task.ikptEnable);
    task.aimsOrientation = task.orientation && m_Evaluation.isOn(task.ikotEnable);
    task.aim = goal;
    if (!task.aimsPosition)
        return;
    const double scale = m_Evaluation.number(m_Settings.retargetScale) * m_Evaluation.number(task.ikptScale);
    if (scale == 1)
        return;
    Matrix4d scaled;
    scaled.setTranslation(inParent[3][0] * scale, inParent[3][1] * scale, inParent[3][2] * scale);
    task.aim = WithTranslation(goal, product(scaled, parent.world));
}

zxresult CMarionetNode::figure(const char* name, double* value)
{
    for (const bool isDistance : {true, false}) {
        const std::string_view asked(name), kind = isDistance ? "distance " : "angle ";
        if (!asked.starts_with(kind))
            continue;
        for (const TaskRecord& task : m_Tasks) {
            if (task.item.uniqueName() != asked.substr(kind.size())
                || !(isDistance ? task.aimsPosition : task.aimsOrientation))
                continue;
            const Matrix4d& shown = m_Bones[task.bone].outWorld;
            *value = isDistance ? Distance(shown[3], task.aim[3]) : AngleBetween(shown, task.aim);
            return kZxOk;
        }
    }
    return CZxImpl_Modifier::figure(name, value);
}

double CMarionetNode::shownBlend() const
{
    const double blend = std::clamp(m_Evaluation.number(m_Settings.blend), 0.0, 1.0);
    CZxUser_Scene scene;
    const bool isSwitchedOff =
        CurrentScene(scene) && scene.isSetupMode() && !m_Evaluation.isOn(m_Settings.enabled);
    return isSwitchedOff ? 0 : blend;
}

void CMarionetNode::solve()
{
    if (!m_Evaluation.isOn(m_Settings.solveContinuous))
        m_Solver->reset();
    m_Solver->setRetargetGain(m_Evaluation.single(m_Settings.retargetGain));
    m_Solver->setLimitsGain(m_Evaluation.single(m_Settings.limitsGain));
    if (m_Evaluation.isOn(m_Settings.useTolerance))
        m_Solver->setTolerance(static_cast<float>(m_Evaluation.number(m_Settings.tolerance) / 10000.0));
    const bool translatesRoot = m_Evaluation.isOn(m_Settings.transRoot);
    m_Solver->setTranslateRoot(translatesRoot);
    if (translatesRoot)
        m_Solver->setRootTranslationWeight(m_Evaluation.single(m_Settings.transRootWeight));
    m_Solver->setPrecision(static_cast<float>(m_Evaluation.number(m_Settings.precision) * -1.0));
    m_Solver->setPCoefficient(m_Evaluation.single(m_Settings.taskPull));
    // A negative count would be four thousand million steps.
    const bool converged =
        m_Solver->solve(static_cast<uint32_t>(std::max(m_Evaluation.integer(m_Settings.steps), 0)));
    noteFigure("iterations", m_Solver->iterations());
    noteFigure("converged", converged ? 1 : 0);
    m_Solver->updateFigure();
    m_IsSpoilt = !m_Solver->isFinite();
}

void CMarionetNode::composeAnimatedPose(const ParentFrame& parent)
{
    for (const uint32_t i : m_TreeOrder) {
        BoneRecord& bone = m_Bones[i];
        bone.fkWorld = bone.local;
        if (m_Parents[i] >= 0)
            bone.fkWorld.multiply(m_Bones[static_cast<std::size_t>(m_Parents[i])].fkWorld);
    }
    // Only now: the loop above needs the parents in the space of the root's parent.
    for (const uint32_t i : m_TreeOrder) {
        Matrix4d& fkWorld = m_Bones[i].fkWorld;
        fkWorld = WithTranslation(product(fkWorld, parent.rotation), product(fkWorld, parent.world));
    }
}

void CMarionetNode::readSolvedPose(const ParentFrame& parent)
{
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        IKSegment& segment = *m_Solver->bone(static_cast<uint32_t>(i));
        Matrix4d solved = fromEngineMatrix(segment.getGlobalMatrix());
        const Matrix4d rotated = product(solved, parent.rotation);
        const Sinew::SinewVector& position = segment.getGlobalTranslation();
        solved.setTranslation(position.x(), position.y(), position.z());
        m_Bones[i].ikWorld = WithTranslation(rotated, product(solved, parent.world));
    }
}

void CMarionetNode::blendPoses(double blend)
{
    for (const uint32_t i : m_TreeOrder) {
        BoneRecord& bone = m_Bones[i];
        if (blend == 1.0) {
            bone.outWorld = bone.ikWorld;
            continue;
        }
        if (blend == 0.0) {
            bone.outWorld = bone.fkWorld;
            continue;
        }
        Matrix4d out = InterpolateBlocks(bone.fkWorld, bone.ikWorld, blend);
        if (m_Parents[i] < 0) {
            for (uint32_t a = 0; a < 3; ++a)
                out[3][a] = bone.fkWorld[3][a] + blend * (bone.ikWorld[3][a] - bone.fkWorld[3][a]);
        } else {
            // A child keeps its animated place in the parent's space, so that bones keep their lengths.
            const BoneRecord& above = m_Bones[static_cast<std::size_t>(m_Parents[i])];
            Matrix4d inverse = above.fkWorld;
            inverse.invert();
            const Matrix4d local = product(bone.fkWorld, inverse);
            out = WithTranslation(out, product(WithTranslation(Matrix4d(), local), above.outWorld));
        }
        bone.outWorld = out;
    }
}

void CMarionetNode::writePose() const
{
    for (const BoneRecord& bone : m_Bones) {
        m_Evaluation.matrix(bone.wposMatrix, true).writeTranslation(bone.outWorld);
        m_Evaluation.matrix(bone.wrotMatrix, true).writeBlock(bone.outWorld);
    }
}
