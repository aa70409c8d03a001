// SPDX-License-Identifier: MIT
// Tables of member functions behind one signature.
#include "support/Operations.h"

#include <tuple>
#include <type_traits>

namespace support {

using namespace Sinew;

namespace {

// What a parameter takes from the arguments. Vectors are only filled, and frames stay the identity.
void take(Arguments& from, bool& v) { v = from.flag(); }
void take(Arguments& from, float& v) { v = from.number(); }
void take(Arguments& from, std::uint32_t& v) { v = from.count(); }
void take(Arguments& from, int& v) { v = static_cast<int>(from.count()); }
void take(Arguments& from, const float*& v) { v = from.numbers(); }
void take(Arguments& from, IKSegment*& v) { v = from.bone(); }
void take(Arguments& from, SinewQuaternion& v)
{
    const float x = from.number(), y = from.number(), z = from.number();
    v.set(x, y, z, from.number());
}
void take(Arguments& from, EulerLimits& v)
{
    const float* range = from.numbers();
    for (int i = 0; range && i < 6; ++i)
        v.range[i] = range[i];
    v.axis = from.count();
}
void take(Arguments&, SinewVector&) { }
void take(Arguments&, GlobalFrame&) { }

template <class T>
struct Parameter {
    std::remove_cvref_t<T> value{};
    explicit Parameter(Arguments& from) { take(from, value); }
};

template <class T>
Values flattenAny(T&& v)
{
    if constexpr (!std::is_pointer_v<std::remove_cvref_t<T>>)
        return flatten(v);
    else
        return v ? flatten(*v) : Values();
}

template <class R, class... A, class Call>
Values callWith(Arguments& from, Call call, R (*)(A...))
{
    std::tuple<Parameter<A>...> parameters{Parameter<A>(from)...}; // braces: in this order
    return std::apply(
        [&](auto&... p) {
            if constexpr (std::is_void_v<R>) {
                call(p.value...);
                return Values();
            } else {
                return flattenAny(call(p.value...));
            }
        },
        parameters);
}

template <class R, class Owner, class... A>
auto signature(R (Owner::*)(A...)) -> R (*)(A...);
template <class R, class Owner, class... A>
auto signature(R (Owner::*)(A...) const) -> R (*)(A...);

template <class Face, auto Method>
Values call(Face& face, Arguments& from)
{
    return callWith(
        from, [&](auto&... a) -> decltype(auto) { return (face.*Method)(a...); },
        static_cast<decltype(signature(Method))>(nullptr));
}

template <const float* (IKSegment::*Method)() const, std::size_t Count>
Values floats(IKSegment& bone, Arguments&)
{
    const float* v = (bone.*Method)();
    return Values(v, v + Count);
}

} // namespace

#define OP(name)                                                                                             \
    {                                                                                                        \
#name, call < FACE, &FACE::name>                                                                     \
    }
// clang-format off

#define FACE IKSolver
const Operations<FACE> kSolverOperations = {
    OP(setTolerance), OP(tolerance), OP(totalBoneLength), OP(setTotalBoneLength), OP(measureFigure), OP(framesCurrent),
    OP(computeStretchRatio), OP(updateFigure), OP(rescaleFigure), OP(limitsWithRetargeting), OP(setLimitsWithRetargeting),
    OP(pCoefficient), OP(setPCoefficient), OP(momentsPrecision), OP(setMomentsPrecision), OP(momentsWeight),
    OP(setMomentsWeight), OP(secondaryTaskPrecision), OP(setSecondaryTaskPrecision), OP(secondaryTaskWeight),
    OP(setSecondaryTaskWeight), OP(setFullRetargeting), OP(retargetGain), OP(setRetargetGain), OP(limitsGain),
    OP(setLimitsGain), OP(precision), OP(setPrecision), OP(useDefaultZmp), OP(setUseDefaultZmp), OP(zmp), OP(setZmp),
    OP(totalMass), OP(setTotalMass), OP(rootTranslationWeight), OP(setRootTranslationWeight), OP(rootTranslation),
    OP(translateRoot), OP(setTranslateRoot), OP(enableRootTarget), OP(setEnableRootTarget), OP(rescaleTasks),
    OP(setRescaleTasks), OP(rootTargetTranslation), OP(setRootTargetTranslation), OP(requestMeasure), OP(prepare),
    OP(reset), OP(taskCount), OP(boneCount), OP(setSetupDirty), OP(zmpPointer), OP(centreOfMass), OP(iterations),
};
#undef FACE
#define FACE IKSegment
const Operations<FACE> kBoneOperations = {
    OP(setRetargeting), OP(isRetargeting), OP(setFullRetargeting), OP(getFullRetargeting), OP(enableLimits),
    OP(limitsEnabled), OP(enforceLimits), OP(limitsEnforced), OP(enableStretchLimits), OP(stretchLimitsEnabled),
    OP(enforceStretchLimits), OP(stretchLimitsEnforced), OP(resetTranslation), OP(setActiveDof), OP(isTranslational),
    OP(setFreeTranslation), OP(hasFreeTranslation), OP(setActive), OP(setTargetOrientation), OP(getTargetOrientation),
    OP(setOrientation), OP(setTranslation), OP(addTranslation), OP(setWeight), OP(getOrientation),
    OP(getOrientationFromRest), OP(getTranslation), OP(setParent), OP(setRestOrientation), OP(setRestTranslation),
    OP(getDofCount), OP(getFirstColumn), OP(getIndex), OP(updateGlobal), OP(getGlobalPosition), OP(getFramePosition),
    OP(getGlobalOrientation), OP(getGlobalTranslation), OP(getSubtreeCentreOffset), OP(setLimit), OP(setEulerLimits),
    {"getLimits", floats<&FACE::getLimits, 8>}, {"getStretchLimits", floats<&FACE::getStretchLimits, 6>},
    OP(setRotationAxis), OP(setProjectionAxis), OP(setHoldOrientation), OP(reserved), OP(setStretchLimit),
    OP(setLimitsGain), OP(getLimitsGain), OP(setRetargetingAxisGain), OP(setRetargetingGain), OP(getRetargetingAxisGain),
    OP(getRetargetingGain), OP(setStretchGain), OP(getStretchGain), OP(getLength), OP(getWeight), OP(scale),
    OP(resetToRest), OP(getRestTranslation), OP(getRestOrientation), OP(getAxis), OP(isRetargetingAny), OP(isActive),
    OP(isDofActive), OP(isDirty), OP(getMassFraction), OP(setMass), OP(getMass), OP(setMaxVelocity), OP(getMaxVelocity),
    OP(setMassCentre), OP(getMassCentre), OP(getChainDepth), OP(getStretchRatio), OP(getStretchScale),
};
#undef FACE
#define FACE IKTask
const Operations<FACE> kTaskOperations = {
    OP(getFirstRow), OP(getId), OP(getRowCount), OP(getActiveDofCount), OP(isActive), OP(getWeight), OP(setDepth),
    OP(getDepth), OP(setWeight), OP(setAxisWeight), OP(getAxisWeight), OP(setPrecision), OP(setAxisPrecision),
    OP(getAxisPrecision), OP(getCreationDepth), OP(getAxisLevel), OP(setLevel), OP(setAxisLevel), OP(scaleTarget),
    OP(setActive), OP(setActiveDof), OP(isDofActive), OP(isPositionTask), OP(isOrientationTask), OP(isForceTask),
    OP(isReactionTask), OP(isBalanceTask), OP(setTracksRetarget), OP(tracksRetarget), OP(follows), OP(setTargetVector),
};
#undef FACE
#define FACE IKPositionTask
const Operations<FACE> kPositionOperations = {
    {"setTarget", call<FACE, static_cast<void (FACE::*)(float, float, float)>(&FACE::setTarget)>},
    OP(getTarget), OP(setOffset), OP(getOffset), OP(setForce), OP(getForce), OP(setPositionRows), OP(setForceTask),
    OP(setForceShare), OP(getForceShare), OP(setBalanceMoments), OP(getError), OP(computeMoment), OP(setPoleVector),
    OP(getPoleVector), OP(getPlaneConstraint), OP(getPlaneTarget), OP(setPlaneConstraint), OP(setPlaneTarget),
    OP(setPlaneNormal), OP(getPlaneNormal), OP(setPlanePoint), OP(getPlanePoint),
};
#undef FACE
#define FACE IKOrientationTask
const Operations<FACE> kOrientationOperations = {
    {"setTarget", call<FACE, static_cast<void (FACE::*)(float, float, float, float)>(&FACE::setTarget)>},
    {"setTargetQ", call<FACE, static_cast<void (FACE::*)(const SinewQuaternion&)>(&FACE::setTarget)>},
    OP(getTarget), OP(setLocalAxis), OP(getLocalAxis), OP(setAimDirection), OP(getAimDirection), OP(setAimMode),
    OP(getAimMode), OP(setTargetMatrix),
};
#undef FACE
#define FACE IKBalanceTask
const Operations<FACE> kBalanceOperations = {
    OP(setTarget), OP(setTargetOffset), OP(getTarget), OP(computeMoment), OP(getGravityAxis), OP(setCentreOfMassRows),
    OP(setRelativeToRoot), OP(setMomentRows), OP(reserved), OP(setGravityDirection), OP(setGravityAxis),
    OP(getGravityDirection), OP(momentRows), OP(centreOfMassRows),
};
#undef FACE
// clang-format on

} // namespace support
