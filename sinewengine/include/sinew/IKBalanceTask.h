// SPDX-License-Identifier: MIT
// The public face of the task that holds a figure's centre of mass and its moments.
#pragma once

#include <sinew/IKTask.h>

#pragma GCC visibility push(default)

namespace Sinew {

/// Holds the figure's centre of mass at a target, or keeps the moment of its weight and the forces on it
/// small, or both. It spans all bones whatever its depth. References stay valid as long as the task.
class IKBalanceTask : public virtual IKTask {
public:
    /// Target of the centre of mass, in the world or from the root's origin; at first where the centre
    /// stands.
    virtual void setTarget(float x, float y, float z) = 0;
    /// Added to targets that are read from the retarget pose; zero by default.
    virtual void setTargetOffset(float x, float y, float z) = 0;
    /// Target of the centre of mass.
    virtual const SinewVector& getTarget() const = 0;
    /// Writes the net moment about the world origin of the weight and the forces of the force tasks to `out`
    /// and returns that; zero before the first solve. World frames are refreshed for it where needed.
    virtual SinewVector& computeMoment(SinewVector& out) = 0;
    /// Switches the goal of the centre of mass; a change restarts the duals.
    virtual void setCentreOfMassRows(bool on) = 0;
    /// Measures the target from the root's origin, in world axes; off by default.
    virtual void setRelativeToRoot(bool on) = 0;
    /// Switches the goal of the moments; a change restarts the duals.
    virtual void setMomentRows(bool on) = 0;
    /// Does nothing.
    virtual void reserved(std::uint32_t value) = 0;
    /// Always 0; see `getGravityDirection`.
    virtual std::uint32_t getGravityAxis() const = 0;
    /// The up direction in world axes, against which the weight acts; normalised. A zero or non-finite one is
    /// ignored.
    virtual void setGravityDirection(float x, float y, float z) = 0;
    /// The up direction as an axis: 0 x, 1 y, any other value z.
    virtual void setGravityAxis(std::uint32_t axis) = 0;
    /// The up direction in world axes, of length 1.
    virtual const SinewVector& getGravityDirection() const = 0;
    /// Whether the task holds the moments.
    virtual bool momentRows() const = 0;
    /// Whether the task holds the centre of mass.
    virtual bool centreOfMassRows() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
