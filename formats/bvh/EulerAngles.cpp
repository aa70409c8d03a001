// SPDX-License-Identifier: MIT
// Rotations to the angles of up to three different axes, chosen near angles that are given.
#include "bvh/EulerAngles.h"

#include <cmath>

namespace formats {

namespace {

// Written with half angles u, v, w of the axes i, j, k in channel order and e = +1 where (i, j, k) is an even
// permutation of (x, y, z), else -1, the quaternion of Ri Rj Rk has with w' = e w and qk' = e qk
//
//   qw + qj = (cos v + sin v) cos(u + w')      qw - qj = (cos v - sin v) cos(u - w')
//   qi + qk' = (cos v + sin v) sin(u + w')     qi - qk' = (cos v - sin v) sin(u - w')
//
// so that sum and difference of the outer angles and the middle one come from three arc tangents, each exact
// to rounding. Where a bracket vanishes (middle angle at -90 or +90 degrees) its sum or difference is free:
// gimbal lock.

// Taking a bracket this small for 0 turns the result by less than 1e-6 radians.
constexpr double kLocked = 5e-7;

struct Axes {
    std::size_t i;
    std::size_t j;
    std::size_t k;
    double e;
};

Axes axesOf(const EulerOrder& order)
{
    const int i = order.axes[0];
    const int j = order.axes[1];
    const double e = (i + 1) % 3 == j ? 1 : -1;
    return {static_cast<std::size_t>(i), static_cast<std::size_t>(j), static_cast<std::size_t>(3 - i - j), e};
}

/// `angle` moved by whole `periods` to within half of one of `near`.
double wrapNear(double angle, double near, double period)
{
    return near + std::remainder(angle - near, period);
}

double distance(const EulerDegrees& a, const EulerDegrees& b)
{
    return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]);
}

/// Sum and difference s, d of two half angles, where one of them may be free: the half angles nearest to
/// those given. Both may move together by half a turn, the sign of the quaternion being free.
void nearestPair(double& first, double& second, double sum, double difference, bool sumFree,
                 bool differenceFree)
{
    const double nearSum = first + second;
    const double nearDifference = first - second;
    if (sumFree)
        sum = nearSum;
    else if (differenceFree)
        sum = wrapNear(sum, nearSum, kPi);
    if (differenceFree)
        difference = nearDifference;
    else if (sumFree)
        difference = wrapNear(difference, nearDifference, kPi);
    first = (sum + difference) / 2;
    second = (sum - difference) / 2;
}

EulerDegrees threeAxes(const EulerOrder& order, const Quaternion& q, const EulerDegrees& near)
{
    const Axes axes = axesOf(order);
    const double qi = q[axes.i];
    const double qj = q[axes.j];
    const double qk = axes.e * q[axes.k];
    const double plus = std::hypot(q[3] + qj, qi + qk);
    const double minus = std::hypot(q[3] - qj, qi - qk);
    const double sum = std::atan2(qi + qk, q[3] + qj);
    const double difference = std::atan2(qi - qk, q[3] - qj);
    const double middle = 2 * std::atan2(plus, minus) / kRadiansPerDegree - 90;

    double u = near[0] * kRadiansPerDegree / 2;
    double w = axes.e * near[2] * kRadiansPerDegree / 2;
    const bool locked = plus < kLocked || minus < kLocked;
    // Sum and difference are of the half angles; their own mean and half difference are those half angles.
    nearestPair(u, w, sum, difference, plus < kLocked, minus < kLocked);
    const double outer = 2 / kRadiansPerDegree;
    EulerDegrees best{u * outer, middle, axes.e * w * outer};
    for (std::size_t a = 0; a < 3; ++a)
        best[a] = wrapNear(best[a], near[a], 360);
    if (locked)
        return best;
    EulerDegrees other{best[0] + 180, 180 - best[1], best[2] + 180};
    for (std::size_t a = 0; a < 3; ++a)
        other[a] = wrapNear(other[a], near[a], 360);
    return distance(other, near) < distance(best, near) ? other : best;
}

/// The angles of Ri Rj nearest to q: their cosine of half the angle between is
/// ((qw + qk') cos(u - v) + (qi - qj) sin(u - v) + (qw - qk') cos(u + v) + (qi + qj) sin(u + v)) / 2.
EulerDegrees twoAxes(const EulerOrder& order, const Quaternion& q, const EulerDegrees& near)
{
    const Axes axes = axesOf(order);
    const double qi = q[axes.i];
    const double qj = q[axes.j];
    const double qk = axes.e * q[axes.k];
    double u = near[0] * kRadiansPerDegree / 2;
    double v = near[1] * kRadiansPerDegree / 2;
    nearestPair(u, v, std::atan2(qi + qj, q[3] - qk), std::atan2(qi - qj, q[3] + qk),
                std::hypot(qi + qj, q[3] - qk) < kLocked, std::hypot(qi - qj, q[3] + qk) < kLocked);
    const double outer = 2 / kRadiansPerDegree;
    return {wrapNear(u * outer, near[0], 360), wrapNear(v * outer, near[1], 360), 0};
}

} // namespace

Quaternion composeEuler(const EulerOrder& order, const EulerDegrees& angles)
{
    Quaternion q{0, 0, 0, 1};
    for (int a = 0; a < order.count; ++a)
        q = multiply(q,
                     aboutAxis(order.axes[static_cast<std::size_t>(a)], angles[static_cast<std::size_t>(a)]));
    return q;
}

EulerDegrees nearestEuler(const EulerOrder& order, const Quaternion& wanted, const EulerDegrees& near)
{
    switch (order.count) {
    case 3:
        return threeAxes(order, wanted, near);
    case 2:
        return twoAxes(order, wanted, near);
    case 1: {
        const double part = wanted[static_cast<std::size_t>(order.axes[0])];
        if (std::hypot(part, wanted[3])
            < kLocked) // half a turn about another axis: every angle is as far away
            return {near[0], 0, 0};
        return {wrapNear(2 * std::atan2(part, wanted[3]) / kRadiansPerDegree, near[0], 360), 0, 0};
    }
    default:
        return {};
    }
}

} // namespace formats
