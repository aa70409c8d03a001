// SPDX-License-Identifier: MIT
// The public face of a task that brings a bone to an orientation in the world.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

class IKOrientationTask : public virtual IKTask {
public:
    /// Takes a 4x4 row-major rotation and keeps it; the target that the task aims at doesn't change.
    virtual void setTargetMatrix(const float* matrix) = 0;
    /// Target orientation in the world, kept as given. A target half a turn away gives no motion.
    virtual void setTarget(float x, float y, float z, float w) = 0;
    /// The same, ignored in aim mode.
    virtual void setTarget(const SinewQuaternion& target) = 0;
    virtual const SinewQuaternion& getTarget() const = 0;
    /// Axis in the bone's frame that is to point along the aim direction; normalised unless zero.
    virtual void setLocalAxis(float x, float y, float z) = 0;
    virtual const SinewVector& getLocalAxis() const = 0;
    /// World direction; in aim mode the target becomes the nearest orientation in which the local axis points
    /// there.
    virtual void setAimDirection(float x, float y, float z) = 0;
    virtual const SinewVector& getAimDirection() const = 0;
    virtual void setAimMode(bool on) = 0;
    virtual bool getAimMode() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
