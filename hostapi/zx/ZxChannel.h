/* SPDX-License-Identifier: MIT
 * Channel values outside of evaluation. */
#ifndef SINEW_ZX_CHANNEL_H
#define SINEW_ZX_CHANNEL_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdChannelRead = {0x2d956c930685dd71ull, 0xdf38206213093f5full};

/** A read of channels in one action at one time. */
typedef struct ZxChannelReadTable {
    ZxObjectOps object;
    /** [any] Value as an integer; numbers are truncated. kZxNotFound if the item has no channel of that
     * index. */
    zxresult (*integer)(ZxObject* self, ZxObject* item, int32_t channel, int32_t* value);
    /** [any] Value as a number, with the same failure. */
    zxresult (*number)(ZxObject* self, ZxObject* item, int32_t channel, double* value);
    /** [any] Value of a matrix channel (interface Matrix) or of the channel "mesh" (interface MeshFilter), a
     * copy for reading; the caller releases it. */
    zxresult (*value)(ZxObject* self, ZxObject* item, int32_t channel, ZxObject** value);
} ZxChannelReadTable;

#ifdef __cplusplus
}
#endif

#endif
