/* SPDX-License-Identifier: MIT
 * Servers, tags and channels of the module, written down by hand. */
#include "ServerFacts.h"

#include <zx/ZxCommand.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxPackage.h>
#include <zx/ZxTool.h>

#include <stddef.h>

#define COUNT(array) (sizeof(array) / sizeof(array)[0])

static const double kZero[3] = {0, 0, 0}, kAlongX[3] = {1, 0, 0}, kAlongY[3] = {0, 1, 0},
                    kAlongZ[3] = {0, 0, 1};

/* clang-format off */
static const ChannelFact kFullBodyChannels[] = {
    {"iksSolveContinuous", "boolean", 0, 0, "", NULL, 0},
    {"iksSteps", "integer", 1000, 1000, "%min=0", NULL, 0},
    {"iksPrecision", "float", 2.0, 2, "%min=0 %max=30000", NULL, 0},
    {"iksTaskPull", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"iksUseTolerance", "boolean", 1, 1, "", NULL, 0},
    {"iksTolerance", "float", 1.0, 1, "%min=0", NULL, 0},
    {"iksTransRoot", "boolean", 0, 0, "", NULL, 0},
    {"iksTransRootWeight", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"iksRetargetGain", "float", 1.0, 0, "%min=0 %max=1000000", NULL, 0},
    {"iksRetargetScale", "percent", 1.0, 1, "", NULL, 0},
    {"iksRetargetOffset", "float", 0, 0, "", kZero, 0},
    {"iksLimitsGain", "float", 1.0, 1, "%min=0 %max=1000000", NULL, 0},
    {"iksIKFKBlend", "percent", 1.0, 1, "%min=0 %max=10000", NULL, 0},
    {"iksDrawChains", "integer", 2, 2, "off=0 on=1 sel=2", NULL, 0},
    {"iksEnabled", "boolean", 1, 1, "", NULL, 1},
};

/* 359 degrees as the float form, 360 as the integer form. */
#define AXIS(letter) \
    {"ikAxis" letter "PosEnable", "boolean", 0, 0, "", NULL, 0}, \
    {"ikAxis" letter "PosWeight", "percent", 1.0, 1, "%min=0 %max=20000", NULL, 0}, \
    {"ikAxis" letter "RotEnable", "boolean", 1, 1, "", NULL, 0}, \
    {"ikAxis" letter "RotWeight", "percent", 1.0, 1, "%min=0 %max=20000", NULL, 0}, \
    {"ikAxis" letter "Limits", "boolean", 0, 0, "", NULL, 0}, \
    {"ikAxis" letter "Min", "angle", 0, 0, "%minDegrees=-3600000 %maxDegrees=3600000", NULL, 0}, \
    {"ikAxis" letter "Max", "angle", 6.265732014659643, 360, "%minDegrees=-3600000 %maxDegrees=3600000", NULL, 0}, \
    {"ikAxis" letter "LimitsTrans", "boolean", 0, 0, "", NULL, 0}, \
    {"ikAxis" letter "MinTrans", "distance", 0, 0, "%min=0", NULL, 0}, \
    {"ikAxis" letter "MaxTrans", "distance", 1.0, 1, "%min=0", NULL, 0}

static const ChannelFact kPackageChannels[] = {
    AXIS("X"),
    AXIS("Y"),
    AXIS("Z"),
    {"ikRestXfrm", "matrix4", 0, 0, "", NULL, 0},
    {"ikRotOrder", "integer", 4, 4, "", NULL, 0},
    {"ikRestPos", "distance", 0, 0, "", kZero, 0},
    {"ikRestRot", "angle", 0, 0, "", kZero, 0},
    {"ikRestXAxis", "float", 0, 0, "", kAlongX, 0},
    {"ikRestYAxis", "float", 0, 0, "", kAlongY, 0},
    {"ikRestZAxis", "float", 0, 0, "", kAlongZ, 0},
};

static const ChannelFact kJointChannels[] = {
    {"ikjActive", "boolean", 1, 1, "", NULL, 0},
    {"ikjEnableLimits", "boolean", 0, 0, "", NULL, 0},
    {"ikjEnforceLimits", "boolean", 1, 1, "", NULL, 0},
    {"ikjRetargeting", "boolean", 0, 0, "", NULL, 0},
    {"ikjMaxVelocity", "float", 3.3, 3, "%min=0", NULL, 0},
    {"ikjLimitsAxis", "integer", 2, 2, "x=0 y=1 z=2", NULL, 0},
    {"ikjTargetOffsetX", "float", 0, 0, "", kAlongX, 0},
    {"ikjTargetOffsetY", "float", 0, 0, "", kAlongY, 0},
    {"ikjTargetOffsetZ", "float", 0, 0, "", kAlongZ, 0},
};

static const ChannelFact kPositionTaskChannels[] = {
    {"ikptEnable", "boolean", 1, 1, "", NULL, 0},
    {"ikptPos", "float", 0, 0, "", kZero, 0},
    {"ikptOffset", "float", 0, 0, "", kZero, 0},
    {"ikptMatrix", "matrix4", 0, 0, "", NULL, 0},
    {"ikptWeight", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"ikptPrecision", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"ikptLength", "integer", -1, -1, "%min=-10000", NULL, 0},
    {"ikptScale", "percent", 1.0, 1, "", NULL, 0},
    {"ikptLinkIndex", "integer", 0, 0, "", NULL, 0},
};

static const ChannelFact kOrientationTaskChannels[] = {
    {"ikotEnable", "boolean", 1, 1, "", NULL, 0},
    {"ikotRot", "angle", 0, 0, "", kZero, 0},
    {"ikotOffset", "angle", 0, 0, "", kZero, 0},
    {"ikotMatrix", "matrix4", 0, 0, "", NULL, 0},
    {"ikotWeight", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"ikotPrecision", "float", 1.0, 1, "%min=0 %max=20000", NULL, 0},
    {"ikotLength", "integer", 1, 1, "%min=-10000", NULL, 0},
    {"ikotLinkIndex", "integer", 0, 0, "", NULL, 0},
};

#define NO_TAGS {{NULL, NULL}}

const ServerFact kServers[] = {
    {"ikfb", &kZxIdEvalModifier, 1,
     {{"modifier.typeList", "locator"}, {"modifier.graphList", "parent chanLinks ikRetarget ikTasks"}}, NULL, 0, 0},
    {"ikfb.assign", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.setRest", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.task", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.goal", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.goalAssign", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.chain", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.remove", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ikfb.retarget", &kZxIdCommand, 0, NO_TAGS, NULL, 0, 0},
    {"ik.joint", &kZxIdPackage, 1, NO_TAGS, kJointChannels, COUNT(kJointChannels), 15},
    {"ik.positionTask", &kZxIdPackage, 1, NO_TAGS, kPositionTaskChannels, COUNT(kPositionTaskChannels), 13},
    {"ik.orientationTask", &kZxIdPackage, 1, NO_TAGS, kOrientationTaskChannels, COUNT(kOrientationTaskChannels), 12},
    {"iktask", &kZxIdEvalModifier, 1,
     {{"modifier.typeList", "locator"}, {"modifier.graphList", "chanLinks ikTasks"}}, NULL, 0, 0},
    {"ik.package", &kZxIdPackage, 1, NO_TAGS, kPackageChannels, COUNT(kPackageChannels), 47},
    {"ikFullBody", &kZxIdPackage, 1,
     {{"super", "ikSolver"}, {"pkg.createCmd", "-"}, {"pkg.graphs", "ikRetarget;ikTasks"}},
     kFullBodyChannels, COUNT(kFullBodyChannels), 17},
    {"ik.pose", &kZxIdTool, 0, NO_TAGS, NULL, 0, 0},
};

#define ON_SELECTION {{"select.event", "item +v"}, {"select.event", "item exist+d"}}
#define ON_EDIT {{"action.event", "edit +d"}, {"select.event", "item exist+d"}}

/* The icon is the one that no argument gives. */
const CommandFact kCommands[] = {
    {"ikfb.assign", {{"item", "&item", 0x41}, {"transRoot", "boolean", 1}}, ON_EDIT, NULL, 1},
    {"ikfb.setRest", {{"item", "&item", 1}}, ON_SELECTION, NULL, 1},
    {"ikfb.task", {{"item", "&item", 1}, {"type", "integer", 1}, {"mode", "integer", 1}, {"scale", "float", 1}},
     ON_SELECTION, "ikfb.taskPosRem", 0x84800004u},
    {"ikfb.goal", {{"item", "&item", 1}}, ON_EDIT, NULL, 1},
    {"ikfb.goalAssign", {{"item", "&item", 1}, {"goal", "&item", 1}, {"type", "integer", 0}, {"comp", "integer", 1}},
     ON_EDIT, "ikfb.goalAssign", 1},
    {"ikfb.chain", {{"item", "&item", 1}, {"mode", "integer", 1}}, ON_SELECTION, "ikfb.chainRem", 1},
    {"ikfb.remove", {{"item", "&item", 1}}, ON_EDIT, NULL, 1},
    {"ikfb.retarget",
     {{"itemS", "&item", 0x41}, {"itemT", "&item", 0x41}, {"type", "integer", 1}, {"mode", "integer", 1}, {"scale", "float", 1}},
     ON_EDIT, NULL, 1},
};

const IconFact kIcons[] = {
    {"ikfb.chain", 1, 1, 1, 1, "ikfb.chainAdd"}, {"ikfb.chain", 1, -2, 1, -2, "ikfb.chainAdd"},
    {"ikfb.task", 1, 0, 2, 1, "ikfb.taskPosAdd"}, {"ikfb.task", 1, 1, 2, 0, "ikfb.taskRotRem"},
    {"ikfb.task", 1, 5, 2, 9, "ikfb.taskRotAdd"}, {"ikfb.goalAssign", 2, 1, 3, 0, "ikfb.goalAssignPos"},
    {"ikfb.goalAssign", 2, 2, 3, 0, "ikfb.goalAssignRot"}, {"ikfb.goalAssign", 2, 3, 3, 0, NULL},
    {"ikfb.goalAssign", 2, -1, 3, 0, NULL},
};
/* clang-format on */

const uint32_t kCommandCount = COUNT(kCommands), kIconCount = COUNT(kIcons);
const uint32_t kServerCount = COUNT(kServers);
