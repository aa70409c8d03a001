// SPDX-License-Identifier: MIT
// The public face of a task that brings a bone to an orientation in the world.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// Turns its bone to a target orientation. The pull grows with the sine of the angle that is left: it is
/// strongest a quarter turn away and vanishes at half a turn, where the pose has to be moved by other means.
/// It never asks a bone to translate. References stay valid as long as the task.
class IKOrientationTask : public virtual IKTask {
public:
    /// Takes a 4x4 row-major rotation for column vectors and keeps it; the target that the task aims at
    /// doesn't change. Null is ignored.
    virtual void setTargetMatrix(const float* matrix) = 0;
    /// Target orientation in the world, kept as given: pass a unit quaternion. A new task's is that of its
    /// bone.
    virtual void setTarget(float x, float y, float z, float w) = 0;
    /// The same, ignored in aim mode.
    virtual void setTarget(const SinewQuaternion& target) = 0;
    /// Target orientation in the world; in aim mode the one that the last aim direction gave.
    virtual const SinewQuaternion& getTarget() const = 0;
    /// Axis in the bone's frame that is to point along the aim direction; normalised unless zero. Zero by
    /// default, which aims at nothing.
    virtual void setLocalAxis(float x, float y, float z) = 0;
    /// Axis in the bone's frame that is to point along the aim direction.
    virtual const SinewVector& getLocalAxis() const = 0;
    /// World direction of any length; out of aim mode it is only kept. In aim mode the target becomes, once,
    /// the orientation nearest the bone's present world orientation in which the local axis points there, or
    /// that present orientation where direction or axis is zero. Call it after a forward pass.
    virtual void setAimDirection(float x, float y, float z) = 0;
    /// World direction, of length 1 if it was set in aim mode.
    virtual const SinewVector& getAimDirection() const = 0;
    /// Switches aim mode, off by default; the target stays until the next aim direction.
    virtual void setAimMode(bool on) = 0;
    /// Whether the target comes from the aim direction.
    virtual bool getAimMode() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
