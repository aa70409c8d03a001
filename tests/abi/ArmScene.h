/* SPDX-License-Identifier: MIT
 * The smallest scene with a rig, in plain C: a chain of a root, below a base, and three joints with one
 * position task. */
#ifndef SINEW_TESTS_ABI_ARM_SCENE_H
#define SINEW_TESTS_ABI_ARM_SCENE_H

#include "ChannelRecorder.h"

enum { kShoulder, kElbow, kWrist, kHand, kSolver, kBase, kItemCount };
enum { kJointCount = kSolver };

typedef struct ArmChannel ArmChannel;

/** Places all objects; called once, ahead of everything below. */
void armSceneInit(void);
/** The application context, which knows the scene service. */
ZxObject* armContext(void);
ZxObject* armScene(void);
ZxObject* armItem(int item);

/** Gives `item` the package with the channels that the module declared. */
void armAddPackage(int item, const char* package, const ChannelRecorder* declared);
void armSetNumber(int item, const char* channel, double value);
/** Where the number of a channel stands, and offset or 3x3 part of a matrix channel. */
double* armNumber(int item, const char* channel);
double* armOffset(int item, const char* channel);
double* arm3x3(int item, const char* channel);

/** A fresh set of channels for one node, for its `allocate`. */
ZxObject* armNewEvaluation(void);
/** Says that `evaluation` is for reading and writing from now on. */
void armBeginEvaluate(ZxObject* evaluation);
/** Number of channels that were added for writing. */
uint32_t armWrittenChannels(ZxObject* evaluation);

#endif
