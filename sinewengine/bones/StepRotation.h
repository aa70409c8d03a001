// SPDX-License-Identifier: MIT
// The rotation of one iteration's step, for one bone or for four at once to the same bits.
#pragma once

#include <sinew/SinewVector.h>

namespace Sinew {

// A step turns by |r| about r: its quaternion is r sin(h)/|r| and cos(h) with h = |r|/2. For half angles up
// to pi/4 both factors are series in h^2 alone, which needs neither a square root nor a division.

constexpr float kStepSeriesEnd = 0.61685028f; ///< (pi/4)^2: largest h^2 for the series

/// sin(h)/(2h) from h^2.
template <class Real>
SINEW_KIT Real halfSinc(Real h2, Real (*constant)(float))
{
    const Real h4 = h2 * h2;
    const Real low = constant(1.0f) - h2 * constant(1.0f / 6.0f);
    const Real high = constant(1.0f / 120.0f) - h2 * constant(1.0f / 5040.0f);
    return constant(0.5f) * (low + h4 * (high + h4 * constant(1.0f / 362880.0f)));
}

/// cos(h) from h^2.
template <class Real>
SINEW_KIT Real cosineOfSquare(Real h2, Real (*constant)(float))
{
    const Real h4 = h2 * h2;
    const Real low = constant(1.0f) - h2 * constant(0.5f);
    const Real high = constant(1.0f / 24.0f) - h2 * constant(1.0f / 720.0f);
    const Real end = constant(1.0f / 40320.0f) - h2 * constant(1.0f / 3628800.0f);
    return low + h4 * (high + h4 * end);
}

/// How far a squared length may be from 1 for `nearUnitScale`: the error is then below half a last place.
constexpr float kNearUnit = 1.0f / 4096.0f;

/// 1/sqrt(s) for s near 1: one Newton step from 1.
template <class Real>
SINEW_KIT Real nearUnitScale(Real s, Real (*constant)(float))
{
    return constant(1.5f) - constant(0.5f) * s;
}

} // namespace Sinew
