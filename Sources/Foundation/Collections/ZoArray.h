// Arrays. Immutable ones may be read by any number of threads; mutable ones belong to their owner.
// Operations that add to a mutable one have no status: where the system has no memory the process stops, and where an
// allocator that the caller brought gives nothing, the array is as it was, which its count tells.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"

ZO_EXTERN_C_BEGIN

typedef void (*ZoArrayApplierFunction)(const void* value, void* context);

ZoTypeID ZoArrayGetTypeID(void);
/// `count` values in their order, retained as the callbacks say; absent callbacks do nothing.
ZoArrayRef ZoArrayCreate(ZoAllocatorRef allocator, const void** values, ZoIndex count,
                         const ZoArrayCallBacks* callBacks);
/// An immutable array of the same values, with the same callbacks.
ZoArrayRef ZoArrayCreateCopy(ZoAllocatorRef allocator, ZoArrayRef array);
/// `capacity` 0 is no limit; any other value is a hint.
ZoMutableArrayRef ZoArrayCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity, const ZoArrayCallBacks* callBacks);
ZoMutableArrayRef ZoArrayCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoArrayRef array);
ZoIndex ZoArrayGetCount(ZoArrayRef array);
/// Borrowed. `index` must be in range.
const void* ZoArrayGetValueAtIndex(ZoArrayRef array, ZoIndex index);
void ZoArrayGetValues(ZoArrayRef array, ZoRange range, const void** values);
Boolean ZoArrayContainsValue(ZoArrayRef array, ZoRange range, const void* value);
/// kZoNotFound if it is not there.
ZoIndex ZoArrayGetFirstIndexOfValue(ZoArrayRef array, ZoRange range, const void* value);
ZoIndex ZoArrayGetLastIndexOfValue(ZoArrayRef array, ZoRange range, const void* value);
void ZoArrayApplyFunction(ZoArrayRef array, ZoRange range, ZoArrayApplierFunction applier, void* context);
void ZoArrayAppendValue(ZoMutableArrayRef array, const void* value);
void ZoArrayAppendArray(ZoMutableArrayRef array, ZoArrayRef other, ZoRange otherRange);
void ZoArrayInsertValueAtIndex(ZoMutableArrayRef array, ZoIndex index, const void* value);
void ZoArraySetValueAtIndex(ZoMutableArrayRef array, ZoIndex index, const void* value);
void ZoArrayRemoveValueAtIndex(ZoMutableArrayRef array, ZoIndex index);
void ZoArrayRemoveAllValues(ZoMutableArrayRef array);
/// Stable. ZoStringCompare may be passed as the comparator, cast to ZoComparatorFunction.
void ZoArraySortValues(ZoMutableArrayRef array, ZoRange range, ZoComparatorFunction comparator, void* context);

ZO_EXTERN_C_END
