// Runs of bytes. Immutable ones may be read by any number of threads.
// Operations that add to mutable data have no status: where the system has no memory the process stops, and where an
// allocator that the caller brought gives nothing, the data are as they were, which their length tells.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoDataGetTypeID(void);
/// A copy of the bytes.
ZoDataRef ZoDataCreate(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length);
/// Refers to `bytes`; when the object dies they go to `bytesDeallocator` (kZoAllocatorNull: nobody frees them).
ZoDataRef ZoDataCreateWithBytesNoCopy(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                      ZoAllocatorRef bytesDeallocator);
ZoDataRef ZoDataCreateCopy(ZoAllocatorRef allocator, ZoDataRef data);
/// `capacity` 0 is no limit; any other value is a hint.
ZoMutableDataRef ZoDataCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity);
ZoMutableDataRef ZoDataCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoDataRef data);
ZoIndex ZoDataGetLength(ZoDataRef data);
/// Borrowed; valid while the object lives and is not changed. May be nothing for empty data.
const uint8_t* ZoDataGetBytePtr(ZoDataRef data);
uint8_t* ZoDataGetMutableBytePtr(ZoMutableDataRef data);
void ZoDataGetBytes(ZoDataRef data, ZoRange range, uint8_t* buffer);
/// Cuts, or extends with zeros.
void ZoDataSetLength(ZoMutableDataRef data, ZoIndex length);
/// Extends with zeros.
void ZoDataIncreaseLength(ZoMutableDataRef data, ZoIndex extraLength);
void ZoDataAppendBytes(ZoMutableDataRef data, const uint8_t* bytes, ZoIndex length);
void ZoDataDeleteBytes(ZoMutableDataRef data, ZoRange range);
void ZoDataReplaceBytes(ZoMutableDataRef data, ZoRange range, const uint8_t* newBytes, ZoIndex newLength);

ZO_EXTERN_C_END
