/* SPDX-License-Identifier: MIT
 * Scenes: items by type, graphs, channel reads, setup mode; and the service that knows types. */
#ifndef SINEW_ZX_SCENE_H
#define SINEW_ZX_SCENE_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdScene = {0x3030caacb96cdf35ull, 0x4008fcceab206737ull};

typedef struct ZxSceneTable {
    ZxObjectOps object;
    /** [any] Number of items that are of the type or of one derived from it. */
    zxresult (*itemCount)(ZxObject* self, uint32_t typeCode, uint32_t* count);
    /** [any] Item `index` of those, in an order that stays while items of the type stay; kZxOutOfRange past
     * the end. The caller releases it. */
    zxresult (*itemByIndex)(ZxObject* self, uint32_t typeCode, uint32_t index, ZxObject** item);
    /** [any] Graph by name, as an object with the interface ItemGraph or ChannelGraph; the caller releases
     * it. */
    zxresult (*graph)(ZxObject* self, const char* name, ZxObject** graph);
    /** [any] Reads channels as they are at `time` (seconds) in an action: "setup", "edit" or "anim", each
     * falling through to the layers below it, or null for the evaluated values. An evaluated read shows the
     * scene as it stood when the read was taken; it is refused inside evaluation. The caller releases it
     * (interface ChannelRead). */
    zxresult (*channelRead)(ZxObject* self, const char* action, double time, ZxObject** read);
    /** [any] Predicate: whether the scene is in setup mode. */
    zxresult (*isSetupMode)(ZxObject* self);
} ZxSceneTable;

static const ZxId kZxIdSceneService = {0x6abc2c4d51739c33ull, 0x84f445c205af1655ull};

/** Knows the item types of the host and of all modules. */
typedef struct ZxSceneServiceTable {
    ZxObjectOps object;
    /** [any] Code of an item type, never 0, the same for the host's lifetime; kZxNotFound for an unknown
     * name. */
    zxresult (*typeCode)(ZxObject* self, const char* name, uint32_t* code);
} ZxSceneServiceTable;

#ifdef __cplusplus
}
#endif

#endif
