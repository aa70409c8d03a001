/* SPDX-License-Identifier: MIT
 * Modifiers: how a plug-in takes part in evaluating a scene. */
#ifndef SINEW_ZX_EVALUATION_H
#define SINEW_ZX_EVALUATION_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdEvalModifier = {0x7cc9b1ce1eca3557ull, 0x9ac91b2ded253bd5ull};

/** A modifier server. For each set of nodes the host calls `reset`, then `next` until it gives nothing, and
 * `allocate` for every item that came. It makes the nodes anew after any change that the server's static
 * description names. */
typedef struct ZxEvalModifierTable {
    ZxObjectOps object;
    /** [eval] Starts an enumeration over `scene` (interface Scene), which the modifier keeps until the
     * enumeration ends. Null takes the scene away; without one the answer is kZxNotAvailable. */
    zxresult (*reset)(ZxObject* self, ZxObject* scene);
    /** [eval] The next item that wants a node, with an attribute index of the modifier's own; null when there
     * is no more. The caller releases the item. */
    zxresult (*next)(ZxObject* self, ZxObject** item, uint32_t* attributeIndex);
    /** [eval] Makes the node of an item that `next` gave. It adds its channels to `evaluation` (interface
     * Evaluation), which it keeps for its lifetime. The caller releases the node (interface Modifier). On
     * failure no node is made and nothing is kept. */
    zxresult (*allocate)(ZxObject* self, ZxObject* item, uint32_t attributeIndex, ZxObject* evaluation,
                         ZxObject** node);
} ZxEvalModifierTable;

static const ZxId kZxIdModifier = {0x1b3d946ca86892dcull, 0x66f8890ff4a59c25ull};

/** A node: it reads and writes the channels that it added, and lives until the host makes the nodes anew. */
typedef struct ZxModifierTable {
    ZxObjectOps object;
    /** [eval] Computes the channels that the node writes from those that it reads. On failure the host shows
     * the written channels as they would be without the node. */
    zxresult (*evaluate)(ZxObject* self);
    /** [eval] Predicate: whether this node can serve `item` with `attributeIndex` on, unchanged, when nodes
     * are to be made anew. */
    zxresult (*test)(ZxObject* self, ZxObject* item, uint32_t attributeIndex);
    /** [eval] Told before the first evaluation; a host may leave it out. */
    zxresult (*begin)(ZxObject* self);
    /** [eval] Told before the host gives the node up; a host may leave it out. */
    zxresult (*end)(ZxObject* self);
    /** [eval] Told when time jumps rather than runs; a host may leave it out. */
    zxresult (*timeJumped)(ZxObject* self);
    /** [eval, edit] A figure about the last evaluation by name, such as "iterations" (steps that a solver
     * took), "converged" (0 when a solve diverged), and "distance NAME" and "angle NAME" (how far the item of
     * that unique name is from its position goal, in scene units, and its orientation goal, in radians);
     * kZxNotFound for a name that the node knows nothing of; a host may leave it out. */
    zxresult (*figure)(ZxObject* self, const char* name, double* value);
} ZxModifierTable;

/** Modes of a node's channels. */
static const uint32_t kZxRead = 1;
static const uint32_t kZxWrite = 2;
static const uint32_t kZxReadWrite = 3;

static const ZxId kZxIdEvaluation = {0x567cf56289a4d020ull, 0x725850ae4193ee41ull};

/** A node's channels. Adding is for `allocate`, reading and writing for `evaluate`. Before a node runs, a
 * channel added for writing holds what it would have without the node, and keeps that if the node doesn't
 * write. */
typedef struct ZxEvaluationTable {
    ZxObjectOps object;
    /** [eval] Adds a channel of `item` by name and gives its index, counted from 0; kZxNotFound if the item
     * has no such channel. `mode` is kZxRead, kZxWrite or kZxReadWrite. */
    zxresult (*addChannel)(ZxObject* self, ZxObject* item, const char* channel, uint32_t mode,
                           uint32_t* index);
    /** [eval] Value as an integer; numbers are truncated. This and the two below answer kZxNotAvailable when
     * the node that should have written the channel failed, so that nothing is built on what it left. */
    zxresult (*readInteger)(ZxObject* self, uint32_t index, int32_t* value);
    /** [eval] Value as a number. */
    zxresult (*readDouble)(ZxObject* self, uint32_t index, double* value);
    /** [eval] The matrix of a matrix channel (interface Matrix), for reading (0) or writing (1); the caller
     * releases it. It lasts until the end of the evaluation that took it. */
    zxresult (*matrix)(ZxObject* self, uint32_t index, uint32_t writing, ZxObject** matrix);
} ZxEvaluationTable;

static const ZxId kZxIdMatrix = {0x714d379d79af89bbull, 0x149546f54398238bull};

/** A transform as a host value: a 3x3 part and an offset. */
typedef struct ZxMatrixTable {
    ZxObjectOps object;
    /** [edit, eval, draw] The 3x3 part into nine doubles, row by row. */
    zxresult (*get3x3)(ZxObject* self, double* nine);
    /** [edit, eval, draw] The offset into three doubles. */
    zxresult (*getOffset)(ZxObject* self, double* three);
    /** [eval] Sets the 3x3 part; kZxNotAvailable for a matrix taken for reading, kZxInvalidArgument for
     * numbers that are not finite, which change nothing. */
    zxresult (*set3x3)(ZxObject* self, const double* nine);
    /** [eval] Sets the offset, with the same failures. */
    zxresult (*setOffset)(ZxObject* self, const double* three);
} ZxMatrixTable;

#ifdef __cplusplus
}
#endif

#endif
