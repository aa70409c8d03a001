/* SPDX-License-Identifier: MIT
 * How a package shows its channels: which one greys which. */
#ifndef SINEW_ZX_CHANNELUI_H
#define SINEW_ZX_CHANNELUI_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdChannelUI = {0xab7bedf28c7c929bull, 0x42fca4eab19eff99ull};

/** Offered by a package server for its channels. */
typedef struct ZxChannelUITable {
    ZxObjectOps object;
    /** [edit] Predicate: whether the channel of `item` can be changed, going by `read` (interface
     * ChannelRead). kZxMessage when it can't and `message` (interface Message) says why. */
    zxresult (*enabled)(ZxObject* self, const char* channel, ZxObject* message, ZxObject* item,
                        ZxObject* read);
    /** [edit] Number of channels that decide whether this one is enabled; 0 for a channel that is always. */
    zxresult (*dependencyCount)(ZxObject* self, const char* channel, uint32_t* count);
    /** [edit] Dependency `index`: the type of the items that have the channel, and its name; kZxOutOfRange
     * past the end. The text lasts as long as the module is loaded. */
    zxresult (*dependency)(ZxObject* self, const char* channel, uint32_t index, uint32_t* typeCode,
                           const char** name);
    /** [edit] Predicate: whether the channel is shown at all. */
    zxresult (*visible)(ZxObject* self, const char* channel, ZxObject* item);
    /** [edit] What the user reads in place of the channel's name; kZxNotFound for none. */
    zxresult (*label)(ZxObject* self, const char* channel, const char** label);
    /** [edit] A sentence about the channel; kZxNotFound for none. */
    zxresult (*help)(ZxObject* self, const char* channel, const char** help);
    /** [edit] Group that the channel is listed in; kZxNotFound for none. */
    zxresult (*group)(ZxObject* self, const char* channel, const char** group);
    /** [edit] Place of the channel in its group, smaller first; kZxNotFound to go by creation. */
    zxresult (*order)(ZxObject* self, const char* channel, int32_t* order);
} ZxChannelUITable;

#ifdef __cplusplus
}
#endif

#endif
