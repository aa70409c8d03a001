// SPDX-License-Identifier: MIT
// The common part of all tasks.
#include "tasks/Task.h"

#include "solver/IKSolverState.h"

namespace Sinew {

Task::Task(std::uint32_t creationDepth, Segment* segment, bool active)
    : m_CreationDepth(creationDepth), m_Active(active), m_Segment(segment)
{
}

std::uint32_t Task::getActiveDofCount() const
{
    return static_cast<std::uint32_t>(m_ActiveDof[0]) + m_ActiveDof[1] + m_ActiveDof[2];
}

void Task::markPatternDirty()
{
    if (m_Binding.patternDirty)
        *m_Binding.patternDirty = 1;
}

void Task::setDepth(std::uint32_t depth)
{
    m_Depth = depth;
    markPatternDirty();
}

void Task::setWeight(float weight)
{
    m_Weight = weight;
    for (float& w : m_AxisWeight)
        w = weight;
    if (isBound())
        m_Binding.solver->updateRowWeights(*this);
}

void Task::setAxisWeight(std::uint32_t axis, float weight)
{
    if (axis > 2)
        return;
    m_AxisWeight[axis] = weight;
    if (isBound())
        m_Binding.solver->updateRowWeights(*this);
}

void Task::setPrecision(float precision)
{
    for (float& p : m_AxisPrecision)
        p = clamp(precision, 0.001f, 2.0f);
    if (isBound())
        m_Binding.solver->updateRowDamping(*this);
}

void Task::setAxisPrecision(std::uint32_t axis, float precision)
{
    if (axis > 2)
        return;
    m_AxisPrecision[axis] = clamp(precision, 0.001f, 2.0f);
    if (isBound())
        m_Binding.solver->updateRowDamping(*this);
}

void Task::setActive(bool on, bool alsoDof)
{
    if (alsoDof)
        for (bool& flag : m_ActiveDof)
            flag = on;
    if (on != m_Active) {
        m_Active = on;
        markPatternDirty();
    }
}

void Task::setActiveDof(bool x, bool y, bool z)
{
    if (m_ActiveDof[0] == x && m_ActiveDof[1] == y && m_ActiveDof[2] == z)
        return;
    m_ActiveDof[0] = x;
    m_ActiveDof[1] = y;
    m_ActiveDof[2] = z;
    markPatternDirty();
    setActive(x || y || z, false);
}

void Task::setTracksRetarget(bool on, int chainCount)
{
    m_TracksRetarget = on;
    Segment* bone = m_Segment;
    for (int i = 0; i < chainCount && bone; ++i, bone = bone->getParent()) {
        if (on)
            bone->setRetargeting(true, true);
        else
            bone->enableLimits(true);
    }
}

void Task::markPattern(std::uint32_t columns, std::uint32_t)
{
    const bool orientation = isOrientationTask();
    if (!orientation && !isPositionTask())
        return;
    const std::uint32_t freedoms = orientation ? 3 : 6;
    std::uint32_t count = 0;
    for (const Segment* bone = m_Segment; bone && count < m_Depth; bone = bone->getParent(), ++count) {
        if (!bone->isActive())
            continue;
        std::uint32_t column = bone->getFirstColumn();
        for (std::uint32_t i = 0; i < freedoms && column < columns; ++i) {
            if (!bone->isDofActive(i))
                continue;
            for (std::uint32_t k = 0; k < m_RowCount; ++k)
                if (m_ActiveDof[k])
                    jacobianRow(k)[column] = 1.0f;
            ++column;
        }
    }
}

void Task::bind(const TaskBinding& binding, Task**, std::uint32_t) { m_Binding = binding; }

void Task::setFirstRow(std::uint32_t row)
{
    m_FirstRow = row;
    m_Id = row / 3;
}

void Task::follow(Task* other)
{
    if (m_Followed)
        m_Followed->m_Follower = nullptr;
    m_Follows = true;
    m_Followed = other;
    other->m_Follower = this;
}

void Task::unfollow()
{
    if (m_Followed)
        m_Followed->m_Follower = nullptr;
    m_Followed = nullptr;
    m_Follows = false;
}

void Task::forget(const Task* other)
{
    if (m_Followed == other) {
        m_Followed = nullptr;
        m_Follows = false;
    }
    if (m_Follower == other)
        m_Follower = nullptr;
}

} // namespace Sinew
