/* SPDX-License-Identifier: MIT
 * How a module is found and asked for its servers, and the services that it reaches in return. */
#ifndef SINEW_ZX_MODULE_H
#define SINEW_ZX_MODULE_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Name of the one function that a module exports. */
#define ZX_MODULE_ENTRY "_IZxModule_Create"

/** [load] Type of that function. The first call registers the module's servers. Returns a module object
 * (interface Module) with one reference, which the caller releases, or null if the module can't start. Hosts of
 * one process share a loaded module, and may call at the same time: each takes an object of its own, and all
 * that is made through it goes by the context that was given to it. */
typedef ZxObject* (*ZxModuleEntry)(void);

static const ZxId kZxIdModule = {0x66944bce1f3e9788ull, 0xb97d3d5bce7d529eull};

/** A module: the maker of its servers. */
typedef struct ZxModuleTable {
    ZxObjectOps object;
    /** [load, edit, eval] A new object of the server with this name whose first interface is `interfaceId`,
     * seen through that interface; kZxNotFound if there is none, kZxFailure if it can't be made. The caller
     * releases it. */
    zxresult (*server)(ZxObject* self, const char* name, const ZxId* interfaceId, ZxObject** server);
} ZxModuleTable;

static const ZxId kZxIdNeedContext = {0x190bd3feb60b2abeull, 0x3311867ec9b4881cull};

/** A module that wants to reach the host's services. */
typedef struct ZxNeedContextTable {
    ZxObjectOps object;
    /** [load] Hands over the application context (interface Context), which the module keeps by a reference
     * of its own until another one replaces it. A host gives null before it unloads the module, so that the
     * last reference returns. */
    zxresult (*setContext)(ZxObject* self, ZxObject* context);
} ZxNeedContextTable;

static const ZxId kZxIdTagDescription = {0x8a9cd7b176f8183full, 0x87c0523ed4ead80full};

/** A module's list of servers, as tags. */
typedef struct ZxTagDescriptionTable {
    ZxObjectOps object;
    /** [load, edit] Number of tags, that is, of servers. */
    zxresult (*tagCount)(ZxObject* self, uint32_t* count);
    /** [load, edit] Tag `index`: the key "server", the server's name and its first interface. kZxOutOfRange
     * past the end. The text and the identifier stay the module's and last as long as it is loaded. */
    zxresult (*tag)(ZxObject* self, uint32_t index, const char** key, const char** value,
                    const ZxId** interfaceId);
} ZxTagDescriptionTable;

static const ZxId kZxIdContext = {0x7a017b3296268449ull, 0xe0db9e4a351aca5cull};

/** The application context: the door to the host's global services. */
typedef struct ZxContextTable {
    ZxObjectOps object;
    /** [any] The service with this interface (SceneService, SelectionService, ScenePacketTranslation,
     * ItemPacketTranslation, CommandService, PacketService); kZxNotFound if the host has none such. The
     * caller releases it.
     */
    zxresult (*service)(ZxObject* self, const ZxId* interfaceId, ZxObject** service);
} ZxContextTable;

#ifdef __cplusplus
}
#endif

#endif
