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
/// time; separate solvers are independent. Lengths are in the caller's unit, angles in radians, the space is
/// right-handed. Nothing throws.
///
/// Order of use: `setBones` once; add and configure tasks at any time; per solve set targets and gains, call
/// `solve`, then `updateFigure`, then read the bones. Pointers to bones stay valid as long as the solver,
/// those to tasks until they are removed.
///
/// "Restarts the duals": the next solve lays out rows and columns anew and starts its dual vectors from the
/// errors, so that of the last solve only the pose remains. Gains are read back as they were set, to the last
/// bits of a division.
class IKSolver {
public:
    /// A solver without bones; every operation is safe on it, and `solve` does nothing.
    IKSolver();
    /// Destroys all bones and tasks.
    ~IKSolver();
    IKSolver(const IKSolver&) = delete;
    IKSolver& operator=(const IKSolver&) = delete;

    /// `solve` stops when the largest joint step (radians or length units) falls below this, 0.001 by
    /// default. 0 never stops it.
    void setTolerance(float tolerance);
    /// The joint step below which `solve` stops.
    float tolerance() const;
    /// Keeps a pointer for the caller, null at first; the engine never dereferences it.
    void setUserContext(void* context);
    /// The caller's pointer.
    void* userContext() const;
    /// Sum of the measured bone lengths; 1 for a figure of one bone.
    float totalBoneLength() const;
    /// Replaces that sum until the next measure. Only `setTotalMass` reads it.
    void setTotalBoneLength(float length);
    /// Measures bone lengths and the figure's height from the current translations, which become the rest
    /// lengths of stretching bones, and shares the figure's mass out in proportion to bone lengths. Weights
    /// that depend on them follow when rows and columns are laid out: `requestMeasure` does both.
    void measureFigure();
    /// True restarts the duals, and lays out the goals along chains that `IKSegment::setParent` has changed.
    /// False takes back a request of `setPCoefficient`, `setPrecision` or `requestMeasure`, never one that
    /// changes the number of rows or columns.
    void setSetupDirty(bool dirty);
    /// Address of the zero-moment point, to read; writing there doesn't move the figure, `setZmp` does.
    SinewVector* zmpPointer();
    /// The figure's centre of mass as of the end of the last solve. Only an active balance task has it
    /// computed: without one this is the root's translation, plus the offset that the last solve with such a
    /// task left (none at first).
    SinewVector* centreOfMass();
    /// True from the forward pass that adding a task makes until the next step of a solve or move of the
    /// zero-moment point. `updateFigure` and setters of bones don't change it.
    bool framesCurrent() const;
    /// Fills each bone's stretch ratio and scale from its children's translations, starting at the root with
    /// `ratio`, which is 1 for a figure of its own size.
    void computeStretchRatio(float ratio);
    /// Forward kinematics of the root's tree; call it after `solve` before reading world frames.
    void updateFigure();
    /// Gives entry i, three floats, to task i in order of adding; there are as many entries as tasks, the
    /// balance task not counted. A null entry leaves its task alone, and orientation tasks take none.
    void setTaskTargets(const float* const* targets);
    /// poses[0] is a table by bone index of four floats w, x, y, z each: the target orientations of the bones
    /// that retarget, as they stand. Other bones and null entries are left alone. With a `count` of 2 or more
    /// the first five tables are kept and not used.
    void setRetargetPose(const float* const* const* poses, std::uint32_t count);
    /// Multiplies the figure's current lengths and the targets of position and balance tasks; rest
    /// translations keep their values. The next solve measures the figure.
    void rescaleFigure(float factor);
    /// Whether limit pulls act on bones that retarget.
    bool limitsWithRetargeting() const;
    /// Lets limit pulls act on bones that retarget as well, from the first step of a solve on; off by
    /// default.
    void setLimitsWithRetargeting(bool on);
    /// Gain on all row weights.
    float pCoefficient() const;
    /// Gain on all row weights, 1 by default: higher pulls harder and, beyond a point, diverges. Restarts the
    /// duals.
    void setPCoefficient(float coefficient);
    /// Precision of the moment rows: what `precision` is divided by for them.
    float momentsPrecision() const;
    /// Divides the damping of the balance task's moment rows, 1 by default; clamped to 0.001 to 2. The
    /// precision in force at that time counts: set it after `setPrecision`.
    void setMomentsPrecision(float precision);
    /// Weight of the moment rows.
    float momentsWeight() const;
    /// Importance of the balance task's moment rows, 1 by default.
    void setMomentsWeight(float weight);
    /// As set, 1 by default; it has no effect.
    float secondaryTaskPrecision() const;
    /// Clamped to 0.2 to 1.5; stored and reported only.
    void setSecondaryTaskPrecision(float precision);
    /// As set, 1 by default; it has no effect.
    float secondaryTaskWeight() const;
    /// Stored and reported only.
    void setSecondaryTaskWeight(float weight);
    /// `IKSegment::setFullRetargeting` of every bone. On after `setBones`.
    void setFullRetargeting(bool on);
    /// Gain of all retarget pulls.
    float retargetGain() const;
    /// Gain of all retarget pulls, 1 by default: in one iteration a bone then follows 0.05 times its own
    /// gains of half the sine of the angle that is left.
    void setRetargetGain(float gain);
    /// Gain of all limit pulls.
    float limitsGain() const;
    /// Gain of all limit pulls, 1 by default, counted like `setRetargetGain`. Goals that insist hold a bone
    /// outside of its limits; a higher gain resists them more.
    void setLimitsGain(float gain);
    /// As set, false by default; it has no effect.
    bool rescaleTasks() const;
    /// Stored and reported only.
    void setRescaleTasks(bool on);
    /// Damping of the task rows, negative.
    float precision() const;
    /// Damping of the task rows as a negative number: pass the negated user value, -2 by default. Restarts
    /// the duals.
    void setPrecision(float precision);
    /// Whether a reaction task may fix the zero-moment point; true by default.
    bool useDefaultZmp() const;
    /// On: the zero-moment point is the target of the first reaction task with all its axes, or the world's
    /// origin, where it is put at once. Off: it stays where it is.
    void setUseDefaultZmp(bool on);
    /// The zero-moment point, in the world; the origin by default.
    SinewVector zmp() const;
    /// Fixes the zero-moment point, in the world, and with it where world frames of bones are counted from: a
    /// bone's place in the world is then `IKSegment::getGlobalPosition` plus this point.
    void setZmp(float x, float y, float z);
    /// The figure's mass.
    float totalMass() const;
    /// Sets the figure's mass, 80 by default, and shares it out over the bones by length. The weight is 9.81
    /// times it, so kilograms and metres give newtons; the balance task itself works alike at any mass.
    void setTotalMass(float mass);
    /// As set, zero by default; it has no effect.
    SinewVector* rootTargetTranslation();
    /// Stored and reported only.
    void setRootTargetTranslation(float x, float y, float z);
    /// As set, false by default; it has no effect.
    bool enableRootTarget() const;
    /// Stored and reported only.
    void setEnableRootTarget(bool on);
    /// Always 1: a further factor on the weight that `setRootTranslationWeight` gives the root bone, which
    /// `IKSegment::getWeight` of axes 3 to 5 returns.
    float rootTranslationWeight() const;
    /// Weight of the root bone's three translations, 1 by default; 0 keeps goals from moving the root along.
    void setRootTranslationWeight(float weight);
    /// Address of the root bone's local translation; null without a root bone. Write through
    /// `IKSegment::setTranslation`, which marks the frames below as stale.
    SinewVector* rootTranslation();
    /// Whether tasks may move the root bone; false by default.
    bool translateRoot() const;
    /// Lets tasks move the root bone along its three axes.
    void setTranslateRoot(bool on);
    /// Has the next solve measure the figure, as `measureFigure` does, and renew all weights. Restarts the
    /// duals.
    void requestMeasure();
    /// Returns the bones to rest and the duals to their starting value; before the first solve there is
    /// nothing to return. Targets and settings stay.
    void reset();
    /// Lays out rows and columns anew and restarts the duals; `solve` calls it when needed. False when there
    /// is nothing to solve: no bones, or no task any more.
    bool prepare();
    /// Writes the whole set-up as text to a file, which is replaced, for a person to read. A path that is
    /// null or can't be opened is ignored.
    void dumpConfiguration(const char* path);
    /// Searches the largest P coefficient that doesn't diverge, each time from rest. `status`, which may be
    /// null, becomes 0 (result false: the given one works), 1 (result true: a smaller one was found and set)
    /// or 2 (result false: none was found).
    bool solveAdaptive(std::uint32_t steps, int* status);
    /// Iterates up to `steps` times from the current pose, fewer when the tolerance is met. False when the
    /// iteration diverged; the pose is then whatever the last iteration gave. True doesn't say that goals
    /// were reached: measure that. With 0 steps only tracked targets and `centreOfMass` are renewed.
    bool solve(std::uint32_t steps);
    /// Number of tasks, the balance task not counted.
    std::uint32_t taskCount() const;
    /// Destroys the balance task, if there is one.
    void removeBalanceTask();
    /// Destroys a task of this solver. Null and tasks of other solvers are ignored.
    void removeTask(IKTask* task);
    /// The balance task, or null.
    IKBalanceTask* balanceTask() const;
    /// Makes the balance task, or reconfigures the one there is, which keeps its target; null without bones.
    /// `axis` is the up axis: 0 x, 1 y, any other value z. `moments` and `centreOfMass` say what it holds;
    /// `depth` is only kept.
    IKBalanceTask* addBalanceTask(std::uint32_t axis, bool moments, bool centreOfMass,
                                  std::uint32_t depth = 0);
    /// Makes `task` follow `other`, or with `on` false no task. An orientation task that follows a position
    /// task with a plane asks for nothing until the plane is touched in a solve; then it aims at the plane's
    /// normal
    /// (`IKOrientationTask::setAimMode`). As a follower a position task has no use. Null, and tasks of other
    /// solvers and the balance task, are ignored; a task has one follower at most, the last one linked.
    void linkTasks(IKTask* task, bool on, IKTask* other);
    /// A task that starts at the bone's current orientation; null, with a message, for an unknown bone.
    /// `depth` is only kept: see IKTask::setDepth for what limits a task's reach.
    IKOrientationTask* addOrientationTask(const char* bone, std::uint32_t depth = 0);
    /// A task that starts at the bone's current position; null, with a message, for an unknown bone.
    IKPositionTask* addPositionTask(const char* bone, std::uint32_t depth = 0);
    /// Number of bones.
    std::uint32_t boneCount() const;
    /// The bone that forward kinematics starts from: the last one in the order of the descriptors that has no
    /// parent; null without bones.
    IKSegment* rootBone() const;
    /// Bone by index in the order of the descriptors; null beyond the last.
    IKSegment* bone(std::uint32_t index) const;
    /// Bone by the name of its descriptor, or null; of bones with the same name, the first.
    IKSegment* findBone(const char* name) const;
    /// Makes the bones, in the order of the descriptors, which are copied. Once in the life of a solver: a
    /// second call fails an assertion and changes nothing. Null or no descriptors are ignored. A bone whose
    /// parent's name isn't found, or would close a cycle, has no parent.
    void setBones(const BoneDescriptor* descriptors, std::uint32_t count);

    /// Iterations of the last solve, the one that met the tolerance included: fewer than its steps only if
    /// the tolerance was met.
    std::uint32_t iterations() const;
    /// Whether steps and bones are finite numbers since the last solve. Input that is not may leave the pose
    /// where no later solve finds back: a new solver does.
    bool isFinite() const;

private:
    IKSolverState* m_State;
};

} // namespace Sinew

#pragma GCC visibility pop
