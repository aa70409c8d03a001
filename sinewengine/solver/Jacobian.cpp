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
SINEW_KIT Lanes cells(const float* row, std::uint32_t column, const Mask* mask)
{
    const Lanes v = loadLanes(row + column);
    if constexpr (Exact)
        return v;
    else
        return keepBits(v, *mask);
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTimes(const float* const* rows, const std::uint32_t* blocks, const Mask* masks,
                          std::uint32_t count, const float* a, float* outA)
{
    Lanes sum[N];
    for (std::uint32_t k = 0; k < N; ++k)
        sum[k] = zeroLanes();
    for (std::uint32_t i = 0; i < count; ++i) {
        const Lanes x = loadLanes(a + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k)
            sum[k] += cells<Exact>(rows[k], blocks[i], masks + k * count + i) * x;
    }
    for (std::uint32_t k = 0; k < N; ++k)
        outA[k] = sumLanes(sum[k]);
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTimesTwo(const float* const* rows, const std::uint32_t* blocks, const Mask* masks,
                             std::uint32_t count, const float* a, const float* b, float* outA, float* outB)
{
    Lanes sumA[N], sumB[N];
    for (std::uint32_t k = 0; k < N; ++k)
        sumA[k] = sumB[k] = zeroLanes();
    for (std::uint32_t i = 0; i < count; ++i) {
        const Lanes x = loadLanes(a + blocks[i]), y = loadLanes(b + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(rows[k], blocks[i], masks + k * count + i);
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
SINEW_KIT void groupTransposed(const float* const* rows, const std::uint32_t* blocks, const Mask* masks,
                               std::uint32_t count, const float* a, float* outA)
{
    Lanes x[N];
    for (std::uint32_t k = 0; k < N; ++k)
        x[k] = splat(a[k]);
    for (std::uint32_t i = 0; i < count; ++i) {
        Lanes sum = loadLanes(outA + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k)
            sum += cells<Exact>(rows[k], blocks[i], masks + k * count + i) * x[k];
        storeLanes(outA + blocks[i], sum);
    }
}

template <std::uint32_t N, bool Exact>
SINEW_KIT void groupTransposedTwo(const float* const* rows, const std::uint32_t* blocks, const Mask* masks,
                                  std::uint32_t count, const float* a, const float* b, float* outA,
                                  float* outB)
{
    Lanes x[N], y[N];
    for (std::uint32_t k = 0; k < N; ++k) {
        x[k] = splat(a[k]);
        y[k] = splat(b[k]);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        Lanes sumA = loadLanes(outA + blocks[i]), sumB = loadLanes(outB + blocks[i]);
        for (std::uint32_t k = 0; k < N; ++k) {
            const Lanes j = cells<Exact>(rows[k], blocks[i], masks + k * count + i);
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
    m_Groups = allocateArray<RowGroup>(m_RowStride);
}

void Jacobian::release()
{
    alignedFree(m_Jacobian);
    alignedFree(m_JacobianRows);
    alignedFree(m_RowBlocks);
    alignedFree(m_BlockMasks);
    alignedFree(m_Groups);
    m_Jacobian = nullptr;
    m_JacobianRows = nullptr;
    m_RowBlocks = nullptr;
    m_BlockMasks = nullptr;
    m_Groups = nullptr;
    m_GroupCount = m_BlockCount = m_ListCapacity = 0;
}

void Jacobian::clearForPattern()
{
    std::memset(m_Jacobian, 0, std::size_t{m_RowCapacity} * m_ColumnCapacity * sizeof(float));
}

void Jacobian::listBlocks(std::uint32_t rowCount, std::uint32_t columnCount, bool exact)
{
    m_Exact = exact;
    m_GroupCount = 0;
    const auto isListed = [&](std::uint32_t r, std::uint32_t block) {
        for (std::uint32_t c = block; c < block + 4 && c < columnCount; ++c)
            if (m_JacobianRows[r][c] < 0.0f || m_JacobianRows[r][c] > 0.0f)
                return true;
        return false;
    };
    const auto equalLists = [&](std::uint32_t r, std::uint32_t s) {
        for (std::uint32_t block = 0; block < columnCount; block += 4)
            if (isListed(r, block) != isListed(s, block))
                return false;
        return true;
    };

    // Every row has an entry of its own in the masks, grouped or not, so the list is as long as the blocks.
    m_BlockCount = 0;
    for (std::uint32_t r = 0; r < rowCount; ++r)
        for (std::uint32_t block = 0; block < columnCount; block += 4)
            m_BlockCount += isListed(r, block);
    if (m_BlockCount > m_ListCapacity) {
        alignedFree(m_RowBlocks);
        alignedFree(m_BlockMasks);
        m_RowBlocks = allocateArray<std::uint32_t>(m_BlockCount);
        m_BlockMasks = allocateArray<Mask>(m_BlockCount);
        m_ListCapacity = m_BlockCount;
    }

    std::uint32_t next = 0;
    for (std::uint32_t r = 0; r < rowCount;) {
        RowGroup group{r, 1, next, 0};
        while (group.rowCount < 3 && r + group.rowCount < rowCount && equalLists(r, r + group.rowCount))
            ++group.rowCount;
        for (std::uint32_t block = 0; block < columnCount; block += 4)
            if (isListed(r, block))
                m_RowBlocks[group.firstBlock + group.blockCount++] = block;
        for (std::uint32_t k = 0; k < group.rowCount; ++k)
            for (std::uint32_t i = 0; i < group.blockCount; ++i) {
                const std::uint32_t block = m_RowBlocks[group.firstBlock + i];
                std::int32_t bits[4];
                for (std::uint32_t c = 0; c < 4; ++c) {
                    const float value = block + c < columnCount ? m_JacobianRows[r + k][block + c] : 0.0f;
                    bits[c] = value < 0.0f || value > 0.0f ? -1 : 0;
                }
                m_BlockMasks[group.firstBlock + k * group.blockCount + i] =
                    makeMask(bits[0], bits[1], bits[2], bits[3]);
            }
        next += group.rowCount * group.blockCount;
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
                             m_BlockMasks + g.firstBlock, g.blockCount, x, out + g.firstRow);
    });
}

void Jacobian::multiplyTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTimesTwo<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                m_BlockMasks + g.firstBlock, g.blockCount, a, b, outA + g.firstRow,
                                outB + g.firstRow);
    });
}

void Jacobian::addTransposed(const float* x, float* out) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTransposed<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                  m_BlockMasks + g.firstBlock, g.blockCount, x + g.firstRow, out);
    });
}

void Jacobian::addTransposedTwo(const float* a, const float* b, float* outA, float* outB) const
{
    forEachGroup([&]<std::uint32_t N, bool Exact>(const RowGroup& g) {
        groupTransposedTwo<N, Exact>(m_JacobianRows + g.firstRow, m_RowBlocks + g.firstBlock,
                                     m_BlockMasks + g.firstBlock, g.blockCount, a + g.firstRow,
                                     b + g.firstRow, outA, outB);
    });
}

} // namespace Sinew
