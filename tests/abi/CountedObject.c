/* SPDX-License-Identifier: MIT
 * The three common operations for the objects of a host in plain C. */
#include "CountedObject.h"

#include "Check.h"

#include <stddef.h>

static long total = 0;

static int isSame(const ZxId* a, const ZxId* b) { return a->high == b->high && a->low == b->low; }

zxresult countedAddRef(ZxObject* self)
{
    ++((CountedObject*)self)->references;
    ++total;
    return 0;
}

zxresult countedRelease(ZxObject* self)
{
    CHECK(((CountedObject*)self)->references > 0);
    --((CountedObject*)self)->references;
    --total;
    return 0;
}

zxresult countedQuery(ZxObject* self, const ZxId* id, ZxObject** object)
{
    const CountedObject* counted = (CountedObject*)self;
    const int has = isSame(id, counted->id) || isSame(id, &kZxIdObject);
    *object = has ? self : NULL;
    return has ? countedAddRef(self) : 0x80000017u;
}

long countedReferences(void) { return total; }

zxresult countedGive(CountedObject* counted, ZxObject** to, zxresult withoutObject)
{
    *to = counted ? &counted->object : NULL;
    return counted ? countedAddRef(&counted->object) : withoutObject;
}
