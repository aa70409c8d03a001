// SPDX-License-Identifier: MIT
// The public face of a bone.
#pragma once

#include <sinew/EulerLimits.h>
#include <sinew/SinewMatrix.h>

#pragma GCC visibility push(default)

namespace Sinew {

class IKSolverState;

/// One bone of a figure. Owned by its solver; the pointer stays valid until the solver is destroyed.
/// References returned by getters stay valid until the bone's next change or the next call of a getter: those
/// of orientations share one place. An `axis` is 0 x, 1 y, 2 z unless told otherwise. Rotations are active
/// quaternions (x, y, z, w); angles are radians unless told otherwise. A zero or non-finite quaternion for
/// the pose or the rest pose and a zero axis are ignored: the old value stays.
class IKSegment {
public:
    virtual ~IKSegment() = default;

    /// Makes the bone follow its target orientation with a gain of 1, or stops it; `restoreLimits` then
    /// enables the limits again unless the solver lets limits act on retargeted bones.
    virtual void setRetargeting(bool enable, bool restoreLimits) = 0;
    /// True while the bone follows its target orientation in either mode.
    virtual bool isRetargeting() const = 0;
    /// Soft retargeting with a gain of 0.1; false ends both modes. On for a new bone, towards its rest pose.
    virtual void setFullRetargeting(bool on) = 0;
    virtual bool getFullRetargeting() const = 0;
    /// Switches the limit pulls. A bone without any limit in force is then held at rest; see
    /// `setHoldOrientation`.
    virtual void enableLimits(bool on) = 0;
    virtual bool limitsEnabled() const = 0;
    /// With this on, a violated box pulls to the box's edge; without it, to the last target, at first the
    /// rest pose.
    virtual void enforceLimits(bool on) = 0;
    virtual bool limitsEnforced() const = 0;
    /// Switches the pull of a translating bone back to its rest length. Does nothing on a bone without
    /// parent.
    virtual void enableStretchLimits(bool on) = 0;
    virtual bool stretchLimitsEnabled() const = 0;
    /// Lets the stretch limits stiffen the bone's translation columns.
    virtual void enforceStretchLimits(bool on) = 0;
    virtual bool stretchLimitsEnforced() const = 0;
    /// Puts the children, and a translating bone itself, back to their rest translations; `disableDof` also
    /// switches the translational freedoms off.
    virtual void resetTranslation(bool disableDof) = 0;
    /// Switches the three rotational or the three translational freedoms. A bone that has no child and
    /// doesn't translate freely refuses translational ones.
    virtual void setActiveDof(bool x, bool y, bool z, bool rotational) = 0;
    virtual bool isTranslational() const = 0;
    /// Free translation moves the bone itself; without it translation stretches the bone, that is, moves its
    /// children. `alsoDof` switches the three translational freedoms to the same value.
    virtual void setFreeTranslation(bool on, bool alsoDof) = 0;
    virtual bool hasFreeTranslation() const = 0;
    /// Takes the bone in or out of the solve; `alsoDof` sets all six freedoms to the same value.
    virtual void setActive(bool on, bool alsoDof) = 0;
    /// Local orientation that retargeting aims at, kept as given.
    virtual void setTargetOrientation(float x, float y, float z, float w) = 0;
    virtual const SinewQuaternion& getTargetOrientation() const = 0;
    /// Current local orientation; normalised.
    virtual void setOrientation(float x, float y, float z, float w) = 0;
    /// Current origin in the parent's frame.
    virtual void setTranslation(float x, float y, float z) = 0;
    virtual void addTranslation(float x, float y, float z) = 0;
    /// Weight of freedom `axis`, 0 to 5: rotation x, y, z, then translation x, y, z. 0 keeps tasks from
    /// moving it.
    virtual void setWeight(std::uint32_t axis, float weight) = 0;
    /// Current local orientation, normalised in place.
    virtual const SinewQuaternion& getOrientation() = 0;
    /// Rotation from the rest orientation to the current one, in the bone's rest axes.
    virtual const SinewQuaternion& getOrientationFromRest() = 0;
    virtual const SinewVector& getTranslation() const = 0;
    /// Links the bone below another bone of the same solver, at the head of its child list; null unlinks. A
    /// link that would close a cycle is ignored.
    virtual void setParent(IKSegment* parent) = 0;
    virtual IKSegment* getFirstChild() const = 0;
    virtual IKSegment* getNextSibling() const = 0;
    virtual IKSegment* getParent() const = 0;
    /// Rest orientation relative to the parent, normalised; also becomes pose, retarget target and limit
    /// target.
    virtual void setRestOrientation(float x, float y, float z, float w) = 0;
    /// Rest origin in the parent's frame; also becomes the current one.
    virtual void setRestTranslation(float x, float y, float z) = 0;
    virtual std::uint32_t getDofCount() const = 0;
    /// First column in the solver's Jacobian; valid after the solver's `prepare`.
    virtual std::uint32_t getFirstColumn() const = 0;
    /// Place in the solver's bone array.
    virtual std::uint32_t getIndex() const = 0;
    virtual IKSolverState* getSolver() const = 0;
    virtual void setUserData(void* data) = 0;
    virtual void* getUserData() const = 0;
    /// Forward kinematics of this bone and all below it, from the frame of the parent; `useTarget` takes
    /// target orientations in place of the current ones.
    virtual void updateGlobal(const GlobalFrame& parent, bool useTarget) = 0;
    /// World origin as of the last forward pass.
    virtual const SinewVector& getGlobalPosition() const = 0;
    virtual const SinewVector& getFramePosition() const = 0;
    virtual const GlobalFrame& getGlobalFrame() const = 0;
    /// World orientation as of the last forward pass, normalised.
    virtual const SinewQuaternion& getGlobalOrientation() = 0;
    virtual const SinewVector& getGlobalTranslation() const = 0;
    /// Centre of mass of the bone and all below it relative to the bone's origin, in world axes.
    virtual const SinewVector& getSubtreeCentreOffset() const = 0;
    /// World orientation as a matrix in column-vector form.
    virtual const SinewMatrix& getGlobalMatrix() = 0;
    /// Box limit of axis 0 to 2 as direction cosines of the projection axis, or roll limit (3) in degrees
    /// from rest.
    virtual void setLimit(std::uint32_t axis, float min, float max) = 0;
    /// Eight floats: min, max on x, y, z, then roll min, max in radians with the rest twist included.
    virtual const float* getLimits() const = 0;
    /// Sets box and roll limits from ranges in degrees, measured from the rest pose or from the current one.
    virtual void setEulerLimits(const EulerLimits& limits, bool fromRest) = 0;
    /// Roll axis 0 to 2, or 3 for the three floats at `axis` in the bone's frame.
    virtual void setRotationAxis(std::uint32_t rotation_axis, const float* axis) = 0;
    /// Local axis whose direction the box limits restrict.
    virtual void setProjectionAxis(std::uint32_t projection_axis) = 0;
    /// While on, and with limits enabled, the bone is pulled to its limit target in every pass.
    virtual void setHoldOrientation(bool on) = 0;
    /// Does nothing.
    virtual void reserved(std::uint32_t value) = 0;
    /// Range of the translation along axis 0 to 2 relative to rest, in length units; max <= min clears it.
    virtual void setStretchLimit(std::uint32_t axis, float min, float max) = 0;
    /// Six floats: min, max on x, y, z.
    virtual const float* getStretchLimits() const = 0;
    virtual void setLimitsGain(float gain) = 0;
    virtual float getLimitsGain() const = 0;
    virtual void setRetargetingAxisGain(std::uint32_t axis, float gain) = 0;
    virtual void setRetargetingGain(float gain) = 0;
    /// -1 for an axis above 2.
    virtual float getRetargetingAxisGain(std::uint32_t axis) const = 0;
    virtual float getRetargetingGain() const = 0;
    virtual void setStretchGain(float gain) = 0;
    virtual float getStretchGain() const = 0;
    /// Distance from the bone's origin to its reference child; 0 for a leaf.
    virtual float getLength() const = 0;
    virtual float getWeight(std::uint32_t axis) const = 0;
    /// Multiplies the bone's lengths; the rest translation keeps its value.
    virtual void scale(float factor) = 0;
    virtual void resetToRest() = 0;
    virtual void setName(const char* name) = 0;
    virtual const SinewVector& getRestTranslation() const = 0;
    virtual const SinewQuaternion& getRestOrientation() const = 0;
    /// World direction of a local axis, 0 x, 1 y, any other value z, as of the last forward pass.
    virtual SinewVector& getAxis(SinewVector& out, std::uint32_t i) = 0;
    virtual bool isRetargetingAny() const = 0;
    virtual bool isActive() const = 0;
    /// Freedom `i`, 0 to 5: rotation about local x, y, z, then translation along them.
    virtual bool isDofActive(std::uint32_t i) const = 0;
    /// True when the pose of the bone or of one above it changed since the last forward pass.
    virtual bool isDirty() = 0;
    virtual const char* getName() const = 0;
    /// Mass of the bone and all below it over the figure's mass.
    virtual float getMassFraction() const = 0;
    virtual void setMass(float mass) = 0;
    virtual float getMass() const = 0;
    /// Bound of one iteration's rotation about each axis, in radians.
    virtual void setMaxVelocity(float velocity) = 0;
    virtual float getMaxVelocity() const = 0;
    /// Centre of mass in the bone's frame.
    virtual void setMassCentre(float x, float y, float z) = 0;
    virtual const SinewVector& getMassCentre() const = 0;
    /// Bones from this one up to the root, itself included.
    virtual std::uint32_t getChainDepth() const = 0;
    virtual float getStretchRatio() const = 0;
    virtual float getStretchScale() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
