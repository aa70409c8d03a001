/* SPDX-License-Identifier: MIT
 * Tools: what the user works with in a view. A tool object offers Tool, ToolModel and Attributes (its
 * settings). */
#ifndef SINEW_ZX_TOOL_H
#define SINEW_ZX_TOOL_H

#include "ZxEvent.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdTool = {0xd36f3e9c179b35b5ull, 0xccd47a18b522a5aeull};

/** What a tool does to the scene, apart from how it is handled. */
typedef struct ZxToolTable {
    ZxObjectOps object;
    /** [edit] Gives the attributes their defaults. */
    zxresult (*reset)(ZxObject* self);
    /** [edit] Applies the attributes, as they stand, to the scene. The host calls it after a button event, a
     * move, or when the tool asked for it, with the packets of that event (interface VectorStack); all from
     * one button down to its button up belongs to one undo step. An evaluation writes
     * the last result again; so after undo, redo, taking back a press whose pointer never moved, a change of
     * time, a change of the scene that is not the tool's, and when another scene becomes current, the host
     * makes the tool anew and carries the attributes over. */
    zxresult (*evaluate)(ZxObject* self, ZxObject* stack);
    /** [load, edit] The packets that the tool wants (interface VectorType); kZxNotFound for none. The caller
     * releases it. */
    zxresult (*vectorType)(ZxObject* self, ZxObject** type);
    /** [load, edit] Where the tool stands among others in use, as text that is compared byte by byte. */
    zxresult (*order)(ZxObject* self, const char** order);
    /** [load, edit] Four-character code of the kind of tool, first character in the highest byte: "ACTR"
     * poses actors. */
    zxresult (*task)(ZxObject* self, uint32_t* code);
} ZxToolTable;

static const ZxId kZxIdToolModel = {0x8b48d7a319217a57ull, 0x038532394fc86990ull};

/** How a tool is handled. `adjust` is an AdjustTool, `stack` a VectorStack, `draw` a StrokeDraw that offers
 * ShapeDraw and View as well; all stay the caller's and last for the call. */
typedef struct ZxToolModelTable {
    ZxObjectOps object;
    /** [load, edit] The tool's flags. */
    zxresult (*flags)(ZxObject* self, uint32_t* flags);
    /** [draw] Draws the tool's handles. */
    zxresult (*draw)(ZxObject* self, ZxObject* stack, ZxObject* draw);
    /** [draw, edit] Draws what of the handles can be hit; `draw` keeps the part of the nearest one under the
     * pointer, which becomes the event's `part`. */
    zxresult (*hitTest)(ZxObject* self, ZxObject* stack, ZxObject* draw);
    /** [edit] Called before drawing, hit tests and button down, when the selection or the scene may have
     * changed. */
    zxresult (*initialise)(ZxObject* self, ZxObject* stack);
    /** [edit] A button went down. */
    zxresult (*buttonDown)(ZxObject* self, ZxObject* stack, ZxObject* adjust);
    /** [edit] The pointer moved with the button down; called once at least before button up, also when it
     * stands. */
    zxresult (*move)(ZxObject* self, ZxObject* stack, ZxObject* adjust);
    /** [edit] The button went up. */
    zxresult (*buttonUp)(ZxObject* self, ZxObject* stack, ZxObject* adjust);
    /** [edit] Told when the user takes another tool; a host may leave it out. */
    zxresult (*dropped)(ZxObject* self);
    /** [edit] Predicate: whether the tool can be used now. kZxMessage when it can't and `message` (interface
     * Message) says why. */
    zxresult (*enable)(ZxObject* self, ZxObject* message);
} ZxToolModelTable;

static const ZxId kZxIdAdjustTool = {0x9b0dd679909a029eull, 0x4c8fc683e34f8612ull};

/** What a tool may do while an event is handled. */
typedef struct ZxAdjustToolTable {
    ZxObjectOps object;
    /** [edit] Sets attribute `index` of the tool; kZxOutOfRange past the end, kZxInvalidArgument for a number
     * that is not finite. */
    zxresult (*setNumber)(ZxObject* self, uint32_t index, double value);
    /** [edit] Asks for an evaluation of the tool once the event is handled. */
    zxresult (*requestEvaluation)(ZxObject* self);
    /** [edit] Says that the drag has ended: what follows is a new undo step. */
    zxresult (*endDrag)(ZxObject* self);
} ZxAdjustToolTable;

#ifdef __cplusplus
}
#endif

#endif
