/* SPDX-License-Identifier: MIT
 * Meshes, as far as picking asks: polygons, points and the maps that give points a value. */
#ifndef SINEW_ZX_MESH_H
#define SINEW_ZX_MESH_H

#include "ZxEvent.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdMeshFilter = {0x5c9cb6cb57b88533ull, 0xb102bea604d46a92ull};

/** Value of the channel "mesh" of an item of the type `mesh`, from an evaluated read. */
typedef struct ZxMeshFilterTable {
    ZxObjectOps object;
    /** [any] The item's mesh as it is at the time of the read (interface Mesh), which lasts as long as the
     * read; the caller releases it. */
    zxresult (*generate)(ZxObject* self, ZxObject** mesh);
} ZxMeshFilterTable;

static const ZxId kZxIdMesh = {0x2ca63f81dda2a4cfull, 0xc0b00412c8e3d488ull};

/** A mesh. Each accessor stands on one element at a time, at first on none, and answers kZxNotAvailable while
 * it does. The caller releases them. */
typedef struct ZxMeshTable {
    ZxObjectOps object;
    /** [any] An accessor of polygons (interface Polygon). */
    zxresult (*polygons)(ZxObject* self, ZxObject** polygons);
    /** [any] An accessor of points (interface Point). */
    zxresult (*points)(ZxObject* self, ZxObject** points);
    /** [any] An accessor of maps (interface MeshMap). */
    zxresult (*maps)(ZxObject* self, ZxObject** maps);
} ZxMeshTable;

static const ZxId kZxIdPolygon = {0x1be52725dd2759ccull, 0xdee488fc0b1ea7bdull};

typedef struct ZxPolygonTable {
    ZxObjectOps object;
    /** [any] Goes to the polygon that a ray met; kZxNotFound if the mesh has none such. */
    zxresult (*selectHit)(ZxObject* self, const ZxRayHit* hit);
    /** [any] Number of its vertices. */
    zxresult (*vertexCount)(ZxObject* self, uint32_t* count);
    /** [any] Identifier of the point at vertex `index`; kZxOutOfRange past the end. */
    zxresult (*vertexByIndex)(ZxObject* self, uint32_t index, uint64_t* point);
} ZxPolygonTable;

static const ZxId kZxIdPoint = {0xe2ee70c7321deeceull, 0x985517414f4d4d15ull};

typedef struct ZxPointTable {
    ZxObjectOps object;
    /** [any] Goes to a point by identifier; kZxNotFound if the mesh has none such. */
    zxresult (*select)(ZxObject* self, uint64_t point);
    /** [any] Its position in the item's frame. */
    zxresult (*position)(ZxObject* self, double* three);
    /** [any] Its value in a map of one dimension, by the map's identifier; kZxNotFound if it has none. */
    zxresult (*mapValue)(ZxObject* self, uint64_t map, float* value);
} ZxPointTable;

/** Types of maps, four characters with the first in the highest byte. */
static const uint32_t kZxMapWeight = 0x57474854u; /**< WGHT: one number a point, such as a joint's weight */

static const ZxId kZxIdMeshMap = {0x9252c877f0e4c569ull, 0x0248c99488e81ff2ull};

typedef struct ZxMeshMapTable {
    ZxObjectOps object;
    /** [any] Goes to each map in turn and calls `visitor` (interface Visitor) on it; when that answers a
     * failure the enumeration ends there with it. */
    zxresult (*enumerate)(ZxObject* self, ZxObject* visitor);
    /** [any] Identifier of the map, which a point is asked with. */
    zxresult (*identifier)(ZxObject* self, uint64_t* map);
    /** [any] Type of the map. */
    zxresult (*type)(ZxObject* self, uint32_t* type);
    /** [any] Name of the map: for a joint's weights, the joint's unique name. It lasts until the accessor
     * moves on. */
    zxresult (*name)(ZxObject* self, const char** name);
} ZxMeshMapTable;

static const ZxId kZxIdVisitor = {0x4ad080dd3ae639cdull, 0x3024d9a0d7b130a4ull};

/** What an enumeration calls. */
typedef struct ZxVisitorTable {
    ZxObjectOps object;
    /** [any] Called with the accessor, which stands on the element and stays the caller's; kZxAborted ends
     * the enumeration. */
    zxresult (*visit)(ZxObject* self, ZxObject* accessor);
} ZxVisitorTable;

#ifdef __cplusplus
}
#endif

#endif
