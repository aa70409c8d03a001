// SPDX-License-Identifier: MIT
// The task that holds the figure's centre of mass and its moments. It spans all bones.
#pragma once

#include "tasks/Task.h"

#include <sinew/IKBalanceTask.h>

namespace Sinew {

class BalanceTask final : public Task, public IKBalanceTask {
public:
    BalanceTask(std::uint32_t creationDepth, Segment* bones, std::uint32_t boneCount, std::uint32_t axis,
                bool momentRows, bool centreOfMassRows);

    void setTargetVector(const float* target) override
    {
        if (target)
            setTarget(target[0], target[1], target[2]);
    }
    void setActive(bool on, bool alsoDof) override;
    bool isBalanceTask() const override { return m_CentreOfMassRows; }

    void setTarget(float x, float y, float z) override { m_Target.set(x, y, z); }
    void setTargetOffset(float x, float y, float z) override { m_TargetOffset.set(x, y, z); }
    const SinewVector& getTarget() const override { return m_Target; }
    SinewVector& computeMoment(SinewVector& out) override;
    void setCentreOfMassRows(bool on) override;
    void setRelativeToRoot(bool on) override { m_RelativeToRoot = on; }
    void setMomentRows(bool on) override;
    void reserved(std::uint32_t) override { }
    std::uint32_t getGravityAxis() const override { return 0; }
    void setGravityDirection(float x, float y, float z) override;
    void setGravityAxis(std::uint32_t axis) override;
    const SinewVector& getGravityDirection() const override { return m_GravityDirection; }
    bool momentRows() const override { return m_MomentRows; }
    bool centreOfMassRows() const override { return m_CentreOfMassRows; }

    void markPattern(std::uint32_t columns, std::uint32_t rows) override;
    void bind(const TaskBinding& binding, Task** taskTable, std::uint32_t taskCount) override;
    void computeRows(std::uint32_t columns, std::uint32_t rows) override;
    void setTargetFromPose() override;

    /// The figure's weight, mass times 9.81, as a force against the up direction.
    void setFigureWeight(float weight);
    SinewVector gravityForce() const { return m_GravityForce; }
    void clearErrorRows(std::uint32_t rows);
    /// Forgets the solver's tasks until the next `bind`.
    void dropTaskTable() { m_TaskTable = nullptr; }
    void scaleCentreTarget(float factor) { m_Target = m_Target * factor; }

private:
    void publishMoments();
    void markZmp();
    SinewVector centreOfMass() const;
    void noteRowsChange();

    Segment* m_Bones = nullptr; ///< the solver's array; the task walks it by index
    std::uint32_t m_BoneCount = 0;
    std::uint32_t m_TaskCount = 0;
    Task** m_TaskTable = nullptr;
    Segment* m_Root = nullptr; ///< the first bone without a parent
    float m_FigureWeight = 0.0f;
    bool m_MomentRows = false;
    bool m_CentreOfMassRows = false;
    bool m_RelativeToRoot = false; ///< the target is measured from the root's origin
    SinewVector m_Target;
    SinewVector m_TargetOffset;
    SinewVector m_GravityForce;
    SinewVector m_GravityDirection; ///< up, unit, world axes
};

} // namespace Sinew
