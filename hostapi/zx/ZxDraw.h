/* SPDX-License-Identifier: MIT
 * Drawing: what a view offers to whoever draws into it, and what an item implements to draw itself.
 *
 * Colours are three floats, red, green and blue, 0 to 1. Positions and lengths are in the space of the
 * current transform, in the scene's unit. The same calls serve drawing and hit tests; a hit test shows
 * nothing. */
#ifndef SINEW_ZX_DRAW_H
#define SINEW_ZX_DRAW_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdView = {0x4a0362e8a62f3ddeull, 0xd44e671650868e9dull};

/** The view that is drawn into; asked of the drawing object. */
typedef struct ZxViewTable {
    ZxObjectOps object;
    /** [draw] Kind of view, 0 for one of the scene in three dimensions; negative when there is none. */
    zxresult (*type)(ZxObject* self, int32_t* type);
    /** [draw] Rotation that makes something face the viewer, as nine doubles: its columns are the view's
     * right and up, and the direction from the scene to the viewer, world axes. */
    zxresult (*facing)(ZxObject* self, double* nine);
    /** [draw] Size of a pixel in the scene's unit at the origin of the current transform. */
    zxresult (*pixelSize)(ZxObject* self, double* size);
} ZxViewTable;

/** Modes of strokes. */
static const uint32_t kZxStrokePoints = 0; /**< each vertex is a point */
static const uint32_t kZxStrokeLineStrip = 1; /**< the vertices are joined */
static const uint32_t kZxStrokeLines = 2; /**< each two vertices are a segment */
static const uint32_t kZxStrokeTriangles = 3; /**< each three vertices are a filled triangle */

static const ZxId kZxIdStrokeDraw = {0x545dffb09db1383eull, 0xed5c715ba6c43a0bull};

/** Lines and points, the stack of transforms, and the part that all which follows belongs to. A stroke goes
 * on until the next one begins or the drawing ends. */
typedef struct ZxStrokeDrawTable {
    ZxObjectOps object;
    /** [draw] Begins a stroke; `width` in pixels. */
    zxresult (*begin)(ZxObject* self, uint32_t mode, const float* colour, float alpha, float width);
    /** [draw] The same, dashed by a pattern of 16 bits, the lowest first. */
    zxresult (*beginDashed)(ZxObject* self, uint32_t mode, const float* colour, float alpha, float width,
                            uint32_t pattern);
    /** [draw] Begins points of `size` pixels. */
    zxresult (*beginPoints)(ZxObject* self, float size, const float* colour, float alpha);
    /** [draw] Adds a vertex to the stroke; `flags` 0. */
    zxresult (*vertex)(ZxObject* self, const double* three, uint32_t flags);
    /** [draw] Part of what follows, for hit tests. */
    zxresult (*setPart)(ZxObject* self, uint32_t part);
    /** [draw] Puts a transform in front of the current one: v' = nine v + offset, taken on by the one below.
     */
    zxresult (*pushTransform)(ZxObject* self, const double* offset, const double* nine);
    /** [draw] Takes the last transform back; kZxNotAvailable when there is none of the caller's own. */
    zxresult (*popTransform)(ZxObject* self);
} ZxStrokeDrawTable;

/** Flag of an arc: it is filled, as a sector. */
static const uint32_t kZxArcFilled = 0x80000000u;

static const ZxId kZxIdShapeDraw = {0x773b54fa63007663ull, 0x152b4995579163cfull};

/** Shapes; asked of the drawing object. `axis` is 0 x, 1 y or 2 z of the current transform, upright on the
 * shape. Angles are in radians by the right hand about the axis, 0 on the axis after it in the cycle x, y, z:
 * about x from y to z, about y from z to x, about z from x to y. */
typedef struct ZxShapeDrawTable {
    ZxObjectOps object;
    /** [draw] A circle; `flags` 0. */
    zxresult (*circle)(ZxObject* self, const float* colour, float alpha, const double* centre, double radius,
                       uint32_t axis, uint32_t flags);
    /** [draw] An arc from angle `start` to `end`. */
    zxresult (*arc)(ZxObject* self, const float* colour, float alpha, const double* centre, double radius,
                    double start, double end, uint32_t axis, uint32_t flags);
    /** [draw] An opaque handle to be gripped: a filled disc about `axis` at `centre` + `offset`; `flags` 0.
     */
    zxresult (*handle)(ZxObject* self, const double* centre, const float* colour, const double* offset,
                       double radius, uint32_t axis, uint32_t flags);
} ZxShapeDrawTable;

static const ZxId kZxIdViewItem3D = {0x35fe00325b704893ull, 0x87f5f17af4075114ull};

/** An item that draws itself; offered by the object that a package attaches to the item. Only `draw` must be
 * called; the others let an item offer handles, and have answers that offer none. */
typedef struct ZxViewItem3DTable {
    ZxObjectOps object;
    /** [draw] Draws the item. `read` is a ChannelRead of evaluated values, `draw` a StrokeDraw that offers
     * ShapeDraw, `colour` the item's colour; all stay the caller's. The current transform is the item's own
     * frame. */
    zxresult (*draw)(ZxObject* self, ZxObject* read, ZxObject* draw, const float* colour);
    /** [draw] Draws what stands behind everything else; a host may leave this one and all below out. */
    zxresult (*drawBackground)(ZxObject* self, ZxObject* read, ZxObject* draw, const float* colour);
    /** [draw] Predicate: whether `draw` wants the world as its frame rather than the item. */
    zxresult (*drawsInWorld)(ZxObject* self);
    /** [draw] Corners of a box around what is drawn, in the frame of `draw`; kZxNotFound if it isn't known.
     */
    zxresult (*bounds)(ZxObject* self, ZxObject* read, double* lower, double* upper);
    /** [draw] Number of handles. */
    zxresult (*handleCount)(ZxObject* self, uint32_t* count);
    /** [draw] Part and position of handle `index` in the item's frame; kZxOutOfRange past the end. */
    zxresult (*handle)(ZxObject* self, ZxObject* read, uint32_t index, uint32_t* part, double* three);
    /** [edit] First channel of the item that the handle of `part` changes; kZxNotFound for none. */
    zxresult (*handleChannel)(ZxObject* self, uint32_t part, int32_t* channel);
    /** [edit] Value of that channel with the handle at `three`; kZxNotFound for no such handle. */
    zxresult (*handleValue)(ZxObject* self, ZxObject* read, uint32_t part, const double* three,
                            double* value);
    /** [draw] Name of the icon that stands for the item; kZxNotFound for none. */
    zxresult (*icon)(ZxObject* self, const char** name);
} ZxViewItem3DTable;

#ifdef __cplusplus
}
#endif

#endif
