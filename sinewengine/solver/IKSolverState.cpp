// SPDX-License-Identifier: MIT
// Bones, tasks and the set-up of a solve.
#include "solver/IKSolverState.h"

#include <sinew/Assert.h>

#include <cstdio>

namespace Sinew {

IKSolverState::IKSolverState() { m_BoneIndex.clear(); }

IKSolverState::~IKSolverState()
{
    for (Task* task : m_Tasks)
        delete task;
    delete m_BalanceTask;
    releaseArrays();
    dropBones();
}

void IKSolverState::dropBones()
{
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        m_Bones[i].~Segment();
    alignedFree(m_Bones);
    m_Bones = nullptr;
    m_SegmentCount = 0;
}

void IKSolverState::setBones(const BoneDescriptor* descriptors, std::uint32_t count)
{
    // The name index can't be filled twice: a new rig is a new solver.
    SINEW_ASSERT(m_SegmentCount == 0, "m_Bones.count()==0", "IKSolverState", 118);
    if (m_SegmentCount != 0 || !descriptors || count == 0)
        return;
    m_Bones = static_cast<Segment*>(alignedAlloc(std::size_t{count} * sizeof(Segment), kEngineAlignment));
    for (std::uint32_t i = 0; i < count; ++i)
        new (m_Bones + i) Segment;
    m_SegmentCount = count;

    for (std::uint32_t i = 0; i < count; ++i) {
        // The record is packed, so its fields are copied before anything takes their address.
        const BoneDescriptor d = descriptors[i];
        float limits[4][2], axis[3];
        std::memcpy(limits, d.limits, sizeof limits);
        std::memcpy(axis, d.free_axis, sizeof axis);
        Segment& bone = m_Bones[i];
        bone.setIndex(i);
        bone.setName(d.name);
        if (!bone.name().empty()) {
            BoneIndexEntry entry;
            entry.m_Key = bone.name();
            entry.m_Segment = &bone;
            m_BoneIndex.insert(entry);
        }
        bone.setRestOrientation(d.rest_orientation[1], d.rest_orientation[2], d.rest_orientation[3],
                                d.rest_orientation[0]);
        bone.setRestTranslation(d.rest_translation[0], d.rest_translation[1], d.rest_translation[2]);
        for (std::uint32_t k = 0; k < 4; ++k)
            bone.setLimit(k, limits[k][0], limits[k][1]);
        bone.setProjectionAxis(d.projection_axis);
        if (d.rotation_axis <= 3)
            bone.setRotationAxis(d.rotation_axis, axis);
        bone.enforceLimits(d.enforce_limits != 0);
        bone.setLimitsWithRetargeting(m_LimitsWithRetargeting);
        bone.enableLimits(true);
        bone.setUserData(d.user_data);
        bone.attach(this, &m_PatternDirty, nullptr, nullptr, 0);
    }
    m_FigureLength = 0.0f;
    for (std::uint32_t i = 0; i < count; ++i) {
        const char* parent = descriptors[i].parent_name;
        if (!parent || !*parent)
            m_RootBone = m_Bones + i;
        else if (Segment* found = findBone(parent))
            m_Bones[i].setParent(found);
    }
    measureFigure();
    requireSetup();
    m_MassesDirty = true;
    for (std::uint32_t i = 0; i < count; ++i)
        m_FigureLength += length(m_Bones[i].getRestTranslation());
}

Segment* IKSolverState::findBone(const char* name) const
{
    if (!name || !*name)
        return nullptr;
    BoneIndexEntry sought;
    sought.m_Key.assign(name);
    const BoneIndexEntry* entry = m_BoneIndex.find(sought);
    return entry ? entry->m_Segment : nullptr;
}

template <class Kind>
Kind* IKSolverState::addTask(const char* name, std::uint32_t depth)
{
    Segment* bone = findBone(name);
    if (!bone) {
        std::fputs("Uknown bone name\n", stderr);
        return nullptr;
    }
    Kind* task = new Kind(depth, bone);
    task->setId(m_Tasks.count());
    m_Tasks.append(task);
    m_FirstTasks.reserve(m_Tasks.count());
    m_FollowingTasks.reserve(m_Tasks.count());
    m_PatternDirty = 1;
    requireSetup();
    if (m_BalanceTask)
        m_BalanceTask->dropTaskTable();
    if (m_RootBone)
        ensureFrames();
    return task;
}

PositionTask* IKSolverState::addPositionTask(const char* bone, std::uint32_t depth)
{
    PositionTask* task = addTask<PositionTask>(bone, depth);
    if (task && m_RootBone)
        task->setTarget(static_cast<const Segment*>(task->getSegment())->getGlobalPosition()
                        + m_FigureFrame.position);
    return task;
}

OrientationTask* IKSolverState::addOrientationTask(const char* bone, std::uint32_t depth)
{
    OrientationTask* task = addTask<OrientationTask>(bone, depth);
    if (task && m_RootBone)
        task->setTargetFromPose();
    return task;
}

Task* IKSolverState::findTask(const IKTask* task) const
{
    for (Task* candidate : m_Tasks)
        if (static_cast<const IKTask*>(candidate) == task)
            return candidate;
    return nullptr;
}

void IKSolverState::removeTask(const IKTask* given)
{
    // By address: ids may coincide once tasks have been removed.
    for (std::uint32_t i = 0; i < m_Tasks.count(); ++i) {
        Task* task = m_Tasks[i];
        if (static_cast<const IKTask*>(task) != given)
            continue;
        m_Tasks.removeAt(i);
        for (Task* other : m_Tasks)
            other->forget(task);
        if (m_SupportTask == task->asPositionTask())
            m_SupportTask = nullptr;
        if (m_BalanceTask)
            m_BalanceTask->dropTaskTable();
        delete task;
        m_PatternDirty = 1;
        requireSetup();
        return;
    }
}

void IKSolverState::linkTasks(const IKTask* given, bool on, const IKTask* givenOther)
{
    Task *task = findTask(given), *other = findTask(givenOther);
    if (!task)
        return;
    if (!on)
        task->unfollow();
    else if (other)
        task->follow(other);
}

void IKSolverState::setTaskTargets(const float* const* targets)
{
    for (std::uint32_t i = 0; targets && i < m_Tasks.count(); ++i)
        if (targets[i])
            m_Tasks[i]->setTargetVector(targets[i]);
}

BalanceTask* IKSolverState::addBalanceTask(std::uint32_t axis, bool moments, bool centreOfMass,
                                           std::uint32_t depth)
{
    if (m_BalanceTask) {
        m_BalanceTask->setGravityAxis(axis);
        m_BalanceTask->setMomentRows(moments);
        m_BalanceTask->setCentreOfMassRows(centreOfMass);
        m_BalanceTask->setLevel(depth);
        return m_BalanceTask;
    }
    if (m_SegmentCount == 0)
        return nullptr;
    m_BalanceTask = new BalanceTask(depth, m_Bones, m_SegmentCount, axis, moments, centreOfMass);
    m_BalanceTask->setFigureWeight(m_TotalMass * 9.81f);
    m_ZmpDirty = true;
    m_PatternDirty = 1;
    requireSetup();
    if (m_RootBone) {
        ensureFrames();
        sumMass();
        m_RootBone->computeSubtreeCentre();
        m_CentreOfMass = m_RootBone->getTranslation() + m_RootBone->getSubtreeCentreOffset();
        m_BalanceTask->setTarget(m_CentreOfMass.x(), m_CentreOfMass.y(), m_CentreOfMass.z());
    }
    return m_BalanceTask;
}

void IKSolverState::removeBalanceTask()
{
    if (!m_BalanceTask)
        return;
    for (Task* task : m_Tasks)
        if (PositionTask* position = task->asPositionTask())
            position->setBalanceMoments(false);
    delete m_BalanceTask;
    m_BalanceTask = nullptr;
    m_PatternDirty = 1;
    requireSetup();
}

/// Bones level by level, parents first: the root's tree, then the trees of other bones without parent.
void IKSolverState::refreshOrder()
{
    m_Order.clear();
    m_Order.reserve(m_SegmentCount);
    std::uint32_t next = 0;
    const auto appendTree = [&](Segment* top) {
        m_Order.append(top);
        for (; next < m_Order.count(); ++next)
            for (Segment* child = m_Order[next]->getFirstChild(); child; child = child->getNextSibling())
                m_Order.append(child);
    };
    if (m_RootBone && !m_RootBone->getParent())
        appendTree(m_RootBone);
    m_RootTreeCount = m_Order.count();
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        if (!m_Bones[i].getParent() && m_Bones + i != m_RootBone)
            appendTree(m_Bones + i);
    m_OrderDirty = false;
}

void IKSolverState::noteTreeChanged()
{
    m_OrderDirty = true;
    m_Jacobian.keepToPattern();
}

void IKSolverState::ensureFrames()
{
    if (m_FramesCurrent)
        return;
    updateFigure();
    m_FramesCurrent = true;
}

void IKSolverState::updateFigure()
{
    if (m_RootBone)
        m_RootBone->updateGlobal(m_FigureFrame, false);
}

/// The forward pass of the iteration: what `updateFigure` does, along the order of bones in place of the
/// links.
void IKSolverState::refreshFrames(bool useTarget)
{
    if (m_OrderDirty)
        refreshOrder();
    if (m_RootTreeCount == 0) {
        // A client has linked the root below another bone since the last `prepare`.
        m_RootBone->updateGlobal(m_FigureFrame, useTarget);
        return;
    }
    m_RootBone->place({m_FigureFrame.rotation, m_FigureFrame.position}, useTarget);
    for (Segment **bone = m_Order.data() + 1, **end = m_Order.data() + m_RootTreeCount; bone < end; ++bone) {
        const Segment* parent = (*bone)->getParent();
        (*bone)->place(parent->world(), useTarget);
        parent->passChainLength(*bone);
    }
    if (useTarget || m_BalanceTask)
        placeMassCentres();
}

/// The rest of a forward pass. Without a balance task nothing reads mass centres while `solve` iterates, so
/// that only its last pass needs them: a bone that leaves the tree later keeps what that one gave.
void IKSolverState::placeMassCentres()
{
    for (std::uint32_t i = 0; i < m_RootTreeCount; ++i)
        m_Order[i]->placeMassCentre();
}

bool IKSolverState::prepare()
{
    m_BoneCount = m_SegmentCount;
    if (m_BoneCount == 0) {
        m_TaskCount = m_Columns = m_Rows = 0;
        m_MaxJointStep = 0.0f;
        return false;
    }
    std::uint32_t columns = 0;
    Segment* root = m_RootBone;
    for (std::uint32_t i = 0; i < m_BoneCount; ++i) {
        m_Bones[i].setFirstColumn(columns);
        m_Bones[i].setIndex(i);
        m_Bones[i].refreshPlainRotations();
        columns += m_Bones[i].getDofCount();
        if (!m_Bones[i].getParent())
            root = m_Bones + i;
    }
    m_OrderDirty = m_OrderDirty || root != m_RootBone;
    m_RootBone = root;
    m_TaskCount = m_Tasks.count();
    if (m_TaskCount == 0 && !m_BalanceTask && m_ArraysAllocated) {
        m_Rows = 0;
        m_MaxJointStep = 0.0f;
        // Without rows there is nothing to solve, but the bones still pull, each through its own columns.
        fitArrays(m_RowCapacity, columns);
        bindBones();
        return false;
    }
    layOutRows();
    fitArrays(m_Rows, columns);
    if (m_MeasureDirty) {
        measureFigure();
        updateScaleConstants();
    }
    if (!m_FramesCurrent)
        updateFigure();
    bindTasks();
    std::memcpy(m_PrimaryDual, m_TaskError, m_Rows * sizeof(float));
    std::memset(m_SecondaryDual, 0, m_RowCapacity * sizeof(float));
    bindBones();
    if (m_MassesDirty)
        sumMass();
    if (m_RootBone)
        m_TranslateRoot = m_RootBone->isTranslational() && m_RootBone->hasFreeTranslation();
    m_PatternDirty = 1;
    m_SetupDirty = m_LayoutDirty = false;
    return true;
}

void IKSolverState::fitArrays(std::uint32_t rows, std::uint32_t columns)
{
    if (rows == m_RowCapacity && columns == m_ColumnCapacity)
        return;
    m_RowCapacity = rows;
    m_Columns = m_ColumnCapacity = columns;
    allocateArrays();
}

/// Task rows in order, then the balance task's centre-of-mass rows, then its moment rows; at least one row.
void IKSolverState::layOutRows()
{
    std::uint32_t row = 0;
    for (Task* task : m_Tasks) {
        task->setFirstRow(row);
        row += task->getRowCount();
    }
    if (m_BalanceTask) {
        m_BalanceTask->setFirstRow(m_BalanceTask->centreOfMassRows() ? row : kNoRow);
        if (m_BalanceTask->centreOfMassRows())
            row += 3;
        if (m_BalanceTask->momentRows())
            row += 3;
    }
    m_Rows = row ? row : 1;
}

void IKSolverState::bindTasks()
{
    const TaskBinding binding{this, &m_PatternDirty, m_Jacobian.rows(), m_TaskError};
    for (Task* task : m_Tasks) {
        task->bind(binding, nullptr, 0);
        task->updateError();
        updateRowWeights(*task);
        updateRowDamping(*task);
    }
    if (!m_BalanceTask)
        return;
    m_BalanceTask->bind(binding, m_Tasks.data(), m_Tasks.count());
    m_BalanceTask->clearErrorRows(m_Rows);
    if (m_BalanceTask->centreOfMassRows()) {
        updateRowWeights(*m_BalanceTask);
        updateRowDamping(*m_BalanceTask);
    }
    updateMomentWeights();
    updateMomentDamping();
}

void IKSolverState::bindBones()
{
    m_PatternExact = true;
    for (std::uint32_t i = 0; i < m_BoneCount; ++i) {
        m_Bones[i].attach(this, &m_PatternDirty, m_JointStep, m_SecondaryMotion, m_ColumnCapacity);
        updateColumnWeights(m_Bones[i]);
        m_PatternExact = m_PatternExact && m_Bones[i].flagsMatchColumns();
    }
}

void IKSolverState::reset()
{
    if (m_Rows > 0) {
        if (m_SecondaryDual)
            std::memset(m_SecondaryDual, 0, m_RowCapacity * sizeof(float));
        for (std::uint32_t r = 0; m_PrimaryDual && r < m_RowCapacity; ++r)
            m_PrimaryDual[r] = 0.1f;
    }
    for (std::uint32_t i = 0; i < m_BoneCount; ++i)
        m_Bones[i].resetToRest();
}

} // namespace Sinew
