// SPDX-License-Identifier: MIT
// From a rotation to the angles of a rotation order, as host and plug-in have to agree on it.
#pragma once

#include <algorithm>
#include <cmath>

namespace euler {

/// A 3x3 for column vectors with its axes in the order in which they turn: element [0][0] belongs to the axis
/// that turns first.
using Ordered = double[3][3];

inline double dot(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

/// How far the columns are from length 1 and right angles.
inline double deviation(const double (&columns)[3][3])
{
    double largest = 0;
    for (int a = 0; a < 3; ++a)
        for (int b = a; b < 3; ++b)
            largest = std::max(largest, std::fabs(dot(columns[a], columns[b]) - (a == b ? 1 : 0)));
    return largest;
}

/// Makes the matrix orthonormal and keeps whether it mirrors. Near a quarter turn of the middle axis the
/// outer angles stand in elements that are small, so these are made right to their own last digits, and not
/// only to those of 1: whatever angles such elements give, together they give the rotation. A matrix that is
/// right already stays bit for bit, and so does one that has no inverse.
inline void makeOrthonormal(Ordered& n)
{
    constexpr double kAngleError = 1e-12; // radians that the angles of a matrix left as it is may be off
    double columns[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            columns[c][r] = n[r][c];
    auto& [x, y, z] = columns;
    if (deviation(columns) <= kAngleError * std::hypot(x[0], x[1]))
        return;
    const auto makeUnit = [](double* v) {
        const double largest = std::max({std::fabs(v[0]), std::fabs(v[1]), std::fabs(v[2])});
        for (int r = 0; r < 3; ++r)
            v[r] /= largest; // first, so that no square is beyond what a double holds
        const double length = std::sqrt(dot(v, v));
        for (int r = 0; r < 3; ++r)
            v[r] /= length;
    };
    const auto makeSquare = [](double* v, const double* unit) {
        const double along = dot(v, unit);
        for (int r = 0; r < 3; ++r)
            v[r] -= along * unit[r];
    };
    for (double* column : {x, y, z})
        makeUnit(column);
    makeSquare(y, x);
    makeUnit(y);
    const double side[3] = {x[1] * y[2] - x[2] * y[1], x[2] * y[0] - x[0] * y[2], x[0] * y[1] - x[1] * y[0]};
    const double handed = dot(side, z);
    if (!(std::fabs(handed) > 1e-9)) // flat, or no numbers: there is no rotation to be found
        return;
    // Two directions square to x that hold the exact quotients of its small elements.
    const double c = std::hypot(x[0], x[1]);
    const double sine = c > 0 ? x[1] / c : 0, cosine = c > 0 ? x[0] / c : 1;
    const double level[3] = {-sine, cosine, 0}, steep[3] = {-x[2] * cosine, -x[2] * sine, c};
    double up = dot(y, level), across = dot(y, steep);
    const double length = std::hypot(up, across), mirror = handed < 0 ? -1 : 1;
    up /= length;
    across /= length;
    for (int r = 0; r < 3; ++r) {
        n[r][0] = x[r];
        n[r][1] = up * level[r] + across * steep[r];
        n[r][2] = mirror * (up * steep[r] - across * level[r]);
    }
}

} // namespace euler

/// Angles in radians about the axes of a rotation `m[row][column]` for column vectors; `first`, `second` and
/// `third` are the axes (0 x, 1 y, 2 z) in the order in which they turn. Sizes of the columns and errors of
/// rounding are taken out before. Where the middle axis stands at a quarter turn the third angle is 0.
inline void eulerAngles(const double (&m)[3][3], int first, int second, int third, double* out)
{
    constexpr double kSmall = 3.552713678800501e-15; // sixteen times the machine epsilon
    const int axes[3] = {first, second, third};
    euler::Ordered n;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            n[r][c] = m[axes[r]][axes[c]];
    euler::makeOrthonormal(n);
    const double c = std::sqrt(n[0][0] * n[0][0] + n[1][0] * n[1][0]);
    const bool isRegular = c > kSmall;
    const double a = isRegular ? std::atan2(n[2][1], n[2][2]) : std::atan2(-n[1][2], n[1][1]);
    const double b = std::atan2(-n[2][0], c);
    const double g = isRegular ? std::atan2(n[1][0], n[0][0]) : 0;
    const double sign = (second - first + 3) % 3 == 1 ? 1 : -1; // axes against their cycle turn backwards
    out[first] = sign * a;
    out[second] = sign * b;
    out[third] = sign * g;
}
