// SPDX-License-Identifier: MIT
// Errors and Jacobian columns of an orientation task.
#include "tasks/OrientationTask.h"

#include "solver/IKSolverState.h"

namespace Sinew {

OrientationTask::OrientationTask(std::uint32_t creationDepth, Segment* segment)
    : Task(creationDepth, segment, true)
{
}

void OrientationTask::setTargetMatrix(const float* m)
{
    if (!m)
        return;
    m_TargetMatrix =
        toColumnMatrix(fromColumnMatrix(makeMatrix(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10])));
}

void OrientationTask::setTarget(const SinewQuaternion& target)
{
    if (!m_AimMode)
        m_Target = target;
}

void OrientationTask::setLocalAxis(float x, float y, float z)
{
    m_LocalAxis.set(x, y, z);
    const float l = length(m_LocalAxis);
    if (!isNearZero(l))
        m_LocalAxis *= 1.0f / l;
}

void OrientationTask::setAimDirection(float x, float y, float z)
{
    m_AimDirection.set(x, y, z);
    if (!m_AimMode)
        return;
    const float a = length(m_LocalAxis), b = length(m_AimDirection);
    if (isNearZero(a) || isNearZero(b)) {
        m_Target = m_Segment->world().rotation;
        return;
    }
    m_AimDirection *= 1.0f / b;
    m_Target = m_Segment->alignAxis(m_LocalAxis, m_AimDirection);
}

/// -sin(theta) times the axis of the rotation from target to pose, from the antisymmetric part of its matrix.
/// It shrinks again beyond a quarter turn and vanishes at a half.
SinewVector OrientationTask::generalError() const
{
    const SinewMatrix r = toColumnMatrix(m_Segment->world().rotation * conj(m_Target));
    return SinewVector(r[2][1] - r[1][2], r[0][2] - r[2][0], r[1][0] - r[0][1]) * -0.5f;
}

/// An untriggered follower asks for nothing. The count ignores the row stride, so the tail of the last rows
/// keeps its values; with the error at 0 they do no harm.
void OrientationTask::clearRows(std::uint32_t columns)
{
    for (std::uint32_t k = 0; k < m_RowCount; ++k)
        m_Binding.taskError[m_FirstRow + k] = 0.0f;
    std::memset(jacobianRow(0), 0, std::size_t{m_RowCount} * columns * sizeof(float));
}

void OrientationTask::computeRows(std::uint32_t columns, std::uint32_t)
{
    if (m_Follows && !m_FollowTrigger)
        return clearRows(columns);

    SinewVector e;
    if (m_FastPath) {
        // Half as large as the general error: orientation tasks pull half as hard on this path.
        const SinewQuaternion q = m_Segment->world().rotation * conj(m_Target);
        e.lanes = clearW(q.lanes * splat(-q.w()));
    } else {
        e = generalError();
    }
    for (std::uint32_t k = 0; k < m_RowCount; ++k)
        m_Binding.taskError[m_FirstRow + k] = e[k];

    std::uint32_t count = 0;
    for (const Segment* bone = m_Segment; bone && count < m_Depth; bone = bone->getParent(), ++count) {
        if (!bone->isActive())
            continue;
        const SinewVector* axes = bone->worldAxes();
        std::uint32_t column = bone->getFirstColumn();
        if (m_FastPath) {
            if (column + 3 > columns)
                continue;
            for (std::uint32_t k = 0; k < 3; ++k)
                storeThree(jacobianRow(k) + column, axes[k].lanes);
            continue;
        }
        for (std::uint32_t a = 0; a < 3 && column < columns; ++a) {
            if (!bone->isDofActive(a))
                continue;
            for (std::uint32_t k = 0; k < m_RowCount; ++k)
                jacobianRow(k)[column] = axes[k][a];
            ++column;
        }
    }
}

void OrientationTask::updateError()
{
    float* error = m_Binding.taskError + m_FirstRow;
    if (!m_Active) {
        for (std::uint32_t k = 0; k < m_RowCount; ++k)
            error[k] = 0.0f;
        return;
    }
    const SinewVector e = generalError();
    for (std::uint32_t k = 0; k < m_RowCount; ++k)
        if (m_ActiveDof[k])
            error[k] = e[k];
}

} // namespace Sinew
