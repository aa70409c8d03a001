/* SPDX-License-Identifier: MIT
 * Packages and item types: servers that add channels to items, and what lives on an item that carries one. */
#ifndef SINEW_ZX_PACKAGE_H
#define SINEW_ZX_PACKAGE_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdStaticDesc = {0xbd7b2732ed3033c1ull, 0x4c030dc5872a2483ull};

/** Facts about a server, as pairs of key and value. Keys that a host knows:
 *  "super" (a package that is an item type: the type it derives from), "pkg.createCmd" (the command that
 * makes an item of the type; "-" for none), "pkg.graphs" (graphs that the type uses, separated by ';'),
 *  "modifier.typeList" and "modifier.graphList" (item types and graphs, separated by spaces, whose changes
 * make the modifier's nodes anew; the graph "parent" is the item hierarchy). */
typedef struct ZxStaticDescTable {
    ZxObjectOps object;
    /** [load, edit] Number of tags. */
    zxresult (*tagCount)(ZxObject* self, uint32_t* count);
    /** [load, edit] Tag `index`; kZxOutOfRange past the end. The text lasts as long as the module is loaded.
     */
    zxresult (*tag)(ZxObject* self, uint32_t index, const char** key, const char** value);
} ZxStaticDescTable;

static const ZxId kZxIdPackage = {0xc87f7ac36c2967fdull, 0xd743037b1271cfe1ull};

/** A package server: one object serves all items that carry the package. */
typedef struct ZxPackageTable {
    ZxObjectOps object;
    /** [load, edit] Declares the package's channels on `addChannel` (interface AddChannel), which stays the
     * caller's. Asked once for each server object; the channels of a package never change. */
    zxresult (*setupChannels)(ZxObject* self, ZxObject* addChannel);
    /** [edit] Makes the object that lives on an item carrying the package (interface PackageInstance); the
     * caller releases it. */
    zxresult (*attach)(ZxObject* self, ZxObject** instance);
    /** [load, edit] Predicate: whether the objects that `attach` makes have this interface. */
    zxresult (*testInterface)(ZxObject* self, const ZxId* interfaceId);
    /** [edit] Told after the package was added to `item`, which stays the caller's; a host may leave it out.
     */
    zxresult (*added)(ZxObject* self, ZxObject* item);
    /** [edit] Told before the package is removed from `item`, which stays the caller's; a host may leave it
     * out. */
    zxresult (*removing)(ZxObject* self, ZxObject* item);
} ZxPackageTable;

static const ZxId kZxIdPackageInstance = {0x7b6eada25c8872c5ull, 0x60b841143bdf7277ull};

/** What a package puts on one item. */
typedef struct ZxPackageInstanceTable {
    ZxObjectOps object;
    /** [edit] Called once, before all else: `item` is the one that carries the package. The instance may keep
     * a reference to it until `cleanUp`. */
    zxresult (*initialise)(ZxObject* self, ZxObject* item);
    /** [edit] Called when the item or the package goes; the instance drops everything that it keeps of the
     * host. */
    zxresult (*cleanUp)(ZxObject* self);
    /** [edit] Told after the item was read from a file; a host may leave it out. */
    zxresult (*loaded)(ZxObject* self);
    /** [edit] Told after the item was made as a copy of `original`; a host may leave it out. */
    zxresult (*copied)(ZxObject* self, ZxObject* original);
    /** [edit] Told after the item's unique name changed; a host may leave it out. */
    zxresult (*renamed)(ZxObject* self);
} ZxPackageInstanceTable;

/** One row of a hint table: a raw value and what it stands for. The keys "%min", "%max" bound the value in
 * its own unit, "%minDegrees", "%maxDegrees" in degrees, and any other text names the integer `value`. The
 * row {-1, null} ends the table. */
typedef struct ZxHint {
    int32_t value;
    const char* text;
} ZxHint;

static const ZxId kZxIdAddChannel = {0x8cd9cbd16827980eull, 0x5e772849afaa94ffull};

/** Declares channels one after the other. `add` opens a channel; the other slots speak of the one opened
 * last. */
typedef struct ZxAddChannelTable {
    ZxObjectOps object;
    /** [load, edit] Opens a channel. Types: "boolean", "integer", "float", "percent", "angle" (radians),
     * "distance", "text", and "storage" for a channel whose storage is named by `setStorage`.
     * kZxInvalidArgument for a name that is taken or a type that is unknown. The text is copied. */
    zxresult (*add)(ZxObject* self, const char* name, const char* type);
    /** [load, edit] What a channel of type "storage" keeps: "matrix4". */
    zxresult (*setStorage)(ZxObject* self, const char* storage);
    /** [load, edit] Makes the channel a vector: "XYZ" gives name.X, name.Y and name.Z in its place. */
    zxresult (*setVector)(ZxObject* self, const char* components);
    /** [load, edit] Default value: the first for reading as a number, the second for reading as an integer.
     */
    zxresult (*setDefault)(ZxObject* self, double number, int32_t integer);
    /** [load, edit] Default values of a vector channel. */
    zxresult (*setDefaultVector)(ZxObject* self, double x, double y, double z);
    /** [load, edit] Attaches a hint table, which the host copies. */
    zxresult (*setHint)(ZxObject* self, const ZxHint* hints);
    /** [load, edit] Index that the channel will have, counted from 0 within the package. */
    zxresult (*index)(ZxObject* self, uint32_t* index);
    /** [load, edit] Marks the channel as a switch of the setup mode: a host that shows channels shows it
     * there. */
    zxresult (*markSetupSwitch)(ZxObject* self);
} ZxAddChannelTable;

#ifdef __cplusplus
}
#endif

#endif
