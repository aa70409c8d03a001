// SPDX-License-Identifier: MIT
// The four-lane kit: four floats computed together, with a fixed lane order and a fixed order of sums.
#pragma once

#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(SINEW_SCALAR)
#include <xmmintrin.h>
#endif

// A client may compile these headers with other flags than the engine's; with ordinary inline functions the
// linker could then pick the client's copy for the engine's own calls, and a fused multiply-add in it would
// change the engine's bits.
/// Stands before every function of these headers: it is always inlined.
#define SINEW_KIT [[gnu::always_inline]] inline

#pragma GCC visibility push(default)

namespace Sinew {

#if !defined(SINEW_SCALAR)

/// Four floats, lanes 0 to 3 for x, y, z, w; + - * / work lane by lane and [] reads or writes one.
using Lanes = float __attribute__((vector_size(16)));
/// Four integers that choose lanes: all bits of one set, or none.
using Mask = std::int32_t __attribute__((vector_size(16)));

/// `s` in all four lanes.
SINEW_KIT Lanes splat(float s) { return Lanes{s, s, s, s}; }
/// Four lanes from four floats.
SINEW_KIT Lanes makeLanes(float x, float y, float z, float w) { return Lanes{x, y, z, w}; }
/// A mask from four integers.
SINEW_KIT Mask makeMask(std::int32_t x, std::int32_t y, std::int32_t z, std::int32_t w)
{
    return Mask{x, y, z, w};
}
/// The bits of `v` that are set in the mask.
SINEW_KIT Lanes keepBits(Lanes v, Mask m) { return (Lanes)((Mask)v & m); }
/// `v` with the bits turned over that are set in the mask.
SINEW_KIT Lanes flipBits(Lanes v, Mask m) { return (Lanes)((Mask)v ^ m); }
/// The lanes of `a` where the mask is all ones, of `b` where it is all zeros.
SINEW_KIT Lanes select(Mask m, Lanes a, Lanes b) { return (Lanes)(((Mask)a & m) | ((Mask)b & ~m)); }

/// Lane i of the result is lane I_i of `v`.
template <int X, int Y, int Z, int W>
SINEW_KIT Lanes swizzle(Lanes v)
{
    return __builtin_shufflevector(v, v, X, Y, Z, W);
}
/// Lanes 0 and 1 from `a`, lanes 2 and 3 from `b`, each picked by index 0 to 3.
template <int X, int Y, int Z, int W>
SINEW_KIT Lanes shuffle(Lanes a, Lanes b)
{
    return __builtin_shufflevector(a, b, X, Y, Z + 4, W + 4);
}

#if defined(__SSE2__)
/// The smaller of each two lanes; where they don't compare (NaN), that of `b`.
SINEW_KIT Lanes laneMin(Lanes a, Lanes b) { return _mm_min_ps(a, b); }
/// The larger of each two lanes; where they don't compare (NaN), that of `b`.
SINEW_KIT Lanes laneMax(Lanes a, Lanes b) { return _mm_max_ps(a, b); }
/// The square root of each lane, correctly rounded.
SINEW_KIT Lanes laneSqrt(Lanes v) { return _mm_sqrt_ps(v); }
#else
SINEW_KIT Lanes laneMin(Lanes a, Lanes b) { return select((Mask)(a < b), a, b); }
SINEW_KIT Lanes laneMax(Lanes a, Lanes b) { return select((Mask)(a > b), a, b); }
SINEW_KIT Lanes laneSqrt(Lanes v)
{
    return Lanes{__builtin_sqrtf(v[0]), __builtin_sqrtf(v[1]), __builtin_sqrtf(v[2]), __builtin_sqrtf(v[3])};
}
#endif

/// Set where a < b; never with NaN.
SINEW_KIT Mask laneLess(Lanes a, Lanes b) { return (Mask)(a < b); }
/// Set where a <= b; never with NaN.
SINEW_KIT Mask laneAtMost(Lanes a, Lanes b) { return (Mask)(a <= b); }
/// A bit for each lane of a mask, lane 0 the lowest.
SINEW_KIT unsigned laneBits(Mask m)
{
#if defined(__SSE2__)
    return static_cast<unsigned>(_mm_movemask_ps((Lanes)m));
#else
    return (m[0] & 1u) | (m[1] & 2u) | (m[2] & 4u) | (m[3] & 8u);
#endif
}
/// Whether both masks are set in every lane.
SINEW_KIT bool allLanes(Mask a, Mask b) { return laneBits(a & b) == 15u; }

#else

// The scalar twin, for checking the vector form: the same operations on four floats one by one. What has no
// sentence here has it above.

/// Four integers that choose lanes.
struct alignas(16) Mask {
    std::int32_t i[4]; ///< lanes 0 to 3
};
/// Four floats.
struct alignas(16) Lanes {
    float f[4]; ///< lanes 0 to 3
    SINEW_KIT float operator[](int k) const { return f[k]; } ///< reads lane `k`
    SINEW_KIT float& operator[](int k) { return f[k]; } ///< lane `k`, to write
};

SINEW_KIT Lanes makeLanes(float x, float y, float z, float w) { return Lanes{{x, y, z, w}}; }
SINEW_KIT Lanes splat(float s) { return makeLanes(s, s, s, s); }
SINEW_KIT Mask makeMask(std::int32_t x, std::int32_t y, std::int32_t z, std::int32_t w)
{
    return Mask{{x, y, z, w}};
}

/// operation(a, b) of each two lanes.
template <class Operation>
SINEW_KIT Lanes perLane(Lanes a, Lanes b, Operation operation)
{
    return makeLanes(operation(a.f[0], b.f[0]), operation(a.f[1], b.f[1]), operation(a.f[2], b.f[2]),
                     operation(a.f[3], b.f[3]));
}
/// operation(bits, lane) of each lane's bits.
template <class Operation>
SINEW_KIT Lanes perLaneBits(Lanes a, Operation operation)
{
    std::int32_t bits[4];
    std::memcpy(bits, a.f, sizeof bits);
    for (int k = 0; k < 4; ++k)
        bits[k] = operation(bits[k], k);
    Lanes r;
    std::memcpy(r.f, bits, sizeof bits);
    return r;
}
/// Sums, lane by lane.
SINEW_KIT Lanes operator+(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x + y; });
}
/// Differences, lane by lane.
SINEW_KIT Lanes operator-(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x - y; });
}
/// Products, lane by lane.
SINEW_KIT Lanes operator*(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x * y; });
}
/// Quotients, lane by lane.
SINEW_KIT Lanes operator/(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x / y; });
}
SINEW_KIT Lanes& operator+=(Lanes& a, Lanes b) { return a = a + b; } ///< adds in place
SINEW_KIT Lanes& operator-=(Lanes& a, Lanes b) { return a = a - b; } ///< subtracts in place
SINEW_KIT Lanes& operator*=(Lanes& a, Lanes b) { return a = a * b; } ///< multiplies in place
/// Each lane with its sign turned.
SINEW_KIT Lanes operator-(Lanes a) { return makeLanes(-a.f[0], -a.f[1], -a.f[2], -a.f[3]); }
SINEW_KIT Lanes keepBits(Lanes v, Mask m)
{
    return perLaneBits(v, [&](std::int32_t b, int k) { return b & m.i[k]; });
}
SINEW_KIT Lanes flipBits(Lanes v, Mask m)
{
    return perLaneBits(v, [&](std::int32_t b, int k) { return b ^ m.i[k]; });
}
SINEW_KIT Lanes select(Mask m, Lanes a, Lanes b)
{
    return makeLanes(m.i[0] ? a.f[0] : b.f[0], m.i[1] ? a.f[1] : b.f[1], m.i[2] ? a.f[2] : b.f[2],
                     m.i[3] ? a.f[3] : b.f[3]);
}
template <int X, int Y, int Z, int W>
SINEW_KIT Lanes swizzle(Lanes v)
{
    return makeLanes(v.f[X], v.f[Y], v.f[Z], v.f[W]);
}
template <int X, int Y, int Z, int W>
SINEW_KIT Lanes shuffle(Lanes a, Lanes b)
{
    return makeLanes(a.f[X], a.f[Y], b.f[Z], b.f[W]);
}
SINEW_KIT Lanes laneMin(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x < y ? x : y; });
}
SINEW_KIT Lanes laneMax(Lanes a, Lanes b)
{
    return perLane(a, b, [](float x, float y) { return x > y ? x : y; });
}
SINEW_KIT Lanes laneSqrt(Lanes v)
{
    return makeLanes(__builtin_sqrtf(v.f[0]), __builtin_sqrtf(v.f[1]), __builtin_sqrtf(v.f[2]),
                     __builtin_sqrtf(v.f[3]));
}
SINEW_KIT Mask laneAtMost(Lanes a, Lanes b)
{
    return makeMask(a.f[0] <= b.f[0] ? -1 : 0, a.f[1] <= b.f[1] ? -1 : 0, a.f[2] <= b.f[2] ? -1 : 0,
                    a.f[3] <= b.f[3] ? -1 : 0);
}
SINEW_KIT unsigned laneBits(Mask m) { return (m.i[0] & 1u) | (m.i[1] & 2u) | (m.i[2] & 4u) | (m.i[3] & 8u); }
SINEW_KIT bool allLanes(Mask a, Mask b)
{
    return (a.i[0] & b.i[0]) && (a.i[1] & b.i[1]) && (a.i[2] & b.i[2]) && (a.i[3] & b.i[3]);
}
SINEW_KIT Mask laneLess(Lanes a, Lanes b)
{
    return makeMask(a.f[0] < b.f[0] ? -1 : 0, a.f[1] < b.f[1] ? -1 : 0, a.f[2] < b.f[2] ? -1 : 0,
                    a.f[3] < b.f[3] ? -1 : 0);
}

#endif

/// The mask of which `bits` are the lanes, lane 0 the lowest.
SINEW_KIT Mask maskFromBits(unsigned bits)
{
    return makeMask(bits & 1u ? -1 : 0, bits & 2u ? -1 : 0, bits & 4u ? -1 : 0, bits & 8u ? -1 : 0);
}

/// 0 in all four lanes.
SINEW_KIT Lanes zeroLanes() { return splat(0.0f); }

/// Four floats from memory of any alignment.
SINEW_KIT Lanes loadLanes(const float* p)
{
    Lanes v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
/// Four floats to memory of any alignment.
SINEW_KIT void storeLanes(float* p, Lanes v) { std::memcpy(p, &v, sizeof v); }

/// The first three lanes to memory; the float behind them keeps its value.
SINEW_KIT void storeThree(float* p, Lanes v)
{
#if defined(__SSE2__) && !defined(SINEW_SCALAR)
    _mm_storel_pi(reinterpret_cast<__m64*>(p), v);
    _mm_store_ss(p + 2, _mm_movehl_ps(v, v));
#else
    p[0] = v[0];
    p[1] = v[1];
    p[2] = v[2];
#endif
}

/// `v` with 0 in lane 3.
SINEW_KIT Lanes clearW(Lanes v) { return keepBits(v, makeMask(-1, -1, -1, 0)); }
/// The magnitude of each lane.
SINEW_KIT Lanes laneAbs(Lanes v)
{
    return keepBits(v, makeMask(0x7fffffff, 0x7fffffff, 0x7fffffff, 0x7fffffff));
}

/// (v0 + v1) + (v2 + v3): this order of sums is part of the contract.
SINEW_KIT float sumLanes(Lanes v)
{
    const Lanes pairs = v + swizzle<1, 0, 3, 2>(v);
    return (pairs + swizzle<2, 3, 0, 1>(pairs))[0];
}
/// The largest lane; NaN lanes never win over a number that is already there.
SINEW_KIT float maxLane(Lanes v)
{
    const Lanes pairs = laneMax(swizzle<1, 0, 3, 2>(v), v);
    return laneMax(swizzle<2, 3, 0, 1>(pairs), pairs)[0];
}

/// Turns four rows into four columns, in place.
SINEW_KIT void transposeLanes(Lanes& a, Lanes& b, Lanes& c, Lanes& d)
{
    const Lanes ab01 = shuffle<0, 1, 0, 1>(a, b), ab23 = shuffle<2, 3, 2, 3>(a, b);
    const Lanes cd01 = shuffle<0, 1, 0, 1>(c, d), cd23 = shuffle<2, 3, 2, 3>(c, d);
    a = shuffle<0, 2, 0, 2>(ab01, cd01);
    b = shuffle<1, 3, 1, 3>(ab01, cd01);
    c = shuffle<0, 2, 0, 2>(ab23, cd23);
    d = shuffle<1, 3, 1, 3>(ab23, cd23);
}

} // namespace Sinew

#pragma GCC visibility pop
