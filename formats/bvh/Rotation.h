// SPDX-License-Identifier: MIT
// The few quaternion operations that poses need; components are x, y, z, w and all rotations are of unit
// length.
#pragma once

#include <array>
#include <cmath>

namespace formats {

using Vector = std::array<double, 3>;
using Quaternion = std::array<double, 4>;

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kRadiansPerDegree = kPi / 180;

/// First `right`, then `left`, as with matrices of column vectors.
inline Quaternion multiply(const Quaternion& left, const Quaternion& right)
{
    const auto [ax, ay, az, aw] = left;
    const auto [bx, by, bz, bw] = right;
    return {aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
            aw * bz + ax * by - ay * bx + az * bw, aw * bw - ax * bx - ay * by - az * bz};
}

inline Quaternion conjugate(const Quaternion& q) { return {-q[0], -q[1], -q[2], q[3]}; }

inline Quaternion aboutAxis(int axis, double degrees)
{
    const double half = degrees * kRadiansPerDegree / 2;
    Quaternion q{0, 0, 0, std::cos(half)};
    q[static_cast<std::size_t>(axis)] = std::sin(half);
    return q;
}

/// v + 2w (u x v) + 2 u x (u x v), with u the vector part.
inline Vector rotate(const Quaternion& q, const Vector& v)
{
    const Vector t{2 * (q[1] * v[2] - q[2] * v[1]), 2 * (q[2] * v[0] - q[0] * v[2]),
                   2 * (q[0] * v[1] - q[1] * v[0])};
    return {v[0] + q[3] * t[0] + q[1] * t[2] - q[2] * t[1], v[1] + q[3] * t[1] + q[2] * t[0] - q[0] * t[2],
            v[2] + q[3] * t[2] + q[0] * t[1] - q[1] * t[0]};
}

/// Scaled to unit length; what has no length or is not finite becomes no rotation.
inline Quaternion normalised(const Quaternion& q)
{
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!(length > 1e-30) || !std::isfinite(length))
        return {0, 0, 0, 1};
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

/// Angle of the rotation between two, 0 to 180.
inline double degreesBetween(const Quaternion& a, const Quaternion& b)
{
    const Quaternion d = multiply(conjugate(a), b);
    return 2 * std::atan2(std::hypot(d[0], d[1], d[2]), std::abs(d[3])) / kRadiansPerDegree;
}

} // namespace formats
