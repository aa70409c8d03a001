// SPDX-License-Identifier: MIT
// The bone's setters, links, forward kinematics and how one iteration's step changes its pose.
#include "bones/Segment.h"

#include "bones/StepRotation.h"
#include "solver/IKSolverState.h"

#include <initializer_list>

namespace Sinew {

namespace {

SINEW_KIT float one(float value) { return value; }

} // namespace

void Segment::attach(IKSolverState* solver, std::uint8_t* patternDirty, const float* jointStep,
                     float* secondaryMotion, std::uint32_t columnCount)
{
    m_Solver = solver;
    m_PatternDirty = patternDirty;
    m_JointStep = jointStep;
    m_SecondaryMotion = secondaryMotion;
    m_ColumnCount = jointStep && secondaryMotion ? columnCount : 0;
    refreshPlainRotations();
}

void Segment::refreshPlainRotations()
{
    m_PlainRotations =
        m_ActiveDof[0] && m_ActiveDof[1] && m_ActiveDof[2] && m_FirstColumn + 3 <= m_ColumnCount;
}

bool Segment::flagsMatchColumns() const
{
    std::uint32_t count = 0;
    for (bool on : m_ActiveDof)
        count += on;
    const bool translates = m_ActiveDof[3] || m_ActiveDof[4] || m_ActiveDof[5];
    return count == m_DofCount && translates == m_Translational;
}

void Segment::noteLayoutChange()
{
    if (m_PatternDirty)
        *m_PatternDirty = 1;
    if (m_Solver)
        m_Solver->requireSetup();
    refreshPlainRotations();
}

void Segment::resetTranslation(bool disableDof)
{
    for (Segment* child = m_FirstChild; child; child = child->m_NextSibling) {
        child->m_Translation = child->m_RestTranslation;
        child->m_Dirty = true;
    }
    if (m_Translational)
        m_Translation = m_RestTranslation;
    else
        m_BoneVector = m_RestBoneVector;
    m_Length = Sinew::length(m_Translation - m_RestTranslation) + Sinew::length(m_BoneVector);
    if (disableDof)
        setActiveDof(false, false, false, false);
}

void Segment::setActiveDof(bool x, bool y, bool z, bool rotational)
{
    bool* flags = m_ActiveDof + (rotational ? 0 : 3);
    if (flags[0] == x && flags[1] == y && flags[2] == z)
        return;
    flags[0] = x;
    flags[1] = y;
    flags[2] = z;
    if (!rotational) {
        m_Translational = x || y || z;
        if (!m_FreeTranslation && !m_FirstChild)
            m_Translational = flags[0] = flags[1] = flags[2] = false; // nothing to push
    }
    m_DofCount = 0;
    for (bool on : m_ActiveDof)
        m_DofCount += on;
    noteLayoutChange();
    setActive(m_DofCount > 0, false);
}

void Segment::setFreeTranslation(bool on, bool alsoDof)
{
    m_FreeTranslation = on;
    if (alsoDof)
        setActiveDof(on, on, on, false);
}

void Segment::setActive(bool on, bool alsoDof)
{
    if (alsoDof) {
        for (bool& flag : m_ActiveDof)
            flag = on;
        refreshPlainRotations();
        // The flags may no longer match the columns. The pattern is only rebuilt if the state changes as
        // well.
        if (m_Solver)
            m_Solver->noteFlagsChanged();
    }
    if (on != m_Active) {
        m_Active = on;
        noteLayoutChange();
    }
}

void Segment::setTargetOrientation(float x, float y, float z, float w)
{
    m_TargetOrientation.set(x, y, z, w);
    if (m_Retargeting)
        m_LimitTarget = m_TargetOrientation;
}

void Segment::setOrientation(float x, float y, float z, float w)
{
    SinewQuaternion q(x, y, z, w);
    if (!canNormalise(q))
        return;
    normalise(q);
    m_Orientation = q;
    m_Dirty = true;
}

void Segment::setTranslation(float x, float y, float z)
{
    m_Translation.set(x, y, z);
    m_Dirty = true;
}

void Segment::addTranslation(float x, float y, float z)
{
    m_Translation += SinewVector(x, y, z);
    m_Dirty = true;
}

void Segment::setWeight(std::uint32_t axis, float weight)
{
    if (axis >= 6)
        return;
    m_Weight[axis] = weight;
    if (m_Solver)
        m_Solver->updateColumnWeights(*this);
}

const SinewQuaternion& Segment::getOrientation()
{
    normalise(m_Orientation);
    m_OrientationOut = m_Orientation;
    return m_OrientationOut;
}

const SinewQuaternion& Segment::getOrientationFromRest()
{
    m_OrientationOut = conj(m_RestOrientation) * m_Orientation;
    return m_OrientationOut;
}

bool Segment::isBelow(const Segment* other) const
{
    for (const Segment* bone = this; bone; bone = bone->m_Parent)
        if (bone == other)
            return true;
    return false;
}

void Segment::setParent(IKSegment* face)
{
    Segment* parent = static_cast<Segment*>(face);
    if (parent == m_Parent)
        return;
    // A cycle would make walks endless. Only a bone with children can close one, or a link to itself. A bone
    // of another solver has its frames and columns elsewhere.
    if (parent && (parent == this || parent->m_Solver != m_Solver || (m_FirstChild && parent->isBelow(this))))
        return;
    if (m_Parent) {
        Segment** link = &m_Parent->m_FirstChild;
        while (*link && *link != this)
            link = &(*link)->m_NextSibling;
        if (*link)
            *link = m_NextSibling;
    }
    if (parent) {
        m_NextSibling = parent->m_FirstChild;
        parent->m_FirstChild = this;
    }
    m_Parent = parent;
    if (m_Solver)
        m_Solver->noteTreeChanged();
}

void Segment::setRestOrientation(float x, float y, float z, float w)
{
    SinewQuaternion q(x, y, z, w);
    if (!canNormalise(q))
        return;
    normalise(q);
    m_RestOrientation = m_TargetOrientation = m_LimitTarget = m_Orientation = q;
    m_RestProjection = rotate(q, unitAxis(m_ProjectionAxis));
    m_Dirty = true;
}

void Segment::setRestTranslation(float x, float y, float z)
{
    m_Translation.set(x, y, z);
    m_RestTranslation = m_Translation;
    m_Dirty = true;
}

void Segment::updateGlobal(const GlobalFrame& parent, bool useTarget)
{
    const Placement top{parent.rotation, parent.position};
    walkSubtree(this, [&](Segment* bone) {
        bone->place(bone == this ? top : bone->m_Parent->m_World, useTarget);
        bone->placeMassCentre();
        if (bone != this)
            bone->m_Parent->passChainLength(bone);
    });
}

const GlobalFrame& Segment::getGlobalFrame() const
{
    m_FrameOut = {toFrameMatrix(m_World.rotation), m_World.rotation, m_World.position};
    return m_FrameOut;
}

const SinewQuaternion& Segment::getGlobalOrientation()
{
    m_OrientationOut = m_World.rotation;
    normalise(m_OrientationOut);
    return m_OrientationOut;
}

const SinewMatrix& Segment::getGlobalMatrix()
{
    m_MatrixOut = toColumnMatrix(m_World.rotation);
    return m_MatrixOut;
}

SinewVector& Segment::getAxis(SinewVector& out, std::uint32_t i)
{
    m_AxisOut = rotate(m_World.rotation, unitAxis(i));
    out = m_AxisOut;
    return out;
}

void Segment::scale(float factor)
{
    // New values rather than in place: an infinite factor must not leave NaN in lane w.
    for (SinewVector* v :
         {&m_Translation, &m_BoneVector, &m_RestBoneVector, &m_World.position, &m_MassCentre})
        *v = *v * factor;
    m_Length *= factor;
    if (m_Solver)
        m_Solver->requestMeasure();
    m_Dirty = true;
}

void Segment::resetToRest()
{
    m_Orientation = m_RestOrientation;
    m_BoneVector = m_RestBoneVector;
    m_Translation = m_RestTranslation;
    m_LimitTarget = m_RestOrientation;
    m_Dirty = true;
}

bool Segment::isDirty()
{
    // The nearest changed bone above marks everything between it and this one.
    const Segment* changed = this;
    while (changed && !changed->m_Dirty)
        changed = changed->m_Parent;
    if (!changed)
        return false;
    for (Segment* bone = this; bone != changed; bone = bone->m_Parent)
        bone->m_Dirty = true;
    return true;
}

void Segment::setMass(float mass)
{
    m_Mass = mass;
    if (m_Solver)
        m_Solver->sumMass();
    m_Dirty = true;
}

void Segment::setMassCentre(float x, float y, float z)
{
    m_MassCentre.set(x, y, z);
    m_Dirty = true;
}

std::uint32_t Segment::getChainDepth() const
{
    std::uint32_t depth = 0;
    for (const Segment* bone = this; bone; bone = bone->m_Parent)
        ++depth;
    return depth;
}

void Segment::setBoneVector(SinewVector v)
{
    m_MassCentre = v * 0.5f;
    m_Length = Sinew::length(v);
    m_RestBoneVector = m_BoneVector = v;
}

void Segment::integrate()
{
    SinewVector turn, shift;
    if (onlyRotates()) {
        turn.lanes = clearW(loadLanes(m_JointStep + m_FirstColumn));
    } else {
        float step[6] = {};
        std::uint32_t column = m_FirstColumn;
        for (int i = 0; i < 6; ++i) {
            if (!m_ActiveDof[i])
                continue;
            if (column < m_ColumnCount)
                step[i] = m_JointStep[column];
            ++column;
        }
        turn.set(step[0], step[1], step[2]);
        shift.set(step[3], step[4], step[5]);
    }

    // Per component, against the upper bound first; NaN takes the bound, so it never reaches the pose.
    turn.lanes = clearW(laneMax(laneMin(turn.lanes, splat(m_MaxVelocity)), splat(-m_MaxVelocity)));
    SinewQuaternion step;
    const float h2 = dot(turn, turn) * 0.25f;
    if (h2 <= kStepSeriesEnd) {
        step.lanes = turn.lanes * splat(halfSinc(h2, one));
        step.lanes[3] = cosineOfSquare(h2, one);
    } else {
        step = fromRotationVector(turn, Sinew::length(turn));
    }
    const SinewQuaternion turned = m_Orientation * step;
    const float s = dot(turned, turned);
    if (std::fabs(s - 1.0f) <= kNearUnit)
        m_Orientation.lanes = turned.lanes * splat(nearUnitScale(s, one));
    else if (s > 0.0f && s < __builtin_inff())
        m_Orientation.lanes = turned.lanes * splat(1.0f / __builtin_sqrtf(s));
    // Otherwise the step was unbounded: the bone keeps its pose, which could not be recovered otherwise.
    m_Dirty = true;

    if (m_Translational)
        stretchBy(shift);
}

void Segment::integrateFour(Segment* const* bones)
{
    const auto step = [&](int i) { return loadLanes(bones[i]->m_JointStep + bones[i]->m_FirstColumn); };
    Lanes x = step(0), y = step(1), z = step(2), rest = step(3);
    transposeLanes(x, y, z, rest);
    const Lanes bound = makeLanes(bones[0]->m_MaxVelocity, bones[1]->m_MaxVelocity, bones[2]->m_MaxVelocity,
                                  bones[3]->m_MaxVelocity);
    const auto bounded = [&](Lanes v) { return laneMax(laneMin(v, bound), -bound); };
    x = bounded(x);
    y = bounded(y);
    z = bounded(z);
    const Lanes h2 = ((x * x + y * y) + z * z) * splat(0.25f);
    const Lanes scale = halfSinc(h2, splat), w = cosineOfSquare(h2, splat);
    x *= scale;
    y *= scale;
    z *= scale;

    // The product orientation * step, with the sums in the order of the one-bone form.
    Lanes ax = bones[0]->m_Orientation.lanes, ay = bones[1]->m_Orientation.lanes,
          az = bones[2]->m_Orientation.lanes, aw = bones[3]->m_Orientation.lanes;
    transposeLanes(ax, ay, az, aw);
    Lanes qx = (aw * x + (ax * w + ay * z)) - az * y;
    Lanes qy = (aw * y + (ay * w + az * x)) - ax * z;
    Lanes qz = (aw * z + (az * w + ax * y)) - ay * x;
    Lanes qw = (aw * w - (ax * x + ay * y)) - az * z;
    const Lanes s = (qx * qx + qy * qy) + (qz * qz + qw * qw);

    // Written so that NaN takes the one-bone form too, which handles every case.
    if (!allLanes(laneAtMost(h2, splat(kStepSeriesEnd)),
                  laneAtMost(laneAbs(s - splat(1.0f)), splat(kNearUnit)))) {
        for (int i = 0; i < 4; ++i)
            bones[i]->integrate();
        return;
    }
    const Lanes f = nearUnitScale(s, splat);
    qx *= f;
    qy *= f;
    qz *= f;
    qw *= f;
    transposeLanes(qx, qy, qz, qw);
    const Lanes q[4] = {qx, qy, qz, qw};
    for (int i = 0; i < 4; ++i) {
        bones[i]->m_Orientation.lanes = q[i];
        bones[i]->m_Dirty = true;
    }
}

void Segment::stretchBy(SinewVector step)
{
    // A step whose components cancel is dropped: the test is deliberately this simple.
    if (isNearZero((step.y() + step.x()) + step.z()))
        return;
    if (m_FreeTranslation) {
        m_Translation += rotate(m_Orientation, step);
        if (m_Parent)
            m_Extension = Sinew::length(m_Translation - m_RestTranslation);
    } else {
        for (Segment* child = m_FirstChild; child; child = child->m_NextSibling) {
            child->m_Translation += step;
            child->m_Dirty = true;
        }
        m_BoneVector += step;
        m_Length = Sinew::length(m_BoneVector);
        m_MassCentre += step * 0.5f;
    }
}

bool Segment::isFinite() const
{
    // A non-finite number minus itself isn't zero.
    Lanes sum = splat((m_Length + m_Extension) - (m_Length + m_Extension));
    for (const Lanes v : {m_Orientation.lanes, m_LimitTarget.lanes, m_Translation.lanes, m_BoneVector.lanes,
                          m_World.position.lanes})
        sum += v - v;
    return sumLanes(sum) == 0.0f;
}

void Segment::setSubtreeMass(float mass, float total)
{
    m_SubtreeMass = mass;
    m_MassFraction = total > 0.0f ? mass / total : 0.0f;
}

void Segment::computeSubtreeCentre()
{
    m_SubtreeCentreOffset.zero();
    if (isZero(m_SubtreeMass))
        return;
    SinewVector sum;
    const SinewVector origin = m_World.position;
    walkSubtree(this, [&](const Segment* bone) {
        if (bone == this || !isZero(bone->m_Mass))
            sum += (bone->m_GlobalMassCentre - origin) * bone->m_Mass;
    });
    m_SubtreeCentreOffset = sum * (1.0f / m_SubtreeMass);
}

void Segment::computeStretchRatio(float scale)
{
    walkSubtree(this, [&](Segment* bone) {
        const float s = bone == this ? scale : bone->m_Parent->m_StretchRatio;
        bone->m_StretchRatio = 1.0f;
        if (const Segment* child = bone->m_FirstChild; child && s > 0.0f) {
            const float rest = Sinew::length(child->m_RestTranslation);
            const float difference = Sinew::length(child->m_Translation - child->m_RestTranslation);
            if (rest > 0.0f && difference > 0.0f)
                bone->m_StretchRatio = (difference / rest) / s;
        }
        bone->m_StretchScale = s * bone->m_StretchRatio;
    });
}

void Segment::addChainLength(float& sum) const
{
    for (const Segment* bone = this; bone; bone = bone->m_Parent)
        sum += bone->m_Length;
}

SinewQuaternion Segment::alignAxis(SinewVector localAxis, SinewVector direction) const
{
    SinewVector world = rotate(m_World.rotation, localAxis);
    normalise(world);
    return shortestArc(world, direction) * m_World.rotation;
}

} // namespace Sinew
