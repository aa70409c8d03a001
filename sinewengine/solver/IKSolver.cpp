// SPDX-License-Identifier: MIT
// The handle: every operation goes to the state behind it.
#include <sinew/IKSolver.h>

#include "solver/IKSolverState.h"

namespace Sinew {

IKSolver::IKSolver() : m_State(new IKSolverState) { }
IKSolver::~IKSolver() { delete m_State; }

void IKSolver::setTolerance(float tolerance) { m_State->m_Tolerance = tolerance; }
float IKSolver::tolerance() const { return m_State->m_Tolerance; }
void IKSolver::setUserContext(void* context) { m_State->m_UserContext = context; }
void* IKSolver::userContext() const { return m_State->m_UserContext; }
float IKSolver::totalBoneLength() const { return m_State->m_TotalBoneLength; }
void IKSolver::setTotalBoneLength(float length) { m_State->m_TotalBoneLength = length; }
void IKSolver::measureFigure() { m_State->measureFigure(); }
void IKSolver::setSetupDirty(bool dirty) { m_State->setSetupDirty(dirty); }
SinewVector* IKSolver::zmpPointer() { return &m_State->m_Zmp; }
SinewVector* IKSolver::centreOfMass() { return &m_State->m_CentreOfMass; }
bool IKSolver::framesCurrent() const { return m_State->m_FramesCurrent; }
void IKSolver::computeStretchRatio(float ratio)
{
    if (m_State->m_RootBone)
        m_State->m_RootBone->computeStretchRatio(ratio);
}
void IKSolver::updateFigure() { m_State->updateFigure(); }
void IKSolver::setTaskTargets(const float* const* targets) { m_State->setTaskTargets(targets); }
void IKSolver::setRetargetPose(const float* const* const* poses, std::uint32_t count)
{
    m_State->setRetargetPose(poses, count);
}
void IKSolver::rescaleFigure(float factor) { m_State->rescaleFigure(factor); }
bool IKSolver::limitsWithRetargeting() const { return m_State->m_LimitsWithRetargeting; }
void IKSolver::setLimitsWithRetargeting(bool on) { m_State->setLimitsWithRetargeting(on); }
float IKSolver::pCoefficient() const { return m_State->m_PCoefficient; }
void IKSolver::setPCoefficient(float coefficient)
{
    m_State->m_PCoefficient = coefficient;
    m_State->m_SetupDirty = true;
}
float IKSolver::momentsPrecision() const { return m_State->momentsPrecision(); }
void IKSolver::setMomentsPrecision(float precision) { m_State->setMomentsPrecision(precision); }
float IKSolver::momentsWeight() const { return m_State->m_MomentsWeight; }
void IKSolver::setMomentsWeight(float weight) { m_State->setMomentsWeight(weight); }
float IKSolver::secondaryTaskPrecision() const { return 0.2f / m_State->m_SecondaryPrecision; }
void IKSolver::setSecondaryTaskPrecision(float precision)
{
    m_State->m_SecondaryPrecision = 0.2f / clamp(precision, 0.2f, 1.5f);
}
float IKSolver::secondaryTaskWeight() const
{
    return m_State->m_SecondaryTaskWeight / m_State->m_SecondaryWeightUnit;
}
void IKSolver::setSecondaryTaskWeight(float weight)
{
    m_State->m_SecondaryTaskWeight = weight * m_State->m_SecondaryWeightUnit;
}
void IKSolver::setFullRetargeting(bool on) { m_State->setFullRetargeting(on); }
float IKSolver::retargetGain() const { return m_State->m_RetargetGain / m_State->m_RetargetGainUnit; }
void IKSolver::setRetargetGain(float gain) { m_State->m_RetargetGain = gain * m_State->m_RetargetGainUnit; }
float IKSolver::limitsGain() const { return m_State->m_LimitsGain / m_State->m_LimitsGainUnit; }
void IKSolver::setLimitsGain(float gain) { m_State->m_LimitsGain = gain * m_State->m_LimitsGainUnit; }
bool IKSolver::rescaleTasks() const { return m_State->m_RescaleTasks; }
void IKSolver::setRescaleTasks(bool on) { m_State->m_RescaleTasks = on; }
float IKSolver::precision() const { return m_State->m_TaskPrecision / m_State->m_PrecisionUnit; }
void IKSolver::setPrecision(float precision)
{
    m_State->m_TaskPrecision = precision * m_State->m_PrecisionUnit;
    m_State->m_SetupDirty = true;
}
bool IKSolver::useDefaultZmp() const { return m_State->m_UseDefaultZmp; }
void IKSolver::setUseDefaultZmp(bool on) { m_State->setUseDefaultZmp(on); }
SinewVector IKSolver::zmp() const { return m_State->m_Zmp; }
void IKSolver::setZmp(float x, float y, float z) { m_State->setZmp(x, y, z); }
float IKSolver::totalMass() const { return m_State->m_TotalMass; }
void IKSolver::setTotalMass(float mass) { m_State->setTotalMass(mass); }
SinewVector* IKSolver::rootTargetTranslation() { return &m_State->m_RootTargetTranslation; }
void IKSolver::setRootTargetTranslation(float x, float y, float z)
{
    m_State->m_RootTargetTranslation.set(x, y, z);
}
bool IKSolver::enableRootTarget() const { return m_State->m_EnableRootTarget; }
void IKSolver::setEnableRootTarget(bool on) { m_State->m_EnableRootTarget = on; }
float IKSolver::rootTranslationWeight() const { return m_State->m_RootTranslationWeight; }
void IKSolver::setRootTranslationWeight(float weight) { m_State->setRootTranslationWeight(weight); }
SinewVector* IKSolver::rootTranslation()
{
    return m_State->m_RootBone ? &m_State->m_RootBone->translation() : nullptr;
}
bool IKSolver::translateRoot() const { return m_State->m_TranslateRoot; }
void IKSolver::setTranslateRoot(bool on) { m_State->setTranslateRoot(on); }
void IKSolver::requestMeasure() { m_State->requestMeasure(); }
void IKSolver::reset() { m_State->reset(); }
bool IKSolver::prepare() { return m_State->prepare(); }
void IKSolver::dumpConfiguration(const char* path) { m_State->dumpConfiguration(path); }
bool IKSolver::solveAdaptive(std::uint32_t steps, int* status)
{
    int unasked = 0;
    return m_State->solveAdaptive(steps, status ? *status : unasked);
}
bool IKSolver::solve(std::uint32_t steps) { return m_State->solve(steps); }
std::uint32_t IKSolver::taskCount() const { return m_State->m_Tasks.count(); }
void IKSolver::removeBalanceTask() { m_State->removeBalanceTask(); }
void IKSolver::removeTask(IKTask* task) { m_State->removeTask(task); }
IKBalanceTask* IKSolver::balanceTask() const { return m_State->m_BalanceTask; }
IKBalanceTask* IKSolver::addBalanceTask(std::uint32_t axis, bool moments, bool centreOfMass,
                                        std::uint32_t depth)
{
    return m_State->addBalanceTask(axis, moments, centreOfMass, depth);
}
void IKSolver::linkTasks(IKTask* task, bool on, IKTask* other) { m_State->linkTasks(task, on, other); }
IKOrientationTask* IKSolver::addOrientationTask(const char* bone, std::uint32_t depth)
{
    return m_State->addOrientationTask(bone, depth);
}
IKPositionTask* IKSolver::addPositionTask(const char* bone, std::uint32_t depth)
{
    return m_State->addPositionTask(bone, depth);
}
std::uint32_t IKSolver::boneCount() const { return m_State->m_SegmentCount; }
IKSegment* IKSolver::rootBone() const { return m_State->m_RootBone; }
IKSegment* IKSolver::bone(std::uint32_t index) const
{
    return index < m_State->m_SegmentCount ? m_State->m_Bones + index : nullptr;
}
IKSegment* IKSolver::findBone(const char* name) const { return m_State->findBone(name); }
std::uint32_t IKSolver::iterations() const { return m_State->sweeps(); }
bool IKSolver::isFinite() const { return m_State->isFinite(); }
void IKSolver::setBones(const BoneDescriptor* descriptors, std::uint32_t count)
{
    m_State->setBones(descriptors, count);
}

} // namespace Sinew
