// SPDX-License-Identifier: MIT
// The few vector operations that shapes need.
#pragma once

#include "bvh/Rotation.h"

namespace formats {

inline Vector operator+(const Vector& a, const Vector& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vector operator-(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vector operator*(const Vector& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
inline double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double length(const Vector& a) { return std::hypot(a[0], a[1], a[2]); }
inline double distance(const Vector& a, const Vector& b) { return length(a - b); }
inline Vector middle(const Vector& a, const Vector& b) { return (a + b) * 0.5; }
inline Vector cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// Of length 1; what has no length stays zero.
inline Vector unit(const Vector& a)
{
    const double l = length(a);
    return l > 1e-30 ? a * (1 / l) : Vector{};
}
/// The part of `a` at right angles to the unit vector `axis`.
inline Vector across(const Vector& a, const Vector& axis) { return a - axis * dot(a, axis); }

} // namespace formats
