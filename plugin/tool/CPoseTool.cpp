// SPDX-License-Identifier: MIT
// The pose tool's facts and its records of locators.
#include "tool/CPoseTool.h"

#include "host/CZxLocator.h"
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigMath.h"
#include "rig/RigQueries.h"
#include "tool/PoseAttributes.h"

using Sinew::Matrix4d;

namespace {

constexpr uint32_t kToolFlags = 0x71030;
constexpr uint32_t kActorTask = TagCode("ACTR");
constexpr const char* kOrder = "\xF0";
constexpr const char* kMessages = "ik.pose";

/// Offset of a packet, which is added to the vector type on the way.
int32_t AddPacket(const CZxUser_VectorType& type, const char* packet)
{
    type.addPacket(packet, kZxPacketInput);
    return ToolPacketOffset(packet);
}

/// The transform item of a kind, made where the item has none; empty when it can't be had.
CZxUser_Item EnsureTransformItem(const CZxUser_Locator& locator, TransformKind kind)
{
    CZxUser_Item item;
    if (locator.transformItem(kind, &item) == kZxNotFound)
        locator.addTransformItem(kind, &item);
    return item;
}

} // namespace

CPoseTool::CPoseTool() : CZxDynamicAttributes(kPoseAttributes), m_VectorType(NewToolVectorType())
{
    m_ViewPacket = AddPacket(m_VectorType, "ToolViewEvent");
    m_InputPacket = AddPacket(m_VectorType, "ToolInputEvent");
    m_TranslatePacket = AddPacket(m_VectorType, "toolEventTranslate");
    m_ScreenPacket = AddPacket(m_VectorType, "ToolScreenEvent");
    m_RaycastPacket = ToolPacketOffset("ToolRaycast");
}

CPoseTool::~CPoseTool() = default;

zxresult CPoseTool::reset()
{
    for (uint32_t i = 0; i < std::size(kPoseAttributes); ++i)
        setDefault(i);
    return kZxOk;
}

zxresult CPoseTool::vectorType(ZxObject** type)
{
    CZxUser_VectorType copy = m_VectorType;
    *type = copy.detach();
    return *type ? kZxOk : kZxNotFound;
}

zxresult CPoseTool::order(const char** order)
{
    *order = kOrder;
    return kZxOk;
}

zxresult CPoseTool::task(uint32_t* code)
{
    *code = kActorTask;
    return kZxOk;
}

zxresult CPoseTool::flags(uint32_t* flags)
{
    *flags = kToolFlags;
    return kZxOk;
}

zxresult CPoseTool::enable(ZxObject* message)
{
    if (FindToolItem())
        return kZxTrue;
    CZxUser_Message refusal;
    refusal.query(message, kZxIdMessage);
    return refusal.refuse(kMessages, 1001);
}

CZxUser_Item CPoseTool::FindToolItem()
{
    for (CZxUser_Item& item : SelectedItems()) {
        // One that was deleted meanwhile fails; the next may serve.
        if (item.call<&ZxItemTable::hasPackage>("locator") == kZxTrue)
            return std::move(item);
    }
    return {};
}

zxresult CPoseTool::initialise(ZxObject*)
{
    const CZxUser_Item item = FindToolItem();
    CZxUser_Scene scene;
    if (item)
        scene = sceneOf(item);
    // Identifiers are those of one scene.
    if (m_RecordsReady && item && IsSameObject(scene, m_Scene) && Record(item))
        return kZxOk;
    FreePoseJoints();
    if (!item)
        return kZxOk;
    m_Scene = std::move(scene);
    m_ToolItem = item;
    m_KeptTime = CurrentTime();
    m_SolverType = TypeCode("ikFullBody");
    BuildPoseJoints(EvaluatedRead(m_KeptTime), item);
    m_RecordsReady = true;
    return kZxOk;
}

void CPoseTool::FreePoseJoints()
{
    EndDrag();
    m_RecordsReady = m_LockPending = m_ClearPending = m_UsesGoal = m_GoalPending = false;
    for (CZxUser_Item* item : {&m_ToolItem, &m_ClickItem, &m_ChainParent, &m_ChainTop, &m_GoalItem})
        item->clear();
    m_Scene.clear();
    m_Chain.clear();
    m_Locked.clear();
    m_Joints.clear();
}

void CPoseTool::BuildPoseJoints(const CZxUser_ChannelRead& read, const CZxUser_Item& top)
{
    if (!AddPoseJoint(read, top, -1))
        return;
    ForEachBelow(top, [&](const CZxUser_Item& parent, const CZxUser_Item& child) {
        // The parent is the last record or stands above it.
        const uint64_t identifier = parent.identifier();
        auto above = static_cast<int32_t>(m_Joints.size()) - 1;
        while (above > 0 && m_Joints[static_cast<std::size_t>(above)]->identifier != identifier)
            above = m_Joints[static_cast<std::size_t>(above)]->parent;
        return AddPoseJoint(read, child, above);
    });
}

bool CPoseTool::AddPoseJoint(const CZxUser_ChannelRead& read, const CZxUser_Item& item, int32_t parent)
{
    if (!item.hasPackage("locator") || item.isType(m_SolverType))
        return false;
    const CZxUser_Locator locator(item);
    if (!EnsureTransformItem(locator, TransformKind::Position)
        || !EnsureTransformItem(locator, TransformKind::Rotation))
        return false;
    auto joint = std::make_unique<PoseJoint>();
    joint->item = item;
    joint->identifier = item.identifier();
    joint->parent = parent;
    RefreshWorld(read, *joint);
    RefreshLocal(read, *joint);
    MeasureBone(read, *joint);
    m_Joints.push_back(std::move(joint));
    return true;
}

void CPoseTool::RefreshAll()
{
    const CZxUser_ChannelRead read = EvaluatedRead(m_KeptTime);
    for (const auto& joint : m_Joints) {
        RefreshWorld(read, *joint);
        RefreshLocal(read, *joint);
    }
}

void CPoseTool::RefreshWorld(const CZxUser_ChannelRead& read, PoseJoint& joint)
{
    double nine[9], three[3];
    if (ReadMatrix(read, joint.item, "wposMatrix", nullptr, three))
        joint.worldPosition.setTranslation(three[0], three[1], three[2]);
    if (ReadMatrix(read, joint.item, "wrotMatrix", nine, nullptr))
        joint.worldRotation.set3x3(nine);
}

void CPoseTool::RefreshLocal(const CZxUser_ChannelRead& read, PoseJoint& joint)
{
    double nine[9], three[3];
    if (!ReadMatrix(read, joint.item, "localMatrix", nine, three))
        return;
    joint.localRotation.set3x3(nine);
    joint.localPosition.setTranslation(three[0], three[1], three[2]);
}

void CPoseTool::MeasureBone(const CZxUser_ChannelRead& read, PoseJoint& joint)
{
    double offset[3] = {joint.localPosition[3][0], joint.localPosition[3][1], joint.localPosition[3][2]};
    if (const CZxUser_Item child = joint.item.child(0);
        child && !ReadMatrix(read, child, "localMatrix", nullptr, offset)) {
        offset[0] = offset[1] = 0;
        offset[2] = 1;
    }
    joint.boneLength = Length(offset);
    joint.majorAxis = MajorAxis(offset);
}

int32_t CPoseTool::FindJoint(const CZxUser_Item& item) const
{
    uint64_t identifier = 0;
    if (failed(item.call<&ZxItemTable::identifier>(&identifier)))
        return -1;
    for (std::size_t i = 0; i < m_Joints.size(); ++i)
        if (m_Joints[i]->identifier == identifier)
            return static_cast<int32_t>(i);
    return -1;
}

PoseJoint* CPoseTool::Record(const CZxUser_Item& item) const
{
    const int32_t index = FindJoint(item);
    return index < 0 ? nullptr : m_Joints[static_cast<std::size_t>(index)].get();
}
