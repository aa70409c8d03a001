// SPDX-License-Identifier: MIT
// What the pose tool does with the host's events: handles, and a drag from button down to button up.
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigMath.h"
#include "tool/CPoseTool.h"
#include "tool/PoseAttributes.h"
#include "tool/PoseMarks.h"

#include <algorithm>
#include <cmath>

namespace {

// Event modes.
constexpr int32_t kMoveInPlane = 20;
constexpr int32_t kLockClick = 21;
constexpr int32_t kMoveWithParent = 22;
constexpr int32_t kRotate = 23;
constexpr int32_t kMoveFreely = 26;
constexpr int32_t kPinClick = 27;

constexpr Colour kLockedColour = {{1.0f, 0.3f, 0.3f}};
constexpr Colour kFreeColour = {{0.8f, 0.8f, 1.0f}};
constexpr double kOrigin[3] = {0, 0, 0};
/// A joint that has a target of its own shows no handle, and is easier to hit.
constexpr double kHiddenHandleFactor = 1.5;

/// The drag that an event mode means; a mode without one leaves it.
void SetDragKind(int32_t mode, PoseDragKind& kind)
{
    switch (mode) {
    case kMoveInPlane:
        kind = PoseDragKind::MoveInPlane;
        break;
    case kMoveFreely:
        kind = PoseDragKind::MoveFreely;
        break;
    case kMoveWithParent:
        kind = PoseDragKind::MoveWithParent;
        break;
    case kRotate:
        kind = PoseDragKind::Rotate;
        break;
    default:
        break;
    }
}

/// The three offsets of a drag; false when the host refuses one.
bool SetOffsets(const CZxUser_AdjustTool& adjust, const double* three)
{
    constexpr uint32_t kOffsets[] = {kOffsetX, kOffsetY, kOffsetZ};
    for (uint32_t a = 0; a < 3; ++a)
        if (failed(adjust.setNumber(kOffsets[a], three[a])))
            return false;
    return true;
}

} // namespace

zxresult CPoseTool::draw(ZxObject*, ZxObject* draw)
{
    DrawHandles(CZxUser_StrokeDraw(draw), CZxUser_ShapeDraw(draw), CZxUser_View(draw), false);
    return kZxOk;
}

zxresult CPoseTool::hitTest(ZxObject*, ZxObject* draw)
{
    DrawHandles(CZxUser_StrokeDraw(draw), CZxUser_ShapeDraw(draw), CZxUser_View(draw), true);
    return kZxOk;
}

void CPoseTool::DrawHandles(const CZxUser_StrokeDraw& strokes, const CZxUser_ShapeDraw& shapes,
                            const CZxUser_View& view, bool isHitTest)
{
    if (!m_RecordsReady || view.type() < 0 || failed(view.facing(&m_ViewMatrix[0])))
        return;
    const CZxUser_ChannelRead read = EvaluatedRead(CurrentTime());
    ForEachJoint(
        [&](uint32_t i, const PoseJoint&) { DrawHandle(read, i, strokes, shapes, view, isHitTest); });
}

void CPoseTool::DrawHandle(const CZxUser_ChannelRead& read, uint32_t index, const CZxUser_StrokeDraw& strokes,
                           const CZxUser_ShapeDraw& shapes, const CZxUser_View& view, bool isHitTest) const
{
    const PoseJoint& joint = *m_Joints[index];
    const bool isLocked = IsLocked(read, joint.item);
    const bool isHidden = joint.item.hasPackage("ik.positionTask");
    double position[3] = {0, 0, 0};
    ReadMatrix(read, joint.item, "wposMatrix", nullptr, position);

    strokes.pushTransform(position, &m_ViewMatrix[0]);
    strokes.setPart(index);
    double radius = HandleRadius(joint.boneLength, isLocked, view.pixelSize());
    if (isHidden)
        radius *= kHiddenHandleFactor;
    if (isHitTest || !isHidden)
        shapes.handle(&kOrigin[0], isLocked ? kLockedColour : kFreeColour, &kOrigin[0], radius, 2);
    strokes.popTransform();
}

zxresult CPoseTool::buttonDown(ZxObject* stackObject, ZxObject* adjustObject)
{
    const CZxUser_VectorStack stack(stackObject);
    const auto* input = stack.record<ZxToolInputEvent>(m_InputPacket);
    if (!m_RecordsReady || !input)
        return kZxOk;
    if (m_Dragging) // its button up never came
        EndDrag();
    m_KeptTime = CurrentTime();
    m_ActiveJoint = input->part;
    if (m_ActiveJoint < 0 && !PickWithoutHandle(stack, input->mode))
        return kZxOk;
    if (input->mode == kLockClick || input->mode == kPinClick) {
        MarkClicked(input->mode, CZxUser_AdjustTool(adjustObject));
        return kZxOk;
    }
    SetDragKind(input->mode, m_DragKind);
    if (IsJoint(m_ActiveJoint))
        BeginDrag(stack);
    return kZxOk;
}

/// Finds the joint for a click that met no handle: by the mesh under the pointer, or the tool item. False
/// ends the event.
bool CPoseTool::PickWithoutHandle(const CZxUser_VectorStack& stack, int32_t mode)
{
    ZxRayHit hit{};
    CZxUser_Item item = stack.raycastPacket(m_RaycastPacket).polygonHit(&hit);
    if (!item) {
        if (mode == kLockClick) {
            m_ClearPending = true;
            return false;
        }
    } else {
        if (CZxUser_Item picked = PickJointFromMesh(item, hit))
            item = std::move(picked);
        m_ActiveJoint = FindJoint(item);
        if (m_ActiveJoint < 0 && mode == kLockClick) {
            ClearAllLocks();
            return false;
        }
    }
    if (m_ActiveJoint < 0)
        m_ActiveJoint = FindJoint(m_ToolItem);
    return m_ActiveJoint >= 0;
}

void CPoseTool::MarkClicked(int32_t mode, const CZxUser_AdjustTool& adjust)
{
    if (!IsJoint(m_ActiveJoint))
        return;
    m_DragKind = mode == kLockClick ? PoseDragKind::ToggleLock : PoseDragKind::TogglePin;
    m_ClickItem = m_Joints[static_cast<std::size_t>(m_ActiveJoint)]->item;
    m_LockPending = true;
    adjust.requestEvaluation();
}

void CPoseTool::BeginDrag(const CZxUser_VectorStack& stack)
{
    RefreshAll();
    m_HasWritten = false;
    const double* position = m_Joints[static_cast<std::size_t>(m_ActiveJoint)]->worldPosition[3];
    m_Bounds.begin(m_Joints, position);
    const CZxUser_EventTranslatePacket translate = stack.translatePacket(m_TranslatePacket);
    translate.setStart(position);
    double direction[3];
    if (m_DragKind != PoseDragKind::MoveFreely && succeeded(translate.viewDirection(direction))) {
        const double normal[3] = {-direction[0], -direction[1], -direction[2]};
        translate.setPlane(normal, position);
    }
    m_NeedsSolver = m_Dragging = true;
    if (m_UsesGoal) {
        m_GoalItem.clear();
        m_UsesGoal = false;
    }
    m_GoalPending = false;
}

zxresult CPoseTool::move(ZxObject* stackObject, ZxObject* adjustObject)
{
    if (!m_Dragging || !IsJoint(m_ActiveJoint))
        return kZxOk;
    const CZxUser_VectorStack stack(stackObject);
    const CZxUser_AdjustTool adjust(adjustObject);
    const PoseJoint& joint = *m_Joints[static_cast<std::size_t>(m_ActiveJoint)];
    m_DraggedItem = joint.item;
    double offsets[3] = {0, 0, 0};
    if (m_DragKind == PoseDragKind::Rotate) {
        const auto* screen = stack.record<ZxToolScreenEvent>(m_ScreenPacket);
        if (!screen)
            return kZxOk;
        offsets[0] = ScreenTurnDegrees(*screen);
    } else if (failed(stack.translatePacket(m_TranslatePacket).newPosition(joint.worldPosition[3], offsets))
               || !AreFinite(offsets, 3)) {
        return kZxOk;
    }
    if (!SetOffsets(adjust, offsets))
        return kZxOk;
    FindGoal();
    if (m_NeedsSolver) {
        BuildSolver();
        if (!m_HasWritten)
            RememberChannels();
        m_NeedsSolver = false;
    }
    return kZxOk;
}

/// Whether the drag moves a goal item, or else the target of the joint's own task.
void CPoseTool::FindGoal()
{
    if (!IsTaskEnabled(EvaluatedRead(CurrentTime()), m_DraggedItem)
        || !HasChannel(m_DraggedItem, "ikptMatrix"))
        return;
    const CZxUser_ChannelGraph links = m_Scene.channelGraph("chanLinks");
    m_WritesTaskPosition = true;
    m_UsesGoal = false;
    if (CZxUser_Item goal = links.source(m_DraggedItem, m_DraggedItem.channel("ikptMatrix"))) {
        m_GoalItem = std::move(goal);
        m_UsesGoal = true;
        m_WritesTaskPosition = false;
    }
}

zxresult CPoseTool::buttonUp(ZxObject*, ZxObject* adjustObject)
{
    if (m_RecordsReady)
        RefreshAll();
    EndDrag();
    CZxUser_AdjustTool(adjustObject).endDrag();
    return kZxOk;
}

void CPoseTool::EndDrag()
{
    EndSolver();
    m_DraggedItem.clear();
    m_ActiveJoint = -1;
    m_WritesTaskPosition = m_Dragging = m_NeedsSolver = false;
}
