// SPDX-License-Identifier: MIT
// Quantities of the whole figure: lengths, masses, root translation, retargeting, zero-moment point.
#include "solver/IKSolverState.h"

namespace Sinew {

void IKSolverState::measureFigure()
{
    // A bone's vector goes to its shortest child, leaving out children shorter than a fiftieth of the mean
    // length of the bones measured so far: twist helpers and doubled joints don't count as the bone's end.
    m_TotalBoneLength = 0.0f;
    std::uint32_t counted = 0;
    float d = 0.0f;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i) {
        float best = 1e20f;
        SinewVector v;
        for (const Segment* child = m_Bones[i].getFirstChild(); child; child = child->getNextSibling()) {
            const SinewVector t = child->getTranslation();
            const float l = length(t);
            if ((counted == 0 || l > m_TotalBoneLength / d) && l < best) {
                best = l;
                v = t;
            }
        }
        m_Bones[i].setBoneVector(v);
        if (best < 1e20f) {
            m_TotalBoneLength += best;
            d += 50.0f;
            ++counted;
        }
    }

    m_FigureHeight = 0.0f;
    if (m_SegmentCount == 1) {
        m_FigureHeight = 26.737968f;
        m_TotalBoneLength = 1.0f;
    } else {
        for (std::uint32_t i = 0; i < m_SegmentCount; ++i) {
            // Lengths are not negative, so the longest chain ends at a leaf.
            if (m_Bones[i].getFirstChild())
                continue;
            float sum = 0.0f;
            m_Bones[i].addChainLength(sum);
            m_FigureHeight = sum > m_FigureHeight ? sum : m_FigureHeight;
        }
    }
    distributeMass();
    m_MeasureDirty = false;
}

void IKSolverState::requestMeasure()
{
    m_MeasureDirty = m_MassesDirty = true;
    m_SetupDirty = true;
}

/// Masses in proportion to bone lengths; 0 for a figure without length.
void IKSolverState::distributeMass()
{
    const float density = m_TotalBoneLength != 0.0f ? m_TotalMass / m_TotalBoneLength : 0.0f;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].m_Mass = (2.0f * length(m_Bones[i].getMassCentre())) * density;
    m_MassesDirty = true;
}

void IKSolverState::sumMass()
{
    if (m_SegmentCount == 0)
        return;
    if (m_OrderDirty)
        refreshOrder();
    m_TotalMass = 0.0f;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i) {
        m_TotalMass += m_Bones[i].getMass();
        m_Bones[i].m_SubtreeMass = m_Bones[i].getMass();
    }
    // Children come behind their parents in the order, so from the back each subtree is complete when it is
    // added.
    for (std::uint32_t i = m_Order.count(); i-- > 0;) {
        Segment& bone = *m_Order[i];
        if (Segment* parent = bone.getParent())
            parent->m_SubtreeMass += bone.m_SubtreeMass;
        bone.setSubtreeMass(bone.m_SubtreeMass, m_TotalMass);
    }
    if (m_BalanceTask)
        m_BalanceTask->setFigureWeight(m_TotalMass * 9.81f);
    m_MassesDirty = false;
}

void IKSolverState::setTotalMass(float mass)
{
    m_TotalMass = mass;
    distributeMass();
    if (m_SetupDirty)
        return; // `prepare` sums
    sumMass();
    updateMomentWeights();
    if (m_BalanceTask)
        m_BalanceTask->setFigureWeight(m_TotalMass * 9.81f);
}

void IKSolverState::setTranslateRoot(bool on)
{
    if (on != m_TranslateRoot)
        m_PatternDirty = 1;
    m_TranslateRoot = on;
    if (m_RootBone)
        m_RootBone->setFreeTranslation(on, true);
}

void IKSolverState::setRootTranslationWeight(float weight)
{
    // The root's own stretch weights take it; `m_RootTranslationWeight` stays a further factor of 1.
    for (std::uint32_t i = 3; m_RootBone && i < 6; ++i)
        m_RootBone->setWeight(i, weight);
}

void IKSolverState::setRetargetPose(const float* const* const* poses, std::uint32_t count)
{
    if (!poses)
        return;
    if (count >= 2) {
        m_MultiRetarget = true;
        for (std::uint32_t i = 0; i < count && i < 5; ++i)
            m_RetargetSources[i] = poses[i];
        return;
    }
    for (std::uint32_t i = 0; poses[0] && i < m_SegmentCount; ++i) {
        const float* wxyz = poses[0][i];
        if (wxyz && m_Bones[i].isRetargeting())
            m_Bones[i].setTargetOrientation(wxyz[1], wxyz[2], wxyz[3], wxyz[0]);
    }
}

void IKSolverState::setLimitsWithRetargeting(bool on)
{
    m_LimitsWithRetargeting = on;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].setLimitsWithRetargeting(on);
}

void IKSolverState::setFullRetargeting(bool on)
{
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].setFullRetargeting(on);
}

void IKSolverState::rescaleFigure(float factor)
{
    for (Task* task : m_Tasks)
        task->scaleTarget(factor);
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].scale(factor);
    m_FigureFrame.position = m_FigureFrame.position * factor;
    if (m_BalanceTask)
        m_BalanceTask->scaleCentreTarget(factor);
}

void IKSolverState::setZmp(float x, float y, float z)
{
    m_Zmp.set(x, y, z);
    m_FigureFrame.position = SinewVector() - m_Zmp;
    m_UseDefaultZmp = false;
    m_SupportTask = nullptr;
    m_FramesCurrent = false;
}

void IKSolverState::setUseDefaultZmp(bool on)
{
    m_UseDefaultZmp = on;
    if (!on)
        return;
    m_Zmp.zero();
    m_FigureFrame.position.zero();
    m_FramesCurrent = false;
}

void IKSolverState::setMomentsWeight(float weight)
{
    m_MomentsWeight = weight;
    updateMomentWeights();
}

void IKSolverState::setMomentsPrecision(float precision)
{
    m_MomentsDamping = m_TaskPrecision / clamp(precision, 0.001f, 2.0f);
    updateMomentDamping();
}

/// The reaction tasks share the load. By default the first of them with all its axes also fixes the
/// zero-moment point: `solve` copies its target.
void IKSolverState::recomputeZmp()
{
    SinewVector load = m_BalanceTask->gravityForce();
    for (Task* task : m_Tasks)
        if (task->isActive() && task->isForceTask() && !task->isReactionTask())
            load += task->asPositionTask()->getForce();
    bool search = m_UseDefaultZmp;
    for (Task* task : m_Tasks) {
        if (!task->isActive() || !task->isReactionTask())
            continue;
        task->asPositionTask()->takeShareOf(load);
        if (search && task->getActiveDofCount() == 3) {
            m_SupportTask = task->asPositionTask();
            search = false;
        }
    }
    if (search) {
        m_SupportTask = nullptr;
        m_Zmp.zero();
    }
    m_ZmpDirty = false;
}

} // namespace Sinew
