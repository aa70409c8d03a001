// SPDX-License-Identifier: MIT
// Matrices of nodes: composing, taking apart, inverting.
#include "bvh/Rotation.h"
#include "formats/Gltf.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

using Columns = std::array<Vector, 3>;

Vector columnOf(const GltfMatrix& m, std::size_t c) { return {m[c * 4], m[c * 4 + 1], m[c * 4 + 2]}; }

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Vector& v) { return std::hypot(v[0], v[1], v[2]); }

Vector scaled(const Vector& v, double s) { return {v[0] * s, v[1] * s, v[2] * s}; }

/// Columns of a rotation matrix to a quaternion, by the largest of its four components, which is never near
/// 0.
Quaternion fromColumns(const Columns& m)
{
    const double xx = m[0][0];
    const double yy = m[1][1];
    const double zz = m[2][2];
    const double traces[] = {xx - yy - zz, yy - xx - zz, zz - xx - yy, xx + yy + zz};
    const auto largest =
        static_cast<std::size_t>(std::max_element(std::begin(traces), std::end(traces)) - std::begin(traces));
    // Four times the square of a component, and twelve products of two.
    const double wx = m[1][2] - m[2][1];
    const double wy = m[2][0] - m[0][2];
    const double wz = m[0][1] - m[1][0];
    const double xy = m[0][1] + m[1][0];
    const double zx = m[2][0] + m[0][2];
    const double yz = m[1][2] + m[2][1];
    const double square = traces[largest] + 1;
    switch (largest) {
    case 0:
        return normalised({square, xy, zx, wx});
    case 1:
        return normalised({xy, square, yz, wy});
    case 2:
        return normalised({zx, yz, square, wz});
    default:
        return normalised({wx, wy, wz, square});
    }
}

/// Unit columns at right angles to each other: the first keeps its direction, the second its plane with it.
/// What has no length is filled in.
Columns orthonormal(const Columns& from)
{
    Columns axes = from;
    for (Vector& axis : axes)
        if (const double size = length(axis); size > 1e-30 && std::isfinite(size))
            axis = scaled(axis, 1 / size);
        else
            axis = {};
    const auto missing = [](const Vector& v) { return length(v) < 1e-6; };
    const auto anyAcross = [](const Vector& v) {
        const std::size_t least = std::abs(v[0]) <= std::abs(v[1]) && std::abs(v[0]) <= std::abs(v[2]) ? 0
            : std::abs(v[1]) <= std::abs(v[2])                                                         ? 1
                                                                                                       : 2;
        Vector unit{};
        unit[least] = 1;
        return cross(v, unit);
    };
    Vector& x = axes[0];
    Vector& y = axes[1];
    Vector& z = axes[2];
    if (missing(x) && missing(y) && missing(z))
        return {Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
    if (missing(x))
        x = !missing(cross(y, z)) ? cross(y, z) : anyAcross(missing(y) ? z : y);
    x = scaled(x, 1 / length(x));
    y = {y[0] - x[0] * dot(x, y), y[1] - x[1] * dot(x, y), y[2] - x[2] * dot(x, y)};
    if (missing(y))
        y = !missing(cross(z, x)) ? cross(z, x) : anyAcross(x);
    y = scaled(y, 1 / length(y));
    z = cross(x, y);
    return axes;
}

double determinant(const Columns& m) { return dot(m[0], cross(m[1], m[2])); }

Columns columnsOf(const GltfMatrix& m) { return {columnOf(m, 0), columnOf(m, 1), columnOf(m, 2)}; }

} // namespace

GltfMatrix localMatrix(const GltfTransform& transform)
{
    GltfMatrix m = kGltfIdentity;
    for (std::size_t c = 0; c < 3; ++c) {
        Vector axis{};
        axis[c] = transform.scale[c];
        axis = rotate(transform.rotation, axis);
        std::copy(axis.begin(), axis.end(), m.begin() + static_cast<std::ptrdiff_t>(c * 4));
        m[12 + c] = transform.translation[c];
    }
    return m;
}

GltfTransform decompose(const GltfMatrix& matrix, bool* sheared)
{
    const Columns columns = columnsOf(matrix);
    const bool mirrored = determinant(columns) < 0;
    Columns turned = columns;
    if (mirrored)
        turned[0] = scaled(turned[0], -1);
    const Columns axes = orthonormal(turned);
    GltfTransform result{{matrix[12], matrix[13], matrix[14]}, fromColumns(axes), {}};
    double size = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        result.scale[c] = length(columns[c]) * (mirrored && c == 0 ? -1 : 1);
        size = std::max(size, length(columns[c]));
    }
    if (sheared != nullptr) {
        const GltfMatrix again = localMatrix(result);
        *sheared = false;
        for (std::size_t i = 0; i < 12; ++i)
            *sheared = *sheared || std::abs(again[i] - matrix[i]) > 1e-4 * size;
    }
    return result;
}

WorldPose worldPose(const GltfMatrix& world)
{
    Columns columns = columnsOf(world);
    if (determinant(columns) < 0)
        columns[0] = scaled(columns[0], -1);
    for (Vector& column : columns)
        if (const double size = length(column); size > 1e-30)
            column = scaled(column, 1 / size);
    // Where an axis has no length, the others say what they can.
    if (std::abs(determinant(columns)) < 1e-6)
        columns = orthonormal(columns);
    return {{world[12], world[13], world[14]}, fromColumns(columns)};
}

GltfMatrix multiply(const GltfMatrix& left, const GltfMatrix& right)
{
    GltfMatrix product{};
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r)
            product[c * 4 + r] = left[r] * right[c * 4] + left[4 + r] * right[c * 4 + 1]
                + left[8 + r] * right[c * 4 + 2] + left[12 + r] * right[c * 4 + 3];
    return product;
}

GltfMatrix inverse(const GltfMatrix& matrix)
{
    const Columns m = columnsOf(matrix);
    const double size = length(m[0]) * length(m[1]) * length(m[2]);
    const double volume = determinant(m);
    if (!(std::abs(volume) > 1e-12 * size) || !std::isfinite(volume) || !(size > 0))
        return kGltfIdentity;
    // Rows of the inverse: cross products of columns over the volume.
    const Columns rows{scaled(cross(m[1], m[2]), 1 / volume), scaled(cross(m[2], m[0]), 1 / volume),
                       scaled(cross(m[0], m[1]), 1 / volume)};
    const Vector offset = {matrix[12], matrix[13], matrix[14]};
    GltfMatrix result = kGltfIdentity;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c)
            result[c * 4 + r] = rows[r][c];
        result[12 + r] = -dot(rows[r], offset);
    }
    return result;
}

} // namespace formats
