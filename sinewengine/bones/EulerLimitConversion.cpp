// SPDX-License-Identifier: MIT
// From a joint's Euler ranges in degrees to a box on the direction of its twist axis and a roll range.
#include "bones/Segment.h"

namespace Sinew {

namespace {

bool sign(float x) { return x >= 0.0f; }

/// The parent axis that `w` lies closest to; ties go to x, then to y.
std::uint32_t nearestAxis(SinewVector w)
{
    const float x = std::fabs(w.x()), y = std::fabs(w.y()), z = std::fabs(w.z());
    const float m = z > y ? z : y;
    return x > m || x == m ? 0 : m == y ? 1 : 2;
}

/// The box while it is built. A fixed bound is no longer taken from the four extreme directions.
struct Box {
    float bound[6] = {-1.0f, 1.0f, -1.0f, 1.0f, -1.0f, 1.0f};
    bool minFixed[3] = {};
    bool maxFixed[3] = {};

    void openMinimum(std::uint32_t k)
    {
        if (!minFixed[k]) {
            bound[2 * k] = -1.0f;
            minFixed[k] = true;
        }
    }
    void openMaximum(std::uint32_t k)
    {
        if (!maxFixed[k]) {
            bound[2 * k + 1] = 1.0f;
            maxFixed[k] = true;
        }
    }
    /// Writes the maximum but sets the minimum's flag: that pairing is intended.
    void closeTop(std::uint32_t k)
    {
        if (!minFixed[k]) {
            bound[2 * k + 1] = -1.0f;
            minFixed[k] = true;
        }
    }
    void fix(std::uint32_t k) { minFixed[k] = maxFixed[k] = true; }
};

/// One swing of the twist axis, from `low` to `high` degrees, seen in component k.
void openForSwing(Box& box, std::uint32_t k, SinewVector lo, SinewVector hi, SinewVector middle, float low,
                  float high)
{
    if (sign(lo[k]) == sign(hi[k])) {
        const std::uint32_t n = (k + 1) % 3, o = (k + 2) % 3;
        if (sign(lo[n]) == sign(hi[n]) && sign(lo[o]) == sign(hi[o]))
            return;
        // A swing of half a turn or more goes round the far side of the axis.
        const bool far = std::fabs(high - low) >= 180.0f;
        if (sign(lo[k]) == far)
            box.openMinimum(k);
        else
            box.openMaximum(k);
        return;
    }
    if (std::fabs(low) > 90.0f && sign(middle[k]) == sign(lo[k])) {
        if (sign(middle[k]))
            box.openMaximum(k);
        else
            box.closeTop(k);
        return;
    }
    if (std::fabs(high) > 90.0f && sign(middle[k]) == sign(hi[k])) {
        if (!sign(middle[k]))
            box.closeTop(k);
        else
            box.openMaximum(k);
    }
}

/// Moves bounds off values where the box would have no width or sit on zero.
void repair(float& lo, float& hi)
{
    if (lo == hi) {
        if (lo == 1.0f)
            lo = 0.9998f;
        else if (lo == -1.0f)
            hi = -0.9998f;
        else if (lo == 0.0f) {
            lo = -0.015f;
            hi = 0.015f;
        }
    } else if (lo == 0.0f) {
        lo = 0.0001f;
    } else if (hi == 0.0f) {
        hi = 0.0001f;
    }
}

} // namespace

void Segment::setEulerLimits(const EulerLimits& limits, bool fromRest)
{
    float L[6];
    for (int i = 0; i < 6; ++i)
        L[i] = limits.range[i];
    bool full[3];
    for (int i = 0; i < 3; ++i)
        full[i] = std::fabs(L[2 * i]) + std::fabs(L[2 * i + 1]) >= 359.0f;

    const std::uint32_t a = limits.axis < 3 ? limits.axis : 0;
    const std::uint32_t b = a == 0 ? 1 : 0, c = a == 2 ? 1 : 2;
    std::uint32_t rollAxis = a;
    Box box;
    if (!(full[b] && full[c])) {
        SinewQuaternion q = fromRest ? m_RestOrientation : m_Orientation;
        std::uint32_t map[3];
        for (std::uint32_t i = 0; i < 3; ++i)
            map[i] = nearestAxis(rotate(q, unitAxis(i)));
        rollAxis = map[a];

        // A range wholly on one side of 0: turn the frame by its inner bound and measure the outer one from
        // there. Only the first such axis is treated, and the inner bound keeps its value.
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (i == a || sign(L[2 * i]) != sign(L[2 * i + 1]) || L[2 * i] == 0.0f)
                continue;
            const std::uint32_t p = std::fabs(L[2 * i + 1]) <= std::fabs(L[2 * i]) ? 2 * i + 1 : 2 * i;
            const std::uint32_t o = p == 2 * i ? 2 * i + 1 : 2 * i;
            q = q * fromRotationVector(unitAxis(i), radians(L[p]));
            L[o] -= L[p];
            break;
        }

        // Extreme directions of the twist axis: rows 0, 1 by the swing about b, rows 2, 3 by that about c.
        const std::uint32_t swing[2] = {b, c};
        SinewVector T[4];
        for (std::uint32_t s = 0; s < 2; ++s)
            for (std::uint32_t j = 0; j < 2; ++j) {
                const std::uint32_t u = swing[s];
                T[2 * s + j] =
                    rotate(q * fromRotationVector(unitAxis(u), radians(L[2 * u + j])), unitAxis(a));
            }

        if (full[b]) {
            box.fix(map[c]);
            box.fix(map[a]);
        }
        if (full[c]) {
            box.fix(map[b]);
            box.fix(map[a]);
        }
        const SinewVector middle = rotate(q, unitAxis(a));
        for (std::uint32_t k = 0; k < 3; ++k)
            for (std::uint32_t s = 0; s < 2; ++s) {
                const std::uint32_t u = swing[s];
                if (k == map[u] || (box.minFixed[k] && box.maxFixed[k]))
                    continue;
                openForSwing(box, k, T[2 * s], T[2 * s + 1], middle, L[2 * u], L[2 * u + 1]);
            }

        for (std::uint32_t k = 0; k < 3; ++k) {
            float smallest = T[0][k], largest = T[0][k];
            for (int r = 1; r < 4; ++r) {
                smallest = T[r][k] < smallest ? T[r][k] : smallest;
                largest = T[r][k] > largest ? T[r][k] : largest;
            }
            if (!box.minFixed[k])
                box.bound[2 * k] = smallest;
            if (!box.maxFixed[k])
                box.bound[2 * k + 1] = largest;
            repair(box.bound[2 * k], box.bound[2 * k + 1]);
        }
    }

    for (std::uint32_t i = 0; i < 3; ++i)
        setLimit(i, box.bound[2 * i], box.bound[2 * i + 1]);
    setLimit(3, L[2 * a], L[2 * a + 1]);
    setProjectionAxis(a);
    setRotationAxis(rollAxis, nullptr);
}

} // namespace Sinew
