/* SPDX-License-Identifier: MIT
 * The three common operations for the objects of a host in plain C, which count their references. */
#ifndef SINEW_TESTS_ABI_COUNTED_OBJECT_H
#define SINEW_TESTS_ABI_COUNTED_OBJECT_H

#include <zx/ZxTypes.h>

/** The head of every object of the test's host; such objects live as long as the program. */
typedef struct CountedObject {
    ZxObject object;
    const ZxId* id; /**< its one interface */
    long references; /**< held by the module */
} CountedObject;

/** The head of a table of such objects. */
#define COUNTED_OPS                                                                                          \
    {                                                                                                        \
        countedQuery, countedAddRef, countedRelease                                                          \
    }

zxresult countedQuery(ZxObject* self, const ZxId* id, ZxObject** object);
zxresult countedAddRef(ZxObject* self);
zxresult countedRelease(ZxObject* self);

/** References that the module holds on all objects together. */
long countedReferences(void);
/** Hands out `counted` with one reference; null gives null and the result `withoutObject`. */
zxresult countedGive(CountedObject* counted, ZxObject** to, zxresult withoutObject);

#endif
