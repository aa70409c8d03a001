// SPDX-License-Identifier: MIT
// What all tasks have in common: bone, depth, axes, weights, and the link to the solver's arrays.
#pragma once

#include "bones/Segment.h"
#include "kit/AlignedObject.h"

#include <sinew/IKTask.h>

namespace Sinew {

class PositionTask;
class OrientationTask;

constexpr std::uint32_t kNoRow = 0xFFFFFFFFu;

/// What the solver lends a task between two calls of `prepare`.
struct TaskBinding {
    IKSolverState* solver = nullptr;
    std::uint8_t* patternDirty = nullptr;
    float* const* jacobianRows = nullptr; ///< start of each Jacobian row
    float* taskError = nullptr; ///< one float per row
};

class Task : public AlignedObject, public virtual IKTask {
public:
    Task(std::uint32_t creationDepth, Segment* segment, bool active);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    std::uint32_t getFirstRow() const override { return m_FirstRow; }
    std::uint32_t getId() const override { return m_Id; }
    std::uint32_t getRowCount() const override { return m_RowCount; }
    std::uint32_t getActiveDofCount() const override;
    bool isActive() const override { return m_Active; }
    float getWeight() const override { return m_Weight; }
    void setDepth(std::uint32_t depth) override;
    std::uint32_t getDepth() const override { return m_Depth; }
    void setWeight(float weight) override;
    void setAxisWeight(std::uint32_t axis, float weight) override;
    float getAxisWeight(std::uint32_t axis) const override { return axis < 3 ? m_AxisWeight[axis] : 0.0f; }
    void setPrecision(float precision) override;
    void setAxisPrecision(std::uint32_t axis, float precision) override;
    float getAxisPrecision(std::uint32_t axis) const override
    {
        return axis < 3 ? m_AxisPrecision[axis] : 1.0f;
    }
    void setLevel(std::uint32_t) override { }
    void setAxisLevel(std::uint32_t, std::uint32_t) override { }
    std::uint32_t getAxisLevel(std::uint32_t) const override { return 0; }
    std::uint32_t getCreationDepth() const override { return m_CreationDepth; }
    void setTargetVector(const float*) override { }
    void scaleTarget(float) override { }
    void setActive(bool on, bool alsoDof) override;
    void setActiveDof(bool x, bool y, bool z) override;
    bool isDofActive(std::uint32_t i) const override { return i < 3 && m_ActiveDof[i]; }
    bool isPositionTask() const override { return false; }
    bool isOrientationTask() const override { return false; }
    bool isForceTask() const override { return false; }
    bool isReactionTask() const override { return false; }
    bool isBalanceTask() const override { return false; }
    void setTracksRetarget(bool on, int chainCount) override;
    bool tracksRetarget() const override { return m_TracksRetarget; }
    IKSegment* getSegment() const override { return m_Segment; }
    IKSolverState* getSolver() const override { return m_Binding.solver; }
    void setUserData(void* data) override { m_UserData = data; }
    void* getUserData() const override { return m_UserData; }
    bool follows() const override { return m_Follows; }
    IKTask* getFollower() const override { return m_Follower; }
    IKTask* getFollowed() const override { return m_Followed; }

    // For the solver alone.

    virtual void setFastPath(bool) { m_FastPath = false; }
    /// Writes 1 into every Jacobian cell that the task may ever write.
    virtual void markPattern(std::uint32_t columns, std::uint32_t rows);
    /// Takes the solver's arrays; the table of tasks is for the balance task.
    virtual void bind(const TaskBinding& binding, Task** taskTable, std::uint32_t taskCount);
    /// Writes the task's errors (world axes) and its Jacobian cells for the present frames.
    virtual void computeRows(std::uint32_t columns, std::uint32_t rows) = 0;
    virtual void updateError() { }
    virtual void setTargetFromPose() { }
    virtual PositionTask* asPositionTask() { return nullptr; }
    virtual OrientationTask* asOrientationTask() { return nullptr; }

    void setFirstRow(std::uint32_t row);
    void setId(std::uint32_t id) { m_Id = id; }
    void setFollowTrigger() { m_FollowTrigger = true; }
    void clearFollowTrigger() { m_FollowTrigger = false; }
    bool followTrigger() const { return m_FollowTrigger; }
    void follow(Task* other);
    /// Ends following; the former followed task forgets its follower.
    void unfollow();
    /// Clears every link that this task has to `other`, which is about to go.
    void forget(const Task* other);
    /// Appends the task's block to the text file at `path`.
    void dump(const char* path);

protected:
    bool isBound() const { return m_Binding.solver != nullptr; }
    void markPatternDirty();
    float* jacobianRow(std::uint32_t k) const { return m_Binding.jacobianRows[m_FirstRow + k]; }

    std::uint32_t m_FirstRow = kNoRow;
    std::uint32_t m_Id = 0;
    std::uint32_t m_RowCount = 3;
    std::uint32_t m_CreationDepth = 0;
    bool m_FastPath = false; ///< every bone has its three rotations and only the root translates
    bool m_Active = false;
    bool m_TracksRetarget = false;
    bool m_FollowTrigger = false; ///< in this solve, the followed task has triggered this one
    bool m_Follows = false;
    bool m_ActiveDof[3] = {true, true, true};
    Segment* m_Segment = nullptr;
    std::uint32_t m_Depth = 0xFFFFFFFFu;
    TaskBinding m_Binding;
    Task* m_Followed = nullptr;
    Task* m_Follower = nullptr;

private:
    float m_Weight = 1.0f;
    float m_AxisWeight[3] = {1.0f, 1.0f, 1.0f};
    float m_AxisPrecision[3] = {1.0f, 1.0f, 1.0f};
    void* m_UserData = nullptr;
};

} // namespace Sinew
