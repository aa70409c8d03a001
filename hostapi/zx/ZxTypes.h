/* SPDX-License-Identifier: MIT
 * What every interface between host and plug-in is made of: result codes, identifiers and objects. Plain C.
 */
#ifndef SINEW_ZX_TYPES_H
#define SINEW_ZX_TYPES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Conventions of all headers here
 *
 * An object is a pointer to a ZxObject, whose first and only public member points at the table of the
 * interface that the pointer stands for. Every table begins with ZxObjectOps. To call: take the table, pass
 * the object as `self`:
 *
 *     const ZxItemTable* ops = (const ZxItemTable*)item->table;
 *     zxresult result = ops->parent(item, &parent);
 *
 * Every slot is filled and returns a zxresult; values come back through pointers, which are never null.
 * Object arguments are null only where the slot says what that means. On failure an object pointer comes back
 * null, and numbers are left alone unless the slot says otherwise.
 *
 * Phase marks: [load] while the module is being loaded or unloaded, [edit] outside evaluation and drawing,
 * [eval] inside a modifier's reset, next, allocate or evaluate, [draw] while a view is drawn, [any] at any
 * time. A slot of [edit] that changes the scene or the selection or runs commands is for the time while the
 * host runs a command of the module or hands its tool an event or an evaluation. A host may refuse a call at
 * any other time with kZxNotAvailable.
 *
 * Ownership: objects passed in stay the caller's; who keeps one adds a reference. Objects handed out carry
 * one reference, which the receiver releases. Text handed out belongs to the object that gave it and lasts
 * until that object changes or goes. Text is UTF-8 and ends with a zero byte.
 *
 * Threads: all calls on the objects of one scene come from one thread at a time. References may be counted
 * from any thread.
 *
 * Numbers: angles in radians, times in seconds, lengths in the scene's unit. 3x3 matrices are nine doubles,
 * row by row, for column vectors (v' = M v), right-handed. */

/** Result of every operation. Bit 31 set means failure. A predicate answers 0 for true and 1 for false. */
typedef uint32_t zxresult;

static const zxresult kZxOk = 0;
static const zxresult kZxTrue = 0;
static const zxresult kZxFalse = 1;
static const zxresult kZxFailure = 0x80000000u; /**< general failure */
static const zxresult kZxOutOfMemory = 0x80000002u;
static const zxresult kZxNotAvailable =
    0x80000004u; /**< not now, such as a reset without a scene, or the wrong phase */
static const zxresult kZxInvalidArgument =
    0x80000005u; /**< a value that no call can accept, such as a foreign object */
static const zxresult kZxAborted = 0x80000007u; /**< enumeration ended by the visitor */
static const zxresult kZxOutOfRange = 0x80000015u; /**< an index past the end */
static const zxresult kZxNotFound = 0x80000017u;
static const zxresult kZxMessage =
    0x84800004u; /**< failure with a message: the message object names table and number */

/** Identifier of an interface: 128 random bits, constant for ever; an interface that changes gets a new one.
 */
typedef struct ZxId {
    uint64_t high;
    uint64_t low;
} ZxId;

typedef struct ZxObject ZxObject;

/** The three operations at the head of every table. */
typedef struct ZxObjectOps {
    /** [any] Another interface of the same object; kZxNotFound if it has none such. The caller releases it.
     * Asking for kZxIdObject gives the same pointer from every interface of one object. */
    zxresult (*query)(ZxObject* self, const ZxId* id, ZxObject** object);
    /** [any] Adds a reference for the caller. */
    zxresult (*addRef)(ZxObject* self);
    /** [any] Gives up the caller's reference; the last one ends the object. */
    zxresult (*release)(ZxObject* self);
} ZxObjectOps;

/** Any host or plug-in object, as seen through one of its interfaces. */
struct ZxObject {
    const ZxObjectOps* table; /**< first member of the interface's own table */
};

/** The interface that every object has: the three operations alone. */
static const ZxId kZxIdObject = {0x8b7d39c76b8cb91full, 0x22851b7a68ae6007ull};

#ifdef __cplusplus
}
#endif

#endif
