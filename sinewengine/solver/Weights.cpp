// SPDX-License-Identifier: MIT
// The arrays of the iteration, and the weights and damping of rows and columns.
#include "kit/Trigonometry.h"
#include "solver/IKSolverState.h"

#include <initializer_list>

namespace Sinew {

namespace {

/// Height of a figure of one bone, and of any figure without a length of its own: weights stay finite.
constexpr float kOneBoneHeight = 26.737968f;
constexpr float kRowUnit = 0.018181818f; // 1/55
constexpr float kSizeUnit = 0.0612f; // height times this is the figure's size in reference units

} // namespace

float IKSolverState::scaleHeight() const { return m_FigureHeight > 0.0f ? m_FigureHeight : kOneBoneHeight; }

void IKSolverState::allocateArrays()
{
    releaseArrays();
    m_Jacobian.allocate(m_RowCapacity, m_ColumnCapacity);
    // Whole blocks of 32 floats keep every vector on a 128-byte boundary, with a spare block behind the last
    // lane.
    const std::size_t columns = (m_ColumnCapacity + 4 + 31) / 32 * 32,
                      rows = (m_RowCapacity + 4 + 31) / 32 * 32;
    m_ArrayBlock =
        static_cast<float*>(alignedAlloc((5 * columns + 8 * rows) * sizeof(float), kEngineAlignment));
    float* next = m_ArrayBlock;
    for (float** vector :
         {&m_SecondaryMotion, &m_ColumnWeights, &m_JointStep, &m_PrimaryStep, &m_SecondaryStep}) {
        *vector = next;
        next += columns;
    }
    for (float** vector : {&m_RowWeights, &m_RowDamping, &m_TaskError, &m_PrimaryDual, &m_SecondaryDual,
                           &m_SecondaryRows, &m_RowScratchA, &m_RowScratchB}) {
        *vector = next;
        next += rows;
    }
    for (std::uint32_t r = 0; r < m_RowCapacity; ++r)
        m_RowDamping[r] = m_TaskPrecision;
    for (std::uint32_t c = 0; c < m_ColumnCapacity; ++c)
        m_ColumnWeights[c] = 1.0f;
    updateScaleConstants();
    m_ArraysAllocated = true;
}

void IKSolverState::releaseArrays()
{
    m_Jacobian.release();
    alignedFree(m_ArrayBlock);
    m_ArrayBlock = nullptr;
}

// Length rows scale with the inverse square of the figure's size, angle rows don't.

void IKSolverState::updateRowWeights(const Task& task)
{
    const std::uint32_t first = task.getFirstRow();
    if (first == kNoRow || !m_RowWeights)
        return;
    const float s = task.isBalanceTask() || task.isPositionTask()
        ? ((kRowUnit / square(scaleHeight() * kSizeUnit)) * m_PrecisionUnit)
            * (m_LengthRowGain * m_PCoefficient)
        : (m_AngleRowGain * m_PCoefficient) * (m_PrecisionUnit * kRowUnit);
    for (std::uint32_t k = 0; k < task.getRowCount() && first + k < m_RowCapacity; ++k)
        m_RowWeights[first + k] = s * task.getAxisWeight(k);
}

void IKSolverState::updateRowDamping(const Task& task)
{
    const std::uint32_t first = task.getFirstRow();
    if (first == kNoRow || !m_RowDamping)
        return;
    for (std::uint32_t k = 0; k < task.getRowCount() && first + k < m_RowCapacity; ++k)
        m_RowDamping[first + k] = m_TaskPrecision / task.getAxisPrecision(k);
}

void IKSolverState::updateMomentWeights()
{
    if (!m_BalanceTask || !m_BalanceTask->momentRows() || !m_RowWeights || m_RowCapacity < 3)
        return;
    // A figure without mass has no moments to hold.
    const float perMass = m_TotalMass != 0.0f ? 80.0f / m_TotalMass : 0.0f;
    const float w = (square(perMass) * m_MomentsWeight) * (square(13.428402f / scaleHeight()) * 2e-9f);
    for (std::uint32_t k = 1; k <= 3; ++k)
        m_RowWeights[m_RowCapacity - k] = w;
}

void IKSolverState::updateMomentDamping()
{
    if (!m_BalanceTask || !m_BalanceTask->momentRows() || !m_RowDamping || m_RowCapacity < 3)
        return;
    for (std::uint32_t k = 1; k <= 3; ++k)
        m_RowDamping[m_RowCapacity - k] = m_MomentsDamping;
}

void IKSolverState::updateColumnWeights(const Segment& bone)
{
    if (!m_ArraysAllocated)
        return;
    std::uint32_t column = bone.getFirstColumn();
    for (std::uint32_t i = 0; i < 6 && column < m_Columns; ++i) {
        if (!bone.isDofActive(i))
            continue;
        m_ColumnWeights[column++] = i < 3
            ? bone.getWeight(i)
            : (m_TranslationColumnScale * bone.getWeight(i)) * m_RootTranslationWeight;
    }
}

void IKSolverState::updateScaleConstants()
{
    const float t = scaleHeight() * 3.366f;
    const double size = static_cast<double>(t * 0.011111111f);
    m_TranslationColumnScale = static_cast<float>((size * size) * 10.0);
    m_StretchPullGain = static_cast<float>(power(90.0 / static_cast<double>(t), 0.1) * 0.001);
}

/// Lets row weights follow when a task reaches more than twice as far as the figure is high.
void IKSolverState::adaptToReach()
{
    const float height = scaleHeight();
    if (m_ReachEstimate == 0.0f || !(std::fabs(m_ReachEstimate - height) > height))
        return;
    m_FigureHeight = m_ReachEstimate;
    updateScaleConstants();
    for (Task* task : m_Tasks)
        updateRowWeights(*task);
    if (m_BalanceTask) {
        if (m_BalanceTask->centreOfMassRows())
            updateRowWeights(*m_BalanceTask);
        updateMomentWeights();
    }
}

/// Whether no cell that is zero in the marked pattern can be written before the pattern is built again.
bool IKSolverState::isPatternExact() const
{
    // Masses may change under a balance task, which then writes columns that it didn't mark, and tasks may
    // add their forces to its rows.
    if (!m_PatternExact || m_BalanceTask)
        return false;
    // A root that translates on some axes only writes all three on the fast path.
    std::uint32_t translations = 0;
    for (std::uint32_t i = 3; i < 6; ++i)
        translations += m_RootBone->isDofActive(i);
    if (translations == 1 || translations == 2)
        return false;
    // Rows of inactive axes and of tasks without position rows are filled as well, and may carry old marks.
    for (const Task* task : m_Tasks)
        if (task->getActiveDofCount() != task->getRowCount()
            || (!task->isPositionTask() && !task->isOrientationTask()))
            return false;
    return true;
}

void IKSolverState::rebuildPattern()
{
    if (!m_ArraysAllocated)
        return;
    m_Jacobian.clearForPattern();
    for (Task* task : m_Tasks)
        if (task->isActive())
            task->markPattern(m_Columns, m_Rows);
    if (m_BalanceTask && m_BalanceTask->isActive())
        m_BalanceTask->markPattern(m_Columns, m_Rows);
    m_Jacobian.listBlocks(m_Rows, isPatternExact());
    m_PatternDirty = 0;
}

} // namespace Sinew
