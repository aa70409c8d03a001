// SPDX-License-Identifier: MIT
// The few vector operations that fitting and measuring need, on the host's types.
#pragma once

#include <refhost/Transforms.h>

#include <algorithm>
#include <cmath>

namespace app {

using refhost::Matrix33;
using refhost::Vector3;

inline constexpr double kDegreesPerRadian = 57.29577951308232;

inline Vector3 plus(const Vector3& a, const Vector3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vector3 times(const Vector3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
inline double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double length(const Vector3& a) { return std::hypot(a[0], a[1], a[2]); }
inline double distance(const Vector3& a, const Vector3& b) { return length(minus(a, b)); }
inline Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// Of length 1; what has no length stays zero.
inline Vector3 unit(const Vector3& a)
{
    const double l = length(a);
    return l > 1e-30 ? times(a, 1 / l) : Vector3{};
}
/// The part at right angles to the unit vector `axis`.
inline Vector3 across(const Vector3& a, const Vector3& axis) { return minus(a, times(axis, dot(a, axis))); }
/// Between two directions, 0 to 180; 0 where one has no length.
inline double degreesBetween(const Vector3& a, const Vector3& b)
{
    return std::atan2(length(cross(a, b)), dot(a, b)) * kDegreesPerRadian;
}

/// Shortest turn from one direction to another: I + [v] + [v]^2 / (1 + c) with v = a x b, c = a . b for unit
/// vectors. Opposite directions turn about any axis at right angles; without a length there is no turn.
inline Matrix33 shortestTurn(const Vector3& from, const Vector3& to)
{
    const Vector3 a = unit(from), b = unit(to);
    if (dot(a, a) < 0.5 || dot(b, b) < 0.5)
        return {};
    const double c = dot(a, b);
    Matrix33 turn;
    if (c < -1 + 1e-9) {
        const Vector3 axis = unit(std::abs(a[0]) < 0.9 ? cross(a, {1, 0, 0}) : cross(a, {0, 1, 0}));
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                turn[row][column] =
                    2 * axis[static_cast<std::size_t>(row)] * axis[static_cast<std::size_t>(column)]
                    - (row == column ? 1 : 0);
        return turn;
    }
    const auto [x, y, z] = cross(a, b);
    const double v[3][3] = {{0, -z, y}, {z, 0, -x}, {-y, x, 0}};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) {
            double square = 0;
            for (int k = 0; k < 3; ++k)
                square += v[row][k] * v[k][column];
            turn[row][column] += v[row][column] + square / (1 + c);
        }
    return turn;
}

} // namespace app
