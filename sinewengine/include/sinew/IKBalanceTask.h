// SPDX-License-Identifier: MIT
// The public face of the task that holds a figure's centre of mass and its moments.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

class IKBalanceTask : public virtual IKTask {
public:
    /// Target of the centre of mass, in the world or from the root's origin.
    virtual void setTarget(float x, float y, float z) = 0;
    /// Added to targets that are read from the retarget pose.
    virtual void setTargetOffset(float x, float y, float z) = 0;
    virtual const SinewVector& getTarget() const = 0;
    /// Net moment about the world origin of the weight and the forces of the force tasks.
    virtual SinewVector& computeMoment(SinewVector& out) = 0;
    virtual void setCentreOfMassRows(bool on) = 0;
    /// Measures the target from the root's origin.
    virtual void setRelativeToRoot(bool on) = 0;
    virtual void setMomentRows(bool on) = 0;
    /// Does nothing.
    virtual void reserved(std::uint32_t value) = 0;
    /// Always 0; see `getGravityDirection`.
    virtual std::uint32_t getGravityAxis() const = 0;
    /// The up direction in world axes; normalised. A zero direction is ignored.
    virtual void setGravityDirection(float x, float y, float z) = 0;
    /// The up direction as an axis: 0 x, 1 y, 2 z.
    virtual void setGravityAxis(std::uint32_t axis) = 0;
    virtual const SinewVector& getGravityDirection() const = 0;
    virtual bool momentRows() const = 0;
    virtual bool centreOfMassRows() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
