// SPDX-License-Identifier: MIT
// The engine's rotation matrix in its two forms, and the world frame of a bone.
#pragma once

#include <sinew/SinewVector.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// Four rows of four floats, row-major, holding a rotation. The fourth row and lane are 0, the corner
/// included: a translation is always a separate vector.
struct alignas(16) SinewMatrix {
    /// Row by row; the identity at first.
    SinewVector rows[4] = {SinewVector(1.0f, 0.0f, 0.0f), SinewVector(0.0f, 1.0f, 0.0f),
                           SinewVector(0.0f, 0.0f, 1.0f), SinewVector()};

    SINEW_KIT const SinewVector& operator[](std::uint32_t i) const { return rows[i]; } ///< row 0 to 3
    SINEW_KIT SinewVector& operator[](std::uint32_t i) { return rows[i]; } ///< row 0 to 3, to write
};

/// Row 0 to 3.
SINEW_KIT const SinewVector& row(const SinewMatrix& m, std::uint32_t i) { return m.rows[i]; }
/// Column 0 to 2 of the first three rows; w is 0.
SINEW_KIT SinewVector column(const SinewMatrix& m, std::uint32_t i)
{
    return SinewVector(m[0][i], m[1][i], m[2][i]);
}
/// The dot products of the first three rows with `v` over all four lanes; w is 0.
SINEW_KIT SinewVector operator*(const SinewMatrix& m, SinewVector v)
{
    return SinewVector(dot(m[0], v), dot(m[1], v), dot(m[2], v));
}
/// Rows from nine floats, row-major; the fourth row and lane are 0.
SINEW_KIT SinewMatrix makeMatrix(float a, float b, float c, float d, float e, float f, float g, float h,
                                 float i)
{
    SinewMatrix m;
    m[0].set(a, b, c);
    m[1].set(d, e, f);
    m[2].set(g, h, i);
    return m;
}

/// The two matrices of a rotation share their products; they differ in the signs of those with w. Lane 3 of
/// the rows is left undefined.
template <bool FrameForm>
SINEW_KIT void rotationRows(SinewQuaternion quaternion, SinewVector* rows)
{
    const Lanes q = quaternion.lanes, d = q + q;
    const Lanes squares = q * d; // xx, yy, zz, each doubled
    const Lanes mixed = swizzle<0, 0, 1, 3>(q) * swizzle<1, 2, 2, 3>(d); // xy, xz, yz
    const Lanes turned = swizzle<3, 3, 3, 3>(q) * swizzle<2, 1, 0, 3>(d); // wz, wy, wx
    const Lanes diagonal = splat(1.0f) - (swizzle<1, 0, 0, 3>(squares) + swizzle<2, 2, 1, 3>(squares));
    // Column form: (1 - yy - zz, xy - wz, xz + wy), (xy + wz, 1 - xx - zz, yz - wx), (xz - wy, yz + wx, 1 -
    // xx - yy).
    const Lanes plus = FrameForm ? mixed - turned : mixed + turned;
    const Lanes minus = FrameForm ? mixed + turned : mixed - turned;
    rows[0].lanes = shuffle<0, 2, 1, 3>(shuffle<0, 3, 0, 3>(diagonal, minus), plus);
    rows[1].lanes = shuffle<0, 2, 2, 3>(shuffle<0, 3, 1, 3>(plus, diagonal), minus);
    rows[2].lanes = shuffle<0, 2, 2, 3>(shuffle<1, 3, 2, 3>(minus, plus), diagonal);
}

/// Frame form: row i is the world direction of local axis i, rotate(q, e[i]); the transpose of the column
/// form.
SINEW_KIT SinewMatrix toFrameMatrix(SinewQuaternion q)
{
    SinewMatrix m;
    rotationRows<true>(q, m.rows);
    for (std::uint32_t i = 0; i < 3; ++i)
        m[i].lanes = clearW(m[i].lanes);
    return m;
}

/// Column-vector form: v' = R v.
SINEW_KIT SinewMatrix toColumnMatrix(SinewQuaternion q)
{
    SinewMatrix m;
    rotationRows<false>(q, m.rows);
    for (std::uint32_t i = 0; i < 3; ++i)
        m[i].lanes = clearW(m[i].lanes);
    return m;
}

/// Quaternion of a rotation matrix in column-vector form, in the branch of the trace where that is above 0,
/// else of the largest diagonal entry.
SinewQuaternion fromColumnMatrix(const SinewMatrix& m);

/// A bone's world placement.
struct GlobalFrame {
    SinewMatrix matrix; ///< frame form: row i is the world direction of local axis i
    SinewQuaternion rotation; ///< world orientation
    SinewVector position; ///< world position of the bone's origin

    /// Identity rotation at the origin.
    void reset() { *this = GlobalFrame(); }
};

} // namespace Sinew

#pragma GCC visibility pop
