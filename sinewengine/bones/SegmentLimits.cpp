// SPDX-License-Identifier: MIT
// Limits, retargeting and stretch of a bone. None of them constrains the solve: each is a pull, a desired
// rate per column, which the solver follows in what the tasks leave free.
#include "bones/Segment.h"
#include "kit/Trigonometry.h"

#include <sinew/Assert.h>

#include <cmath>

namespace Sinew {

void Segment::setRetargeting(bool enable, bool restoreLimits)
{
    m_Retargeting = enable;
    m_FullRetargeting = false;
    m_RetargetingGain = 1.0f;
    if (!m_LimitsWithRetargeting && !enable && restoreLimits)
        enableLimits(true);
}

void Segment::setFullRetargeting(bool on)
{
    m_Retargeting = m_FullRetargeting = on;
    m_RetargetingGain = on ? 0.1f : 1.0f;
}

void Segment::enableLimits(bool on)
{
    if (!on) {
        m_LimitsEnabled = false;
        return;
    }
    m_LimitsEnabled = m_LimitOn[0] || m_LimitOn[1] || m_LimitOn[2] || m_LimitOn[3] || m_HoldOrientation;
    if (m_LimitsEnabled && m_HoldOrientation)
        m_LimitTarget = m_RestOrientation;
    if (!m_LimitsWithRetargeting)
        m_Retargeting = false;
}

void Segment::enableStretchLimits(bool on)
{
    if (m_Parent)
        m_StretchLimitsEnabled = on;
}

void Segment::setLimit(std::uint32_t axis, float min, float max)
{
    SINEW_ASSERT(axis <= 3, "axis<=3", "SegmentO", 589);
    if (axis > 3)
        return;
    if (axis < 3) {
        m_Limits[2 * axis] = min;
        m_Limits[2 * axis + 1] = max;
        if (min > -1.0f || !(max >= 1.0f))
            m_LimitOn[axis] = m_LimitsEnabled = true;
    } else if (min > -180.0f || !(max >= 180.0f)) {
        const float t = twistAngle(m_RestOrientation, m_RotationAxis);
        m_Limits[6] = radians(min) + t;
        m_Limits[7] = radians(max) + t;
        m_LimitOn[3] = true;
        m_RollDegrees[0] = min;
        m_RollDegrees[1] = max;
    }
    m_HoldOrientation = !(m_LimitOn[0] || m_LimitOn[1] || m_LimitOn[2] || m_LimitOn[3]);
}

void Segment::setRotationAxis(std::uint32_t rotation_axis, const float* axis)
{
    SINEW_ASSERT(rotation_axis <= 3, "rotation_axis<=3", "SegmentO", 1133);
    if (rotation_axis > 3)
        return;
    float t;
    if (rotation_axis == 3) {
        SinewVector given;
        if (axis)
            given.set(axis[0], axis[1], axis[2]);
        const float s = dot(given, given);
        if (!(s > 0.0f && s < __builtin_inff()))
            return; // no axis: nothing changes
        normalise(given);
        m_TwistAxis = given;
        m_TwistAlign = shortestArc(m_TwistAxis, SinewVector(0.0f, 0.0f, 1.0f));
        t = twistAngle(m_TwistAlign * m_RestOrientation, 2);
    } else {
        m_TwistAxis = unitAxis(rotation_axis);
        t = twistAngle(m_RestOrientation, rotation_axis);
    }
    m_RotationAxis = rotation_axis;
    m_Limits[6] = radians(m_RollDegrees[0]) + t;
    m_Limits[7] = radians(m_RollDegrees[1]) + t;
}

void Segment::setProjectionAxis(std::uint32_t projection_axis)
{
    SINEW_ASSERT(projection_axis <= 2, "projection_axis <=2", "SegmentO", 1172);
    if (projection_axis > 2)
        return;
    m_ProjectionAxis = projection_axis;
    m_RestProjection = rotate(m_RestOrientation, unitAxis(projection_axis));
    m_LimitTarget = m_RestOrientation;
}

void Segment::setHoldOrientation(bool on)
{
    m_HoldOrientation = on;
    if (on)
        m_LimitsEnabled = true;
}

void Segment::setStretchLimit(std::uint32_t axis, float min, float max)
{
    if (axis > 2)
        return;
    float* limits = m_StretchLimits + 2 * axis;
    float* coefficient = m_StretchCoefficient + 2 * axis;
    if (max > min) {
        limits[0] = min;
        limits[1] = max;
        coefficient[0] = 3.1415927f / (max - min);
        coefficient[1] = (min + max) * -0.5f;
    } else {
        limits[0] = limits[1] = coefficient[0] = coefficient[1] = 0.0f;
    }
}

void Segment::setRetargetingAxisGain(std::uint32_t axis, float gain)
{
    if (axis < 3)
        m_RetargetingAxisGain[axis] = gain;
}

float Segment::getRetargetingAxisGain(std::uint32_t axis) const
{
    return axis < 3 ? m_RetargetingAxisGain[axis] : -1.0f;
}

// The pull is e.w e.xyz, half of sin(theta) times the axis: it fades near the target and near a half turn.

void Segment::applyRetargeting(float gain)
{
    const SinewQuaternion e = conj(m_Orientation) * m_TargetOrientation;
    const float s = gain * (e.w() * m_RetargetingGain);
    std::uint32_t column = m_FirstColumn;
    for (std::uint32_t i = 0; i < 3; ++i) {
        if (!m_ActiveDof[i])
            continue;
        if (column < m_ColumnCount)
            m_SecondaryMotion[column] = (s * m_RetargetingAxisGain[i]) * e[i];
        ++column;
    }
}

/// Whether the twist about the rotation axis lies outside its limits. Where the quaternion alone settles
/// that, the angle isn't computed, as it costs more than the rest of a bone's step; the answer is the same.
bool Segment::isRollViolated() const
{
    constexpr float kBeyondQuarterTurn = 1.6f; // radians: a quarter turn and more than its rounding
    constexpr float kTiny = 1e-30f; // below it an angle might be rounded to 0
    const SinewQuaternion twisted = m_RotationAxis == 3 ? m_TwistAlign * m_Orientation : m_Orientation;
    const std::uint32_t axis = m_RotationAxis == 3 ? 2 : m_RotationAxis;
    const float sine = std::fabs(twisted[axis]), cosine = twisted.w();
    // An empty range, as in a bone without a roll limit: any twist is outside.
    if (m_Limits[6] == 0.0f && m_Limits[7] == 0.0f && cosine > 0.5f && sine > kTiny)
        return true;
    // At most a quarter turn within wide limits.
    if (m_Limits[6] <= -kBeyondQuarterTurn && m_Limits[7] >= kBeyondQuarterTurn && sine <= cosine)
        return false;
    const float twist = twistAngle(twisted, axis);
    return twist > m_Limits[7] || !(twist >= m_Limits[6]); // NaN counts as outside
}

void Segment::applyLimits(float gain, float stretchGain, float* columnWeights)
{
    if (!m_LimitsEnabled) {
        if (m_Translational && m_StretchLimitsEnabled)
            applyStretch(nullptr, stretchGain, columnWeights);
        return;
    }

    if (!m_HoldOrientation) {
        m_BoxViolated = m_RollViolated = false;
        const SinewVector direction = rotate(m_Orientation, unitAxis(m_ProjectionAxis));
        SinewVector clamped = direction;
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (!m_LimitOn[i])
                continue;
            if (!(clamped[i] >= m_Limits[2 * i])) { // NaN is clamped to the minimum
                clamped.setLane(i, m_Limits[2 * i]);
                m_BoxViolated = true;
            } else if (clamped[i] > m_Limits[2 * i + 1]) {
                clamped.setLane(i, m_Limits[2 * i + 1]);
                m_BoxViolated = true;
            }
        }
        if (m_BoxViolated) {
            // Without enforcing, the pull goes to the last target there was, at first the rest orientation.
            const float s = dot(clamped, clamped);
            if (m_EnforceLimits && s > 0.0f && s < __builtin_inff()) {
                normalise(clamped);
                m_LimitTarget = shortestArc(m_RestProjection, clamped) * m_RestOrientation;
            }
        } else {
            m_RollViolated = isRollViolated();
            if (!m_RollViolated)
                return; // inside: no pull, and no stretch pass either
            m_LimitTarget = shortestArc(m_RestProjection, direction) * m_RestOrientation;
        }
    }

    const SinewQuaternion e = conj(m_Orientation) * m_LimitTarget;
    const float s = gain * (e.w() * m_LimitsGain);
    std::uint32_t column = m_FirstColumn;
    if (m_PlainRotations) {
        float* z = m_SecondaryMotion + column;
        storeThree(z, loadLanes(z) + splat(s) * e.lanes);
        column += 3;
    } else {
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (!m_ActiveDof[i])
                continue;
            if (column < m_ColumnCount)
                m_SecondaryMotion[column] += s * e[i];
            ++column;
        }
    }
    if (m_Translational && m_StretchLimitsEnabled)
        applyStretch(m_SecondaryMotion + column, stretchGain, columnWeights + column);
}

void Segment::applyStretch(float* rate, float gain, float* weight)
{
    if (!m_Parent)
        return;
    if (!rate) {
        const std::uint32_t column = m_FirstColumn + m_ActiveDof[0] + m_ActiveDof[1] + m_ActiveDof[2];
        rate = m_SecondaryMotion + column;
        weight += column;
    }
    const float* end = m_SecondaryMotion + m_ColumnCount;
    const float g = gain * m_StretchGain;
    const SinewVector delta =
        m_FreeTranslation ? m_RestTranslation - m_Translation : m_RestBoneVector - m_BoneVector;
    for (std::uint32_t i = 0; i < 3 && rate < end; ++i) {
        if (!m_ActiveDof[3 + i])
            continue;
        *rate = delta[i] * g;
        if (m_EnforceStretchLimits) {
            // The offset enters unscaled; 0.01 is the floor, also for NaN.
            const float scale = m_StretchCoefficient[2 * i], offset = m_StretchCoefficient[2 * i + 1];
            const float w = sineCosine(offset - delta[i] * scale).cosine * m_Weight[3 + i];
            *weight = w > 0.01f ? w : 0.01f;
            ++weight;
        }
        ++rate;
    }
}

} // namespace Sinew
