// SPDX-License-Identifier: MIT
// Errors and Jacobian columns of a position task.
#include "tasks/PositionTask.h"

#include "solver/IKSolverState.h"
#include "tasks/OrientationTask.h"

namespace Sinew {

namespace {

/// The matrix n n^T applied to v.
SinewVector projectOnto(SinewVector n, SinewVector v)
{
    return SinewVector(dot(n * n.x(), v), dot(n * n.y(), v), dot(n * n.z(), v));
}

} // namespace

PositionTask::PositionTask(std::uint32_t creationDepth, Segment* segment) : Task(creationDepth, segment, true)
{
}

void PositionTask::markZmp()
{
    if (isBound())
        m_Binding.solver->markZmpDirty();
}

void PositionTask::setForce(float x, float y, float z)
{
    m_Force.set(x, y, z);
    markZmp();
}

void PositionTask::setPositionRows(bool on)
{
    if (on != m_PositionRows)
        markPatternDirty();
    m_PositionRows = on;
    markZmp();
}

void PositionTask::setForceTask(bool force, bool reaction)
{
    m_ForceTask = force;
    m_ReactionTask = reaction;
    m_ForceRows = force && m_BalanceMoments;
    markZmp();
}

void PositionTask::setForceShare(float share)
{
    m_ForceShare = share;
    markZmp();
}

void PositionTask::setBalanceMoments(bool on)
{
    m_BalanceMoments = on;
    m_ForceRows = m_ForceTask && on;
}

SinewVector& PositionTask::computeMoment(SinewVector& out)
{
    out = cross(m_Force, m_Segment->getGlobalPosition());
    return out;
}

void PositionTask::computeRows(std::uint32_t columns, std::uint32_t rows)
{
    SinewVector point = m_Segment->getGlobalPosition();
    if (!m_PositionRows) {
        m_Binding.solver->raiseReach(m_Segment->chainLength());
    } else {
        point = evaluateError();
        for (std::uint32_t k = 0; k < m_RowCount; ++k)
            m_Binding.taskError[m_FirstRow + k] = m_Error[k];
    }
    if (m_FastPath)
        computeColumnsFast(point, columns);
    else
        computeColumns(point, columns, rows);
}

/// Sets `m_Error` and returns the point that the columns turn about the bones' origins.
SinewVector PositionTask::evaluateError()
{
    const Placement& frame = m_Segment->world();
    if (m_PoleVector) {
        m_Error = poleError();
        return frame.position;
    }
    m_Binding.solver->raiseReach(m_OffsetLength + m_Segment->chainLength());
    SinewVector point = frame.position;
    if (m_OffsetLength != 0.0f)
        point = point + rotate(frame.rotation, m_Offset);
    if (!m_FastPath)
        point += m_Binding.solver->balanceOffset();
    if (m_PlaneTarget) {
        const SinewVector correction = planeCorrection(m_Target);
        m_Error = (m_Target - point) - correction;
    } else if (m_PlaneConstraint) {
        m_Error = SinewVector() - planeCorrection(point);
    } else {
        m_Error = m_Target - point;
    }
    return point;
}

/// The part of the way to the target that is normal to the plane of parent, bone and first child, shrunk by
/// the square of the sine of the angle between them; 0 where the chain is too straight to have a plane.
SinewVector PositionTask::poleError() const
{
    const Segment *parent = m_Segment->getParent(), *child = m_Segment->getFirstChild();
    if (!parent || !child)
        return SinewVector();
    const SinewVector origin = m_Segment->getGlobalPosition();
    SinewVector a = origin - parent->getGlobalPosition(), b = child->getGlobalPosition() - origin;
    const float aLength = length(a), bLength = length(b);
    if (isNearZero(aLength) || isNearZero(bLength))
        return SinewVector();
    a *= 1.0f / aLength;
    b *= 1.0f / bLength;
    if (dot(a, b) > 0.98875f)
        return SinewVector();
    const SinewVector way = (m_Target - origin) - m_Binding.solver->balanceOffset();
    return projectOnto(cross(a, b), way);
}

/// The vector by which `x` lies behind the plane, or zero; the first contact of a solve triggers the
/// follower.
SinewVector PositionTask::planeCorrection(SinewVector x)
{
    const SinewVector d = x - m_PlanePoint;
    const float distance = length(d);
    if (isNearZero(distance))
        return SinewVector();
    const float normalLength = length(m_PlaneNormal);
    if (isNearZero(normalLength))
        return SinewVector();
    m_PlaneNormal *= 1.0f / normalLength;
    if (dot(d * (1.0f / distance), m_PlaneNormal) >= 0.0f)
        return SinewVector();
    if (m_Follower && !m_Follower->followTrigger()) {
        if (OrientationTask* follower = m_Follower->asOrientationTask())
            follower->setAimDirection(m_PlaneNormal.x(), m_PlaneNormal.y(), m_PlaneNormal.z());
        m_Follower->setFollowTrigger();
    }
    return projectOnto(m_PlaneNormal, d);
}

// A rotational column is the velocity of the point for a unit rotation about local axis a through the bone's
// origin: r x U[a] with r = origin - point. With the axes' components side by side (C[k][a] = U[a][k]), the
// three columns of a bone come out as three lanes of each row.

void PositionTask::computeColumns(SinewVector point, std::uint32_t columns, std::uint32_t rows)
{
    const bool forceRows = m_ForceRows && m_Binding.solver->hasBalanceTask() && rows >= 3;
    std::uint32_t count = 0;
    for (const Segment* bone = m_Segment; bone && count < m_Depth; bone = bone->getParent(), ++count) {
        if (!bone->isActive())
            continue;
        const SinewVector r = bone->getGlobalPosition() - point;
        const SinewVector* axes = bone->worldAxes();
        std::uint32_t column = bone->getFirstColumn();
        for (std::uint32_t a = 0; a < 3 && column < columns; ++a) {
            if (!bone->isDofActive(a))
                continue;
            const SinewVector j = cross(r, SinewVector(axes[0][a], axes[1][a], axes[2][a]));
            if (m_PositionRows)
                for (std::uint32_t k = 0; k < m_RowCount; ++k)
                    jacobianRow(k)[column] = j[k];
            if (forceRows) {
                const SinewVector g = cross(j, m_Force);
                for (std::uint32_t k = 0; k < m_RowCount; ++k)
                    m_Binding.jacobianRows[rows - 3 + k][column] += g[k];
            }
            ++column;
        }
        if (!bone->isTranslational() || !m_PositionRows)
            continue;
        for (std::uint32_t a = 0; a < 3 && column < columns; ++a) {
            if (!bone->isDofActive(a + 3))
                continue;
            for (std::uint32_t k = 0; k < m_RowCount; ++k)
                jacobianRow(k)[column] = axes[k][a];
            ++column;
        }
    }
}

void PositionTask::computeColumnsFast(SinewVector point, std::uint32_t columns)
{
    float *rowX = jacobianRow(0), *rowY = jacobianRow(1), *rowZ = jacobianRow(2);
    std::uint32_t count = 0;
    for (const Segment* bone = m_Segment; bone && count < m_Depth; bone = bone->getParent(), ++count) {
        std::uint32_t column = bone->getFirstColumn();
        if (!bone->isActive() || column + 3 > columns)
            continue;
        const SinewVector r = bone->getGlobalPosition() - point;
        const SinewVector* axes = bone->worldAxes();
        const Lanes x = swizzle<0, 0, 0, 0>(r.lanes), y = swizzle<1, 1, 1, 1>(r.lanes),
                    z = swizzle<2, 2, 2, 2>(r.lanes);
        storeThree(rowX + column, y * axes[2].lanes - z * axes[1].lanes);
        storeThree(rowY + column, z * axes[0].lanes - x * axes[2].lanes);
        storeThree(rowZ + column, x * axes[1].lanes - y * axes[0].lanes);
        column += 3;
        // Only the root translates here; its flags aren't checked.
        if (m_PositionRows && bone->isTranslational() && !bone->getParent()) {
            for (std::uint32_t a = 0; a < 3 && column < columns; ++a, ++column) {
                rowX[column] = axes[0][a];
                rowY[column] = axes[1][a];
                rowZ[column] = axes[2][a];
            }
        }
    }
}

void PositionTask::updateError()
{
    float* error = m_Binding.taskError + m_FirstRow;
    if (!m_Active || !m_PositionRows) {
        for (std::uint32_t k = 0; k < m_RowCount; ++k)
            error[k] = 0.0f;
        return;
    }
    // Active components are packed, until the first `computeRows`.
    m_Error = m_Target - m_Segment->getFramePosition();
    for (std::uint32_t k = 0; k < m_RowCount; ++k)
        if (m_ActiveDof[k])
            *error++ = m_Error[k];
}

void PositionTask::setTargetFromPose()
{
    m_Target = m_Segment->getFramePosition() + m_Binding.solver->balanceOffset();
}

} // namespace Sinew
