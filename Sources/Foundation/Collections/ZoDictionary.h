// Dictionaries: keys to values, enumerated in the order in which the keys were first added.
// Immutable ones may be read by any number of threads; mutable ones belong to their owner.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"

ZO_EXTERN_C_BEGIN

typedef void (*ZoDictionaryApplierFunction)(const void* key, const void* value, void* context);

ZoTypeID ZoDictionaryGetTypeID(void);
/// Of `count` pairs. The first of equal keys stands, with its value. Nothing if the allocator gives nothing.
ZoDictionaryRef ZoDictionaryCreate(ZoAllocatorRef allocator, const void** keys, const void** values, ZoIndex count,
                                   const ZoDictionaryKeyCallBacks* keyCallBacks,
                                   const ZoDictionaryValueCallBacks* valueCallBacks);
/// `capacity` 0 is no limit; any other value is a hint.
ZoMutableDictionaryRef ZoDictionaryCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity,
                                                 const ZoDictionaryKeyCallBacks* keyCallBacks,
                                                 const ZoDictionaryValueCallBacks* valueCallBacks);
ZoDictionaryRef ZoDictionaryCreateCopy(ZoAllocatorRef allocator, ZoDictionaryRef dictionary);
ZoMutableDictionaryRef ZoDictionaryCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity,
                                                     ZoDictionaryRef dictionary);
ZoIndex ZoDictionaryGetCount(ZoDictionaryRef dictionary);
/// 1 or 0.
ZoIndex ZoDictionaryGetCountOfKey(ZoDictionaryRef dictionary, const void* key);
Boolean ZoDictionaryContainsKey(ZoDictionaryRef dictionary, const void* key);
Boolean ZoDictionaryContainsValue(ZoDictionaryRef dictionary, const void* value);
/// Borrowed; nothing for a key that is not there.
const void* ZoDictionaryGetValue(ZoDictionaryRef dictionary, const void* key);
Boolean ZoDictionaryGetValueIfPresent(ZoDictionaryRef dictionary, const void* key, const void** value);
/// Fills arrays of ZoDictionaryGetCount elements, each of which may be absent.
void ZoDictionaryGetKeysAndValues(ZoDictionaryRef dictionary, const void** keys, const void** values);
void ZoDictionaryApplyFunction(ZoDictionaryRef dictionary, ZoDictionaryApplierFunction applier, void* context);
/// Leaves an existing key alone.
void ZoDictionaryAddValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value);
/// Adds, or replaces the value of an existing key, which stays and keeps its place.
void ZoDictionarySetValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value);
void ZoDictionaryRemoveValue(ZoMutableDictionaryRef dictionary, const void* key);
void ZoDictionaryRemoveAllValues(ZoMutableDictionaryRef dictionary);

ZO_EXTERN_C_END
