// SPDX-License-Identifier: MIT
// The public face of a bone.
#pragma once

#include <sinew/EulerLimits.h>
#include <sinew/SinewMatrix.h>

#pragma GCC visibility push(default)

namespace Sinew {

class IKSolverState;

/// One bone of a figure: an origin and an orientation in the frame of its parent, and what moves and limits
/// them. Owned by its solver; the pointer stays valid until the solver is destroyed.
///
/// Units and spaces: lengths are in the caller's unit, angles in radians unless told otherwise, rotations are
/// active quaternions (x, y, z, w). "Local" is the frame of the parent, or the world for a bone without one.
/// An `axis` is 0 x, 1 y, 2 z unless told otherwise; a setter ignores an axis out of range, and says so where
/// it asserts as well.
///
/// Getters that return a reference: it stays valid until the bone's next change or the next call of a getter
/// of the same type; the three getters of the current orientation share one place. World values are those of
/// the last forward pass: `IKSolver::updateFigure`, or the pass at the head of the last iteration.
///
/// Invalid input: a zero or non-finite quaternion for the pose or the rest pose, and a zero axis, are
/// ignored; the old value stays. Other numbers are taken as they are.
class IKSegment {
public:
    /// Called by the solver alone: a client never deletes a bone.
    virtual ~IKSegment() = default;

    /// Makes the bone follow its target orientation with a gain of 1, or stops it; either way soft
    /// retargeting ends. `restoreLimits` counts only when `enable` is false: the limits are then enabled
    /// again, unless the solver lets limits act on retargeting bones.
    virtual void setRetargeting(bool enable, bool restoreLimits) = 0;
    /// True while the bone follows its target orientation, plainly or softly.
    virtual bool isRetargeting() const = 0;
    /// Makes the bone follow its target orientation softly, with a gain of 0.1; false ends both modes and
    /// sets the gain to 1. On for a new bone, whose target is its rest orientation.
    virtual void setFullRetargeting(bool on) = 0;
    /// Whether the bone is in soft retargeting.
    virtual bool getFullRetargeting() const = 0;
    /// Switches the limit pulls. On: stays off where no limit is in force and the bone isn't held; a held
    /// bone is pulled to its rest pose (see `setHoldOrientation`); plain retargeting ends, unless the solver
    /// lets limits act on retargeting bones. On for a new bone.
    virtual void enableLimits(bool on) = 0;
    /// Whether the limit pulls are switched on.
    virtual bool limitsEnabled() const = 0;
    /// On: a violated box pulls to the box's edge. Off: it pulls to the last target that a pull had, at first
    /// the rest pose. By default as in the descriptor, which says off.
    virtual void enforceLimits(bool on) = 0;
    /// Whether a violated box pulls to its edge.
    virtual bool limitsEnforced() const = 0;
    /// Switches the pull of a translating bone back to its rest length. Off by default; ignored on a bone
    /// without parent.
    virtual void enableStretchLimits(bool on) = 0;
    /// Whether that pull is switched on; false for a bone without parent.
    virtual bool stretchLimitsEnabled() const = 0;
    /// Lets the stretch pull set the weights of the bone's translations: the cosine of where a translation
    /// stands in its range (`setStretchLimit`) times `setWeight`, at least 0.01. Off by default.
    virtual void enforceStretchLimits(bool on) = 0;
    /// Whether the stretch pull sets those weights.
    virtual bool stretchLimitsEnforced() const = 0;
    /// Puts the children, and a translating bone itself, back to their rest translations; `disableDof` also
    /// switches the translational freedoms off.
    virtual void resetTranslation(bool disableDof) = 0;
    /// Switches the three rotational freedoms (on by default) or the three translational ones (off). A bone
    /// without child that doesn't translate freely refuses translations. A bone left without any freedom
    /// becomes inactive, one with a freedom active. A change restarts the duals of the solver.
    virtual void setActiveDof(bool x, bool y, bool z, bool rotational) = 0;
    /// Whether `setActiveDof` has switched on a translation.
    virtual bool isTranslational() const = 0;
    /// Free translation moves the bone itself; without it, which is the default, translation stretches the
    /// bone, that is, moves its children. `alsoDof` switches the three translational freedoms to the same
    /// value.
    virtual void setFreeTranslation(bool on, bool alsoDof) = 0;
    /// Whether translation moves the bone itself.
    virtual bool hasFreeTranslation() const = 0;
    /// Takes the bone in or out of the solve. An inactive bone keeps its local pose; it counts for the depth
    /// of a task all the same. `alsoDof` also sets all six flags that `isDofActive` reads, without a column
    /// for each: use `setActiveDof` to switch freedoms.
    virtual void setActive(bool on, bool alsoDof) = 0;
    /// Local orientation that retargeting aims at, kept as given: pass a unit quaternion. At first the rest
    /// orientation.
    virtual void setTargetOrientation(float x, float y, float z, float w) = 0;
    /// Local orientation that retargeting aims at, as it was given.
    virtual const SinewQuaternion& getTargetOrientation() const = 0;
    /// Current local orientation; normalised. World frames follow with the next forward pass.
    virtual void setOrientation(float x, float y, float z, float w) = 0;
    /// Current origin in the parent's frame. World frames follow with the next forward pass.
    virtual void setTranslation(float x, float y, float z) = 0;
    /// Adds to the current origin, in the parent's frame.
    virtual void addTranslation(float x, float y, float z) = 0;
    /// How willingly freedom `axis` moves, 1 by default; 0 keeps tasks from moving it, while pulls still do.
    /// `axis` is 0 to 5: rotation x, y, z, then translation x, y, z; beyond, the call is ignored.
    virtual void setWeight(std::uint32_t axis, float weight) = 0;
    /// Current local orientation, normalised in place first, which may change its last bit.
    virtual const SinewQuaternion& getOrientation() = 0;
    /// Rotation from the rest orientation to the current one, in the bone's rest axes: conj(rest) * current.
    virtual const SinewQuaternion& getOrientationFromRest() = 0;
    /// Current origin in the parent's frame.
    virtual const SinewVector& getTranslation() const = 0;
    /// Links the bone below another bone of the same solver, at the head of its child list; null unlinks.
    /// Ignored where it would close a cycle. Local values stay, so the bone moves in the world. Goals act
    /// along the new chain once rows and columns are laid out again: see `IKSolver::setSetupDirty`.
    virtual void setParent(IKSegment* parent) = 0;
    /// The child that was linked last, or null.
    virtual IKSegment* getFirstChild() const = 0;
    /// The child of the same parent that was linked before this one, or null; without meaning for a bone
    /// without parent.
    virtual IKSegment* getNextSibling() const = 0;
    /// The bone above, or null.
    virtual IKSegment* getParent() const = 0;
    /// Rest orientation relative to the parent, normalised; also becomes pose, retarget target and limit
    /// target. Set it before limits: a roll range counts from the rest orientation that it was set with.
    virtual void setRestOrientation(float x, float y, float z, float w) = 0;
    /// Rest origin in the parent's frame; also becomes the current one. Bone lengths are measured when asked
    /// to: see `IKSolver::requestMeasure`.
    virtual void setRestTranslation(float x, float y, float z) = 0;
    /// Number of freedoms that `setActiveDof` has left on, 0 to 6.
    virtual std::uint32_t getDofCount() const = 0;
    /// First of the bone's columns in the solver's Jacobian; valid from the solver's `prepare` until freedoms
    /// change.
    virtual std::uint32_t getFirstColumn() const = 0;
    /// Place in the solver's bone array, which is that of its descriptor.
    virtual std::uint32_t getIndex() const = 0;
    /// What is behind the solver that the bone belongs to: a pointer to compare, nothing that a client can
    /// use.
    virtual IKSolverState* getSolver() const = 0;
    /// Keeps a pointer for the caller, at first that of the descriptor; the engine never dereferences it.
    virtual void setUserData(void* data) = 0;
    /// The caller's pointer.
    virtual void* getUserData() const = 0;
    /// Forward kinematics of this bone and all below it, with `parent` as the frame above this one;
    /// `useTarget` takes target orientations in place of the current ones. `IKSolver::updateFigure` does it
    /// for the root.
    virtual void updateGlobal(const GlobalFrame& parent, bool useTarget) = 0;
    /// World position of the bone's origin. There are three names for it, from three readings of a bone: the
    /// place itself, the place in its frame (`getFramePosition`) and the translation of its world transform
    /// (`getGlobalTranslation`). A bone's frame stands at its origin, so all three return the same; use any.
    virtual const SinewVector& getGlobalPosition() const = 0;
    /// The same place as `getGlobalPosition`.
    virtual const SinewVector& getFramePosition() const = 0;
    /// World axes, orientation and position in one record.
    virtual const GlobalFrame& getGlobalFrame() const = 0;
    /// World orientation, normalised.
    virtual const SinewQuaternion& getGlobalOrientation() = 0;
    /// The same place as `getGlobalPosition`.
    virtual const SinewVector& getGlobalTranslation() const = 0;
    /// Centre of mass of the bone and all below it relative to the bone's origin, in world axes. Renewed by
    /// every iteration with an active balance task and not otherwise; zero before.
    virtual const SinewVector& getSubtreeCentreOffset() const = 0;
    /// World orientation as a matrix in column-vector form, row-major: v' = R v.
    virtual const SinewMatrix& getGlobalMatrix() = 0;
    /// Limits of the bone. `axis` 0 to 2: range, -1 to 1, of a component x, y or z of the direction of the
    /// projection axis in the parent's frame; a range narrower than -1 to 1 comes into force and enables the
    /// limits. `axis` 3: roll about the roll axis in degrees from rest; -180 to 180 or more changes nothing,
    /// less comes into force without enabling the limits. A limit in force can be widened, never taken away;
    /// one in force ends holding. With limits enabled and no roll range given, the roll is held at that of
    /// rest. An `axis` above 3 fails an assertion and is ignored.
    virtual void setLimit(std::uint32_t axis, float min, float max) = 0;
    /// Eight floats: min, max on x, y, z, then roll min, max in radians with the rest twist included. The
    /// pointer stays valid as long as the bone.
    virtual const float* getLimits() const = 0;
    /// Sets box, roll range, projection axis and roll axis from ranges in degrees, measured from the rest
    /// pose or from the current one. See EulerLimits for what counts as free.
    virtual void setEulerLimits(const EulerLimits& limits, bool fromRest) = 0;
    /// Roll axis 0 to 2 in the bone's frame, or 3 for the three floats at `axis`, of any length, in that
    /// frame; `axis` is not read otherwise. A roll range given in degrees is kept and counts about the new
    /// axis. 2 by default. Above 3 fails an assertion and is ignored.
    virtual void setRotationAxis(std::uint32_t rotation_axis, const float* axis) = 0;
    /// Local axis whose direction the box limits restrict; the pull of a box that isn't enforced goes to the
    /// rest pose again. 2 by default. Above 2 fails an assertion and is ignored.
    virtual void setProjectionAxis(std::uint32_t projection_axis) = 0;
    /// A held bone is pulled, while its limits are enabled, to its rest pose or the last target that a pull
    /// had, wherever it stands; its ranges are not looked at. On for a new bone; every `setLimit` switches it
    /// on where no limit is in force and off otherwise. On also enables the limits.
    virtual void setHoldOrientation(bool on) = 0;
    /// Does nothing.
    virtual void reserved(std::uint32_t value) = 0;
    /// Range of the translation along axis 0 to 2 relative to rest, in length units; max <= min clears it. It
    /// acts through the weights of `enforceStretchLimits` alone: a translation may well leave it. None by
    /// default.
    virtual void setStretchLimit(std::uint32_t axis, float min, float max) = 0;
    /// Six floats: min, max on x, y, z; zeros where there is no range. Valid as long as the bone.
    virtual const float* getStretchLimits() const = 0;
    /// Gain of the bone's limit pull, 1 by default, a factor on the solver's.
    virtual void setLimitsGain(float gain) = 0;
    /// Gain of the bone's limit pull.
    virtual float getLimitsGain() const = 0;
    /// Gain of the retarget pull about one of the bone's own axes, 0 to 2, 1 by default.
    virtual void setRetargetingAxisGain(std::uint32_t axis, float gain) = 0;
    /// Gain of the bone's retarget pull, a factor on the solver's. `setRetargeting` and `setFullRetargeting`
    /// set it too; 0.1 for a new bone.
    virtual void setRetargetingGain(float gain) = 0;
    /// Gain of the retarget pull about an axis; -1 for an axis above 2.
    virtual float getRetargetingAxisGain(std::uint32_t axis) const = 0;
    /// Gain of the bone's retarget pull.
    virtual float getRetargetingGain() const = 0;
    /// Gain of the bone's stretch pull, 1 by default.
    virtual void setStretchGain(float gain) = 0;
    /// Gain of the bone's stretch pull.
    virtual float getStretchGain() const = 0;
    /// Distance from the bone's origin to that of its reference child, which is the shortest one that isn't
    /// negligible; 0 for a leaf. As of the last measure, and following a stretch.
    virtual float getLength() const = 0;
    /// Weight of freedom `axis`, 0 to 5 as in `setWeight`; 0 beyond.
    virtual float getWeight(std::uint32_t axis) const = 0;
    /// Multiplies the bone's current translation, lengths and mass centre and has the next solve measure the
    /// figure; the rest translation keeps its value, so `resetToRest` brings the old size back.
    virtual void scale(float factor) = 0;
    /// Returns the bone, not those below it, to its rest orientation and translation.
    virtual void resetToRest() = 0;
    /// Renames the bone; `IKSolver::findBone` and tasks still know it by the name of its descriptor. Null is
    /// ignored.
    virtual void setName(const char* name) = 0;
    /// Rest origin in the parent's frame.
    virtual const SinewVector& getRestTranslation() const = 0;
    /// Rest orientation relative to the parent, normalised.
    virtual const SinewQuaternion& getRestOrientation() const = 0;
    /// Writes the world direction of a local axis, 0 x, 1 y, any other value z, to `out` and returns that.
    virtual SinewVector& getAxis(SinewVector& out, std::uint32_t i) = 0;
    /// The same as `isRetargeting`.
    virtual bool isRetargetingAny() const = 0;
    /// Whether the bone takes part in the solve.
    virtual bool isActive() const = 0;
    /// Flag of freedom `i`, 0 to 5: rotation about local x, y, z, then translation along them; false beyond.
    virtual bool isDofActive(std::uint32_t i) const = 0;
    /// True when the pose of the bone or of one above it changed since the last forward pass.
    virtual bool isDirty() = 0;
    /// The bone's name, "" where it has none; valid until `setName`.
    virtual const char* getName() const = 0;
    /// Mass of the bone and all below it over the figure's mass, 0 to 1, as of the last time that masses were
    /// summed up: by `setMass`, or when a solve lays out rows and columns.
    virtual float getMassFraction() const = 0;
    /// Mass of the bone alone; the figure's mass follows at once. By default masses share the figure's in
    /// proportion to bone lengths; measuring the figure and `IKSolver::setTotalMass` go back to that.
    virtual void setMass(float mass) = 0;
    /// Mass of the bone alone.
    virtual float getMass() const = 0;
    /// Bound of one iteration's rotation about each of the bone's axes, in radians, not negative; 0.03 by
    /// default. 0 keeps the bone from turning. Translations have no such bound.
    virtual void setMaxVelocity(float velocity) = 0;
    /// Bound of one iteration's rotation about each axis, in radians.
    virtual float getMaxVelocity() const = 0;
    /// Centre of mass in the bone's frame; half way to the reference child by default, and again after the
    /// figure is measured.
    virtual void setMassCentre(float x, float y, float z) = 0;
    /// Centre of mass in the bone's frame.
    virtual const SinewVector& getMassCentre() const = 0;
    /// Bones from this one up to the root, itself included: 1 for the root.
    virtual std::uint32_t getChainDepth() const = 0;
    /// How far the first child stands from its rest translation, over that translation's length and over what
    /// came down from the parent; 1 where it stands at rest, and before `IKSolver::computeStretchRatio`.
    virtual float getStretchRatio() const = 0;
    /// The ratio times what came down from the parent; 1 before `IKSolver::computeStretchRatio`.
    virtual float getStretchScale() const = 0;
};

} // namespace Sinew

#pragma GCC visibility pop
