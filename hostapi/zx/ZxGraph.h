/* SPDX-License-Identifier: MIT
 * Graphs: directed links between items, and between channels of items, in the order in which they were made.
 */
#ifndef SINEW_ZX_GRAPH_H
#define SINEW_ZX_GRAPH_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdItemGraph = {0x80355b131d19a18eull, 0xfba57e9254e51049ull};

typedef struct ZxItemGraphTable {
    ZxObjectOps object;
    /** [any] Number of links that leave the item. */
    zxresult (*forwardCount)(ZxObject* self, ZxObject* item, uint32_t* count);
    /** [any] Item that link `index` leads to; kZxOutOfRange past the end. The caller releases it. */
    zxresult (*forwardByIndex)(ZxObject* self, ZxObject* item, uint32_t index, ZxObject** target);
    /** [any] Number of links that reach the item. */
    zxresult (*reverseCount)(ZxObject* self, ZxObject* item, uint32_t* count);
    /** [any] Item that link `index` comes from; kZxOutOfRange past the end. The caller releases it. */
    zxresult (*reverseByIndex)(ZxObject* self, ZxObject* item, uint32_t index, ZxObject** source);
} ZxItemGraphTable;

static const ZxId kZxIdChannelGraph = {0xa30e4021dc606c7eull, 0xb6a943bf234b405dull};

/** A link feeds its target channel from its source channel. */
typedef struct ZxChannelGraphTable {
    ZxObjectOps object;
    /** [any] Number of links that leave the channel; kZxNotFound if the item has no channel of that index. */
    zxresult (*forwardCount)(ZxObject* self, ZxObject* item, int32_t channel, uint32_t* count);
    /** [any] Item and channel that link `index` leads to; kZxOutOfRange past the end. The caller releases the
     * item. */
    zxresult (*forwardByIndex)(ZxObject* self, ZxObject* item, int32_t channel, uint32_t index,
                               ZxObject** target, int32_t* targetChannel);
    /** [any] Number of links that reach the channel; kZxNotFound if the item has no channel of that index. */
    zxresult (*reverseCount)(ZxObject* self, ZxObject* item, int32_t channel, uint32_t* count);
    /** [any] Item and channel that link `index` comes from; kZxOutOfRange past the end. The caller releases
     * the item. */
    zxresult (*reverseByIndex)(ZxObject* self, ZxObject* item, int32_t channel, uint32_t index,
                               ZxObject** source, int32_t* sourceChannel);
} ZxChannelGraphTable;

#ifdef __cplusplus
}
#endif

#endif
