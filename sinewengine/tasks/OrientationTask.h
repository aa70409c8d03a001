// SPDX-License-Identifier: MIT
// A task that brings a bone to an orientation in the world, or points one of its axes along a direction.
#pragma once

#include "tasks/Task.h"

#include <sinew/IKOrientationTask.h>

namespace Sinew {

class OrientationTask final : public Task, public IKOrientationTask {
public:
    OrientationTask(std::uint32_t creationDepth, Segment* segment);

    bool isOrientationTask() const override { return true; }

    void setTargetMatrix(const float* matrix) override;
    void setTarget(float x, float y, float z, float w) override { m_Target.set(x, y, z, w); }
    void setTarget(const SinewQuaternion& target) override;
    const SinewQuaternion& getTarget() const override { return m_Target; }
    void setLocalAxis(float x, float y, float z) override;
    const SinewVector& getLocalAxis() const override { return m_LocalAxis; }
    void setAimDirection(float x, float y, float z) override;
    const SinewVector& getAimDirection() const override { return m_AimDirection; }
    void setAimMode(bool on) override { m_AimMode = on; }
    bool getAimMode() const override { return m_AimMode; }

    void setFastPath(bool on) override { m_FastPath = on && m_RowCount == 3; }
    void computeRows(std::uint32_t columns, std::uint32_t rows) override;
    void updateError() override;
    void setTargetFromPose() override { m_Target = m_Segment->world().rotation; }
    OrientationTask* asOrientationTask() override { return this; }

private:
    SinewVector generalError() const;
    void clearRows(std::uint32_t columns);

    SinewQuaternion m_Target;
    SinewVector m_LocalAxis; ///< unit unless zero
    SinewVector m_AimDirection;
    SinewMatrix m_TargetMatrix; ///< as given through `setTargetMatrix`; nothing aims at it
    bool m_AimMode = false;
};

} // namespace Sinew
