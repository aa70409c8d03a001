// SPDX-License-Identifier: MIT
// The state behind IKSolver: bones, tasks, the arrays of the iteration and the iteration itself.
#pragma once

#include "bones/Segment.h"
#include "kit/AlignedObject.h"
#include "kit/PointerArray.h"
#include "kit/SinewRedBlackTree.h"
#include "solver/Jacobian.h"
#include "tasks/BalanceTask.h"
#include "tasks/OrientationTask.h"
#include "tasks/PositionTask.h"

#include <sinew/BoneDescriptor.h>

namespace Sinew {

/// Operations here that IKSolver forwards to are described there.
class IKSolverState : public AlignedObject {
public:
    IKSolverState();
    ~IKSolverState();
    IKSolverState(const IKSolverState&) = delete;
    IKSolverState& operator=(const IKSolverState&) = delete;

    // Bones and tasks (IKSolverState.cpp).
    void setBones(const BoneDescriptor* descriptors, std::uint32_t count);
    Segment* findBone(const char* name) const;
    PositionTask* addPositionTask(const char* bone, std::uint32_t depth);
    OrientationTask* addOrientationTask(const char* bone, std::uint32_t depth);
    void removeTask(const IKTask* task);
    void linkTasks(const IKTask* task, bool on, const IKTask* other);
    BalanceTask* addBalanceTask(std::uint32_t axis, bool moments, bool centreOfMass, std::uint32_t depth);
    void removeBalanceTask();
    void setTaskTargets(const float* const* targets);
    bool prepare();
    void reset();
    void updateFigure();

    // The iteration (Iteration.cpp).
    bool solve(std::uint32_t steps);
    bool solveAdaptive(std::uint32_t steps, int& status);
    bool isFinite() const;

    // Lengths, masses, root, gains, zero-moment point (FigureMeasures.cpp).
    void measureFigure();
    void requestMeasure();
    void sumMass();
    void setTotalMass(float mass);
    void setTranslateRoot(bool on);
    void setRootTranslationWeight(float weight);
    void setRetargetPose(const float* const* const* poses, std::uint32_t count);
    void setLimitsWithRetargeting(bool on);
    void setFullRetargeting(bool on);
    void rescaleFigure(float factor);
    void setZmp(float x, float y, float z);
    void setUseDefaultZmp(bool on);
    void setMomentsWeight(float weight);
    void setMomentsPrecision(float precision);
    float momentsPrecision() const { return m_TaskPrecision / m_MomentsDamping; }

    // Row and column weights (Weights.cpp).
    void updateRowWeights(const Task& task);
    void updateRowDamping(const Task& task);
    void updateColumnWeights(const Segment& bone);

    void dumpConfiguration(const char* path) const; // ConfigurationDump.cpp

    // For bones and tasks.
    void setSetupDirty(bool dirty) { m_SetupDirty = dirty; }
    /// Columns or rows changed: `prepare` must run even if a client clears `m_SetupDirty`.
    void requireSetup() { m_SetupDirty = m_LayoutDirty = true; }
    /// A link changed, or freedoms changed without a new layout: tasks may now write cells outside the
    /// pattern, which count as zero until it is built again.
    void noteTreeChanged();
    void noteFlagsChanged()
    {
        m_PatternExact = false;
        m_Jacobian.keepToPattern();
    }
    void markZmpDirty() { m_ZmpDirty = true; }
    bool framesCurrent() const { return m_FramesCurrent; }
    /// What the last `solve` did: steps applied to all bones, sweeps, and the largest joint step of the last.
    std::uint32_t iteration() const { return m_Iteration; }
    std::uint32_t sweeps() const { return m_Sweeps; }
    float maxJointStep() const { return m_MaxJointStep; }
    const Jacobian& jacobian() const { return m_Jacobian; }
    bool hasBalanceTask() const { return m_BalanceTask != nullptr; }
    SinewVector zmp() const { return m_Zmp; }
    /// Brings world positions back into the frame in which targets are given, as the figure stands at minus
    /// the zero-moment point while the balance task is active.
    SinewVector balanceOffset() const
    {
        return m_BalanceTask && m_BalanceTask->isActive() ? m_Zmp : SinewVector();
    }
    /// Keeps the largest reach of this iteration; an infinite one would leave all row weights at 0.
    void raiseReach(float reach)
    {
        if (reach > m_ReachEstimate && reach < __builtin_inff())
            m_ReachEstimate = reach;
    }

private:
    friend class IKSolver;

    Task* findTask(const IKTask* task) const;
    template <class Kind>
    Kind* addTask(const char* bone, std::uint32_t depth);
    void dropBones();
    void refreshOrder();
    void ensureFrames();
    void refreshFrames(bool useTarget);
    void placeMassCentres();
    void fitArrays(std::uint32_t rows, std::uint32_t columns);
    void layOutRows();
    void bindTasks();
    void bindBones();

    void allocateArrays();
    void releaseArrays();
    void rebuildPattern();
    bool isPatternExact() const;

    void updateMomentWeights();
    void updateMomentDamping();
    void updateScaleConstants();
    void adaptToReach();
    float scaleHeight() const;

    void distributeMass();
    void recomputeZmp();

    bool pullBeforeFirst(bool& anyRetargeted);
    void readyTasks(bool fast, bool anyRetargeted, bool balance);
    void evaluateRows(bool balance);
    void step();
    bool areDualsFinite() const;
    bool hasDiverged(float& errorSoFar) const;
    void advanceBones();
    void pullAfterStep(Segment& bone);

    // Bones and tasks.
    SinewRedBlackTree m_BoneIndex;
    PointerArray<Task> m_Tasks;
    Segment* m_Bones = nullptr; ///< one array in the order of the descriptors; bones never move
    std::uint32_t m_SegmentCount = 0;
    Segment* m_RootBone = nullptr;
    BalanceTask* m_BalanceTask = nullptr;
    PositionTask* m_SupportTask = nullptr; ///< its target anchors the zero-moment point
    GlobalFrame m_FigureFrame; ///< parent frame of the root; stands at minus the zero-moment point
    const float* const* m_RetargetSources[5] = {};
    void* m_UserContext = nullptr;
    /// All bones, parents before children, level by level from the root and then the other trees: neighbours
    /// in it seldom depend on each other, so that their forward kinematics overlap.
    PointerArray<Segment> m_Order;
    std::uint32_t m_RootTreeCount = 0; ///< how many of them are in the root's tree
    PointerArray<Task>
        m_FirstTasks; ///< active tasks that don't follow; kept so that `solve` allocates nothing
    PointerArray<Task> m_FollowingTasks;

    // Dimensions and arrays. Vectors are whole blocks of four; lanes beyond the count stay zero.
    std::uint32_t m_RowCapacity = 0;
    std::uint32_t m_ColumnCapacity = 0;
    std::uint32_t m_Columns = 0;
    std::uint32_t m_Rows = 0;
    std::uint32_t m_BoneCount = 0; ///< bones at the last `prepare`
    std::uint32_t m_TaskCount = 0;
    std::uint32_t m_Iteration = 0; ///< steps applied to all bones in the current or last `solve`
    std::uint32_t m_Sweeps = 0; ///< sweeps made, the one that met the tolerance included
    Jacobian m_Jacobian;
    float* m_ArrayBlock = nullptr; ///< one block behind all vectors below
    float* m_SecondaryMotion = nullptr; ///< z: pulls of the bones, per column
    float* m_ColumnWeights = nullptr; ///< C
    float* m_JointStep = nullptr; ///< dq
    float* m_PrimaryStep = nullptr; ///< C Jt W y
    float* m_SecondaryStep = nullptr; ///< C Jt W u
    float* m_RowWeights = nullptr; ///< W
    float* m_RowDamping = nullptr; ///< D, negative
    float* m_TaskError = nullptr; ///< e: target minus current, world axes
    float* m_PrimaryDual = nullptr; ///< y
    float* m_SecondaryDual = nullptr; ///< u
    float* m_SecondaryRows = nullptr; ///< J z
    float* m_RowScratchA = nullptr;
    float* m_RowScratchB = nullptr;

    // Settings.
    float m_TotalBoneLength = 1.0f;
    float m_MaxJointStep = 0.0f; ///< largest magnitude in the last joint step: the measure of convergence
    float m_Tolerance = 0.001f;
    float m_TaskPrecision = -0.164f; ///< damping numerator, negative
    float m_PCoefficient = 1.0f;
    float m_PrecisionUnit = 0.082f;
    float m_LengthRowGain = 0.445f;
    float m_AngleRowGain = 2.0f;
    float m_RootTranslationWeight = 1.0f;
    float m_TranslationColumnScale = 0.0f;
    float m_StretchPullGain = 0.0f;
    float m_RetargetGain = 0.05f;
    float m_RetargetGainUnit = 0.05f;
    float m_LimitsGain = 0.05f;
    float m_LimitsGainUnit = 0.05f;
    float m_SecondaryTaskWeight = 0.15f;
    float m_SecondaryWeightUnit = 0.15f;
    float m_SecondaryPrecision = 0.2f;
    float m_MomentsWeight = 1.0f;
    float m_MomentsDamping = -0.164f;
    float m_TotalMass = 80.0f;
    float m_FigureHeight = 0.0f; ///< longest chain from the root to a bone end, raised by `adaptToReach`
    float m_FigureLength = 0.0f; ///< sum of all rest translation lengths: the measure of divergence
    float m_ReachEstimate = 0.0f;
    SinewVector m_CentreOfMass;
    SinewVector m_Zmp;
    SinewVector m_RootTargetTranslation;

    // Flags. Bones and tasks hold a pointer to the first one.
    std::uint8_t m_PatternDirty = 1;
    bool m_SetupDirty = true;
    bool m_LayoutDirty = true;
    bool m_OrderDirty = true;
    bool m_PatternExact = true; ///< freedoms and columns of all bones agree
    bool m_MultiRetarget = false;
    bool m_ArraysAllocated = false;
    bool m_FramesCurrent = false;
    bool m_ZmpDirty = false;
    bool m_TranslateRoot = false;
    bool m_EnableRootTarget = false;
    bool m_RescaleTasks = false;
    bool m_MeasureDirty = true;
    bool m_MassesDirty = true;
    bool m_UseDefaultZmp = true;
    bool m_LimitsWithRetargeting = false;
};

} // namespace Sinew
