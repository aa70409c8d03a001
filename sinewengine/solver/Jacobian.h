// SPDX-License-Identifier: MIT
// The Jacobian: a dense row-major matrix of which every product visits only the blocks in the pattern.
#pragma once

#include <sinew/Lanes.h>

#include <cstddef>
#include <cstdint>

namespace Sinew {

/// Rows are task quantities, columns are joint freedoms. A block is four consecutive columns of a row,
/// starting at a multiple of four; padding rows and columns stay zero.
///
/// Both products run over the same list of blocks row by row: J x dots each block with x, and J^T x adds each
/// block, scaled, to its columns. That needs neither a transposed copy nor gathered loads. Rows next to each
/// other with equal lists, as the three of a task have, are walked together. Sums run over columns in
/// ascending blocks and over rows in ascending order, whatever the grouping.
class Jacobian {
public:
    Jacobian() = default;
    Jacobian(const Jacobian&) = delete;
    Jacobian& operator=(const Jacobian&) = delete;
    ~Jacobian() { release(); }

    void allocate(std::uint32_t rowCapacity, std::uint32_t columnCapacity);
    void release();

    float* const* rows() const { return m_JacobianRows; }
    std::uint32_t columnStride() const { return m_ColumnStride; }

    /// Zeroes the first rowCapacity times columnCapacity floats. That count ignores the stride, so marks of
    /// an older pattern may stay in the last rows; this is intended.
    void clearForPattern();
    /// Lists the blocks of the first `rowCount` rows that hold a cell other than zero. `exact` promises that
    /// no cell which is zero now will be written before the next call; otherwise such cells are remembered
    /// and count as zero in the products.
    void listBlocks(std::uint32_t rowCount, bool exact);

    /// Withdraws the promise of `exact`.
    void keepToPattern() { m_Exact = false; }

    /// out = J x.
    void multiply(const float* x, float* out) const;
    /// outA = J a and outB = J b in one walk.
    void multiplyTwo(const float* a, const float* b, float* outA, float* outB) const;
    /// out += J^T x.
    void addTransposed(const float* x, float* out) const;
    /// outA += J^T a and outB += J^T b in one walk.
    void addTransposedTwo(const float* a, const float* b, float* outA, float* outB) const;

    std::uint32_t blockCount() const { return m_BlockCount; }

private:
    /// Up to three rows with equal block lists.
    struct RowGroup {
        std::uint32_t firstRow;
        std::uint32_t rowCount;
        std::uint32_t firstBlock;
        std::uint32_t blockCount;
    };
    template <class Visit>
    void forEachGroup(Visit visit) const;

    float* m_Jacobian = nullptr;
    float** m_JacobianRows = nullptr;
    std::uint32_t* m_RowBlocks = nullptr; ///< column-block starts, row after row
    std::uint8_t* m_BlockCells =
        nullptr; ///< per listed block of each row: a bit for each cell in the pattern
    RowGroup* m_Groups = nullptr;
    std::uint32_t m_GroupCount = 0;
    std::uint32_t m_BlockCount = 0;
    std::uint32_t m_RowCapacity = 0;
    std::uint32_t m_ColumnCapacity = 0;
    std::uint32_t m_ColumnStride = 0; ///< floats per row, always more than the columns
    std::uint32_t m_RowStride = 0; ///< rows stored, always more than the rows in use
    bool m_Exact = true;
};

} // namespace Sinew
