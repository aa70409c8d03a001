// SPDX-License-Identifier: MIT
// Errors and Jacobian columns of the balance task.
#include "tasks/BalanceTask.h"

#include "solver/IKSolverState.h"
#include "tasks/PositionTask.h"

namespace Sinew {

BalanceTask::BalanceTask(std::uint32_t creationDepth, Segment* bones, std::uint32_t boneCount,
                         std::uint32_t axis, bool momentRows, bool centreOfMassRows)
    : Task(creationDepth, bones, momentRows || centreOfMassRows),
      m_Bones(bones),
      m_BoneCount(boneCount),
      m_MomentRows(momentRows),
      m_CentreOfMassRows(centreOfMassRows),
      m_GravityDirection(unitAxis(axis))
{
    if (!centreOfMassRows)
        m_RowCount = 0;
    for (std::uint32_t i = 0; i < boneCount && !m_Root; ++i)
        if (!bones[i].getParent())
            m_Root = bones + i;
}

void BalanceTask::setActive(bool on, bool alsoDof)
{
    if (alsoDof)
        for (bool& flag : m_ActiveDof)
            flag = on;
    const bool value = on && (m_MomentRows || m_CentreOfMassRows);
    if (value == m_Active)
        return;
    m_Active = value;
    markPatternDirty();
    publishMoments();
}

void BalanceTask::noteRowsChange()
{
    if (isBound())
        m_Binding.solver->requireSetup();
    markPatternDirty();
}

void BalanceTask::setCentreOfMassRows(bool on)
{
    if (on == m_CentreOfMassRows)
        return;
    noteRowsChange();
    m_RowCount = on ? 3 : 0;
    m_CentreOfMassRows = on;
    m_Active = on || m_MomentRows;
}

void BalanceTask::setMomentRows(bool on)
{
    if (on == m_MomentRows)
        return;
    noteRowsChange();
    m_MomentRows = on;
    m_Active = on || m_CentreOfMassRows;
    publishMoments();
}

void BalanceTask::markZmp()
{
    if (isBound())
        m_Binding.solver->markZmpDirty();
}

void BalanceTask::setFigureWeight(float weight)
{
    m_FigureWeight = weight;
    m_GravityForce = m_GravityDirection * -weight;
    markZmp();
}

void BalanceTask::setGravityDirection(float x, float y, float z)
{
    SinewVector direction(x, y, z);
    const float s = dot(direction, direction);
    if (!(s > 0.0f && s < __builtin_inff()))
        return;
    normalise(direction);
    m_GravityDirection = direction;
    m_GravityForce = m_GravityDirection * -m_FigureWeight;
    markZmp();
}

void BalanceTask::setGravityAxis(std::uint32_t axis)
{
    m_GravityDirection = unitAxis(axis);
    m_GravityForce = m_GravityDirection * -m_FigureWeight;
    markZmp();
}

void BalanceTask::publishMoments()
{
    if (!m_TaskTable)
        return;
    for (std::uint32_t i = 0; i < m_TaskCount; ++i)
        if (m_TaskTable[i]->isPositionTask())
            m_TaskTable[i]->asPositionTask()->setBalanceMoments(m_MomentRows && m_Active);
}

void BalanceTask::bind(const TaskBinding& binding, Task** taskTable, std::uint32_t taskCount)
{
    Task::bind(binding, taskTable, taskCount);
    m_TaskTable = taskTable;
    m_TaskCount = taskCount;
    publishMoments();
}

void BalanceTask::clearErrorRows(std::uint32_t rows)
{
    for (std::uint32_t k = 0; k < 3; ++k) {
        if (m_CentreOfMassRows)
            m_Binding.taskError[m_FirstRow + k] = 0.0f;
        if (m_MomentRows)
            m_Binding.taskError[rows - 3 + k] = 0.0f;
    }
}

SinewVector BalanceTask::centreOfMass() const
{
    return m_Root->getGlobalPosition() + m_Root->getSubtreeCentreOffset();
}

void BalanceTask::computeRows(std::uint32_t columns, std::uint32_t rows)
{
    if (!m_Root)
        return;
    const SinewVector c = centreOfMass();
    if (m_CentreOfMassRows) {
        const SinewVector e = m_RelativeToRoot ? m_Target - m_Root->getSubtreeCentreOffset()
                                               : (m_Target - c) - m_Binding.solver->zmp();
        for (std::uint32_t k = 0; k < m_RowCount; ++k)
            m_Binding.taskError[m_FirstRow + k] = e[k];
    }
    if (m_MomentRows) {
        SinewVector g = cross(m_GravityForce, c), moment;
        for (std::uint32_t i = 0; m_TaskTable && i < m_TaskCount; ++i)
            if (m_TaskTable[i]->isActive() && m_TaskTable[i]->isForceTask())
                g += m_TaskTable[i]->asPositionTask()->computeMoment(moment);
        for (std::uint32_t k = 0; k < 3; ++k)
            m_Binding.taskError[rows - 3 + k] = g[k];
    }

    float* const* centre = m_CentreOfMassRows ? m_Binding.jacobianRows + m_FirstRow : nullptr;
    float* const* moments = m_MomentRows ? m_Binding.jacobianRows + (rows - 3) : nullptr;
    const auto write = [&](std::uint32_t column, SinewVector centreColumn, SinewVector velocity) {
        if (centre)
            for (std::uint32_t k = 0; k < 3; ++k)
                centre[k][column] = centreColumn[k];
        if (moments) {
            const SinewVector m = cross(velocity, m_GravityForce);
            for (std::uint32_t k = 0; k < 3; ++k)
                moments[k][column] = m[k];
        }
    };
    for (std::uint32_t i = 0; i < m_BoneCount; ++i) {
        const Segment& bone = m_Bones[i];
        if (!bone.getFirstChild())
            m_Binding.solver->raiseReach(bone.chainLength());
        if (!bone.isActive())
            continue;
        const SinewVector s = bone.getSubtreeCentreOffset();
        const float f = bone.getMassFraction();
        const SinewVector* axes = bone.worldAxes();
        const auto axis = [&](std::uint32_t a) { return SinewVector(axes[0][a], axes[1][a], axes[2][a]); };
        std::uint32_t column = bone.getFirstColumn();
        for (std::uint32_t a = 0; a < 3 && column < columns; ++a) {
            if (!bone.isDofActive(a))
                continue;
            const SinewVector velocity = cross(axis(a) * f, s);
            write(column++, velocity, velocity);
        }
        if (!bone.isTranslational())
            continue;
        for (std::uint32_t a = 0; a < 3 && column < columns; ++a) {
            if (!bone.isDofActive(a + 3))
                continue;
            const SinewVector velocity = axis(a) * f;
            write(column++, m_RelativeToRoot && &bone == m_Root ? SinewVector() : velocity, velocity);
        }
    }
}

void BalanceTask::markPattern(std::uint32_t columns, std::uint32_t rows)
{
    for (std::uint32_t b = 0; b < m_BoneCount; ++b) {
        const Segment& bone = m_Bones[b];
        if (!bone.isActive())
            continue;
        std::uint32_t column = bone.getFirstColumn();
        for (std::uint32_t i = 0; i < 6 && column < columns; ++i) {
            if (!bone.isDofActive(i))
                continue;
            for (std::uint32_t k = 0; k < 3; ++k) {
                if (m_CentreOfMassRows && !isZero(bone.getMassFraction()) && m_ActiveDof[k])
                    jacobianRow(k)[column] = 1.0f;
                if (m_MomentRows)
                    m_Binding.jacobianRows[rows - 3 + k][column] = 1.0f;
            }
            ++column;
        }
    }
}

void BalanceTask::setTargetFromPose()
{
    if (m_Root)
        m_Target = (m_Root->getTranslation() + m_Root->getSubtreeCentreOffset()) + m_TargetOffset;
}

SinewVector& BalanceTask::computeMoment(SinewVector& out)
{
    out.zero();
    if (!isBound() || !m_Root)
        return out;
    if (!m_Binding.solver->framesCurrent())
        m_Binding.solver->updateFigure();
    out = cross(centreOfMass(), m_GravityForce);
    SinewVector moment;
    for (std::uint32_t i = 0; m_TaskTable && i < m_TaskCount; ++i)
        if (m_TaskTable[i]->isActive() && m_TaskTable[i]->isForceTask())
            out += m_TaskTable[i]->asPositionTask()->computeMoment(moment) * -1.0f;
    return out;
}

} // namespace Sinew
