// SPDX-License-Identifier: MIT
// The engine's own trigonometry and power: plain arithmetic, so that every compiler and library gives the
// same bits.
#pragma once

namespace Sinew {

struct SineCosine {
    float sine, cosine;
};

/// Both within 0.51 units in the last place for angles up to 1e5 radians. Beyond that a float is too coarse
/// for an angle, but the results stay within -1 to 1. NaN and infinity give NaN.
SineCosine sineCosine(float radians);

/// Angle of the point (x, y) in radians, -pi to pi, within 0.51 units in the last place. Zeros, infinities
/// and NaN give what the standard library's atan2 gives.
float arcTangent2(float y, float x);

/// x to the power y within 1e-13 of the value, for x above 0 and |y| up to 10. 0 gives 0; a negative x or
/// NaN gives NaN.
double power(double x, double y);

} // namespace Sinew
