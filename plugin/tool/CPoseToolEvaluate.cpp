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
    if (m_Descriptors.size() == 1) {
        if (!UpdateOneBone(pass))
            return kZxOk;
    } else {
        UpdateDragTask(pass);
        if (m_Dragging)
            Solve(pass);
        ReadBones(pass);
    }
    WritePending(pass);
    return kZxOk;
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
bool CPoseTool::UpdateOneBone(const Pass& pass)
{
    if (IsLocked(pass.read, m_ToolItem))
        return false;
    PoseJoint& joint = *m_Chain.front();
    std::copy_n(pass.local, 3, joint.newPosition);
    joint.writesPosition = true;
    return true;
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
    if (root && Record(m_DraggedItem) == tool)
        root->setTranslation(Single(pass.local[0]), Single(pass.local[1]), Single(pass.local[2]));
    if (Record(m_ChainTop) == tool && !IsLocked(pass.read, m_ToolItem)) {
        m_Solver->setTranslateRoot(true);
        m_Solver->setRootTranslationWeight(Single(number(kRootWeight)));
    }
    m_Solver->solve(kSteps); // of one that diverged, finite values are written; the next move starts anew
}

void CPoseTool::ReadBones(const Pass& pass)
{
    if (!m_Solver)
        return;
    for (uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        IKSegment& bone = *m_Solver->bone(i);
        ReadBone(pass, bone, *m_Chain[bone.getIndex()]);
    }
}

void CPoseTool::ReadBone(const Pass& pass, IKSegment& bone, PoseJoint& joint) const
{
    joint.writesPosition = joint.writesRotation = false;
    const SinewVector& translation = bone.getTranslation();
    const Matrix4d rotation = Sinew::fromEngineMatrix(Sinew::toColumnMatrix(bone.getOrientation()));
    const CZxUser_Locator locator(joint.item);
    double nine[9], turned[3][3];
    rotation.get3x3(nine);
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
    const bool isToolItem = &joint == m_Joints.front().get();
    if (!isToolItem) // nothing else changes its place
        return;
    const double position[3] = {translation.x(), translation.y(), translation.z()};
    double inChannels[3];
    if (!AreFinite(position, 3) || failed(locator.positionForChannels(pass.read, position, inChannels))
        || !AreFinite(inChannels, 3))
        return;
    std::copy_n(inChannels, 3, joint.newPosition);
    joint.writesPosition = true;
}

void CPoseTool::WritePending(const Pass& pass) const
{
    for (const auto& joint : m_Joints) {
        if (!joint->writesPosition && !joint->writesRotation)
            continue;
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
