// SPDX-License-Identifier: MIT
// The engine's rotation matrix in its two forms, and the world frame of a bone.
#pragma once

#include <sinew/SinewVector.h>

namespace Sinew {

/// Four rows of four floats, row-major, holding a rotation. The fourth row and lane are 0, the corner included:
/// a translation is always a separate vector.
struct alignas(16) SinewMatrix {
    SinewVector rows[4] = {SinewVector(1.0f, 0.0f, 0.0f), SinewVector(0.0f, 1.0f, 0.0f), SinewVector(0.0f, 0.0f, 1.0f),
                           SinewVector()};

    SINEW_KIT const SinewVector& operator[](std::uint32_t i) const { return rows[i]; }
    SINEW_KIT SinewVector& operator[](std::uint32_t i) { return rows[i]; }
};

SINEW_KIT const SinewVector& row(const SinewMatrix& m, std::uint32_t i) { return m.rows[i]; }
SINEW_KIT SinewVector column(const SinewMatrix& m, std::uint32_t i) { return SinewVector(m[0][i], m[1][i], m[2][i]); }
/// The dot products of the first three rows with `v` over all four lanes; w is 0.
SINEW_KIT SinewVector operator*(const SinewMatrix& m, SinewVector v)
{
    return SinewVector(dot(m[0], v), dot(m[1], v), dot(m[2], v));
}
/// Rows from nine floats, row-major.
SINEW_KIT SinewMatrix makeMatrix(float a, float b, float c, float d, float e, float f, float g, float h, float i)
{
    SinewMatrix m;
    m[0].set(a, b, c);
    m[1].set(d, e, f);
    m[2].set(g, h, i);
    return m;
}

/// The two matrices of a rotation share their products; they differ in the signs of those with w.
template <bool FrameForm>
SINEW_KIT void rotationRows(SinewQuaternion quaternion, SinewVector* rows)
{
    const Lanes q = quaternion.lanes, d = q + q;
    const std::int32_t n = static_cast<std::int32_t>(0x80000000u);
    const std::int32_t p = FrameForm ? 0 : n, m = FrameForm ? n : 0;
    // Frame form, each product doubled: (1 - yy - zz, xy + wz, xz - wy), (xy - wz, 1 - xx - zz, yz + wx),
    // (xz + wy, yz - wx, 1 - xx - yy).
    const Lanes xFirst = flipBits(swizzle<1, 0, 0, 3>(q) * swizzle<1, 1, 2, 3>(d), makeMask(n, 0, 0, 0));
    const Lanes xSecond = flipBits(swizzle<2, 3, 3, 3>(q) * swizzle<2, 2, 1, 3>(d), makeMask(n, p, m, 0));
    const Lanes yFirst = flipBits(swizzle<0, 0, 1, 3>(q) * swizzle<1, 0, 2, 3>(d), makeMask(0, n, 0, 0));
    const Lanes ySecond = flipBits(swizzle<3, 2, 3, 3>(q) * swizzle<2, 2, 0, 3>(d), makeMask(m, n, p, 0));
    const Lanes zFirst = flipBits(swizzle<0, 1, 0, 3>(q) * swizzle<2, 2, 0, 3>(d), makeMask(0, 0, n, 0));
    const Lanes zSecond = flipBits(swizzle<3, 3, 1, 3>(q) * swizzle<1, 0, 1, 3>(d), makeMask(p, m, n, 0));
    rows[0].lanes = clearW(makeLanes(1.0f, 0.0f, 0.0f, 0.0f) + (xFirst + xSecond));
    rows[1].lanes = clearW(makeLanes(0.0f, 1.0f, 0.0f, 0.0f) + (yFirst + ySecond));
    rows[2].lanes = clearW(makeLanes(0.0f, 0.0f, 1.0f, 0.0f) + (zFirst + zSecond));
}

/// Frame form: row i is the world direction of local axis i, rotate(q, e[i]); the transpose of the column form.
SINEW_KIT SinewMatrix toFrameMatrix(SinewQuaternion q)
{
    SinewMatrix m;
    rotationRows<true>(q, m.rows);
    return m;
}

/// Column-vector form: v' = R v.
SINEW_KIT SinewMatrix toColumnMatrix(SinewQuaternion q)
{
    SinewMatrix m;
    rotationRows<false>(q, m.rows);
    return m;
}

/// Quaternion of a rotation matrix in column-vector form; the trace branch above 0, else the largest diagonal entry.
SinewQuaternion fromColumnMatrix(const SinewMatrix& m);

/// A bone's world placement.
struct GlobalFrame {
    SinewMatrix matrix;        ///< frame form: row i is the world direction of local axis i
    SinewQuaternion rotation;  ///< world orientation
    SinewVector position;      ///< world position of the bone's origin

    /// Identity rotation at the origin.
    void reset() { *this = GlobalFrame(); }
};

} // namespace Sinew
