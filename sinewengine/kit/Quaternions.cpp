// SPDX-License-Identifier: MIT
// The quaternion operations that are too long to inline.
#include "kit/Trigonometry.h"

#include <sinew/SinewMatrix.h>

namespace Sinew {

SinewQuaternion fromRotationVector(SinewVector v, float angle)
{
    const float magnitude = length(v);
    if (isZero(magnitude))
        return SinewQuaternion();
    const SineCosine half = sineCosine(angle * 0.5f);
    const SinewVector axis = v * (half.sine / magnitude);
    return SinewQuaternion(axis.x(), axis.y(), axis.z(), half.cosine);
}

SinewQuaternion shortestArc(SinewVector a, SinewVector b)
{
    const float d = dot(a, b);
    if (d >= 1.0f)
        return SinewQuaternion();
    if (static_cast<double>(d) >= -0.999999) {
        const float s = __builtin_sqrtf((d + d) + 2.0f);
        const SinewVector axis = cross(a, b) * (1.0f / s);
        return SinewQuaternion(axis.x(), axis.y(), axis.z(), s * 0.5f);
    }
    SinewVector c = cross(SinewVector(1.0f, 0.0f, 0.0f), a);
    if (isNearZero(length(c)))
        c = cross(SinewVector(0.0f, 1.0f, 0.0f), a);
    normalise(c);
    return SinewQuaternion(c.x(), c.y(), c.z(), 0.0f);
}

float twistAngle(SinewQuaternion q, std::uint32_t i)
{
    const float sine = q[i & 3u];
    if (isZero(q.w()) && isZero(sine))
        return 1.0f;
    return 2.0f * arcTangent2(sine, q.w());
}

SinewQuaternion fromColumnMatrix(const SinewMatrix& m)
{
    const float trace = (m[0][0] + m[1][1]) + m[2][2];
    if (trace > 0.0f) {
        const float s = __builtin_sqrtf(trace + 1.0f), f = 0.5f / s;
        return SinewQuaternion((m[2][1] - m[1][2]) * f, (m[0][2] - m[2][0]) * f, (m[1][0] - m[0][1]) * f,
                               s * 0.5f);
    }
    std::uint32_t i = 0;
    if (m[1][1] > m[0][0])
        i = 1;
    if (m[2][2] > m[i][i])
        i = 2;
    const std::uint32_t j = (i + 1) % 3, k = (j + 1) % 3;
    const float s = __builtin_sqrtf(((m[i][i] - m[j][j]) - m[k][k]) + 1.0f), f = 0.5f / s;
    float q[4];
    q[i] = s * 0.5f;
    q[3] = (m[k][j] - m[j][k]) * f;
    q[j] = (m[i][j] + m[j][i]) * f;
    q[k] = (m[i][k] + m[k][i]) * f;
    return SinewQuaternion(q[0], q[1], q[2], q[3]);
}

} // namespace Sinew
