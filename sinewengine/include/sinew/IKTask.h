// SPDX-License-Identifier: MIT
// The public face that all tasks share.
#pragma once

#include <sinew/IKSegment.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// One goal of a solve. Owned by its solver; the pointer stays valid until the task is removed or the solver
/// is destroyed. An `axis` is 0 x, 1 y, 2 z of the world.
class IKTask {
public:
    virtual ~IKTask() = default;

    /// First row in the solver's Jacobian; 4294967295 while the task has none.
    virtual std::uint32_t getFirstRow() const = 0;
    virtual std::uint32_t getId() const = 0;
    virtual std::uint32_t getRowCount() const = 0;
    virtual std::uint32_t getActiveDofCount() const = 0;
    virtual bool isActive() const = 0;
    virtual float getWeight() const = 0;
    /// Number of bones, from the attached one upwards, that the task may move. A new task reaches the root.
    virtual void setDepth(std::uint32_t depth) = 0;
    virtual std::uint32_t getDepth() const = 0;
    /// Importance of all three axes: a gain on their rows.
    virtual void setWeight(float weight) = 0;
    virtual void setAxisWeight(std::uint32_t axis, float weight) = 0;
    virtual float getAxisWeight(std::uint32_t axis) const = 0;
    /// Divides the damping of the rows; clamped to 0.001 to 2.
    virtual void setPrecision(float precision) = 0;
    virtual void setAxisPrecision(std::uint32_t axis, float precision) = 0;
    virtual float getAxisPrecision(std::uint32_t axis) const = 0;
    /// Reserved; does nothing.
    virtual void setLevel(std::uint32_t value) = 0;
    /// Reserved; does nothing.
    virtual void setAxisLevel(std::uint32_t axis, std::uint32_t value) = 0;
    virtual std::uint32_t getAxisLevel(std::uint32_t axis) const = 0;
    /// The depth argument of the creating call; it has no effect.
    virtual std::uint32_t getCreationDepth() const = 0;
    /// Target as three floats; position and balance tasks take it, orientation tasks don't.
    virtual void setTargetVector(const float* target) = 0;
    /// Multiplies the target of a position task.
    virtual void scaleTarget(float factor) = 0;
    virtual void setActive(bool on, bool alsoDof) = 0;
    /// Switches the task's axes. An inactive axis has no effect on the pose.
    virtual void setActiveDof(bool x, bool y, bool z) = 0;
    virtual bool isDofActive(std::uint32_t i) const = 0;
    virtual bool isPositionTask() const = 0;
    virtual bool isOrientationTask() const = 0;
    virtual bool isForceTask() const = 0;
    virtual bool isReactionTask() const = 0;
    virtual bool isBalanceTask() const = 0;
    /// Reads the target from the retarget pose at the head of each solve; the bone and those above it,
    /// `chainCount` in all, start (or stop) to follow their target orientations.
    virtual void setTracksRetarget(bool on, int chainCount) = 0;
    virtual bool tracksRetarget() const = 0;
    virtual IKSegment* getSegment() const = 0;
    virtual IKSolverState* getSolver() const = 0;
    virtual void setUserData(void* data) = 0;
    virtual void* getUserData() const = 0;
    virtual bool follows() const = 0;
    /// The task that follows this one, or null.
    virtual IKTask* getFollower() const = 0;
    /// The task that this one follows, or null.
    virtual IKTask* getFollowed() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
