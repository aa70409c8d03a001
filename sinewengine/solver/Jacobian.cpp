// SPDX-License-Identifier: MIT
// Block lists of the Jacobian and its two products.
#include "solver/Jacobian.h"

#include <sinew/Allocator.h>

#include <cstring>

namespace Sinew {

namespace {

template <class T>
T* allocateArray(std::size_t count)
{
    return static_cast<T*>(alignedAlloc(count * sizeof(T), kEngineAlignment));
}

/// A block of the matrix, with the cells that were not in the pattern as zero.
template <bool Exact>
SINEW_KIT Lanes cells(const float* row, std::uint32_t column, unsigned pattern)
{
    const Lanes v = loadLanes(row + column);
    if constexpr (Exact)
        return v;
    else
        return keepBits(v, maskFromBits(pattern));
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTimes(const float* const* rows, const std::uint32_t* blocks, const std::uint8_t* patterns,
                          std::uint32_t count, const float* a, float* outA)
{
    Lanes sum[N];
    for (std::uint32_t k = 0; k < N; ++k)
        sum[k] = zeroLanes();
    for (std::uint32_t i = 0; i < count; ++i) {
        const Lanes x = loadLanes(a + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k)
            sum[k] += cells<Exact>(rows[k], blocks[i], patterns[k * count + i]) * x;
    }
    for (std::uint32_t k = 0; k < N; ++k)
        outA[k] = sumLanes(sum[k]);
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTimesTwo(const float* const* rows, const std::uint32_t* blocks,
                             const std::uint8_t* patterns, std::uint32_t count, const float* a,
                             const float* b, float* outA, float* outB)
{
    Lanes sumA[N], sumB[N];
    for (std::uint32_t k = 0; k < N; ++k)
        sumA[k] = sumB[k] = zeroLanes();
    for (std::uint32_t i = 0; i < count; ++i) {
        const Lanes x = loadLanes(a + blocks[i]), y = loadLanes(b + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(rows[k], blocks[i], patterns[k * count + i]);
            sumA[k] += j * x;
            sumB[k] += j * y;
        }
    }
    for (std::uint32_t k = 0; k < N; ++k) {
        outA[k] = sumLanes(sumA[k]);
        outB[k] = sumLanes(sumB[k]);
    }
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTransposed(const float* const* rows, const std::uint32_t* blocks,
                               const std::uint8_t* patterns, std::uint32_t count, const float* a, float* outA)
{
    Lanes x[N];
    for (std::uint32_t k = 0; k < N; ++k)
        x[k] = splat(a[k]);
    for (std::uint32_t i = 0; i < count; ++i) {
        Lanes sum = loadLanes(outA + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k)
            sum += cells<Exact>(rows[k], blocks[i], patterns[k * count + i]) * x[k];
        storeLanes(outA + blocks[i], sum);
    }
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTransposedTwo(const float* const* rows, const std::uint32_t* blocks,
                                  const std::uint8_t* patterns, std::uint32_t count, const float* a,
                                  const float* b, float* outA, float* outB)
{
    Lanes x[N], y[N];
    for (std::uint32_t k = 0; k < N; ++k) {
        x[k] = splat(a[k]);
        y[k] = splat(b[k]);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        Lanes sumA = loadLanes(outA + blocks[i]), sumB = loadLanes(outB + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(rows[k], blocks[i], patterns[k * count + i]);
            sumA += j * x[k];
            sumB += j * y[k];
        }
        storeLanes(outA + blocks[i], sumA);
        storeLanes(outB + blocks[i], sumB);
    }
}

} // namespace

void Jacobian::allocate(std::uint32_t rowCapacity, std::uint32_t columnCapacity)
{
    release();
    m_RowCapacity = rowCapacity;
    m_ColumnCapacity = columnCapacity;
    m_ColumnStride = (columnCapacity + 4) & ~3u;
    m_RowStride = (rowCapacity + 4) & ~3u;
    m_Jacobian = allocateArray<float>(std::size_t{m_ColumnStride} * m_RowStride);
    m_JacobianRows = allocateArray<float*>(m_RowStride);
    for (std::uint32_t r = 0; r < m_RowStride; ++r)
        m_JacobianRows[r] = m_Jacobian + std::size_t{r} * m_ColumnStride;
    // As long as it can get, so that a pattern that grows within its dimensions allocates nothing.
    const std::size_t blocks = std::size_t{m_RowStride} * (m_ColumnStride / 4);
    m_RowBlocks = allocateArray<std::uint32_t>(blocks);
    m_BlockCells = allocateArray<std::uint8_t>(blocks);
    m_Groups = allocateArray<RowGroup>(m_RowStride);
}

void Jacobian::release()
{
    alignedFree(m_Jacobian);
    alignedFree(m_JacobianRows);
    alignedFree(m_RowBlocks);
    alignedFree(m_BlockCells);
    alignedFree(m_Groups);
    m_Jacobian = nullptr;
    m_JacobianRows = nullptr;
    m_RowBlocks = nullptr;
    m_BlockCells = nullptr;
    m_Groups = nullptr;
    m_GroupCount = m_BlockCount = 0;
}

void Jacobian::clearForPattern()
{
    std::memset(m_Jacobian, 0, std::size_t{m_RowCapacity} * m_ColumnCapacity * sizeof(float));
}

/// A bit for each cell of a block that is below or above 0; padding columns are 0.
static unsigned nonZeroCells(const float* block)
{
    return laneBits(laneLess(zeroLanes(), laneAbs(loadLanes(block))));
}

void Jacobian::listBlocks(std::uint32_t rowCount, bool exact)
{
    m_Exact = exact;
    m_GroupCount = 0;
    m_BlockCount = 0;
    const auto equalLists = [&](std::uint32_t r, std::uint32_t s) {
        for (std::uint32_t block = 0; block < m_ColumnStride; block += 4)
            if ((nonZeroCells(m_JacobianRows[r] + block) == 0)
                != (nonZeroCells(m_JacobianRows[s] + block) == 0))
                return false;
        return true;
    };
    for (std::uint32_t r = 0; r < rowCount;) {
        RowGroup group{r, 1, m_BlockCount, 0};
        while (group.rowCount < 3 && r + group.rowCount < rowCount && equalLists(r, r + group.rowCount))
            ++group.rowCount;
        for (std::uint32_t block = 0; block < m_ColumnStride; block += 4)
            if (nonZeroCells(m_JacobianRows[r] + block))
                m_RowBlocks[m_BlockCount + group.blockCount++] = block;
        for (std::uint32_t k = 0; k < group.rowCount; ++k)
            for (std::uint32_t i = 0; i < group.blockCount; ++i) {
                const float* block = m_JacobianRows[r + k] + m_RowBlocks[group.firstBlock + i];
                m_BlockCells[m_BlockCount++] = static_cast<std::uint8_t>(nonZeroCells(block));
                // An old NaN in the tail counts as zero, and only the masks keep it out of the sums.
                const Lanes v = loadLanes(block);
                m_Exact = m_Exact && laneBits(laneAtMost(v, v)) == 15u;
            }
        r += group.rowCount;
        m_Groups[m_GroupCount++] = group;
    }
}

/// Calls visit.operator()<rows of the group, exact>(group) so that the inner loops have constant bounds.
template <class Visit>
void Jacobian::forEachGroup(Visit visit) const
{
    const auto walk = [&]<bool Exact>() {
        for (const RowGroup *group = m_Groups, *end = m_Groups + m_GroupCount; group != end; ++group) {
            if (group->rowCount == 3)
                visit.template operator()<3, Exact>(*group);
            else if (group->rowCount == 2)
                visit.template operator()<2, Exact>(*group);
            else
                visit.template operator()<1, Exact>(*group);
        }
    };
    if (m_Exact)
        walk.template operator()<true>();
    else
        walk.template operator()<false>();
}

void Jacobian::multiply(const float* x, float* out) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTimes<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                             m_BlockCells + g.firstBlock, g.blockCount, x, out + g.firstRow);
    });
}

void Jacobian::multiplyTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTimesTwo<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                m_BlockCells + g.firstBlock, g.blockCount, a, b, outA + g.firstRow,
                                outB + g.firstRow);
    });
}

void Jacobian::addTransposed(const float* x, float* out) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTransposed<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                  m_BlockCells + g.firstBlock, g.blockCount, x + g.firstRow, out);
    });
}

void Jacobian::addTransposedTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTransposedTwo<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                     m_BlockCells + g.firstBlock, g.blockCount, a + g.firstRow,
                                     b + g.firstRow, outA, outB);
    });
}

} // namespace Sinew
