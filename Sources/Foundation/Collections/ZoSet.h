// Sets: distinct values, enumerated in order of insertion.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoSetGetTypeID(void);
ZoSetRef ZoSetCreate(ZoAllocatorRef allocator, const void** values, ZoIndex count, const ZoSetCallBacks* callBacks);
ZoIndex ZoSetGetCount(ZoSetRef set);
Boolean ZoSetContainsValue(ZoSetRef set, const void* value);
/// Fills an array of ZoSetGetCount elements.
void ZoSetGetValues(ZoSetRef set, const void** values);

ZO_EXTERN_C_END
