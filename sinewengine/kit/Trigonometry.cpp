// SPDX-License-Identifier: MIT
// Series for sine, cosine, arc tangent and power, each after a reduction to a short interval.
#include "kit/Trigonometry.h"

#include <cmath>
#include <initializer_list>
#include <limits>

namespace Sinew {

namespace {

constexpr double kPi = 3.14159265358979323846;

// atan(t) = t - t^3/3 + t^5/5 ..., |t| <= tan(pi/8): the first term left out is below 2e-10 of the value.
double arcTangentSeries(double t)
{
    const double t2 = t * t;
    double p = 1.0 / 21.0;
    for (int k = 19; k >= 3; k -= 2)
        p = 1.0 / k - t2 * p;
    return t - t * t2 * p;
}

double logarithm(double x)
{
    // x = m 2^e with m near 1; ln m = 2 atanh((m - 1) / (m + 1)), as a series in s.
    int exponent = 0;
    double m = std::frexp(x, &exponent);
    if (m < 0.70710678118654752) {
        m *= 2.0;
        --exponent;
    }
    const double s = (m - 1.0) / (m + 1.0), s2 = s * s;
    double p = 1.0 / 21.0;
    for (int k = 19; k >= 1; k -= 2)
        p = 1.0 / k + s2 * p;
    return exponent * 0.69314718055994531 + 2.0 * s * p;
}

double exponential(double x)
{
    const double k = std::floor(x / 0.69314718055994531 + 0.5);
    const double r = x - k * 0.69314718055994531;
    double p = 1.0;
    for (int n = 16; n >= 1; --n)
        p = 1.0 + r * p / n;
    return std::ldexp(p, static_cast<int>(k));
}

} // namespace

SineCosine sineCosine(float radians)
{
    if (!(std::fabs(radians) <= std::numeric_limits<float>::max()))
        return {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()};
    double x = radians;
    if (std::fabs(x) > 1e9)
        x = std::fmod(x, 2.0 * kPi);
    // pi/2 in two pieces, the first of 33 bits: its product with the quadrant is exact.
    const double k = std::floor(x * (2.0 / kPi) + 0.5);
    const double r = (x - k * 1.57079632673412561417e+00) - k * 6.07710050650619224932e-11;

    // Taylor series on |r| <= pi/4; the first term left out is below 1e-11 of the value.
    const double r2 = r * r;
    double s = -1.0 / 39916800.0;
    for (const double c : {1.0 / 362880.0, -1.0 / 5040.0, 1.0 / 120.0, -1.0 / 6.0})
        s = s * r2 + c;
    s = r + (r * r2) * s;
    double c = 1.0 / 479001600.0;
    for (const double d : {-1.0 / 3628800.0, 1.0 / 40320.0, -1.0 / 720.0, 1.0 / 24.0, -0.5})
        c = c * r2 + d;
    c = 1.0 + r2 * c;

    const float sine = static_cast<float>(s), cosine = static_cast<float>(c);
    switch (static_cast<long long>(k) & 3) {
    case 0:
        return {sine, cosine};
    case 1:
        return {cosine, -sine};
    case 2:
        return {-sine, -cosine};
    default:
        return {-cosine, sine};
    }
}

float arcTangent2(float y, float x)
{
    if (x != x || y != y)
        return std::numeric_limits<float>::quiet_NaN();
    const double ax = std::fabs(static_cast<double>(x)), ay = std::fabs(static_cast<double>(y));
    const double low = ax < ay ? ax : ay, high = ax < ay ? ay : ax;
    // Two infinities and two zeros are the directions of a diagonal and of the axis.
    const double ratio = low == high ? (high > 0.0 ? 1.0 : 0.0) : low / high;
    double angle = ratio > 0.41421356237309503 ? kPi / 4.0 + arcTangentSeries((ratio - 1.0) / (ratio + 1.0))
                                               : arcTangentSeries(ratio);
    if (ay > ax)
        angle = kPi / 2.0 - angle;
    if (std::signbit(x))
        angle = kPi - angle;
    return static_cast<float>(std::signbit(y) ? -angle : angle);
}

double power(double x, double y)
{
    if (!(x >= 0.0))
        return std::numeric_limits<double>::quiet_NaN();
    if (x == 0.0)
        return 0.0;
    if (x > std::numeric_limits<double>::max())
        return x;
    return exponential(y * logarithm(x));
}

} // namespace Sinew
