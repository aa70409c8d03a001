// SPDX-License-Identifier: MIT
// The public face of a task that brings a point of a bone to a place in the world.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// Brings a point of its bone to a target. Lengths are in the caller's unit. Three other uses, switched by
/// flags: a pole vector, a plane that is not to be passed, and a force for the balance task. References stay
/// valid as long as the task.
class IKPositionTask : public virtual IKTask {
public:
    /// Target in the world. A new task's is where its bone stands.
    virtual void setTarget(float x, float y, float z) = 0;
    /// Target in the world; lane w is ignored.
    virtual void setTarget(const SinewVector& target) = 0;
    /// Target in the world, as given.
    virtual const SinewVector& getTarget() const = 0;
    /// The point in the bone's frame, relative to the bone's origin; zero by default. A pole vector ignores
    /// it.
    virtual void setOffset(float x, float y, float z) = 0;
    /// The point in the bone's frame.
    virtual const SinewVector& getOffset() const = 0;
    /// Force at the bone's origin, world axes; it counts in the balance task's moments while the task is a
    /// force task. A reaction task's is overwritten.
    virtual void setForce(float x, float y, float z) = 0;
    /// Force at the bone's origin, world axes.
    virtual const SinewVector& getForce() const = 0;
    /// Off: the task has no goal of its own and only carries a force. On by default.
    virtual void setPositionRows(bool on) = 0;
    /// `force`: the task's force enters the moments of the balance task, if there is one with moment rows.
    /// `reaction`: the force is computed as the task's share of what carries the figure. Both off by default.
    virtual void setForceTask(bool force, bool reaction) = 0;
    /// Share of a reaction task, 1 by default: its force is that much of the weight and the other forces,
    /// turned round.
    virtual void setForceShare(float share) = 0;
    /// Share of a reaction task.
    virtual float getForceShare() const = 0;
    /// For the balance task, which tells whether it has active moment rows; a client has no use for it.
    virtual void setBalanceMoments(bool on) = 0;
    /// What was left to go, target minus current position in world axes, when rows were last evaluated:
    /// before the last step of a solve, not after it. A pole vector's and a plane's error are only the part
    /// that the task asks for. Inactive axes are included.
    virtual const SinewVector& getError() const = 0;
    /// Writes force x the bone's world position to `out` and returns that.
    virtual SinewVector& computeMoment(SinewVector& out) = 0;
    /// The task only swings the plane of parent, bone and first child towards the target, whatever the offset
    /// and the plane. It asks for nothing where one of the two is missing, or where the chain is within 8.6
    /// degrees of straight. Off by default.
    virtual void setPoleVector(bool on) = 0;
    /// Whether the task is a pole vector.
    virtual bool getPoleVector() const = 0;
    /// The target is ignored; a plane keeps the point from passing through, and the task asks for nothing
    /// while the point is above it. No effect while the plane target is on. Off by default.
    virtual void setPlaneConstraint(bool on) = 0;
    /// Whether the plane keeps the point from passing through.
    virtual bool getPlaneConstraint() const = 0;
    /// The goal is the target where it lies above the plane, and its foot on the plane where it lies below.
    /// `getTarget` stays as given. Off by default.
    virtual void setPlaneTarget(bool on) = 0;
    /// Whether the target is pushed out of the plane.
    virtual bool getPlaneTarget() const = 0;
    /// Normal of the plane, world axes, any length: it points to the side where points may be. (0, 1, 0) by
    /// default; a zero normal is no plane.
    virtual void setPlaneNormal(float x, float y, float z) = 0;
    /// Normal of the plane: as given, and of length 1 once it was used.
    virtual const SinewVector& getPlaneNormal() const = 0;
    /// A point of the plane, in the world; the origin by default.
    virtual void setPlanePoint(float x, float y, float z) = 0;
    /// A point of the plane, in the world.
    virtual const SinewVector& getPlanePoint() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
