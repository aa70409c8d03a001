// SPDX-License-Identifier: MIT
// The engine's vector and quaternion: four single-precision lanes each, and the operations on them.
#pragma once

#include <sinew/Lanes.h>

#include <cmath>

#pragma GCC visibility push(default)

namespace Sinew {

/// A point or direction in lanes x, y, z; lane w is kept at 0 by the operations that say so.
struct alignas(16) SinewVector {
    Lanes lanes = {}; ///< x, y, z, w; 0 at first

    SINEW_KIT SinewVector() { } ///< zero in all four lanes
    SINEW_KIT explicit SinewVector(Lanes v) : lanes(v) { } ///< takes all four lanes
    SINEW_KIT SinewVector(float x, float y, float z) : lanes(makeLanes(x, y, z, 0.0f)) { } ///< w is 0
    /// All four lanes.
    SINEW_KIT SinewVector(float x, float y, float z, float w) : lanes(makeLanes(x, y, z, w)) { }

    SINEW_KIT float x() const { return lanes[0]; } ///< lane 0
    SINEW_KIT float y() const { return lanes[1]; } ///< lane 1
    SINEW_KIT float z() const { return lanes[2]; } ///< lane 2
    SINEW_KIT float w() const { return lanes[3]; } ///< lane 3
    /// Lane `i`, 0 to 3.
    SINEW_KIT float operator[](std::uint32_t i) const { return lanes[static_cast<int>(i)]; }

    /// Sets x, y, z and clears w.
    SINEW_KIT void set(float x, float y, float z) { lanes = makeLanes(x, y, z, 0.0f); }
    /// Sets all four lanes.
    SINEW_KIT void set(float x, float y, float z, float w) { lanes = makeLanes(x, y, z, w); }
    /// Sets lane `i`, 0 to 3.
    SINEW_KIT void setLane(std::uint32_t i, float value) { lanes[static_cast<int>(i)] = value; }
    /// Clears all four lanes.
    SINEW_KIT void zero() { lanes = zeroLanes(); }

    /// Adds all four lanes; w is not cleared.
    SINEW_KIT SinewVector& operator+=(SinewVector b)
    {
        lanes += b.lanes;
        return *this;
    }
    /// Scales all four lanes; w is not cleared.
    SINEW_KIT SinewVector& operator*=(float s)
    {
        lanes *= splat(s);
        return *this;
    }
};

/// Sum; w is 0.
SINEW_KIT SinewVector operator+(SinewVector a, SinewVector b)
{
    return SinewVector(clearW(a.lanes + b.lanes));
}
/// Difference; w is 0.
SINEW_KIT SinewVector operator-(SinewVector a, SinewVector b)
{
    return SinewVector(clearW(a.lanes - b.lanes));
}
/// `a` scaled; w is 0.
SINEW_KIT SinewVector operator*(SinewVector a, float s) { return SinewVector(clearW(a.lanes * splat(s))); }

/// (a.x b.x + a.y b.y) + (a.z b.z + a.w b.w): all four lanes count, in this order.
SINEW_KIT float dot(SinewVector a, SinewVector b) { return sumLanes(a.lanes * b.lanes); }
/// Square root of dot(a, a): lane w counts.
SINEW_KIT float length(SinewVector a) { return __builtin_sqrtf(dot(a, a)); }

/// Right-handed cross product; w is 0.
SINEW_KIT SinewVector cross(SinewVector a, SinewVector b)
{
    const Lanes ay = swizzle<1, 2, 0, 3>(a.lanes), by = swizzle<1, 2, 0, 3>(b.lanes);
    return SinewVector(clearW(swizzle<1, 2, 0, 3>(a.lanes * by - ay * b.lanes)));
}

/// Scales all four lanes to length 1. A zero vector gives non-finite lanes: check for it first.
SINEW_KIT void normalise(SinewVector& a) { a.lanes *= splat(1.0f / length(a)); }

/// Unit vector of axis `i`: 0 x, 1 y, any other value z.
SINEW_KIT SinewVector unitAxis(std::uint32_t i)
{
    return i == 0 ? SinewVector(1.0f, 0.0f, 0.0f)
        : i == 1  ? SinewVector(0.0f, 1.0f, 0.0f)
                  : SinewVector(0.0f, 0.0f, 1.0f);
}

/// `low` unless x >= low (so that NaN gives `low`), else x below `high`, else `high`.
SINEW_KIT float clamp(float x, float low, float high) { return !(x >= low) ? low : x < high ? x : high; }
/// True when |x| >= 1e-9 is false: NaN counts as near zero.
SINEW_KIT bool isNearZero(float x) { return !(static_cast<double>(std::fabs(x)) >= 1e-9); }
/// True when x is neither below nor above 0: NaN counts as zero.
SINEW_KIT bool isZero(float x) { return !(x < 0.0f) && !(x > 0.0f); }
/// x times x.
SINEW_KIT float square(float x) { return x * x; }
/// Degrees to radians.
SINEW_KIT float radians(float degrees) { return degrees * 0.017453292f; }

/// A rotation in lanes x, y, z, w with w the scalar part. Hamilton product, active, right-handed.
struct alignas(16) SinewQuaternion {
    Lanes lanes = makeLanes(0.0f, 0.0f, 0.0f, 1.0f); ///< x, y, z, w; the identity at first

    SINEW_KIT SinewQuaternion() { } ///< the identity
    SINEW_KIT explicit SinewQuaternion(Lanes v) : lanes(v) { } ///< takes all four lanes
    /// The four components as they are: not normalised.
    SINEW_KIT SinewQuaternion(float x, float y, float z, float w) : lanes(makeLanes(x, y, z, w)) { }

    SINEW_KIT float x() const { return lanes[0]; } ///< component x
    SINEW_KIT float y() const { return lanes[1]; } ///< component y
    SINEW_KIT float z() const { return lanes[2]; } ///< component z
    SINEW_KIT float w() const { return lanes[3]; } ///< the scalar part
    /// Component `i` in the order x, y, z, w.
    SINEW_KIT float operator[](std::uint32_t i) const { return lanes[static_cast<int>(i)]; }
    /// Sets the four components as they are: not normalised.
    SINEW_KIT void set(float x, float y, float z, float w) { lanes = makeLanes(x, y, z, w); }
};

/// (a.x b.x + a.y b.y) + (a.z b.z + a.w b.w), in this order.
SINEW_KIT float dot(SinewQuaternion a, SinewQuaternion b) { return sumLanes(a.lanes * b.lanes); }

/// Scales to length 1. A zero quaternion gives non-finite lanes: check for it first.
SINEW_KIT void normalise(SinewQuaternion& q) { q.lanes *= splat(1.0f / __builtin_sqrtf(dot(q, q))); }

/// True when normalising gives a rotation: the squared length is a positive finite number.
SINEW_KIT bool canNormalise(SinewQuaternion q)
{
    const float s = dot(q, q);
    return s > 0.0f && s < __builtin_inff();
}

/// The quaternion with x, y, z negated: the inverse rotation of a unit quaternion.
SINEW_KIT SinewQuaternion conj(SinewQuaternion q)
{
    const std::int32_t sign = static_cast<std::int32_t>(0x80000000u);
    return SinewQuaternion(flipBits(q.lanes, makeMask(sign, sign, sign, 0)));
}

/// Hamilton product: rotate(a * b, v) equals rotate(a, rotate(b, v)).
SINEW_KIT SinewQuaternion operator*(SinewQuaternion a, SinewQuaternion b)
{
    const Lanes w = swizzle<3, 3, 3, 3>(a.lanes) * b.lanes;
    const Lanes first = swizzle<0, 1, 2, 0>(a.lanes) * swizzle<3, 3, 3, 0>(b.lanes);
    const Lanes second = swizzle<1, 2, 0, 1>(a.lanes) * swizzle<2, 0, 1, 1>(b.lanes);
    const Lanes third = swizzle<2, 0, 1, 2>(a.lanes) * swizzle<1, 2, 0, 2>(b.lanes);
    const std::int32_t sign = static_cast<std::int32_t>(0x80000000u);
    return SinewQuaternion((w + flipBits(first + second, makeMask(0, 0, 0, sign))) - third);
}

/// v + 2w (q.xyz x v) + 2 q.xyz x (q.xyz x v); `q` isn't normalised first. Axis-aligned input keeps exact
/// zeros.
SINEW_KIT SinewVector rotate(SinewQuaternion q, SinewVector v)
{
    // Two cross products; what they leave in lane w is cleared once, at the end.
    const Lanes turned = swizzle<1, 2, 0, 3>(q.lanes), w = swizzle<3, 3, 3, 3>(q.lanes);
    const Lanes once = swizzle<1, 2, 0, 3>(q.lanes * swizzle<1, 2, 0, 3>(v.lanes) - turned * v.lanes);
    const Lanes twice = swizzle<1, 2, 0, 3>(q.lanes * swizzle<1, 2, 0, 3>(once) - turned * once);
    return SinewVector(clearW((v.lanes + (w + w) * once) + (twice + twice)));
}

/// Rotation by `angle` radians about `v`, which need not be a unit vector; a zero vector gives the identity.
SinewQuaternion fromRotationVector(SinewVector v, float angle);

/// Shortest rotation taking unit vector `a` to unit vector `b`, both in the same space.
/// Opposite vectors have no single answer; the x axis is tried first, then y.
SinewQuaternion shortestArc(SinewVector a, SinewVector b);

/// Twist of `q` about axis `i` (0 x, 1 y, 2 z) in radians, -2 pi to 2 pi, unwrapped; 1 where it is undefined.
float twistAngle(SinewQuaternion q, std::uint32_t i);

} // namespace Sinew

#pragma GCC visibility pop
