// SPDX-License-Identifier: MIT
// The solver of one drag: which joints it moves, their settings, and the tasks that hold locked joints.
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
#include <cstdio>

using Sinew::IKOrientationTask;
using Sinew::IKPositionTask;
using Sinew::IKSegment;
using Sinew::Matrix4d;
using Sinew::SinewQuaternion;

namespace {

/// Radians in one iteration, for a joint that says nothing.
constexpr float kDefaultMaxVelocity = 0.033f;

/// `ikAxisX` and so on with a suffix.
struct AxisChannel {
    char name[24];
    AxisChannel(uint32_t axis, const char* suffix)
    {
        std::snprintf(name, sizeof name, "ikAxis%c%s", "XYZ"[axis], suffix);
    }
};

/// The joint's angular limits on the bone.
void ApplyLimits(const CZxUser_ChannelRead& read, IKSegment& bone, const CZxUser_Item& item)
{
    if (!IsOn(read, item, "ikjEnableLimits")) {
        bone.enableLimits(false);
        return;
    }
    Sinew::EulerLimits limits;
    for (uint32_t a = 0; a < 3; ++a) {
        limits.range[2 * a] = 0;
        limits.range[2 * a + 1] = 360;
        if (!IsOn(read, item, AxisChannel(a, "Limits").name))
            continue;
        double low = 0, high = 0;
        ReadNumber(read, item, AxisChannel(a, "Min").name, &low);
        ReadNumber(read, item, AxisChannel(a, "Max").name, &high);
        limits.range[2 * a] = static_cast<float>(low * kDegreesPerRadian);
        limits.range[2 * a + 1] = static_cast<float>(high * kDegreesPerRadian);
    }
    limits.axis = 2;
    bone.setEulerLimits(limits, true);
    bone.enforceLimits(true);
    bone.enableLimits(true);
}

/// Settings of a joint on its bone; false when the item has none.
bool ApplyJointChannels(const CZxUser_ChannelRead& read, IKSegment& bone, PoseJoint& joint)
{
    const CZxUser_Item& item = joint.item;
    if (!item.hasPackage("ik.package")) {
        bone.setActive(true, false);
        return false;
    }
    bone.setActive(IsOn(read, item, "ikjActive"), false);
    for (uint32_t a = 0; a < 3; ++a) {
        int32_t enable = 1;
        ReadInteger(read, item, AxisChannel(a, "RotEnable").name, &enable);
        joint.axisEnable[a] = enable != 0;
    }
    bone.setActiveDof(joint.axisEnable[0], joint.axisEnable[1], joint.axisEnable[2], true);
    ApplyLimits(read, bone, item);
    if (double velocity = 0; ReadNumber(read, item, "ikjMaxVelocity", &velocity))
        bone.setMaxVelocity(static_cast<float>(velocity / 100.0));
    return true;
}

/// Where the tasks of a locked joint want it.
struct LockGoal {
    bool hasPosition = false, hasOrientation = false;
    Matrix4d matrix, positionOffset, rotationOffset;

    void readPosition(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
    {
        double place[3], offset[3];
        if (!IsTaskEnabled(read, item) || !ReadMatrix(read, item, "ikptMatrix", nullptr, place))
            return;
        hasPosition = true;
        matrix.setTranslation(place[0], place[1], place[2]);
        if (ReadVector(read, item, "ikptOffset", offset))
            positionOffset.setTranslation(offset[0], offset[1], offset[2]);
    }
    void readOrientation(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
    {
        double nine[9], angles[3];
        if (!item.hasPackage("ik.orientationTask") || !IsOn(read, item, "ikotEnable")
            || !ReadMatrix(read, item, "ikotMatrix", nine, nullptr))
            return;
        hasOrientation = true;
        matrix.set3x3(nine);
        if (ReadVector(read, item, "ikotOffset", angles))
            rotationOffset = product(product(AxisRotation(angles[2], 2), AxisRotation(angles[0], 0)),
                                     AxisRotation(angles[1], 1));
    }
    Matrix4d world() const { return product(product(rotationOffset, positionOffset), matrix); }
};

} // namespace

void CPoseTool::BuildSolver()
{
    EndSolver();
    m_Solver = std::make_unique<Sinew::IKSolver>();
    try {
        if (m_DragKind == PoseDragKind::MoveWithParent)
            BuildParentChain(m_DraggedItem);
        else
            BuildChain(m_DraggedItem);
        if (m_Descriptors.size() < 2)
            return;
        m_Solver->setBones(m_Descriptors.data(), static_cast<uint32_t>(m_Descriptors.size()));
        ConfigureBones(EvaluatedRead(CurrentTime()));
        AddLockTasks();
        AddDragTask();
    } catch (zxresult) {
        EndSolver(); // half a chain would be posed for a whole one
        throw;
    }
}

/// Keeps what the channels that the drag writes say, and how the joints stand that it carries along.
void CPoseTool::RememberChannels()
{
    for (const auto& joint : m_Joints) {
        joint->posed = WithoutScale(joint->localRotation);
        std::copy_n(joint->localPosition[3], 3, joint->posed[3]);
    }
    const CZxUser_ChannelRead read = m_Scene.channelRead("edit", CurrentTime());
    for (PoseJoint* joint : m_Chain) {
        const CZxUser_Locator locator(joint->item);
        CZxUser_Item transform;
        if (succeeded(locator.transformItem(TransformKind::Position, &transform)))
            ReadVector(read, transform, "pos", joint->startPosition);
        if (succeeded(locator.transformItem(TransformKind::Rotation, &transform)))
            ReadVector(read, transform, "rot", joint->startRotation);
    }
}

void CPoseTool::EndSolver()
{
    m_Solver.reset();
    m_PositionTask = nullptr;
    m_OrientationTask = nullptr;
    m_Descriptors.clear();
}

void CPoseTool::BuildChain(const CZxUser_Item& item)
{
    const CZxUser_ChannelRead read = EvaluatedRead(CurrentTime());
    m_Chain.clear();
    m_Descriptors.clear();
    m_Locked.clear();
    m_ChainLength = 0;
    CZxUser_Item current = item;
    while (FindJoint(current) != FindJoint(m_ToolItem)
           && (m_ChainLength == 0 || !IsLocked(read, current))) { // the dragged joint may be locked itself
        CZxUser_Item parent = current.parent();
        if (!parent)
            break;
        AddBone(read, current, parent);
        ++m_ChainLength;
        current = std::move(parent);
    }
    AddBone(read, current, {});
    m_ChainTop = current;
    m_ChainParent = current.parent();
    CollectLocked(read);
    AddLockedBranches(read);
}

void CPoseTool::BuildParentChain(const CZxUser_Item& item)
{
    m_Chain.clear();
    m_Descriptors.clear();
    m_Locked.clear();
    m_ChainLength = 0;
    const CZxUser_Item parent = item.parent();
    if (!parent)
        return;
    const CZxUser_ChannelRead read = EvaluatedRead(CurrentTime());
    AddBone(read, parent, {});
    AddBone(read, item, parent);
    m_ChainTop = parent;
    m_ChainParent = parent.parent();
}

void CPoseTool::AddBone(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const CZxUser_Item& parent)
{
    PoseJoint* joint = Record(item);
    if (!joint || std::find(m_Chain.begin(), m_Chain.end(), joint) != m_Chain.end())
        return;
    Sinew::BoneDescriptor bone;
    // Of the records' own items, which outlive the copying of the names into the solver.
    const PoseJoint* above = parent ? Record(parent) : nullptr;
    bone.name = joint->item.uniqueName();
    bone.parent_name = above ? above->item.uniqueName() : nullptr;
    for (uint32_t a = 0; a < 3; ++a)
        bone.rest_translation[a] = static_cast<float>(joint->localPosition[3][a]);
    const SinewQuaternion q = QuaternionOf(WithoutScale(joint->localRotation)); // a scale turns nothing
    const float rest[4] = {q.w(), q.x(), q.y(), q.z()};
    std::copy_n(rest, 4, bone.rest_orientation);

    joint->rotationOrder = 0;
    std::fill_n(joint->previousRotation, 3, 0.0);
    CZxUser_Item rotation;
    if (succeeded(CZxUser_Locator(item).transformItem(TransformKind::Rotation, &rotation))) {
        ReadInteger(read, rotation, "order", &joint->rotationOrder);
        ReadVector(read, rotation, "rot", joint->previousRotation);
    }
    m_Descriptors.push_back(bone);
    m_Chain.push_back(joint);
}

void CPoseTool::CollectLocked(const CZxUser_ChannelRead& read)
{
    const auto collect = [&](const CZxUser_Item& item) {
        if (PoseJoint* joint = Record(item); joint && IsLocked(read, item))
            m_Locked.push_back(joint);
    };
    collect(m_ChainTop);
    ForEachBelow(m_ChainTop, [&](const CZxUser_Item&, const CZxUser_Item& item) {
        collect(item);
        return true;
    });
}

void CPoseTool::AddLockedBranches(const CZxUser_ChannelRead& read)
{
    const uint64_t top = m_ChainTop.identifier();
    for (const PoseJoint* locked : m_Locked) {
        for (CZxUser_Item item = locked->item; item && item.identifier() != top;) {
            CZxUser_Item parent = item.parent();
            AddBone(read, item, parent);
            item = std::move(parent);
        }
    }
}

void CPoseTool::ConfigureBones(const CZxUser_ChannelRead& read)
{
    for (uint32_t i = 0; i < m_Solver->boneCount(); ++i) {
        IKSegment& bone = *m_Solver->bone(i);
        bone.setRetargeting(false, true);
        const bool isJoint = ApplyJointChannels(read, bone, *m_Chain[bone.getIndex()]);
        if (!isJoint)
            bone.setMaxVelocity(kDefaultMaxVelocity);
        bone.setHoldOrientation(false);
        if (!isJoint) // a fresh bone has a roll range of no width, and would be pulled back to its rest roll
            bone.enableLimits(false);
    }
}

/// False when there is something above the chain and it can't be read.
bool CPoseTool::ReadChainFrame(const CZxUser_ChannelRead& read, ChainFrame& frame) const
{
    double position[3], nine[9], scale[9];
    if (!m_ChainParent)
        return true;
    if (!ReadMatrix(read, m_ChainParent, "wposMatrix", nullptr, position)
        || !ReadMatrix(read, m_ChainParent, "wrotMatrix", nine, nullptr))
        return false;
    Matrix4d rotation;
    rotation.set3x3(nine);
    double diagonal[3] = {1, 1, 1};
    if (ReadMatrix(read, m_ChainParent, "wsclMatrix", scale, nullptr))
        for (uint32_t a = 0; a < 3; ++a)
            diagonal[a] = scale[4 * a];
    frame = {position, rotation, diagonal};
    return true;
}

void CPoseTool::AddLockTasks()
{
    const CZxUser_ChannelRead read = EvaluatedRead(m_KeptTime);
    ChainFrame frame;
    const bool isPlaced = ReadChainFrame(read, frame);
    const PoseJoint* dragged = Record(m_DraggedItem);
    for (const PoseJoint* joint : m_Locked)
        if (joint != dragged)
            HoldLocked(read, *joint, isPlaced ? &frame : nullptr);
}

/// Two tasks that hold the joint where it stands, or, in a frame, on its goal where it has one.
void CPoseTool::HoldLocked(const CZxUser_ChannelRead& read, const PoseJoint& joint, const ChainFrame* frame)
{
    const char* name = joint.item.uniqueName();
    IKPositionTask* position = m_Solver->addPositionTask(name, 0);
    IKOrientationTask* orientation = m_Solver->addOrientationTask(name, 0);
    LockGoal goal;
    if (position) {
        goal.readPosition(read, joint.item);
        position->setWeight(static_cast<float>(number(kPositionTaskWeight)));
        position->setPrecision(static_cast<float>(number(kPositionTaskPrecision)));
        position->setDepth(kWholeChain);
        position->setActive(true, false);
    }
    if (orientation) {
        goal.readOrientation(read, joint.item);
        orientation->setWeight(static_cast<float>(number(kRotationTaskWeight)));
        orientation->setPrecision(static_cast<float>(number(kRotationTaskPrecision)));
        orientation->setDepth(1);
        orientation->setActive(true, false);
    }
    if (!frame)
        return;
    const Matrix4d world = goal.world();
    double local[3];
    frame->toChain(world[3], local);
    if (goal.hasPosition && AreFinite(local, 3))
        position->setTarget(static_cast<float>(local[0]), static_cast<float>(local[1]),
                            static_cast<float>(local[2]));
    if (goal.hasOrientation) {
        const SinewQuaternion q = QuaternionOf(frame->toChain(world));
        orientation->setTarget(q.x(), q.y(), q.z(), q.w());
    }
}

void CPoseTool::AddDragTask()
{
    const char* name = m_DraggedItem.uniqueName();
    if (IsMove(m_DragKind)) {
        m_PositionTask = m_Solver->addPositionTask(name, 0);
    } else if (m_DragKind == PoseDragKind::Rotate) {
        m_OrientationTask = m_Solver->addOrientationTask(name, 0);
        if (const PoseJoint* joint = Record(m_DraggedItem))
            m_RotationBase = joint->worldRotation;
    }
}
