/* SPDX-License-Identifier: MIT
 * Tool events: the packets that say what the user does in a view, and what a tool asks about it.
 *
 * With each call of a tool the host hands over a vector stack, a set of packets that lasts for that call. A
 * tool says at start-up which packets it wants (vector type), and finds each by its offset. */
#ifndef SINEW_ZX_EVENT_H
#define SINEW_ZX_EVENT_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdPacketService = {0x03d16ecb9de40f54ull, 0x8fca783214bd6ab8ull};

/** Knows the packets; a global service. The category of tool packets is "tool". */
typedef struct ZxPacketServiceTable {
    ZxObjectOps object;
    /** [any] An empty vector type of the category (interface VectorType); the caller releases it. */
    zxresult (*newVectorType)(ZxObject* self, const char* category, ZxObject** type);
    /** [any] Offset of a packet by name, the same for the host's lifetime; kZxNotFound, and an offset of -1,
     * if the category has none such. */
    zxresult (*packetOffset)(ZxObject* self, const char* category, const char* packet, int32_t* offset);
} ZxPacketServiceTable;

/** Flag of a packet in a vector type: the host fills it in before each call. */
static const uint32_t kZxPacketInput = 2;

static const ZxId kZxIdVectorType = {0x87e692b984394098ull, 0xd0fca9ddfa33bd49ull};

/** The packets that a tool wants. */
typedef struct ZxVectorTypeTable {
    ZxObjectOps object;
    /** [any] Adds a packet by name; kZxNotFound if the category has none such. */
    zxresult (*addPacket)(ZxObject* self, const char* packet, uint32_t flags);
} ZxVectorTypeTable;

static const ZxId kZxIdVectorStack = {0x5a5b38c3ddf63d68ull, 0x51d4c339076bdf6bull};

/** The packets of one call. */
typedef struct ZxVectorStackTable {
    ZxObjectOps object;
    /** [edit, draw] A packet that is a plain record; kZxNotFound if the call has none. It is the host's and
     * lasts until the call ends. */
    zxresult (*record)(ZxObject* self, int32_t offset, const void** record);
    /** [edit, draw] A packet that is an object; kZxNotFound if the call has none. The caller releases it
     * before the call ends. */
    zxresult (*packet)(ZxObject* self, int32_t offset, ZxObject** packet);
} ZxVectorStackTable;

/** Record "ToolViewEvent": the view that the event came from. */
typedef struct ZxToolViewEvent {
    int32_t view; /**< number of the view */
    int32_t left; /**< its rectangle in pixels */
    int32_t top;
    int32_t width;
    int32_t height;
    int32_t viewType; /**< 0 for a view of the scene in three dimensions */
} ZxToolViewEvent;

/** Record "ToolInputEvent": what the user's hand does. */
typedef struct ZxToolInputEvent {
    int32_t button; /**< 0 while no button is down, else its number from 1 */
    int32_t mode; /**< what the gesture means, as the host maps gestures for the tool's task; "ACTR" has 20
                     move, 21 lock, 22 move with the parent alone, 23 rotate, 26 move freely, 27 pin */
    int32_t clicks; /**< 1 for a single click */
    int32_t
        part; /**< part under the pointer at button down, as the tool's hit test set it; negative for none */
} ZxToolInputEvent;

/** Record "ToolScreenEvent": the pointer in pixels, x to the right and y down. */
typedef struct ZxToolScreenEvent {
    int32_t startX; /**< where the button went down */
    int32_t startY;
    int32_t currentX;
    int32_t currentY;
} ZxToolScreenEvent;

static const ZxId kZxIdEventTranslatePacket = {0xa3d2c1998e04925aull, 0x29977c0ec5e5eb9dull};

/** Packet "toolEventTranslate": from the pointer's motion to motion in the scene. What is set at button down
 * lasts until button up. */
typedef struct ZxEventTranslatePacketTable {
    ZxObjectOps object;
    /** [edit] World position that the drag starts from. Until a plane is set the motion has the host's
     * default constraint: the world plane through it that faces the view most. */
    zxresult (*setStart)(ZxObject* self, const double* three);
    /** [edit] Keeps the motion in the plane through `point` with the normal `normal`, world axes, any length.
     */
    zxresult (*setPlane)(ZxObject* self, const double* normal, const double* point);
    /** [edit] Unit vector, world axes, along which the view looks. */
    zxresult (*viewDirection)(ZxObject* self, double* three);
    /** [edit] World position `from` moved by as much as the pointer, kept to the constraint, has moved since
     * the button went down; `from` itself while the pointer hasn't moved. */
    zxresult (*newPosition)(ZxObject* self, const double* from, double* three);
} ZxEventTranslatePacketTable;

/** Where a ray met a mesh. */
typedef struct ZxRayHit {
    double position[3]; /**< in the world */
    double normal[3]; /**< of the polygon there, unit vector in world axes */
    double distance; /**< from the eye */
    uint64_t polygon; /**< the polygon's identifier in its mesh */
} ZxRayHit;

static const ZxId kZxIdRaycastPacket = {0x7c941ec1cd5a6426ull, 0x5b9bfd0e12e0bbcdull};

/** Packet "ToolRaycast": what lies under the pointer. */
typedef struct ZxRaycastPacketTable {
    ZxObjectOps object;
    /** [edit] The nearest polygon under the pointer, as meshes are deformed at the current time: its item,
     * which the caller releases, and where; kZxNotFound for none. */
    zxresult (*polygonHit)(ZxObject* self, ZxObject** item, ZxRayHit* hit);
} ZxRaycastPacketTable;

#ifdef __cplusplus
}
#endif

#endif
