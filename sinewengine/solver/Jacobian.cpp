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

/// A bit for each cell of a block that is below or above 0; padding columns are 0.
unsigned nonZeroCells(const float* block)
{
    return laneBits(laneLess(zeroLanes(), laneAbs(loadLanes(block))));
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

/// N rows with equal block lists, and what was in the pattern of each of their blocks.
struct RowsInStep {
    const float* const* rows;
    const std::uint32_t* blocks;
    const std::uint8_t* patterns;
    std::uint32_t count;
};

/// Dots each of N rows with each of V vectors.
template <std::uint32_t N, std::uint32_t V, bool Exact>
SINEW_KIT void dotRows(const RowsInStep& g, const float* const (&x)[V], float* const (&out)[V])
{
    Lanes sums[V][N];
    for (auto& sum : sums)
        for (Lanes& s : sum)
            s = zeroLanes();
    for (std::uint32_t i = 0; i < g.count; ++i) {
        const std::uint32_t block = g.blocks[i];
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(g.rows[k], block, g.patterns[k * g.count + i]);
            for (std::uint32_t v = 0; v < V; ++v)
                sums[v][k] += j * loadLanes(x[v] + block);
        }
    }
    for (std::uint32_t v = 0; v < V; ++v)
        for (std::uint32_t k = 0; k < N; ++k)
            out[v][k] = sumLanes(sums[v][k]);
}

/// Adds each of N rows, scaled by its entry of each of V vectors, to the columns.
template <std::uint32_t N, std::uint32_t V, bool Exact>
SINEW_KIT void addRows(const RowsInStep& g, const float* const (&x)[V], float* const (&out)[V])
{
    Lanes scales[V][N];
    for (std::uint32_t v = 0; v < V; ++v)
        for (std::uint32_t k = 0; k < N; ++k)
            scales[v][k] = splat(x[v][k]);
    for (std::uint32_t i = 0; i < g.count; ++i) {
        const std::uint32_t block = g.blocks[i];
        Lanes sums[V];
        for (std::uint32_t v = 0; v < V; ++v)
            sums[v] = loadLanes(out[v] + block);
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(g.rows[k], block, g.patterns[k * g.count + i]);
            for (std::uint32_t v = 0; v < V; ++v)
                sums[v] += j * scales[v][k];
        }
        for (std::uint32_t v = 0; v < V; ++v)
            storeLanes(out[v] + block, sums[v]);
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

/// Calls visit.operator()<rows of the group, exact>(rows, first row), so that the inner loops have constant
/// bounds.
template <class Visit>
void Jacobian::forEachGroup(Visit visit) const
{
    const auto walk = [&]<bool Exact>() {
        for (const RowGroup *g = m_Groups, *end = m_Groups + m_GroupCount; g != end; ++g) {
            const RowsInStep rows{m_JacobianRows + g->firstRow, m_RowBlocks + g->firstBlock,
                                  m_BlockCells + g->firstBlock, g->blockCount};
            if (g->rowCount == 3)
                visit.template operator()<3, Exact>(rows, g->firstRow);
            else if (g->rowCount == 2)
                visit.template operator()<2, Exact>(rows, g->firstRow);
            else
                visit.template operator()<1, Exact>(rows, g->firstRow);
        }
    };
    if (m_Exact)
        walk.template operator()<true>();
    else
        walk.template operator()<false>();
}

void Jacobian::multiply(const float* x, float* out) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowsInStep& rows, std::uint32_t first) {
        dotRows<N, 1, Exact>(rows, {x}, {out + first});
    });
}

void Jacobian::multiplyTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowsInStep& rows, std::uint32_t first) {
        dotRows<N, 2, Exact>(rows, {a, b}, {outA + first, outB + first});
    });
}

void Jacobian::addTransposed(const float* x, float* out) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowsInStep& rows, std::uint32_t first) {
        addRows<N, 1, Exact>(rows, {x + first}, {out});
    });
}

void Jacobian::addTransposedTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowsInStep& rows, std::uint32_t first) {
        addRows<N, 2, Exact>(rows, {a + first, b + first}, {outA, outB});
    });
}

} // namespace Sinew
