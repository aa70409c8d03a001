/* SPDX-License-Identifier: MIT
 * Commands: what a user runs, with arguments; and how a plug-in runs other commands. */
#ifndef SINEW_ZX_COMMAND_H
#define SINEW_ZX_COMMAND_H

#include "ZxTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

static const ZxId kZxIdMessage = {0x471b12211c442f4cull, 0xd3aeb8a497fc23d7ull};

/** A message to the user, by table and number; the host looks its text up. */
typedef struct ZxMessageTable {
    ZxObjectOps object;
    /** [edit] The failure that the message belongs to. */
    zxresult (*setCode)(ZxObject* self, zxresult code);
    /** [edit] Which message. The text is copied. */
    zxresult (*setMessage)(ZxObject* self, const char* table, uint32_t number);
} ZxMessageTable;

static const ZxId kZxIdCommand = {0x3346d5e3404df03cull, 0xdcfc969ed103c591ull};

/** Bits of a command's flags: it changes the scene, and takes part in undo. */
static const uint32_t kZxCommandChangesScene = 0x02000000u;
static const uint32_t kZxCommandUndo = 0x04000000u;

/** A command server. An object can be executed more than once, with other arguments. */
typedef struct ZxCommandTable {
    ZxObjectOps object;
    /** [edit] Runs the command. `flags` are those of the execution; a command that runs others as part of
     * itself passes 0x109. */
    zxresult (*execute)(ZxObject* self, uint32_t flags);
    /** [load, edit] The command's flags. */
    zxresult (*flags)(ZxObject* self, uint32_t* flags);
    /** [load, edit] Event `index` after which the host re-tests whether the command is enabled, as the name
     * of a notifier and its argument; kZxOutOfRange past the end. The text lasts as long as the module is
     * loaded. */
    zxresult (*notifier)(ZxObject* self, uint32_t index, const char** name, const char** argument);
    /** [edit] Predicate: whether the command can run now. kZxMessage when it can't and `message` (interface
     * Message) says why. */
    zxresult (*enable)(ZxObject* self, ZxObject* message);
    /** [edit] Name of the icon for the arguments as they stand; kZxNotFound for none. */
    zxresult (*icon)(ZxObject* self, const char** name);
} ZxCommandTable;

static const ZxId kZxIdAttributes = {0x6bb424c43ac35427ull, 0xc2e67fbd8c0602f7ull};

/** Bits of an argument's flags. An argument is required when the first is off. */
static const uint32_t kZxArgumentOptional = 0x1u;
static const uint32_t kZxArgumentHidden = 0x40u; /**< the host doesn't ask the user for it */
static const uint32_t kZxArgumentIsSet = 0x10000u; /**< a value was given */

/** Arguments of a command, or settings of a tool. */
typedef struct ZxAttributesTable {
    ZxObjectOps object;
    /** [load, edit] Number of arguments. */
    zxresult (*count)(ZxObject* self, uint32_t* count);
    /** [load, edit] Name of argument `index`; this and the next three answer kZxOutOfRange past the end. */
    zxresult (*name)(ZxObject* self, uint32_t index, const char** name);
    /** [load, edit] Type: "integer", "boolean", "float", "text", or "&item" for a reference to an item. */
    zxresult (*type)(ZxObject* self, uint32_t index, const char** type);
    /** [edit] Flags, with kZxArgumentIsSet on when a value was given. */
    zxresult (*flags)(ZxObject* self, uint32_t index, uint32_t* flags);
    /** [edit] The argument's value (interface Value); taken for writing (1) it counts as set from then on.
     * The caller releases it. */
    zxresult (*value)(ZxObject* self, uint32_t index, uint32_t writing, ZxObject** value);
    /** [edit] Takes the value back: the argument is unset. */
    zxresult (*clear)(ZxObject* self, uint32_t index);
} ZxAttributesTable;

static const ZxId kZxIdAttributesUI = {0x006e44e6f4c18d40ull, 0xe97f748af7cf28d3ull};

/** How arguments are shown; every answer has a default. */
typedef struct ZxAttributesUITable {
    ZxObjectOps object;
    /** [edit] Predicate: whether argument `index` can be changed now; kZxMessage when it can't and `message`
     * says why. */
    zxresult (*enabled)(ZxObject* self, uint32_t index, ZxObject* message);
    /** [edit] Label of argument `index`; kZxNotFound for none. */
    zxresult (*label)(ZxObject* self, uint32_t index, const char** label);
} ZxAttributesUITable;

static const ZxId kZxIdValue = {0x964ee64aa7029b10ull, 0x1769c7133243715cull};

/** A value of one type. Reading another type converts where that loses nothing but a fraction; kZxFailure
 * where it can't be done. */
typedef struct ZxValueTable {
    ZxObjectOps object;
    /** [edit] Type, as ZxAttributesTable names them. */
    zxresult (*type)(ZxObject* self, const char** type);
    /** [edit] 0 when nothing was set. */
    zxresult (*integer)(ZxObject* self, int32_t* value);
    /** [edit] 0 when nothing was set. */
    zxresult (*number)(ZxObject* self, double* value);
    /** [edit] Empty when nothing was set. */
    zxresult (*text)(ZxObject* self, const char** value);
    /** [edit] Sets an integer. */
    zxresult (*setInteger)(ZxObject* self, int32_t value);
    /** [edit] Sets a number. */
    zxresult (*setNumber)(ZxObject* self, double value);
    /** [edit] Sets a text, which is copied. */
    zxresult (*setText)(ZxObject* self, const char* value);
} ZxValueTable;

static const ZxId kZxIdValueReference = {0x8d1aa8ebfdcb013cull, 0x65d65eb85c1dfd09ull};

/** A value that refers to an object; asked of a value of type "&item". */
typedef struct ZxValueReferenceTable {
    ZxObjectOps object;
    /** [edit] The object; kZxNotFound when nothing was set. The caller releases it. */
    zxresult (*get)(ZxObject* self, ZxObject** object);
    /** [edit] Sets the object, to which the value keeps a reference; null takes it back. */
    zxresult (*set)(ZxObject* self, ZxObject* object);
} ZxValueReferenceTable;

static const ZxId kZxIdSpawnedCommand = {0x43d44e5de34a78afull, 0xddc12a7f303f3c05ull};

/** A command of the host's list, made to be run; it offers Attributes for its arguments. */
typedef struct ZxSpawnedCommandTable {
    ZxObjectOps object;
    /** [edit] Tests whether the command is enabled and runs it with the arguments set. Inside another command
     * (flags 0x109) it belongs to that one's undo step; refused or failing it changes nothing and answers a
     * failure. */
    zxresult (*execute)(ZxObject* self, uint32_t flags);
} ZxSpawnedCommandTable;

static const ZxId kZxIdCommandService = {0x8cc3b11cce7787c1ull, 0xecc75ceaa4ad5eddull};

typedef struct ZxCommandServiceTable {
    ZxObjectOps object;
    /** [edit] A command by name (interface SpawnedCommand); kZxNotFound for an unknown name. The caller
     * releases it. */
    zxresult (*spawn)(ZxObject* self, const char* name, ZxObject** command);
    /** [edit] Runs one line of text, such as "ikfb.task type:0 mode:1". */
    zxresult (*executeText)(ZxObject* self, const char* line, uint32_t flags);
} ZxCommandServiceTable;

#ifdef __cplusplus
}
#endif

#endif
