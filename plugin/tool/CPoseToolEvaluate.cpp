// SPDX-License-Identifier: MIT
// One evaluation of the pose tool: clicks, or a solve towards the pointer and the writing of what it gave.
#include "host/CZxLocator.h"
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigMath.h"
#include "rig/RigQueries.h"
#include "tool/CPoseTool.h"
#include "tool/PoseAttributes.h"
#include "tool/PoseMarks.h"

#include <algorithm>
#include <cmath>
#include <string>

using Sinew::IKSegment;
using Sinew::Matrix4d;
using Sinew::SinewQuaternion;
using Sinew::SinewVector;

namespace {

constexpr uint32_t kSteps = 1000;
constexpr float kPrecision = -2.0f;
constexpr float kPull = 1.0f;
constexpr float kTolerance = 0.00001f;
constexpr float kLimitsGain = 1.0f;

float Single(double value) { return static_cast<float>(value); }

/// `name`.X, .Y and .Z of a transform item. What can't be written, on an item that is gone, is left.
void ChangeVector(const CZxUser_ChannelWrite& write, const CZxUser_Item& item, const char* name,
                  const double* xyz)
{
    std::string channel = std::string(name) + ".X";
    for (uint32_t a = 0; a < 3; ++a) {
        channel.back() = "XYZ"[a];
        int32_t index = -1;
        if (succeeded(item.call<&ZxItemTable::channelIndex>(channel.c_str(), &index)))
            write.changeKey(item, index, xyz[a]);
    }
}

} // namespace

zxresult CPoseTool::evaluate(ZxObject* stackObject)
{
    const double now = CurrentTime();
    if (!m_RecordsReady || !(m_Dragging || now == m_KeptTime))
        return kZxOk;
    const auto* view = CZxUser_VectorStack(stackObject).record<ZxToolViewEvent>(m_ViewPacket);
    if (!view || view->viewType != 0)
        return kZxOk;
    if (HandleClicks())
        return kZxOk;
    if (m_Dragging) {
        for (const auto& joint : m_Joints)
            joint->writesPosition = joint->writesRotation = false;
        if (m_Descriptors.empty())
            return kZxOk;
    }
    Pass pass{.read = EvaluatedRead(now),
              .write = m_Scene.channelWrite("edit", now),
              .world = {number(kOffsetX), number(kOffsetY), number(kOffsetZ)},
              .local = {},
              .turn = 0,
              .frame = {}};
    if (!ReadChainFrame(pass.read, pass.frame))
        return kZxOk;
    // The angle of a rotation drag is the first coordinate in the chain's space, like any other drag result;
    // a scale above the chain is none of an angle.
    pass.frame.turnToChain(pass.world, pass.local);
    pass.turn = pass.local[0];
    pass.frame.toChain(pass.world, pass.local);
    if (m_Dragging && !AreFinite(pass.local, 3))
        return kZxOk;
    Pose(pass);
    WritePending(pass);
    return kZxOk;
}

/// Finds the pose for where the pointer is. A pose that ran away is left alone: the channels keep the last
/// good one of this drag.
void CPoseTool::Pose(const Pass& pass)
{
    if (m_Dragging && m_DragKind == PoseDragKind::Rotate && pass.world[0] == 0) {
        RestoreChannels();
    } else if (m_Descriptors.size() == 1) {
        UpdateOneBone(pass);
    } else {
        UpdateDragTask(pass);
        if (m_Dragging)
            Solve(pass);
        ReadBones(pass);
    }
}

/// The pose that the drag began with, to the bit: what a turn by no pixel means.
void CPoseTool::RestoreChannels()
{
    if (!m_HasWritten)
        return;
    for (PoseJoint* joint : m_Chain) {
        std::copy_n(joint->startPosition, 3, joint->newPosition);
        std::copy_n(joint->startRotation, 3, joint->newRotation);
        std::copy_n(joint->startRotation, 3, joint->previousRotation);
        joint->writesPosition = IsTop(*joint);
        joint->writesRotation = true;
    }
}

/// Clicks that wait. True ends the evaluation.
bool CPoseTool::HandleClicks()
{
    if (m_LockPending && (m_DragKind == PoseDragKind::ToggleLock || m_DragKind == PoseDragKind::TogglePin)) {
        if (const CZxUser_Item item = m_ClickItem) {
            m_LockPending = false;
            if (m_DragKind == PoseDragKind::ToggleLock)
                SetLock(EvaluatedRead(CurrentTime()), item, MarkChange::Toggle);
            else
                SetPin(item, MarkChange::Toggle, m_ToolItem, m_KeptTime, m_SolverType);
        }
        return true;
    }
    if (m_ClearPending) {
        m_ClearPending = false;
        ClearAllLocks();
    }
    return false;
}

void CPoseTool::ClearAllLocks()
{
    const CZxUser_ChannelRead read = EvaluatedRead(CurrentTime());
    ForEachJoint([&](uint32_t, const PoseJoint& joint) {
        if (IsLocked(read, joint.item))
            SetLock(read, joint.item, MarkChange::Clear);
    });
}

/// A chain of the tool item alone: it goes where the pointer is, unless it is locked.
void CPoseTool::UpdateOneBone(const Pass& pass)
{
    if (!IsMove(m_DragKind) || IsLocked(pass.read, m_ToolItem))
        return;
    PoseJoint& joint = *m_Chain.front();
    std::copy_n(pass.local, 3, joint.posed[3]);
    if (!m_Bounds.contain(m_Joints, joint, pass.frame.world(), pass.world))
        return;
    std::copy_n(pass.local, 3, joint.newPosition);
    joint.writesPosition = true;
}

void CPoseTool::UpdateDragTask(const Pass& pass)
{
    if (m_PositionTask) {
        m_PositionTask->setTarget(Single(pass.local[0]), Single(pass.local[1]), Single(pass.local[2]));
        m_PositionTask->setWeight(1.0f);
        m_PositionTask->setPrecision(1.0f);
        m_PositionTask->setDepth(kWholeChain);
        FollowGoal(pass);
    }
    if (m_OrientationTask) {
        const double* axis = m_RotationBase[m_Chain.front()->majorAxis];
        const Matrix4d turn = Sinew::rotation(pass.turn, axis[0], axis[1], axis[2]);
        const SinewQuaternion q = QuaternionOf(pass.frame.toChain(product(m_RotationBase, turn)));
        m_OrientationTask->setTarget(q.x(), q.y(), q.z(), q.w());
        m_OrientationTask->setWeight(2.0f);
        m_OrientationTask->setPrecision(1.0f);
        m_OrientationTask->setDepth(1);
    }
}

/// Moves what the dragged joint aims at: its goal item, or else the target of its own task.
void CPoseTool::FollowGoal(const Pass& pass)
{
    if (m_UsesGoal) {
        std::copy_n(pass.world, 3, m_GoalPosition);
        m_GoalPending = true;
    } else if (m_WritesTaskPosition && m_DraggedItem.channel("ikptPos.X") > 0) {
        CreateVectorKeys(pass.write, m_DraggedItem, "ikptPos", pass.world);
    }
}

void CPoseTool::Solve(const Pass& pass)
{
    m_Solver->reset();
    m_Solver->setPrecision(kPrecision);
    m_Solver->setPCoefficient(kPull);
    m_Solver->setTolerance(kTolerance);
    m_Solver->setLimitsGain(kLimitsGain);
    const PoseJoint* tool = Record(m_ToolItem);
    IKSegment* root = m_Solver->rootBone();
    if (root && Record(m_DraggedItem) == tool && IsMove(m_DragKind)) // of a turn, the offset is an angle
        root->setTranslation(Single(pass.local[0]), Single(pass.local[1]), Single(pass.local[2]));
    if (Record(m_ChainTop) == tool && !IsLocked(pass.read, m_ToolItem)) {
        m_Solver->setTranslateRoot(true);
        m_Solver->setRootTranslationWeight(Single(number(kRootWeight)));
    }
    m_Solver->solve(kSteps);
}

void CPoseTool::ReadBones(const Pass& pass)
{
    if (!m_Solver)
        return;
    for (uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        IKSegment& bone = *m_Solver->bone(i);
        PoseJoint& joint = *m_Chain[bone.getIndex()];
        joint.posed = Sinew::fromEngineMatrix(Sinew::toColumnMatrix(bone.getOrientation()));
        // Nothing but the top of all changes its place.
        const SinewVector& translation = bone.getTranslation();
        if (IsTop(joint))
            joint.posed.setTranslation(translation.x(), translation.y(), translation.z());
        else
            std::copy_n(joint.localPosition[3], 3, joint.posed[3]);
    }
    const PoseJoint* top = Record(m_ChainTop);
    const double* pointer = IsMove(m_DragKind) ? pass.world : nullptr;
    if (!top || !m_Bounds.contain(m_Joints, *top, pass.frame.world(), pointer)) {
        m_NeedsSolver = true; // this one may keep what threw it off
        return;
    }
    for (PoseJoint* joint : m_Chain)
        ReadBone(pass, *joint);
}

void CPoseTool::ReadBone(const Pass& pass, PoseJoint& joint) const
{
    joint.writesPosition = joint.writesRotation = false;
    const CZxUser_Locator locator(joint.item);
    double nine[9], turned[3][3];
    joint.posed.get3x3(nine);
    if (succeeded(locator.rotationForChannels(pass.read, nine, &turned[0][0]))) {
        double angles[3];
        MatrixToEuler(turned, static_cast<uint32_t>(joint.rotationOrder), angles);
        MatchEuler(joint.previousRotation, angles, joint.rotationOrder);
        if (AreFinite(angles, 3)) {
            std::copy_n(angles, 3, joint.previousRotation);
            std::copy_n(angles, 3, joint.newRotation);
            joint.writesRotation = true;
        }
    }
    double inChannels[3];
    if (!IsTop(joint) || failed(locator.positionForChannels(pass.read, joint.posed[3], inChannels))
        || !AreFinite(inChannels, 3))
        return;
    std::copy_n(inChannels, 3, joint.newPosition);
    joint.writesPosition = true;
}

void CPoseTool::WritePending(const Pass& pass)
{
    for (const auto& joint : m_Joints) {
        if (!joint->writesPosition && !joint->writesRotation)
            continue;
        m_HasWritten = true;
        const CZxUser_Locator locator(joint->item);
        CZxUser_Item transform;
        if (joint->writesPosition && succeeded(locator.transformItem(TransformKind::Position, &transform)))
            ChangeVector(pass.write, transform, "pos", joint->newPosition);
        if (joint->writesRotation && succeeded(locator.transformItem(TransformKind::Rotation, &transform)))
            ChangeVector(pass.write, transform, "rot", joint->newRotation);
    }
    if (m_UsesGoal && m_GoalPending)
        CZxUser_Locator(m_GoalItem).setWorldPosition(pass.read, pass.write, m_GoalPosition);
}
