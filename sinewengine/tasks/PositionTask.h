// SPDX-License-Identifier: MIT
// A task that brings a point of a bone to a target; also pole vector, plane and force modes.
#pragma once

#include "tasks/Task.h"

#include <sinew/IKPositionTask.h>

namespace Sinew {

class PositionTask final : public Task, public IKPositionTask {
public:
    PositionTask(std::uint32_t creationDepth, Segment* segment);

    bool isPositionTask() const override { return m_PositionRows; }
    bool isForceTask() const override { return m_ForceTask; }
    bool isReactionTask() const override { return m_ReactionTask; }
    void setTargetVector(const float* target) override
    {
        if (target)
            m_Target.set(target[0], target[1], target[2]);
    }
    void scaleTarget(float factor) override { m_Target = m_Target * factor; }

    void setTarget(float x, float y, float z) override { m_Target.set(x, y, z); }
    void setTarget(const SinewVector& target) override { m_Target.lanes = clearW(target.lanes); }
    const SinewVector& getTarget() const override { return m_Target; }
    void setOffset(float x, float y, float z) override
    {
        m_Offset.set(x, y, z);
        m_OffsetLength = length(m_Offset);
    }
    const SinewVector& getOffset() const override { return m_Offset; }
    void setForce(float x, float y, float z) override;
    const SinewVector& getForce() const override { return m_Force; }
    void setPositionRows(bool on) override;
    void setForceTask(bool force, bool reaction) override;
    void setForceShare(float share) override;
    float getForceShare() const override { return m_ForceShare; }
    void setBalanceMoments(bool on) override;
    const SinewVector& getError() const override { return m_Error; }
    SinewVector& computeMoment(SinewVector& out) override;
    void setPoleVector(bool on) override { m_PoleVector = on; }
    bool getPoleVector() const override { return m_PoleVector; }
    void setPlaneConstraint(bool on) override { m_PlaneConstraint = on; }
    bool getPlaneConstraint() const override { return m_PlaneConstraint; }
    void setPlaneTarget(bool on) override { m_PlaneTarget = on; }
    bool getPlaneTarget() const override { return m_PlaneTarget; }
    void setPlaneNormal(float x, float y, float z) override { m_PlaneNormal.set(x, y, z); }
    const SinewVector& getPlaneNormal() const override { return m_PlaneNormal; }
    void setPlanePoint(float x, float y, float z) override { m_PlanePoint.set(x, y, z); }
    const SinewVector& getPlanePoint() const override { return m_PlanePoint; }

    void setFastPath(bool on) override { m_FastPath = on && m_RowCount == 3; }
    void computeRows(std::uint32_t columns, std::uint32_t rows) override;
    void updateError() override;
    void setTargetFromPose() override;
    PositionTask* asPositionTask() override { return this; }

    /// Force of a reaction task: its share of what carries the figure.
    void takeShareOf(SinewVector load) { m_Force = load * -m_ForceShare; }

private:
    void markZmp();
    SinewVector evaluateError();
    SinewVector poleError() const;
    SinewVector planeCorrection(SinewVector x);
    void computeColumns(SinewVector point, std::uint32_t columns, std::uint32_t rows);
    void computeColumnsFast(SinewVector point, std::uint32_t columns);

    SinewVector m_Target;
    SinewVector m_Offset;
    SinewVector m_Error;
    SinewVector m_Force;
    SinewVector m_PlaneNormal = SinewVector(0.0f, 1.0f, 0.0f); ///< normalised in place when used
    SinewVector m_PlanePoint;
    float m_OffsetLength = 0.0f;
    float m_ForceShare = 1.0f;
    bool m_PositionRows = true;
    bool m_ForceTask = false;
    bool m_ReactionTask = false;
    bool m_ForceRows = false; ///< the force enters the balance task's moment rows
    bool m_BalanceMoments = false;
    bool m_PoleVector = false;
    bool m_PlaneConstraint = false;
    bool m_PlaneTarget = false;
};

} // namespace Sinew
