// SPDX-License-Identifier: MIT
// The iteration: frames, task rows, one sweep of the least-squares step, the step applied to the bones.
//
// With J the Jacobian, W and C the diagonals of row and column weights, L the positive row damping, e the
// task error and z the pulls, the joint step is the weighted damped least-squares solution with z projected
// into what the tasks leave free:
//
//     dq = C Jt W (J C Jt W + L)^-1 e + (I - C Jt W (J C Jt W + L)^-1 J) z
//
// Neither inverse is formed. Two dual vectors, y for e and u for J z, carry the solves by Richardson
// iteration with step 1, and exactly one sweep is made per iteration: y and u persist and follow e and z as
// the pose moves.
#include "solver/IKSolverState.h"

namespace Sinew {

namespace {

constexpr std::uint32_t blocks(std::uint32_t count) { return (count + 3u) & ~3u; }

/// NaN makes the sum NaN, so it doesn't count as zero.
bool isAllZero(const float* v, std::uint32_t count)
{
    Lanes sum = zeroLanes();
    for (std::uint32_t i = 0; i < blocks(count); i += 4)
        sum += laneAbs(loadLanes(v + i));
    return sumLanes(sum) == 0.0f;
}

/// A maximum skips NaN, so NaN and infinity are tested for separately.
bool isFinite(const float* v, std::uint32_t count)
{
    Lanes sum = zeroLanes();
    for (std::uint32_t i = 0; i < blocks(count); i += 4)
        sum += loadLanes(v + i) - loadLanes(v + i);
    return sumLanes(sum) == 0.0f;
}

float largestMagnitude(const float* v, std::uint32_t count)
{
    Lanes largest = zeroLanes();
    for (std::uint32_t i = 0; i < blocks(count); i += 4)
        largest = laneMax(laneAbs(loadLanes(v + i)), largest);
    return maxLane(largest);
}

} // namespace

bool IKSolverState::solve(std::uint32_t steps)
{
    // Once a non-finite target has got into the duals, they never recover by themselves: restart them.
    if (m_ArraysAllocated && !areDualsFinite())
        m_SetupDirty = true;
    if (m_SetupDirty || m_LayoutDirty)
        prepare();
    if (!m_RootBone || !m_ArraysAllocated)
        return true;
    if (m_PatternDirty)
        rebuildPattern();

    bool anyRetargeted = false;
    std::memset(m_SecondaryMotion, 0, m_Columns * sizeof(float));
    const bool plain = pullBeforeFirst(anyRetargeted);
    const bool balance = m_BalanceTask && m_BalanceTask->isActive();
    readyTasks(plain && !balance, anyRetargeted, balance);

    bool converges = true;
    float errorSoFar = 1.0f;
    m_Iteration = m_Sweeps = 0;
    while (m_Iteration < steps) {
        m_ReachEstimate = 0.0f;
        refreshFrames(false);
        evaluateRows(balance);
        if (m_Iteration == 0)
            adaptToReach();
        step();
        ++m_Sweeps;
        if (hasDiverged(errorSoFar))
            converges = false; // reported; the iteration goes on
        const bool stops = m_Iteration != 0 && m_Tolerance > m_MaxJointStep;
        if (!m_BalanceTask && (stops || m_Iteration + 1 == steps))
            placeMassCentres();
        if (stops) {
            m_RootBone->integrate(); // the other bones don't receive this last step
            m_FramesCurrent = false;
            break;
        }
        std::memset(m_SecondaryMotion, 0, m_Columns * sizeof(float));
        advanceBones();
        ++m_Iteration;
    }
    m_CentreOfMass = m_RootBone->getTranslation() + m_RootBone->getSubtreeCentreOffset();
    return converges;
}

/// Pulls of the pose that the solve starts from. A retargeting bone gets no limit pull here, whatever the
/// setting. Returns whether every bone has its three rotations and none but the root translates.
bool IKSolverState::pullBeforeFirst(bool& anyRetargeted)
{
    bool plain = true;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i) {
        Segment& bone = m_Bones[i];
        plain = plain && bone.isDofActive(0) && bone.isDofActive(1) && bone.isDofActive(2)
            && (&bone == m_RootBone || !bone.isTranslational());
        if (bone.isRetargeting()) {
            anyRetargeted = true;
            if (bone.isActive())
                bone.applyRetargeting(m_RetargetGain);
        } else if (bone.isActive() && bone.wantsLimitPass()) {
            bone.applyLimits(m_LimitsGain, m_StretchPullGain, m_ColumnWeights);
        }
    }
    return plain;
}

/// Sorts the active tasks, clears their triggers and reads the targets that come from the retarget pose.
void IKSolverState::readyTasks(bool fast, bool anyRetargeted, bool balance)
{
    bool targetFramesReady = false;
    const auto readTarget = [&](Task& task) {
        if (!targetFramesReady)
            refreshFrames(true);
        targetFramesReady = true;
        task.setTargetFromPose();
    };
    m_FirstTasks.clear();
    m_FollowingTasks.clear();
    for (Task* task : m_Tasks) {
        if (task->isActive())
            (task->follows() ? m_FollowingTasks : m_FirstTasks).append(task);
        if (anyRetargeted && !task->isActive())
            continue;
        task->clearFollowTrigger();
        if (anyRetargeted && task->tracksRetarget())
            readTarget(*task);
        task->setFastPath(fast);
    }
    if (!balance)
        return;
    if (m_ZmpDirty && m_BalanceTask->momentRows())
        recomputeZmp();
    if (m_SupportTask) {
        m_Zmp = m_SupportTask->getTarget();
        m_FigureFrame.position = SinewVector() - m_Zmp;
    }
    if (m_BalanceTask->tracksRetarget())
        readTarget(*m_BalanceTask);
}

void IKSolverState::evaluateRows(bool balance)
{
    if (balance) {
        for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
            m_Bones[i].computeSubtreeCentre();
        m_BalanceTask->computeRows(m_Columns, m_Rows);
    }
    // Followers come last, so that a contact has triggered them before.
    for (Task* task : m_FirstTasks)
        task->computeRows(m_Columns, m_Rows);
    for (Task* task : m_FollowingTasks)
        task->computeRows(m_Columns, m_Rows);
}

/// One sweep. dq is formed from y and u as the last sweep left them; then both move:
///     y += e - J C Jt W y + D y,    u += J z - J C Jt W u + D u,    D = -L.
void IKSolverState::step()
{
    const std::uint32_t columns = blocks(m_Columns), rows = blocks(m_Rows);
    // Without pulls, and with u at zero, everything that depends on them is zero.
    const bool pulled = !isAllZero(m_SecondaryMotion, m_Columns) || !isAllZero(m_SecondaryDual, m_Rows);

    std::memset(m_PrimaryStep, 0, columns * sizeof(float));
    for (std::uint32_t r = 0; r < rows; r += 4)
        storeLanes(m_RowScratchA + r, loadLanes(m_RowWeights + r) * loadLanes(m_PrimaryDual + r));
    Lanes largest = zeroLanes();
    if (pulled) {
        std::memset(m_SecondaryStep, 0, columns * sizeof(float));
        m_Jacobian.multiply(m_SecondaryMotion, m_SecondaryRows);
        for (std::uint32_t r = 0; r < rows; r += 4)
            storeLanes(m_RowScratchB + r, loadLanes(m_RowWeights + r) * loadLanes(m_SecondaryDual + r));
        m_Jacobian.addTransposedTwo(m_RowScratchA, m_RowScratchB, m_PrimaryStep, m_SecondaryStep);
        for (std::uint32_t c = 0; c < columns; c += 4) {
            const Lanes weight = loadLanes(m_ColumnWeights + c);
            const Lanes primary = weight * loadLanes(m_PrimaryStep + c);
            const Lanes secondary = weight * loadLanes(m_SecondaryStep + c);
            const Lanes dq = (primary - secondary) + loadLanes(m_SecondaryMotion + c);
            storeLanes(m_PrimaryStep + c, primary);
            storeLanes(m_SecondaryStep + c, secondary);
            storeLanes(m_JointStep + c, dq);
            largest = laneMax(laneAbs(dq), largest);
        }
    } else {
        m_Jacobian.addTransposed(m_RowScratchA, m_PrimaryStep);
        for (std::uint32_t c = 0; c < columns; c += 4) {
            const Lanes dq = loadLanes(m_ColumnWeights + c) * loadLanes(m_PrimaryStep + c);
            storeLanes(m_PrimaryStep + c, dq);
            storeLanes(m_JointStep + c, dq);
            largest = laneMax(laneAbs(dq), largest);
        }
    }
    m_MaxJointStep = maxLane(largest);
    if (m_Rows == 0)
        return;

    if (pulled)
        m_Jacobian.multiplyTwo(m_PrimaryStep, m_SecondaryStep, m_RowScratchA, m_RowScratchB);
    else
        m_Jacobian.multiply(m_PrimaryStep, m_RowScratchA);
    for (std::uint32_t r = 0; r < rows; r += 4) {
        const Lanes y = loadLanes(m_PrimaryDual + r), d = loadLanes(m_RowDamping + r);
        storeLanes(m_PrimaryDual + r,
                   y + ((loadLanes(m_TaskError + r) - loadLanes(m_RowScratchA + r)) + d * y));
        if (pulled) {
            const Lanes u = loadLanes(m_SecondaryDual + r);
            storeLanes(m_SecondaryDual + r,
                       u + ((loadLanes(m_SecondaryRows + r) - loadLanes(m_RowScratchB + r)) + d * u));
        }
    }
}

bool IKSolverState::areDualsFinite() const
{
    return Sinew::isFinite(m_PrimaryDual, m_Rows) && Sinew::isFinite(m_SecondaryDual, m_Rows);
}

bool IKSolverState::isFinite() const
{
    if (m_ArraysAllocated && !(areDualsFinite() && Sinew::isFinite(m_JointStep, m_Columns)))
        return false;
    for (std::uint32_t i = 0; i < m_SegmentCount; ++i)
        if (!m_Bones[i].isFinite())
            return false;
    return true;
}

/// Compares the duals with the largest error so far. Only the last block of rows counts for that error, and
/// it starts at 1 length unit, so the test depends on the unit.
bool IKSolverState::hasDiverged(float& errorSoFar) const
{
    if (m_Rows == 0)
        return false;
    const float primary = largestMagnitude(m_PrimaryDual, m_Rows),
                secondary = largestMagnitude(m_SecondaryDual, m_Rows);
    const float dual = primary > secondary ? primary : secondary;
    const float error = maxLane(laneAbs(loadLanes(m_TaskError + ((m_Rows - 1) & ~3u))));
    if (error > errorSoFar)
        errorSoFar = error;
    return dual / errorSoFar > 4.0f * m_FigureLength || !areDualsFinite();
}

void IKSolverState::pullAfterStep(Segment& bone)
{
    const bool retargeting = bone.isRetargeting();
    if (retargeting)
        bone.applyRetargeting(m_RetargetGain);
    if (!retargeting || m_LimitsWithRetargeting) {
        if (bone.wantsLimitPass())
            bone.applyLimits(m_LimitsGain, m_StretchPullGain, m_ColumnWeights);
    } else if (bone.wantsStretchPass()) {
        bone.applyStretch(nullptr, m_StretchPullGain, m_ColumnWeights);
    }
}

/// Steps and pulls of the active bones in array order. Bones that only rotate go four at a time: such a
/// bone's step changes nothing that another bone's pull reads, so the order of effects is that of one after
/// the other.
void IKSolverState::advanceBones()
{
    Segment* waiting[4];
    std::uint32_t count = 0;
    const auto flush = [&] {
        if (count == 4)
            Segment::integrateFour(waiting);
        for (std::uint32_t k = 0; k < count; ++k) {
            if (count < 4)
                waiting[k]->integrate();
            if (waiting[k]->isPulled())
                pullAfterStep(*waiting[k]);
        }
        count = 0;
    };
    for (Segment *bone = m_Bones, *end = m_Bones + m_SegmentCount; bone != end; ++bone) {
        if (!bone->isActive())
            continue;
        if (bone->onlyRotates()) {
            waiting[count++] = bone;
            if (count == 4)
                flush();
            continue;
        }
        flush();
        bone->integrate();
        if (bone->isPulled())
            pullAfterStep(*bone);
    }
    flush();
    m_FramesCurrent = false;
}

bool IKSolverState::solveAdaptive(std::uint32_t steps, int& status)
{
    status = 0;
    if (solve(steps))
        return false;
    status = 1;
    const auto setCoefficient = [&](float coefficient) {
        m_PCoefficient = coefficient;
        m_SetupDirty = true;
    };
    float high = m_PCoefficient, low = 0.01f, best = high;
    float gap = high * 0.025f;
    gap = !(gap > 0.005f) ? 0.005f : gap >= 0.1f ? 0.1f : gap;
    while (high - low > gap) {
        const float middle = (high + low) * 0.5f;
        if (!(middle > low && middle < high))
            break; // floats can't halve the interval any more
        setCoefficient(middle);
        reset();
        if (solve(steps))
            best = low = middle;
        else
            high = middle;
    }
    if (static_cast<double>(best) > 0.001)
        setCoefficient(best);
    reset();
    if (solve(steps))
        return true;
    status = 2;
    return false;
}

} // namespace Sinew
