// SPDX-License-Identifier: MIT
// The bone: pose, freedoms, forward kinematics, limits and pulls.
#pragma once

#include "kit/AlignedObject.h"
#include "kit/KeyString.h"

#include <sinew/IKSegment.h>

namespace Sinew {

/// Where a bone stands in the world: what a child needs of its parent.
struct Placement {
    SinewQuaternion rotation;
    SinewVector position;
};

/// The only implementation of IKSegment. Solver and tasks use it directly; its getters are final, so that a
/// call through a Segment pointer costs nothing.
///
/// Fields are in order of use, not of subject: what every iteration touches comes first.
class alignas(64) Segment final : public IKSegment {
public:
    Segment() = default;
    Segment(const Segment&) = default;
    Segment& operator=(const Segment&) = default;
    ~Segment() override = default;

    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*) { } // lives in the solver's array

    void setRetargeting(bool enable, bool restoreLimits) override;
    bool isRetargeting() const override { return m_Retargeting || m_FullRetargeting; }
    void setFullRetargeting(bool on) override;
    bool getFullRetargeting() const override { return m_FullRetargeting; }
    void enableLimits(bool on) override;
    bool limitsEnabled() const override { return m_LimitsEnabled; }
    void enforceLimits(bool on) override { m_EnforceLimits = on; }
    bool limitsEnforced() const override { return m_EnforceLimits; }
    void enableStretchLimits(bool on) override;
    bool stretchLimitsEnabled() const override { return m_Parent && m_StretchLimitsEnabled; }
    void enforceStretchLimits(bool on) override { m_EnforceStretchLimits = on; }
    bool stretchLimitsEnforced() const override { return m_EnforceStretchLimits; }
    void resetTranslation(bool disableDof) override;
    void setActiveDof(bool x, bool y, bool z, bool rotational) override;
    bool isTranslational() const override { return m_Translational; }
    void setFreeTranslation(bool on, bool alsoDof) override;
    bool hasFreeTranslation() const override { return m_FreeTranslation; }
    void setActive(bool on, bool alsoDof) override;
    void setTargetOrientation(float x, float y, float z, float w) override;
    const SinewQuaternion& getTargetOrientation() const override { return m_TargetOrientation; }
    void setOrientation(float x, float y, float z, float w) override;
    void setTranslation(float x, float y, float z) override;
    void addTranslation(float x, float y, float z) override;
    void setWeight(std::uint32_t axis, float weight) override;
    const SinewQuaternion& getOrientation() override;
    const SinewQuaternion& getOrientationFromRest() override;
    const SinewVector& getTranslation() const override { return m_Translation; }
    void setParent(IKSegment* parent) override;
    Segment* getFirstChild() const override { return m_FirstChild; }
    Segment* getNextSibling() const override { return m_NextSibling; }
    Segment* getParent() const override { return m_Parent; }
    void setRestOrientation(float x, float y, float z, float w) override;
    void setRestTranslation(float x, float y, float z) override;
    std::uint32_t getDofCount() const override { return m_DofCount; }
    std::uint32_t getFirstColumn() const override { return m_FirstColumn; }
    std::uint32_t getIndex() const override { return m_Index; }
    IKSolverState* getSolver() const override { return m_Solver; }
    void setUserData(void* data) override { m_UserData = data; }
    void* getUserData() const override { return m_UserData; }
    void updateGlobal(const GlobalFrame& parent, bool useTarget) override;
    const SinewVector& getGlobalPosition() const override { return m_World.position; }
    const SinewVector& getFramePosition() const override { return m_World.position; }
    const GlobalFrame& getGlobalFrame() const override;
    const SinewQuaternion& getGlobalOrientation() override;
    const SinewVector& getGlobalTranslation() const override { return m_World.position; }
    const SinewVector& getSubtreeCentreOffset() const override { return m_SubtreeCentreOffset; }
    const SinewMatrix& getGlobalMatrix() override;
    void setLimit(std::uint32_t axis, float min, float max) override;
    const float* getLimits() const override { return m_Limits; }
    void setEulerLimits(const EulerLimits& limits, bool fromRest) override;
    void setRotationAxis(std::uint32_t rotation_axis, const float* axis) override;
    void setProjectionAxis(std::uint32_t projection_axis) override;
    void setHoldOrientation(bool on) override;
    void reserved(std::uint32_t) override { }
    void setStretchLimit(std::uint32_t axis, float min, float max) override;
    const float* getStretchLimits() const override { return m_StretchLimits; }
    void setLimitsGain(float gain) override { m_LimitsGain = gain; }
    float getLimitsGain() const override { return m_LimitsGain; }
    void setRetargetingAxisGain(std::uint32_t axis, float gain) override;
    void setRetargetingGain(float gain) override { m_RetargetingGain = gain; }
    float getRetargetingAxisGain(std::uint32_t axis) const override;
    float getRetargetingGain() const override { return m_RetargetingGain; }
    void setStretchGain(float gain) override { m_StretchGain = gain; }
    float getStretchGain() const override { return m_StretchGain; }
    float getLength() const override { return m_Length; }
    float getWeight(std::uint32_t axis) const override { return axis < 6 ? m_Weight[axis] : 0.0f; }
    void scale(float factor) override;
    void resetToRest() override;
    void setName(const char* name) override { m_Name.assign(name); }
    const SinewVector& getRestTranslation() const override { return m_RestTranslation; }
    const SinewQuaternion& getRestOrientation() const override { return m_RestOrientation; }
    SinewVector& getAxis(SinewVector& out, std::uint32_t i) override;
    bool isRetargetingAny() const override { return isRetargeting(); }
    bool isActive() const override { return m_Active; }
    bool isDofActive(std::uint32_t i) const override { return i < 6 && m_ActiveDof[i]; }
    bool isDirty() override;
    const char* getName() const override { return m_Name.c_str(); }
    float getMassFraction() const override { return m_MassFraction; }
    void setMass(float mass) override;
    float getMass() const override { return m_Mass; }
    void setMaxVelocity(float velocity) override { m_MaxVelocity = velocity; }
    float getMaxVelocity() const override { return m_MaxVelocity; }
    void setMassCentre(float x, float y, float z) override;
    const SinewVector& getMassCentre() const override { return m_MassCentre; }
    std::uint32_t getChainDepth() const override;
    float getStretchRatio() const override { return m_StretchRatio; }
    float getStretchScale() const override { return m_StretchScale; }

    // For the solver and the tasks alone.

    void setFirstColumn(std::uint32_t column) { m_FirstColumn = column; }
    void setIndex(std::uint32_t index) { m_Index = index; }
    /// The solver's vectors and how many columns they hold; renewed at each `prepare`, as they may have
    /// moved.
    void attach(IKSolverState* solver, std::uint8_t* patternDirty, const float* jointStep,
                float* secondaryMotion, std::uint32_t columnCount);
    void setLimitsWithRetargeting(bool on) { m_LimitsWithRetargeting = on; }
    /// Bone length, mass centre and rest vector from the translation of the bone's reference child.
    void setBoneVector(SinewVector v);
    const KeyString& name() const { return m_Name; }
    float chainLength() const { return m_ChainLength; }
    /// Whether everything that one solve passes on to the next is finite.
    bool isFinite() const;
    SinewVector& translation() { return m_Translation; }

    /// Forward kinematics of this bone alone.
    SINEW_KIT void place(const Placement& parent, bool useTarget);
    /// Tells the children how far their origins are from the root along the chain.
    SINEW_KIT void passChainLength(Segment* child) const
    {
        child->m_ChainLength = (m_ChainLength + m_Length) + m_Extension;
    }
    /// The bone's centre of mass in the world, from the frame of the last forward pass.
    SINEW_KIT void placeMassCentre()
    {
        m_GlobalMassCentre = m_World.position + rotate(m_World.rotation, m_MassCentre);
    }
    const Placement& world() const { return m_World; }
    /// Rotation matrix of the world frame in column-vector form: row k, lane a is component k of local axis
    /// a.
    const SinewVector* worldAxes() const { return m_WorldAxes; }
    bool flagsMatchColumns() const;

    /// Applies one iteration's step, with the velocity bound on its rotation.
    void integrate();
    /// Whether `integrateFour` may take this bone: its step is a rotation about all three axes and nothing
    /// else.
    bool onlyRotates() const { return m_PlainRotations && !m_Translational; }
    /// `integrate` of four bones that only rotate, one in each lane, to the same bits.
    static void integrateFour(Segment* const* bones);
    /// Pull towards the target orientation, written into the secondary motion.
    void applyRetargeting(float gain);
    /// Pull back into the limits, added to the secondary motion; ends in the stretch pull.
    void applyLimits(float gain, float stretchGain, float* columnWeights);
    bool isRollViolated() const;
    /// Pull back to the rest translation; null `rate` starts at the bone's first translational column.
    void applyStretch(float* rate, float gain, float* weight);
    /// Whether a pass of `applyLimits` can have any effect: lets the solver leave the call out.
    bool wantsLimitPass() const { return m_LimitsEnabled || (m_Translational && m_StretchLimitsEnabled); }
    bool wantsStretchPass() const { return m_Translational && m_StretchLimitsEnabled; }
    /// Whether any pull acts on the bone.
    bool isPulled() const { return m_Retargeting || m_FullRetargeting || wantsLimitPass(); }

    void setSubtreeMass(float mass, float total);
    /// Centre of mass of the subtree from the frames of the last forward pass.
    void computeSubtreeCentre();
    /// Stretch ratio and scale of this bone and all below it.
    void computeStretchRatio(float scale);
    /// Adds the lengths of this bone and of every bone above it.
    void addChainLength(float& sum) const;
    /// The orientation nearest the present one in which a local axis points along a world direction.
    SinewQuaternion alignAxis(SinewVector localAxis, SinewVector direction) const;
    /// Appends the bone's block to the text file at `path`.
    void dump(const char* path) const;

private:
    friend class IKSolverState;

    void noteLayoutChange();
    void refreshPlainRotations();
    void stretchBy(SinewVector step);
    bool isBelow(const Segment* other) const;

    // Touched in every iteration: three cache lines.
    Segment* m_Parent = nullptr;
    Segment* m_FirstChild = nullptr; ///< head of the child list, which runs in reverse order of linking
    Segment* m_NextSibling = nullptr;
    const float* m_JointStep = nullptr; ///< the solver's solution, one float per column
    std::uint32_t m_FirstColumn = 0;
    float m_MaxVelocity = 0.03f;
    bool m_ActiveDof[6] = {true, true, true, false, false, false}; ///< rotation x, y, z, then translation
    bool m_Active = true;
    bool m_Dirty = true; ///< pose changed since the last forward pass
    bool m_PlainRotations = false;
    bool m_Translational = false;
    bool m_FullRetargeting = true;
    bool m_Retargeting = true;
    bool m_LimitsEnabled = false;
    bool m_StretchLimitsEnabled = false;

    SinewQuaternion m_Orientation; ///< current local orientation: the unknown of the solve
    SinewVector m_Translation; ///< current origin in the parent's frame
    Placement m_World; ///< where the last forward pass put the bone

    SinewVector m_WorldAxes[3] = {SinewVector(1, 0, 0), SinewVector(0, 1, 0), SinewVector(0, 0, 1)};
    float m_ChainLength = 0.0f; ///< summed length from the root down to this bone's origin
    float m_Length = 0.0f;
    float m_Extension = 0.0f; ///< how far a freely translating bone stands from its rest translation
    std::uint32_t m_ColumnCount = 0; ///< columns that the solver's two vectors hold

    // Pulls.
    float* m_SecondaryMotion = nullptr; ///< the solver's secondary motion, filled by the pulls
    SinewQuaternion m_LimitTarget; ///< orientation towards which the limit pull works
    SinewQuaternion m_TargetOrientation; ///< orientation that retargeting aims at
    SinewQuaternion m_RestOrientation;
    SinewQuaternion m_TwistAlign; ///< turns a free roll axis onto z
    SinewVector m_RestProjection; ///< projection axis at rest, in the parent's frame
    bool m_FreeTranslation = false; ///< translation moves the bone itself, not its children
    bool m_LimitsWithRetargeting = false;
    bool m_EnforceLimits = false;
    bool m_EnforceStretchLimits = false;
    bool m_HoldOrientation = true; ///< limits pull to `m_LimitTarget` whatever the pose
    bool m_BoxViolated = false;
    bool m_RollViolated = false;
    bool m_LimitOn[4] = {false, false, false, false};
    float m_LimitsGain = 1.0f;
    float m_RetargetingGain = 0.1f;
    float m_StretchGain = 1.0f;
    float m_RetargetingAxisGain[3] = {1.0f, 1.0f, 1.0f};
    std::uint32_t m_ProjectionAxis = 2;
    std::uint32_t m_RotationAxis = 2; ///< roll axis, 3 for `m_TwistAxis`
    float m_Limits[8] = {-1.0f, 1.0f, -1.0f, 1.0f, -1.0f, 1.0f, -3.1415927f, 3.1415927f};
    float m_RollDegrees[2] = {0.0f, 0.0f}; ///< roll range as given, without the rest twist
    float m_StretchLimits[6] = {};
    float m_StretchCoefficient[6] = {}; ///< per axis: scale, then offset
    float m_Weight[6] = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f};

    // Set-up, measures and mass.
    std::uint32_t m_DofCount = 3;
    std::uint32_t m_Index = 0;
    IKSolverState* m_Solver = nullptr;
    std::uint8_t* m_PatternDirty = nullptr; ///< the solver's byte; the bone only ever writes 1 into it
    void* m_UserData = nullptr;
    KeyString m_Name;
    SinewVector m_BoneVector; ///< from the bone's origin to its reference child, in the bone's frame
    SinewVector m_RestBoneVector;
    SinewVector m_RestTranslation;
    SinewVector m_TwistAxis = SinewVector(0, 0, 1);
    SinewVector m_MassCentre;
    SinewVector m_GlobalMassCentre;
    SinewVector m_SubtreeCentreOffset;
    float m_Mass = 0.0f;
    float m_MassFraction = 0.0f;
    float m_SubtreeMass = 0.0f;
    float m_StretchRatio = 1.0f;
    float m_StretchScale = 1.0f; ///< product of the ratios down from the root
    SinewQuaternion m_OrientationOut; ///< what the orientation getters return a reference to
    SinewMatrix m_MatrixOut;
    mutable GlobalFrame m_FrameOut;
    SinewVector m_AxisOut;
};

SINEW_KIT void Segment::place(const Placement& parent, bool useTarget)
{
    m_World.position.lanes = parent.position.lanes + rotate(parent.rotation, m_Translation).lanes;
    m_World.rotation = parent.rotation * (useTarget ? m_TargetOrientation : m_Orientation);
    rotationRows<false>(m_World.rotation, m_WorldAxes);
    m_Dirty = false;
}

/// Calls `visit(bone, parent)` for `top` and every bone below it, parents first, children in list order,
/// without recursion: a hierarchy may be a hundred thousand levels deep.
template <class Visit>
void walkSubtree(Segment* top, Visit visit)
{
    Segment* bone = top;
    for (;;) {
        visit(bone);
        if (Segment* child = bone->getFirstChild()) {
            bone = child;
            continue;
        }
        while (bone != top && !bone->getNextSibling())
            bone = bone->getParent();
        if (bone == top)
            return;
        bone = bone->getNextSibling();
    }
}

} // namespace Sinew
