/* SPDX-License-Identifier: MIT
 * Items of a scene: names, types, packages, hierarchy and channel indices. */
#ifndef SINEW_ZX_ITEM_H
#define SINEW_ZX_ITEM_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdItem = {0x9bbaf40c20a9519bull, 0xd00ac2f0b92732aeull};

typedef struct ZxItemTable {
    ZxObjectOps object;
    /** [any] Number that stays the item's own through undo, saving and loading; two objects with the same
     * number in one scene are the same item. */
    zxresult (*identifier)(ZxObject* self, uint64_t* identifier);
    /** [any] Name that no other item of the scene has. */
    zxresult (*uniqueName)(ZxObject* self, const char** name);
    /** [any] Name as the user gave it. */
    zxresult (*userName)(ZxObject* self, const char** name);
    /** [any] Code of the item's own type. */
    zxresult (*typeCode)(ZxObject* self, uint32_t* code);
    /** [any] Predicate: whether the item is of the type or of one derived from it. */
    zxresult (*isType)(ZxObject* self, uint32_t typeCode);
    /** [any] Predicate: whether the item carries the package, or is of the item type of that name or one
     * derived from it. */
    zxresult (*hasPackage)(ZxObject* self, const char* package);
    /** [any] Parent in the item hierarchy; kZxNotFound for an item at the top. The caller releases it. */
    zxresult (*parent)(ZxObject* self, ZxObject** parent);
    /** [any] Number of direct children. */
    zxresult (*childCount)(ZxObject* self, uint32_t* count);
    /** [any] Direct child `index`, in order; kZxOutOfRange past the end. The caller releases it. */
    zxresult (*childByIndex)(ZxObject* self, uint32_t index, ZxObject** child);
    /** [any] Index of a channel by name; kZxNotFound, and an index of -1, if there is none. It stays while
     * packages of the item stay. Index 0 is a channel that every item has, so no package's channel has it. */
    zxresult (*channelIndex)(ZxObject* self, const char* channel, int32_t* index);
    /** [any] Scene of the item; the caller releases it. */
    zxresult (*scene)(ZxObject* self, ZxObject** scene);
} ZxItemTable;

#ifdef __cplusplus
}
#endif

#endif
