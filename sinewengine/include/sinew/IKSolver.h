// SPDX-License-Identifier: MIT
// The solver: a tree of bones and a set of tasks, moved iteration by iteration until the tasks are met.
#pragma once

#include <sinew/Allocator.h>
#include <sinew/Assert.h>
#include <sinew/BoneDescriptor.h>
#include <sinew/IKBalanceTask.h>
#include <sinew/IKOrientationTask.h>
#include <sinew/IKPositionTask.h>
#include <sinew/IKSegment.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// Handle of one solver; it owns all its bones and tasks. Not copyable. Use one solver from one thread at a
/// time; separate solvers are independent. Lengths are in the caller's unit, the space is right-handed.
///
/// Order of use: `setBones` once; add and configure tasks at any time; per solve set targets and gains, call
/// `solve`, then `updateFigure`, then read the bones.
class IKSolver {
public:
    IKSolver();
    ~IKSolver();
    IKSolver(const IKSolver&) = delete;
    IKSolver& operator=(const IKSolver&) = delete;

    /// `solve` stops when the largest joint step (radians or length units) falls below this. 0 never stops
    /// it.
    void setTolerance(float tolerance);
    float tolerance() const;
    void setUserContext(void* context);
    void* userContext() const;
    /// Sum of the measured bone lengths; 1 for a figure of one bone.
    float totalBoneLength() const;
    void setTotalBoneLength(float length);
    /// Measures bone lengths, the figure's height and its masses from the current translations.
    void measureFigure();
    void setSetupDirty(bool dirty);
    /// Address of the zero-moment point.
    SinewVector* zmpPointer();
    /// The figure's centre of mass as of the end of the last solve.
    SinewVector* centreOfMass();
    bool framesCurrent() const;
    /// Fills each bone's stretch ratio and scale, starting at the root with `ratio`.
    void computeStretchRatio(float ratio);
    /// Forward kinematics; call it after `solve` before reading world frames.
    void updateFigure();
    /// Gives entry i, three floats, to task i in order of adding. A null entry leaves its task alone.
    void setTaskTargets(const float* const* targets);
    /// poses[0] is a table by bone index of four floats w, x, y, z each: the target orientations of the bones
    /// that retarget. With a count of 2 or more the first five tables are kept and not used.
    void setRetargetPose(const float* const* const* poses, std::uint32_t count);
    /// Multiplies the figure's current lengths and the tasks' targets; rest translations keep their values.
    void rescaleFigure(float factor);
    bool limitsWithRetargeting() const;
    /// Lets limit pulls act on bones that retarget as well.
    void setLimitsWithRetargeting(bool on);
    float pCoefficient() const;
    /// Gain on all row weights, 1 by default: higher pulls harder and, beyond a point, diverges. Restarts the
    /// duals.
    void setPCoefficient(float coefficient);
    float momentsPrecision() const;
    /// Clamped to 0.001 to 2.
    void setMomentsPrecision(float precision);
    float momentsWeight() const;
    void setMomentsWeight(float weight);
    float secondaryTaskPrecision() const;
    /// Clamped to 0.2 to 1.5; stored and reported only.
    void setSecondaryTaskPrecision(float precision);
    float secondaryTaskWeight() const;
    /// Stored and reported only.
    void setSecondaryTaskWeight(float weight);
    void setFullRetargeting(bool on);
    float retargetGain() const;
    void setRetargetGain(float gain);
    float limitsGain() const;
    void setLimitsGain(float gain);
    bool rescaleTasks() const;
    /// Stored and reported only.
    void setRescaleTasks(bool on);
    float precision() const;
    /// Damping of the task rows as a negative number: pass the negated user value, -2 by default. Restarts
    /// the duals.
    void setPrecision(float precision);
    bool useDefaultZmp() const;
    void setUseDefaultZmp(bool on);
    SinewVector zmp() const;
    /// Fixes the zero-moment point, in the world.
    void setZmp(float x, float y, float z);
    float totalMass() const;
    /// Sets the figure's mass and distributes it over the bones by length.
    void setTotalMass(float mass);
    SinewVector* rootTargetTranslation();
    /// Stored and reported only.
    void setRootTargetTranslation(float x, float y, float z);
    bool enableRootTarget() const;
    /// Stored and reported only.
    void setEnableRootTarget(bool on);
    float rootTranslationWeight() const;
    /// Weight of the root's three translations, kept in the root bone; the getter reports a further
    /// factor, 1.
    void setRootTranslationWeight(float weight);
    /// The root bone's local translation; null without a root bone.
    SinewVector* rootTranslation();
    bool translateRoot() const;
    /// Lets tasks move the root bone.
    void setTranslateRoot(bool on);
    /// Has the next solve measure the figure again.
    void requestMeasure();
    /// Returns the bones to rest and restarts the duals; before the first solve there is nothing to return.
    void reset();
    /// Lays out rows and columns anew; `solve` calls it when needed. False when there is nothing to solve.
    bool prepare();
    /// Writes the whole set-up as text to a file, for a person to read. A path that can't be opened is
    /// ignored.
    void dumpConfiguration(const char* path);
    /// Searches the largest P coefficient that doesn't diverge, each time from rest. `status` becomes 0
    /// (result false: the given one works), 1 (result true: a smaller one was found and set) or 2 (result
    /// false: none was found).
    bool solveAdaptive(std::uint32_t steps, int& status);
    bool solveAdaptive(std::uint32_t steps, int* status);
    bool solveAdaptive(std::uint32_t steps, std::uint32_t& status);
    bool solveAdaptive(std::uint32_t steps, std::uint32_t* status);
    /// Iterates up to `steps` times from the current pose. False when the iteration diverged; the pose is
    /// then whatever the last iteration gave.
    bool solve(std::uint32_t steps);
    std::uint32_t taskCount() const;
    void removeBalanceTask();
    /// Destroys a task of this solver. Null and tasks of other solvers are ignored.
    void removeTask(IKTask* task);
    /// The balance task, or null.
    IKBalanceTask* balanceTask() const;
    /// Makes the balance task, or reconfigures the one there is; null without bones. `axis` is the up axis;
    /// `depth` is only kept.
    IKBalanceTask* addBalanceTask(std::uint32_t axis, bool moments, bool centreOfMass,
                                  std::uint32_t depth = 0);
    /// Makes `task` follow `other`, or with `on` false no task. Only an orientation task works as a follower.
    void linkTasks(IKTask* task, bool on, IKTask* other);
    /// A task that starts at the bone's current orientation; null, with a message, for an unknown bone.
    /// `depth` is only kept: see IKTask::setDepth for what limits a task's reach.
    IKOrientationTask* addOrientationTask(const char* bone, std::uint32_t depth = 0);
    /// A task that starts at the bone's current position; null, with a message, for an unknown bone.
    IKPositionTask* addPositionTask(const char* bone, std::uint32_t depth = 0);
    std::uint32_t boneCount() const;
    IKSegment* rootBone() const;
    /// Bone by index in the order of the descriptors; null beyond the last.
    IKSegment* bone(std::uint32_t index) const;
    /// Bone by name, or null.
    IKSegment* findBone(const char* name) const;
    /// Makes the bones. Once in the life of a solver: a second call fails an assertion and changes nothing.
    void setBones(const BoneDescriptor* descriptors, std::uint32_t count);

    /// Iterations of the last solve, the one that met the tolerance included.
    std::uint32_t iterations() const;

private:
    IKSolverState* m_State;
};

} // namespace Sinew

#pragma GCC visibility pop
