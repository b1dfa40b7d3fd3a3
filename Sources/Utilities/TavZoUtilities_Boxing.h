// Numbers of C in number objects, and back. Unsigned values take the next wider type where they do not fit the signed
// one.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// A new number, which the caller releases; nothing without memory.
ZoNumberRef TavZoNumberCreateUInt8(ZoAllocatorRef allocator, uint8_t value);
ZoNumberRef TavZoNumberCreateUInt16(ZoAllocatorRef allocator, uint16_t value);
ZoNumberRef TavZoNumberCreateUInt32(ZoAllocatorRef allocator, uint32_t value);
ZoNumberRef TavZoNumberCreateUInt64(ZoAllocatorRef allocator, uint64_t value);
ZoNumberRef TavZoNumberCreateSInt8(ZoAllocatorRef allocator, int8_t value);
ZoNumberRef TavZoNumberCreateSInt16(ZoAllocatorRef allocator, int16_t value);
ZoNumberRef TavZoNumberCreateSInt32(ZoAllocatorRef allocator, int32_t value);
ZoNumberRef TavZoNumberCreateSInt64(ZoAllocatorRef allocator, int64_t value);
ZoNumberRef TavZoNumberCreateFloat32(ZoAllocatorRef allocator, float value);
ZoNumberRef TavZoNumberCreateFloat64(ZoAllocatorRef allocator, double value);

/// 0 for an absent object and for one that is no number. An unsigned value is read as the next wider signed one, of
/// which the low bits count.
uint8_t TavZoNumberGetUInt8(ZoTypeRef number);
uint16_t TavZoNumberGetUInt16(ZoTypeRef number);
uint32_t TavZoNumberGetUInt32(ZoTypeRef number);
uint64_t TavZoNumberGetUInt64(ZoTypeRef number);
int8_t TavZoNumberGetSInt8(ZoTypeRef number);
int16_t TavZoNumberGetSInt16(ZoTypeRef number);
int32_t TavZoNumberGetSInt32(ZoTypeRef number);
int64_t TavZoNumberGetSInt64(ZoTypeRef number);
float TavZoNumberGetFloat32(ZoTypeRef number);
double TavZoNumberGetFloat64(ZoTypeRef number);

ZO_EXTERN_C_END
