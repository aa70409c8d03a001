// SPDX-License-Identifier: MIT
// Sums and products of three numbers.
#pragma once

#include "refhost/Transforms.h"

#include <cmath>

namespace refhost {

inline Vector3 plus(const Vector3& a, const Vector3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vector3 times(const Vector3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
inline double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double length(const Vector3& a) { return std::sqrt(dot(a, a)); }
inline bool isFinite(const Vector3& a)
{
    return std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]);
}
inline Vector3 column(const Matrix33& m, int c) { return {m.m[0][c], m.m[1][c], m.m[2][c]}; }

} // namespace refhost
