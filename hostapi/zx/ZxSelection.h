/* SPDX-License-Identifier: MIT
 * Selection: what the user works on, and the current time. */
#ifndef SINEW_ZX_SELECTION_H
#define SINEW_ZX_SELECTION_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdSelectionService = {0x7fc7b47e5f8faf6dull, 0xde9a84512bc33322ull};

/** Packets of selection types, in order of selection. Types: "item" for items, "cinema" for scenes. */
typedef struct ZxSelectionServiceTable {
    ZxObjectOps object;
    /** [any] Current time in seconds. */
    zxresult (*currentTime)(ZxObject* self, double* seconds);
    /** [any] Code of a selection type by name; kZxNotFound for an unknown name. */
    zxresult (*typeCode)(ZxObject* self, const char* name, uint32_t* code);
    /** [any] Packet of the type that was selected last; kZxNotFound if nothing is selected. The caller
     * releases it. */
    zxresult (*recent)(ZxObject* self, uint32_t typeCode, ZxObject** packet);
} ZxSelectionServiceTable;

static const ZxId kZxIdScenePacketTranslation = {0xbd8d97ffc1386b0dull, 0xad72485ec9388ec7ull};

/** Turns packets of the type "cinema" into scenes. */
typedef struct ZxScenePacketTranslationTable {
    ZxObjectOps object;
    /** [any] Scene of the packet; kZxInvalidArgument if the packet stands for something else. The caller
     * releases it. */
    zxresult (*scene)(ZxObject* self, ZxObject* packet, ZxObject** scene);
} ZxScenePacketTranslationTable;

static const ZxId kZxIdSelectionList = {0x214712d2b595a1bbull, 0x5d38b842cb4505d7ull};

/** The packets of each type, and changing them; asked of the selection service. */
typedef struct ZxSelectionListTable {
    ZxObjectOps object;
    /** [any] Number of packets of the type. */
    zxresult (*count)(ZxObject* self, uint32_t typeCode, uint32_t* count);
    /** [any] Packet `index` in order of selection; kZxOutOfRange past the end. The caller releases it. */
    zxresult (*byIndex)(ZxObject* self, uint32_t typeCode, uint32_t index, ZxObject** packet);
    /** [any] Predicate: whether the packet is selected. */
    zxresult (*isSelected)(ZxObject* self, ZxObject* packet);
    /** [edit] Selects the packet behind the others; one that is selected stays where it is. */
    zxresult (*select)(ZxObject* self, ZxObject* packet);
    /** [edit] Unselects all packets of the type. */
    zxresult (*clear)(ZxObject* self, uint32_t typeCode);
} ZxSelectionListTable;

static const ZxId kZxIdItemPacketTranslation = {0xd17153ebcfc6320bull, 0x6acd228578e55571ull};

/** Between packets of the type "item" and items; a global service. */
typedef struct ZxItemPacketTranslationTable {
    ZxObjectOps object;
    /** [any] Item of the packet; kZxInvalidArgument if the packet stands for something else. The caller
     * releases it. */
    zxresult (*item)(ZxObject* self, ZxObject* packet, ZxObject** item);
    /** [any] Packet of the item; the caller releases it. */
    zxresult (*packet)(ZxObject* self, ZxObject* item, ZxObject** packet);
} ZxItemPacketTranslationTable;

#ifdef __cplusplus
}
#endif

#endif
