// SPDX-License-Identifier: MIT
// The public face that all tasks share.
#pragma once

#include <sinew/IKSegment.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// One goal of a solve. Owned by its solver; the pointer stays valid until the task is removed or the solver
/// is destroyed. An `axis` is 0 x, 1 y, 2 z of the world; a setter ignores any other.
class IKTask {
public:
    /// Called by the solver alone: a client removes tasks through it.
    virtual ~IKTask() = default;

    /// First row in the solver's Jacobian, as of its last layout; 4294967295 while the task has none.
    virtual std::uint32_t getFirstRow() const = 0;
    /// Place among the solver's tasks when the task was added; a third of its first row once that is laid
    /// out.
    virtual std::uint32_t getId() const = 0;
    /// Rows in the Jacobian: 3, inactive axes included; for a balance task those of the centre of mass, 3 or
    /// 0.
    virtual std::uint32_t getRowCount() const = 0;
    /// How many of the three axes are switched on.
    virtual std::uint32_t getActiveDofCount() const = 0;
    /// Whether the task takes part in the solve; true for a new one.
    virtual bool isActive() const = 0;
    /// The value of the last `setWeight`, 1 by default, whatever `setAxisWeight` has set since.
    virtual float getWeight() const = 0;
    /// Number of bones, from the attached one upwards, that the task may move; 0 is none. A new task reaches
    /// the root.
    virtual void setDepth(std::uint32_t depth) = 0;
    /// Number of bones that the task may move; 4294967295 for a new task.
    virtual std::uint32_t getDepth() const = 0;
    /// Importance of all three axes: a gain on their rows, 1 by default.
    virtual void setWeight(float weight) = 0;
    /// Importance of one axis.
    virtual void setAxisWeight(std::uint32_t axis, float weight) = 0;
    /// Importance of one axis; 0 for an axis above 2.
    virtual float getAxisWeight(std::uint32_t axis) const = 0;
    /// Divides the damping of all three rows, 1 by default; clamped to 0.001 to 2, and NaN to 0.001.
    virtual void setPrecision(float precision) = 0;
    /// Divides the damping of one row; clamped likewise.
    virtual void setAxisPrecision(std::uint32_t axis, float precision) = 0;
    /// What divides the damping of one row; 1 for an axis above 2.
    virtual float getAxisPrecision(std::uint32_t axis) const = 0;
    /// Reserved; does nothing.
    virtual void setLevel(std::uint32_t value) = 0;
    /// Reserved; does nothing.
    virtual void setAxisLevel(std::uint32_t axis, std::uint32_t value) = 0;
    /// Reserved; always 0.
    virtual std::uint32_t getAxisLevel(std::uint32_t axis) const = 0;
    /// The depth argument of the creating call; it has no effect.
    virtual std::uint32_t getCreationDepth() const = 0;
    /// Target as three floats, in the world; position and balance tasks take it, orientation tasks don't.
    /// Null is ignored.
    virtual void setTargetVector(const float* target) = 0;
    /// Multiplies the target of a position task; other tasks ignore it.
    virtual void scaleTarget(float factor) = 0;
    /// Takes the task in or out of the solve; `alsoDof` switches its three axes to the same value. A balance
    /// task without rows stays out.
    virtual void setActive(bool on, bool alsoDof) = 0;
    /// Switches the task's axes, all on by default. An inactive axis has no effect on the pose; a task
    /// without any becomes inactive, one with an axis active. They don't restrict a balance task's moments.
    virtual void setActiveDof(bool x, bool y, bool z) = 0;
    /// Whether axis `i`, 0 to 2, is switched on; false beyond.
    virtual bool isDofActive(std::uint32_t i) const = 0;
    /// True for a position task that has rows of its own: see `IKPositionTask::setPositionRows`.
    virtual bool isPositionTask() const = 0;
    /// True for an orientation task.
    virtual bool isOrientationTask() const = 0;
    /// True for a position task that carries a force: see `IKPositionTask::setForceTask`.
    virtual bool isForceTask() const = 0;
    /// True for a position task whose force is its share of what carries the figure.
    virtual bool isReactionTask() const = 0;
    /// True for a balance task with rows for the centre of mass.
    virtual bool isBalanceTask() const = 0;
    /// Reads the target from the retarget pose at the head of each solve in which some bone retargets (a
    /// balance task: of every solve). The attached bone and those above it, `chainCount` in all, start to
    /// follow their target orientations; with `on` false they have their limits enabled in place of that.
    virtual void setTracksRetarget(bool on, int chainCount) = 0;
    /// Whether the target is read from the retarget pose; false by default.
    virtual bool tracksRetarget() const = 0;
    /// The bone that the task is attached to; for a balance task the first of the solver's bones.
    virtual IKSegment* getSegment() const = 0;
    /// What is behind the solver, null before its first layout: a pointer to compare, nothing that a client
    /// can use.
    virtual IKSolverState* getSolver() const = 0;
    /// Keeps a pointer for the caller, null at first; the engine never dereferences it.
    virtual void setUserData(void* data) = 0;
    /// The caller's pointer.
    virtual void* getUserData() const = 0;
    /// Whether the task follows another: see `IKSolver::linkTasks`.
    virtual bool follows() const = 0;
    /// The task that follows this one, or null.
    virtual IKTask* getFollower() const = 0;
    /// The task that this one follows, or null.
    virtual IKTask* getFollowed() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
