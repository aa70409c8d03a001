// SPDX-License-Identifier: MIT
// The engine's own trigonometry and power: plain arithmetic, so that every compiler and library gives the
// same bits.
#pragma once

#include <sinew/Lanes.h>

#include <cmath>

namespace Sinew {

struct SineCosine {
    float sine, cosine;
};

constexpr float kSineSeriesEnd = 0.78539816f; ///< pi/4, the end of the interval of the series

/// Taylor series for |r| <= pi/4, cut where the next term is below a fiftieth of a float's last place.
SINEW_KIT SineCosine sineCosineSeries(float r)
{
    const float r2 = r * r;
    float s = 1.0f / 362880.0f;
    s = s * r2 - 1.0f / 5040.0f;
    s = s * r2 + 1.0f / 120.0f;
    s = s * r2 - 1.0f / 6.0f;
    float c = -1.0f / 3628800.0f;
    c = c * r2 + 1.0f / 40320.0f;
    c = c * r2 - 1.0f / 720.0f;
    c = c * r2 + 1.0f / 24.0f;
    return {r + (r * r2) * s, (1.0f - 0.5f * r2) + (r2 * r2) * c};
}

/// `sineCosine` for any angle, by reduction to the series.
SineCosine sineCosineReduced(float radians);

/// Both within 1 unit in the last place for angles up to 1e5 radians; beyond, the angle itself loses its
/// meaning but the results stay in -1 to 1. NaN and infinity give NaN.
SINEW_KIT SineCosine sineCosine(float radians)
{
    return std::fabs(radians) <= kSineSeriesEnd ? sineCosineSeries(radians) : sineCosineReduced(radians);
}

/// Angle of the point (x, y) in radians, -pi to pi, within 0.51 units in the last place. Zeros, infinities
/// and NaN as the standard library's atan2.
float arcTangent2(float y, float x);

/// x to the power y within 1e-14 of the value, for x above 0 and |y| up to 10. 0 gives 0; a negative x or
/// NaN, NaN.
double power(double x, double y);

} // namespace Sinew
