// Sets: distinct values, enumerated in order of insertion.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoSetGetTypeID(void);
/// The distinct ones of `count` values, retained as the callbacks say.
ZoSetRef ZoSetCreate(ZoAllocatorRef allocator, const void** values, ZoIndex count, const ZoSetCallBacks* callBacks);
/// How many values there are, and whether one equal to `value` is among them.
ZoIndex ZoSetGetCount(ZoSetRef set);
Boolean ZoSetContainsValue(ZoSetRef set, const void* value);
/// Fills an array of ZoSetGetCount elements.
void ZoSetGetValues(ZoSetRef set, const void** values);

ZO_EXTERN_C_END
