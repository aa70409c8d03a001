/* SPDX-License-Identifier: MIT
 * Changing a scene: every operation is recorded by the host, so that undo takes back what a command did. A
 * host that only evaluates leaves these interfaces out. */
#ifndef SINEW_ZX_EDIT_H
#define SINEW_ZX_EDIT_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdSceneEdit = {0x9a41a13b5f7fb600ull, 0x30e2fe9517b6348dull};

/** A scene as something to change; asked of a scene. */
typedef struct ZxSceneEditTable {
    ZxObjectOps object;
    /** [edit] A new item of the type, at the top; the caller releases it. */
    zxresult (*newItem)(ZxObject* self, uint32_t typeCode, ZxObject** item);
    /** [edit] Writes channels in an action, "setup", "edit" or "anim", keys at `time` (seconds); the caller
     * releases it (interface ChannelWrite). */
    zxresult (*channelWrite)(ZxObject* self, const char* action, double time, ZxObject** write);
    /** [edit] Has the nodes of a modifier made anew. */
    zxresult (*resetModifier)(ZxObject* self, const char* modifier);
} ZxSceneEditTable;

static const ZxId kZxIdItemEdit = {0x4da80cb3e1fb4058ull, 0x50509ee00368fe56ull};

/** An item as something to change; asked of an item. */
typedef struct ZxItemEditTable {
    ZxObjectOps object;
    /** [edit] Names the item; the host makes the unique name. */
    zxresult (*setName)(ZxObject* self, const char* name);
    /** [edit] Makes the item the last child of `parent`; null takes it to the top. */
    zxresult (*setParent)(ZxObject* self, ZxObject* parent);
    /** [edit] Adds a package with its channels; one that is there changes nothing. */
    zxresult (*addPackage)(ZxObject* self, const char* package);
    /** [edit] Removes a package with its channels, their values and links; kZxNotFound if the item doesn't
     * carry it. */
    zxresult (*removePackage)(ZxObject* self, const char* package);
} ZxItemEditTable;

static const ZxId kZxIdStringTag = {0x1ea53250c2825dc4ull, 0xbc6beb0a57a62565ull};

/** String tags by four-character code, first character in the highest byte; asked of an item or a scene. */
typedef struct ZxStringTagTable {
    ZxObjectOps object;
    /** [any] The tag's text; kZxNotFound if there is none. */
    zxresult (*get)(ZxObject* self, uint32_t code, const char** text);
    /** [edit] Sets the tag; null clears it. */
    zxresult (*set)(ZxObject* self, uint32_t code, const char* text);
} ZxStringTagTable;

static const ZxId kZxIdItemGraphEdit = {0xaccf0781d853e51bull, 0x1c135e288236bf35ull};

/** Links of an item graph as something to change; asked of the graph. */
typedef struct ZxItemGraphEditTable {
    ZxObjectOps object;
    /** [edit] Adds a link; one that is there changes nothing. */
    zxresult (*addLink)(ZxObject* self, ZxObject* from, ZxObject* to);
    /** [edit] Deletes a link; kZxNotFound if there is none. */
    zxresult (*deleteLink)(ZxObject* self, ZxObject* from, ZxObject* to);
} ZxItemGraphEditTable;

static const ZxId kZxIdChannelGraphEdit = {0x8e29e8c06e2f4901ull, 0x82c4d760ea3c1199ull};

/** Links of the channel graph as something to change; asked of the graph. */
typedef struct ZxChannelGraphEditTable {
    ZxObjectOps object;
    /** [edit] Adds a link; one that is there changes nothing. */
    zxresult (*addLink)(ZxObject* self, ZxObject* from, int32_t fromChannel, ZxObject* to, int32_t toChannel);
    /** [edit] Deletes a link; kZxNotFound if there is none. */
    zxresult (*deleteLink)(ZxObject* self, ZxObject* from, int32_t fromChannel, ZxObject* to,
                           int32_t toChannel);
} ZxChannelGraphEditTable;

static const ZxId kZxIdChannelWrite = {0xb88579c813218fb8ull, 0x92bacc9cb03110fbull};

/** A write of channels in one action at one time. Numbers that are not finite are refused with
 * kZxInvalidArgument. */
typedef struct ZxChannelWriteTable {
    ZxObjectOps object;
    /** [edit] The action's plain value as an integer. */
    zxresult (*integer)(ZxObject* self, ZxObject* item, int32_t channel, int32_t value);
    /** [edit] The action's plain value as a number. */
    zxresult (*number)(ZxObject* self, ZxObject* item, int32_t channel, double value);
    /** [edit] The value as a key at the write's time. With `create` 0 a key that stands there takes the
     * value, a channel without keys changes its plain value, and a keyed channel shows the value until the
     * time changes; else a key is made. */
    zxresult (*key)(ZxObject* self, ZxObject* item, int32_t channel, double value, uint32_t create);
} ZxChannelWriteTable;

static const ZxId kZxIdLocator = {0x446e650e7f6b86f2ull, 0x6035f6a75a0d9d5bull};

/** An item with transforms; asked of an item. */
typedef struct ZxLocatorTable {
    ZxObjectOps object;
    /** [any] World rotation, without scale, as nine doubles, and world position as three, as `read` shows
     * them. */
    zxresult (*worldTransform)(ZxObject* self, ZxObject* read, double* nine, double* three);
    /** [any] Transform item of a kind, 0 scale, 1 rotation, 2 position; kZxNotFound if the item has none. The
     * caller releases it. */
    zxresult (*transformItem)(ZxObject* self, uint32_t kind, ZxObject** item);
    /** [edit] Puts the item at a world position, as plain values of `write`; what stands above it is as
     * `read` shows it. A transform item that is missing is made. */
    zxresult (*setWorldPosition)(ZxObject* self, ZxObject* write, ZxObject* read, const double* three);
    /** [edit] Turns the item to a world rotation, in the same way. */
    zxresult (*setWorldRotation)(ZxObject* self, ZxObject* write, ZxObject* read, const double* nine);
} ZxLocatorTable;

static const ZxId kZxIdLocatorPose = {0xdf8d22405078213full, 0x684503e862bc0c90ull};

/** A locator's own transform channels; asked of an item. Wherever an item has more transforms than the one
 * asked for, such as a pivot, the host takes them out. */
typedef struct ZxLocatorPoseTable {
    ZxObjectOps object;
    /** [edit] Makes the transform item of a kind, 0 scale, 1 rotation, 2 position; one that is there is
     * given. The caller releases it. */
    zxresult (*addTransformItem)(ZxObject* self, uint32_t kind, ZxObject** item);
    /** [any] The rotation that the rotation channels must show for the item to have the rotation `nine`
     * relative to its parent, with the other transforms as `read` shows them; kZxNotFound without a rotation
     * item, kZxInvalidArgument for numbers that are not finite. */
    zxresult (*rotationForChannels)(ZxObject* self, ZxObject* read, const double* nine, double* result);
    /** [any] The position that the position channels must show for the item to stand at `three` relative to
     * its parent, in the same way. */
    zxresult (*positionForChannels)(ZxObject* self, ZxObject* read, const double* three, double* result);
} ZxLocatorPoseTable;

#ifdef __cplusplus
}
#endif

#endif
