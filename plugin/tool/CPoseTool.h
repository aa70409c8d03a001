// SPDX-License-Identifier: MIT
// `ik.pose`: poses a hierarchy of locators by dragging one of them, with or without a rig.
//
// The tool keeps a record of each locator below the first selected one. A drag lives from button down to
// button up; its first move builds a solver of its own from the records, and each evaluation solves anew from
// the pose that the drag began with, so that the result depends on where the pointer is and not on how it
// came there. Results go to the locators' own transform channels.
#pragma once

#include "host/CZxDraw.h"
#include "host/CZxDynamicAttributes.h"
#include "host/CZxEvent.h"
#include "host/CZxMesh.h"
#include "host/CZxScene.h"
#include "host/CZxTool.h"
#include "tool/ChainFrame.h"
#include "tool/DragBounds.h"
#include "tool/PoseJoint.h"
#include "tool/PoseMath.h"

#include <sinew/IKSolver.h>

#include <memory>
#include <vector>

class CFindMapVisitor;

class CPoseTool final : public CZxImpl_Tool, public CZxImpl_ToolModel, public CZxDynamicAttributes {
public:
    CPoseTool();
    ~CPoseTool() override;

    // Tool
    zxresult reset() override;
    zxresult evaluate(ZxObject* stack) override;
    zxresult vectorType(ZxObject** type) override;
    zxresult order(const char** order) override;
    zxresult task(uint32_t* code) override;

    // ToolModel
    zxresult flags(uint32_t* flags) override;
    zxresult draw(ZxObject* stack, ZxObject* draw) override;
    zxresult hitTest(ZxObject* stack, ZxObject* draw) override;
    zxresult initialise(ZxObject* stack) override;
    zxresult buttonDown(ZxObject* stack, ZxObject* adjust) override;
    zxresult move(ZxObject* stack, ZxObject* adjust) override;
    zxresult buttonUp(ZxObject* stack, ZxObject* adjust) override;
    zxresult dropped() override { return kZxOk; }
    zxresult enable(ZxObject* message) override;

private:
    /// Depth of a task that moves all of its chain.
    static constexpr uint32_t kWholeChain = 0xFFFFFFFFu;

    /// What one evaluation works with.
    struct Pass {
        CZxUser_ChannelRead read; ///< evaluated
        CZxUser_ChannelWrite write; ///< in "edit"
        double world[3]; ///< the attributes' position, as it stands
        double local[3]; ///< the same in the chain's space
        double turn; ///< degrees of a rotation drag
        ChainFrame frame;
    };

    // Records: CPoseTool.cpp
    static CZxUser_Item FindToolItem();
    void BuildPoseJoints(const CZxUser_ChannelRead& read, const CZxUser_Item& top);
    bool AddPoseJoint(const CZxUser_ChannelRead& read, const CZxUser_Item& item, int32_t parent);
    void FreePoseJoints();
    void RefreshAll();
    static void RefreshWorld(const CZxUser_ChannelRead& read, PoseJoint& joint);
    static void RefreshLocal(const CZxUser_ChannelRead& read, PoseJoint& joint);
    static void MeasureBone(const CZxUser_ChannelRead& read, PoseJoint& joint);
    PoseJoint* Record(const CZxUser_Item& item) const;
    /// Calls `visit` for each record; an item that is gone by now ends its own call alone.
    template <class Visit>
    void ForEachJoint(Visit&& visit)
    {
        for (uint32_t i = 0; i < m_Joints.size(); ++i) {
            try {
                visit(i, *m_Joints[i]);
            } catch (zxresult) {
                continue;
            }
        }
    }
    CZxUser_ChannelRead EvaluatedRead(double time) const { return m_Scene.channelRead(nullptr, time); }

    // Events and picking: CPoseToolEvents.cpp, CPoseToolPicking.cpp
    void DrawHandles(const CZxUser_StrokeDraw& strokes, const CZxUser_ShapeDraw& shapes,
                     const CZxUser_View& view, bool isHitTest);
    void DrawHandle(const CZxUser_ChannelRead& read, uint32_t index, const CZxUser_StrokeDraw& strokes,
                    const CZxUser_ShapeDraw& shapes, const CZxUser_View& view, bool isHitTest) const;
    bool PickWithoutHandle(const CZxUser_VectorStack& stack, int32_t mode);
    void MarkClicked(int32_t mode, const CZxUser_AdjustTool& adjust);
    void BeginDrag(const CZxUser_VectorStack& stack);
    void FindGoal();
    bool IsJoint(int32_t index) const
    {
        return index >= 0 && static_cast<std::size_t>(index) < m_Joints.size();
    }
    int32_t FindJoint(const CZxUser_Item& item) const;
    /// Whether the joint is the tool item, which alone may change its place.
    bool IsTop(const PoseJoint& joint) const { return &joint == m_Joints.front().get(); }
    CZxUser_Item PickJointFromMesh(const CZxUser_Item& item, const ZxRayHit& hit);
    friend class CFindMapVisitor;
    void WeighMap(const CZxUser_MeshMap& map);

    // The drag's solver: CPoseToolDrag.cpp
    void BuildSolver();
    void BuildChain(const CZxUser_Item& item);
    void BuildParentChain(const CZxUser_Item& item);
    void AddBone(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const CZxUser_Item& parent);
    void CollectLocked(const CZxUser_ChannelRead& read);
    void AddLockedBranches(const CZxUser_ChannelRead& read);
    void ConfigureBones(const CZxUser_ChannelRead& read);
    void AddLockTasks();
    void HoldLocked(const CZxUser_ChannelRead& read, const PoseJoint& joint, const ChainFrame* frame);
    void AddDragTask();
    void RememberChannels();
    bool ReadChainFrame(const CZxUser_ChannelRead& read, ChainFrame& frame) const;
    void EndSolver();
    void EndDrag();

    // One evaluation: CPoseToolEvaluate.cpp
    bool HandleClicks();
    void Pose(const Pass& pass);
    void RestoreChannels();
    void ClearAllLocks();
    void UpdateOneBone(const Pass& pass);
    void UpdateDragTask(const Pass& pass);
    void FollowGoal(const Pass& pass);
    void Solve(const Pass& pass);
    void ReadBones(const Pass& pass);
    void ReadBone(const Pass& pass, PoseJoint& joint) const;
    void WritePending(const Pass& pass);

    CZxUser_VectorType m_VectorType;
    int32_t m_ViewPacket = -1; ///< offsets of the packets; -1 where the host has none such
    int32_t m_InputPacket = -1;
    int32_t m_TranslatePacket = -1;
    int32_t m_ScreenPacket = -1;
    int32_t m_RaycastPacket = -1;
    CZxUser_Scene m_Scene;
    CZxUser_Item m_DraggedItem;
    CZxUser_Item m_ClickItem; ///< joint of the last lock or pin click
    CZxUser_Item m_ToolItem; ///< top of the records
    CZxUser_Item m_ChainParent; ///< above the chain; may be empty
    CZxUser_Item m_ChainTop; ///< root bone of the drag's solver
    CZxUser_Item m_GoalItem; ///< what feeds the dragged joint's position task
    CZxUser_Point m_Point; ///< accessor on the vertex that was hit
    float m_BestWeight = 0; ///< search state of PickJointFromMesh
    int32_t m_BestJoint = -1;
    bool m_LockPending = false; ///< a lock or pin click waits for evaluation
    bool m_ClearPending = false; ///< a clear-all click waits for evaluation
    std::vector<std::unique_ptr<PoseJoint>> m_Joints;
    DragBounds m_Bounds; ///< of this drag
    std::vector<PoseJoint*> m_Chain; ///< the bones of this drag, parallel to the descriptors
    std::vector<PoseJoint*> m_Locked; ///< locked joints from the chain top down
    uint32_t m_ChainLength = 0; ///< bones walked by BuildChain
    double m_ViewMatrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}; ///< makes handles face the viewer
    double m_GoalPosition[3] = {0, 0, 0}; ///< in the world
    bool m_GoalPending = false; ///< this drag has given the goal a position
    PoseDragKind m_DragKind = PoseDragKind::MoveInPlane;
    int32_t m_ActiveJoint = -1; ///< index in the records; -1 while no drag runs
    bool m_RecordsReady = false;
    bool m_NeedsSolver = false; ///< the next move builds it
    bool m_HasWritten = false; ///< this drag has written a pose
    bool m_Dragging = false; ///< the button is down
    bool m_WritesTaskPosition = false; ///< the drag moves the target of the joint's own task
    bool m_UsesGoal = false; ///< the drag moves the goal item
    double m_KeptTime = 0; ///< scene time at button down, renewed by initialise
    std::unique_ptr<Sinew::IKSolver> m_Solver; ///< null between drags
    Sinew::IKPositionTask* m_PositionTask = nullptr; ///< the drag's task; at most one of the two is there
    Sinew::IKOrientationTask* m_OrientationTask = nullptr;
    uint32_t m_SolverType = 0; ///< code of `ikFullBody`
    Sinew::Matrix4d m_RotationBase; ///< world rotation of the joint when a rotation drag began
    std::vector<Sinew::BoneDescriptor> m_Descriptors;
};
