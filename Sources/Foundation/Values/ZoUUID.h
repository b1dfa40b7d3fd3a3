// Universally unique identifiers (RFC 4122). Immutable; any thread may read them.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

/// In the order in which the text form writes them.
typedef struct ZoUUIDBytes {
    uint8_t byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
    uint8_t byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
} ZoUUIDBytes;

ZoTypeID ZoUUIDGetTypeID(void);
/// A random one, version 4.
ZoUUIDRef ZoUUIDCreate(ZoAllocatorRef allocator);
/// From 36 characters such as "68753A44-4D6F-1226-9C60-0050E4C00067", in either case; nothing for other text.
ZoUUIDRef ZoUUIDCreateFromString(ZoAllocatorRef allocator, ZoStringRef text);
ZoUUIDRef ZoUUIDCreateFromUUIDBytes(ZoAllocatorRef allocator, ZoUUIDBytes bytes);
/// 36 characters, letters in upper case.
ZoStringRef ZoUUIDCreateString(ZoAllocatorRef allocator, ZoUUIDRef uuid);
ZoUUIDBytes ZoUUIDGetUUIDBytes(ZoUUIDRef uuid);

ZO_EXTERN_C_END
