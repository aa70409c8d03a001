// SPDX-License-Identifier: MIT
// The channels of a rig, in order of creation.
#include "rig/ChannelTables.h"

namespace {

// clang-format off
constexpr ZxHint kFromZero[]    = {{0, "%min"}, {-1, nullptr}};
constexpr ZxHint kTo10000[]     = {{0, "%min"}, {10000, "%max"}, {-1, nullptr}};
constexpr ZxHint kTo20000[]     = {{0, "%min"}, {20000, "%max"}, {-1, nullptr}};
constexpr ZxHint kTo30000[]     = {{0, "%min"}, {30000, "%max"}, {-1, nullptr}};
constexpr ZxHint kToMillion[]   = {{0, "%min"}, {1000000, "%max"}, {-1, nullptr}};
constexpr ZxHint kDepth[]       = {{-10000, "%min"}, {-1, nullptr}};
constexpr ZxHint kLimitRange[]  = {{-3600000, "%minDegrees"}, {3600000, "%maxDegrees"}, {-1, nullptr}};
constexpr ZxHint kDrawChains[]  = {{0, "off"}, {1, "on"}, {2, "sel"}, {-1, nullptr}};
constexpr ZxHint kAxes[]        = {{0, "x"}, {1, "y"}, {2, "z"}, {-1, nullptr}};

constexpr double k359Degrees = 6.265732014659643;

constexpr ChannelRow kSolver[] = {
    {.name = "iksSolveContinuous", .type = "boolean"},
    {.name = "iksSteps", .type = "integer", .number = 1000, .integer = 1000, .hints = kFromZero},
    {.name = "iksPrecision", .type = "float", .number = 2, .integer = 2, .hints = kTo30000},
    {.name = "iksTaskPull", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "iksUseTolerance", .type = "boolean", .number = 1, .integer = 1},
    {.name = "iksTolerance", .type = "float", .number = 1, .integer = 1, .hints = kFromZero},
    {.name = "iksTransRoot", .type = "boolean"},
    {.name = "iksTransRootWeight", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "iksRetargetGain", .type = "float", .number = 1, .integer = 0, .hints = kToMillion}, // differ on purpose
    {.name = "iksRetargetScale", .type = "percent", .number = 1, .integer = 1},
    {.name = "iksRetargetOffset", .type = "float", .vector = true},
    {.name = "iksLimitsGain", .type = "float", .number = 1, .integer = 1, .hints = kToMillion},
    {.name = "iksIKFKBlend", .type = "percent", .number = 1, .integer = 1, .hints = kTo10000},
    {.name = "iksDrawChains", .type = "integer", .number = 2, .integer = 2, .hints = kDrawChains},
    {.name = "iksEnabled", .type = "boolean", .number = 1, .integer = 1, .setupSwitch = true},
};

/// The block of `ik.package` that is repeated for each axis; A is the axis letter.
#define SINEW_AXIS_CHANNELS(A) \
    {.name = "ikAxis" A "PosEnable", .type = "boolean"}, \
    {.name = "ikAxis" A "PosWeight", .type = "percent", .number = 1, .integer = 1, .hints = kTo20000}, \
    {.name = "ikAxis" A "RotEnable", .type = "boolean", .number = 1, .integer = 1}, \
    {.name = "ikAxis" A "RotWeight", .type = "percent", .number = 1, .integer = 1, .hints = kTo20000}, \
    {.name = "ikAxis" A "Limits", .type = "boolean"}, \
    {.name = "ikAxis" A "Min", .type = "angle", .hints = kLimitRange}, \
    {.name = "ikAxis" A "Max", .type = "angle", .number = k359Degrees, .integer = 360, .hints = kLimitRange}, \
    {.name = "ikAxis" A "LimitsTrans", .type = "boolean"}, \
    {.name = "ikAxis" A "MinTrans", .type = "distance", .hints = kFromZero}, \
    {.name = "ikAxis" A "MaxTrans", .type = "distance", .number = 1, .integer = 1, .hints = kFromZero}

constexpr ChannelRow kPackage[] = {
    SINEW_AXIS_CHANNELS("X"),
    SINEW_AXIS_CHANNELS("Y"),
    SINEW_AXIS_CHANNELS("Z"),
    {.name = "ikRestXfrm", .type = "matrix4"},
    {.name = "ikRotOrder", .type = "integer", .number = 4, .integer = 4},
    {.name = "ikRestPos", .type = "distance", .vector = true},
    {.name = "ikRestRot", .type = "angle", .vector = true},
    {.name = "ikRestXAxis", .type = "float", .vector = true, .xyz = {1, 0, 0}},
    {.name = "ikRestYAxis", .type = "float", .vector = true, .xyz = {0, 1, 0}},
    {.name = "ikRestZAxis", .type = "float", .vector = true, .xyz = {0, 0, 1}},
};
#undef SINEW_AXIS_CHANNELS

constexpr ChannelRow kJoint[] = {
    {.name = "ikjActive", .type = "boolean", .number = 1, .integer = 1},
    {.name = "ikjEnableLimits", .type = "boolean"},
    {.name = "ikjEnforceLimits", .type = "boolean", .number = 1, .integer = 1},
    {.name = "ikjRetargeting", .type = "boolean"},
    {.name = "ikjMaxVelocity", .type = "float", .number = 3.3, .integer = 3, .hints = kFromZero},
    {.name = "ikjLimitsAxis", .type = "integer", .number = 2, .integer = 2, .hints = kAxes},
    {.name = "ikjTargetOffsetX", .type = "float", .vector = true, .xyz = {1, 0, 0}},
    {.name = "ikjTargetOffsetY", .type = "float", .vector = true, .xyz = {0, 1, 0}},
    {.name = "ikjTargetOffsetZ", .type = "float", .vector = true, .xyz = {0, 0, 1}},
};

constexpr ChannelRow kPositionTask[] = {
    {.name = "ikptEnable", .type = "boolean", .number = 1, .integer = 1},
    {.name = "ikptPos", .type = "float", .vector = true},
    {.name = "ikptOffset", .type = "float", .vector = true},
    {.name = "ikptMatrix", .type = "matrix4"},
    {.name = "ikptWeight", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "ikptPrecision", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "ikptLength", .type = "integer", .number = -1, .integer = -1, .hints = kDepth},
    {.name = "ikptScale", .type = "percent", .number = 1, .integer = 1},
    {.name = "ikptLinkIndex", .type = "integer"},
};

constexpr ChannelRow kOrientationTask[] = {
    {.name = "ikotEnable", .type = "boolean", .number = 1, .integer = 1},
    {.name = "ikotRot", .type = "angle", .vector = true},
    {.name = "ikotOffset", .type = "angle", .vector = true},
    {.name = "ikotMatrix", .type = "matrix4"},
    {.name = "ikotWeight", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "ikotPrecision", .type = "float", .number = 1, .integer = 1, .hints = kTo20000},
    {.name = "ikotLength", .type = "integer", .number = 1, .integer = 1, .hints = kDepth}, // one bone, unlike a position
    {.name = "ikotLinkIndex", .type = "integer"},
};
// clang-format on

} // namespace

std::span<const ChannelRow> SolverChannels() { return kSolver; }
std::span<const ChannelRow> PackageChannels() { return kPackage; }
std::span<const ChannelRow> JointChannels() { return kJoint; }
std::span<const ChannelRow> PositionTaskChannels() { return kPositionTask; }
std::span<const ChannelRow> OrientationTaskChannels() { return kOrientationTask; }
