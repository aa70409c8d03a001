// SPDX-License-Identifier: MIT
// A double-precision 4x4 matrix in the row-vector convention: the form in which hosts and the engine meet.
#pragma once

#include <sinew/SinewMatrix.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// 16 doubles, row-major; v' = v M, so a translation stands in the last row (elements 12, 13, 14).
struct Matrix4d {
    double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; ///< row by row; the identity at first

    /// Row 0 to 3, to write: a[r][c].
    double* operator[](std::uint32_t row) { return m + 4 * row; }
    /// Row 0 to 3: a[r][c].
    const double* operator[](std::uint32_t row) const { return m + 4 * row; }

    /// Makes it the identity.
    void setIdentity() { *this = Matrix4d(); }
    /// m = m b: in row vectors, first what was there, then b.
    void multiply(const Matrix4d& b);
    /// Inverse in place; false, and no change, when the magnitude of the determinant is at most 1e-5.
    bool invert();
    /// Upper-left block from nine doubles, row-major, transposing.
    void set3x3(const double* nine);
    /// Upper-left block to nine doubles, row-major, transposing.
    void get3x3(double* nine) const;
    /// Transposes the upper-left block.
    void transpose3x3();
    /// Sets elements 12, 13 and 14.
    void setTranslation(double x, double y, double z);
};

/// a b as matrices: in row vectors, first a, then b.
Matrix4d product(const Matrix4d& a, const Matrix4d& b);
/// Rotation by `degrees` about a unit axis (x, y, z), right-handed, for row vectors.
Matrix4d rotation(double degrees, double x, double y, double z);
/// Rotation by `radians`, in the opposite sense of `rotation`, about axis 0 x, 1 y or 2 z.
Matrix4d axisRotation(double radians, std::uint32_t axis);
/// Upper-left block from a `SinewMatrix`, transposed and widened; the rest is identity.
Matrix4d fromEngineMatrix(const SinewMatrix& matrix);

} // namespace Sinew

#pragma GCC visibility pop
