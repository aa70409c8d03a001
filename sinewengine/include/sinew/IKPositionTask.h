// SPDX-License-Identifier: MIT
// The public face of a task that brings a point of a bone to a place in the world.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

class IKPositionTask : public virtual IKTask {
public:
    /// Target in the world.
    virtual void setTarget(float x, float y, float z) = 0;
    virtual void setTarget(const SinewVector& target) = 0;
    virtual const SinewVector& getTarget() const = 0;
    /// The point in the bone's frame, relative to the bone's origin.
    virtual void setOffset(float x, float y, float z) = 0;
    virtual const SinewVector& getOffset() const = 0;
    /// Force at the bone, world axes; it counts in the balance task's moments while the task is a force task.
    virtual void setForce(float x, float y, float z) = 0;
    virtual const SinewVector& getForce() const = 0;
    /// Off: the task has no goal of its own and only carries a force.
    virtual void setPositionRows(bool on) = 0;
    /// `reaction`: the force is computed as the task's share of what carries the figure.
    virtual void setForceTask(bool force, bool reaction) = 0;
    virtual void setForceShare(float share) = 0;
    virtual float getForceShare() const = 0;
    /// Told by the balance task: it has active moment rows.
    virtual void setBalanceMoments(bool on) = 0;
    /// Target minus current position as of the last evaluation, world axes.
    virtual const SinewVector& getError() const = 0;
    /// Force x the bone's world position.
    virtual SinewVector& computeMoment(SinewVector& out) = 0;
    /// The task only swings the plane of parent, bone and first child towards the target.
    virtual void setPoleVector(bool on) = 0;
    virtual bool getPoleVector() const = 0;
    /// The target is ignored; a plane keeps the point from passing through. No effect in plane target mode.
    virtual void setPlaneConstraint(bool on) = 0;
    virtual bool getPlaneConstraint() const = 0;
    /// The target is pushed out of the plane.
    virtual void setPlaneTarget(bool on) = 0;
    virtual bool getPlaneTarget() const = 0;
    /// Normal of the plane, world axes, any length.
    virtual void setPlaneNormal(float x, float y, float z) = 0;
    virtual const SinewVector& getPlaneNormal() const = 0;
    /// A point of the plane, in the world.
    virtual void setPlanePoint(float x, float y, float z) = 0;
    virtual const SinewVector& getPlanePoint() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
