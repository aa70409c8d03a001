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

constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr uint32_t kWholeChain = 0xFFFFFFFFu;
/// Radians in one iteration, for a joint that says nothing.
constexpr float kDefaultMaxVelocity = 0.033f;

/// Rotation of a local matrix as the engine takes it. A locator's scale doesn't turn it.
SinewQuaternion RotationOf(const Matrix4d& local)
{
    Matrix4d rotation = local;
    for (uint32_t r = 0; r < 3; ++r) {
        const double length = Length(rotation[r]);
        if (length > 0 && std::fabs(length - 1) > 1e-6)
            for (uint32_t c = 0; c < 3; ++c)
                rotation[r][c] /= length;
    }
    return QuaternionOf(rotation);
}

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

} // namespace

void CPoseTool::BuildSolver()
{
    EndSolver();
    m_Solver = std::make_unique<Sinew::IKSolver>();
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
    bone.name = item.uniqueName(); // lasts until the names are copied into the solver
    bone.parent_name = parent ? parent.uniqueName() : nullptr;
    for (uint32_t a = 0; a < 3; ++a)
        bone.rest_translation[a] = static_cast<float>(joint->localPosition[3][a]);
    const SinewQuaternion q = RotationOf(joint->localRotation);
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
        if (!ApplyJointChannels(read, bone, *m_Chain[bone.getIndex()]))
            bone.setMaxVelocity(kDefaultMaxVelocity);
        bone.setHoldOrientation(false);
    }
}

ChainFrame CPoseTool::ReadChainFrame(const CZxUser_ChannelRead& read) const
{
    double position[3], nine[9], scale[9];
    if (!m_ChainParent || !ReadMatrix(read, m_ChainParent, "wposMatrix", nullptr, position)
        || !ReadMatrix(read, m_ChainParent, "wrotMatrix", nine, nullptr))
        return {};
    Matrix4d rotation;
    rotation.set3x3(nine);
    double diagonal[3] = {1, 1, 1};
    if (ReadMatrix(read, m_ChainParent, "wsclMatrix", scale, nullptr))
        for (uint32_t a = 0; a < 3; ++a)
            diagonal[a] = scale[4 * a];
    return {position, rotation, diagonal};
}

void CPoseTool::AddLockTasks()
{
    const CZxUser_ChannelRead read = EvaluatedRead(m_KeptTime);
    const ChainFrame frame = ReadChainFrame(read);
    const PoseJoint* dragged = Record(m_DraggedItem);
    for (const PoseJoint* joint : m_Locked)
        if (joint != dragged)
            HoldLocked(read, *joint, frame);
}

/// Two tasks that hold the joint where it stands, or on its goal where it has one.
void CPoseTool::HoldLocked(const CZxUser_ChannelRead& read, const PoseJoint& joint, const ChainFrame& frame)
{
    const CZxUser_Item& item = joint.item;
    const char* name = item.uniqueName();
    bool hasPosition = false, hasOrientation = false;
    Matrix4d goal, positionOffset, rotationOffset;
    IKPositionTask* position = m_Solver->addPositionTask(name, 0);
    if (position) {
        double place[3], offset[3];
        if (IsTaskEnabled(read, item) && ReadMatrix(read, item, "ikptMatrix", nullptr, place)) {
            hasPosition = true;
            goal.setTranslation(place[0], place[1], place[2]);
            if (ReadVector(read, item, "ikptOffset", offset))
                positionOffset.setTranslation(offset[0], offset[1], offset[2]);
        }
        position->setWeight(static_cast<float>(number(kPositionTaskWeight)));
        position->setPrecision(static_cast<float>(number(kPositionTaskPrecision)));
        position->setDepth(kWholeChain);
        position->setActive(true, false);
    }
    IKOrientationTask* orientation = m_Solver->addOrientationTask(name, 0);
    if (orientation) {
        double nine[9], angles[3];
        if (item.hasPackage("ik.orientationTask") && IsOn(read, item, "ikotEnable")
            && ReadMatrix(read, item, "ikotMatrix", nine, nullptr)) {
            hasOrientation = true;
            goal.set3x3(nine);
            if (ReadVector(read, item, "ikotOffset", angles))
                rotationOffset = product(product(AxisRotation(angles[2], 2), AxisRotation(angles[0], 0)),
                                         AxisRotation(angles[1], 1));
        }
        orientation->setWeight(static_cast<float>(number(kRotationTaskWeight)));
        orientation->setPrecision(static_cast<float>(number(kRotationTaskPrecision)));
        orientation->setDepth(1);
        orientation->setActive(true, false);
    }
    goal = product(product(rotationOffset, positionOffset), goal);
    if (hasPosition) {
        double local[3];
        frame.toChain(goal[3], local);
        position->setTarget(static_cast<float>(local[0]), static_cast<float>(local[1]),
                            static_cast<float>(local[2]));
    }
    if (hasOrientation) {
        const SinewQuaternion q = QuaternionOf(frame.toChain(goal));
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
