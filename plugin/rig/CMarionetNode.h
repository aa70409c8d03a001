// SPDX-License-Identifier: MIT
// The node of one rig: reads the animated pose and the goals, solves, and writes every joint's world
// transform.
#pragma once

#include "host/CZxEvaluation.h"
#include "host/CZxScene.h"
#include "rig/BoneRecord.h"
#include "rig/TaskRecord.h"

#include <sinew/IKSolver.h>

#include <memory>
#include <vector>

class CMarionetNode final : public CZxImpl_Modifier {
public:
    CMarionetNode();
    ~CMarionetNode() override;

    /// Builds bones, solver and tasks from the rig that `solver`, an item of type `ikFullBody`, belongs to,
    /// and adds their channels to `evaluation`. Throws the host's failures, and kZxAborted when the rig's
    /// links run in a circle.
    void allocate(const CZxUser_Item& solver, const CZxUser_Evaluation& evaluation);

    /// One evaluation. Reads of numbers that fail give 0 or off; matrices that can't be had end it with the
    /// host's code.
    zxresult evaluate() override;
    zxresult test(ZxObject*, uint32_t) override { return kZxFalse; }
    /// "iterations" and "converged" of the last solve; "distance NAME" and "angle NAME", how far the joint of
    /// that unique name is shown from its position goal (scene units) and its orientation goal (radians).
    zxresult figure(const char* name, double* value) override;

private:
    struct SolverChannels {
        uint32_t blend, solveContinuous, steps, precision, taskPull, useTolerance, tolerance, transRoot,
            transRootWeight, retargetGain, retargetScale, retargetOffset[3], limitsGain, enabled;
    };
    /// Where the root's parent stands. Positions go through `world`, which has the parent's scale; rotations
    /// through `rotation`, which hasn't.
    struct ParentFrame {
        Sinew::Matrix4d world, worldInverse, rotation, rotationInverse;
    };

    // Building
    void visit(const CZxUser_ItemGraph& ikRefs, const CZxUser_ChannelRead& rest, const CZxUser_Item& item,
               uint32_t solverType);
    void addSolverChannels(const CZxUser_Item& solver);
    void addBone(const CZxUser_ItemGraph& ikRefs, const CZxUser_ChannelRead& rest, const CZxUser_Item& item);
    void addBoneChannels(BoneRecord& bone);
    void addTask(const CZxUser_Item& item);
    void makeSolver();
    void orderTree();

    // One evaluation
    void startAnew();
    ParentFrame readParentFrame() const;
    void setBones();
    void setBonePose(BoneRecord& bone, Sinew::IKSegment& segment, bool anyRetargeting) const;
    void setBoneLimits(const BoneRecord& bone, Sinew::IKSegment& segment) const;
    void setTasks(const ParentFrame& parent);
    void noteAim(TaskRecord& task, const Sinew::Matrix4d& goal, const Sinew::Matrix4d& inParent,
                 const ParentFrame& parent) const;
    void solve();
    void composeAnimatedPose(const ParentFrame& parent);
    void readSolvedPose(const ParentFrame& parent);
    /// Share of the solved pose, 0 to 1; 0 too while the rig is switched off in setup mode.
    double shownBlend() const;
    void blendPoses(double blend);
    void writePose() const;

    CZxUser_Evaluation m_Evaluation;
    std::unique_ptr<Sinew::IKSolver> m_Solver;
    std::vector<Sinew::BoneDescriptor> m_Descriptors;
    std::vector<BoneRecord> m_Bones; // in the order of the descriptors and of the solver
    std::vector<TaskRecord> m_Tasks;
    std::vector<int32_t> m_Parents; // of each bone, -1 for none
    std::vector<uint32_t> m_TreeOrder; // bones that hang on the root, each behind its parent
    int32_t m_ParentPosition = -1, m_ParentRotation = -1, m_ParentScale = -1;
    SolverChannels m_Settings{};
    bool m_IsSpoilt = false; // by numbers in the last evaluation that were not finite
};
