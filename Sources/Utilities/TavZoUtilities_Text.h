// The bytes of strings, without an allocation where that can be had, and the local time as text.
// May be called from any thread.

#pragma once

#include "Foundation/Text/ZoString.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// NUL-terminated text: the string's own bytes, or a new buffer that is also stored in `bufferToFreeOut`, which the
/// caller gives to free(3) in any case. Nothing if the string is absent or cannot be converted, or without
/// `bufferToFreeOut` if it has no such bytes of its own.
const char* TavZoStringGetCStringPtrAndBufferToFree(ZoStringRef string, ZoStringEncoding encoding,
                                                    char** bufferToFreeOut);
/// The string's own bytes, or the text in `buffer`, or nothing. Never allocates.
const char* TavZoStringGetCStringPtrMaybeUsingPreallocatedBuffer(ZoStringRef string, char* buffer, size_t bufferSize,
                                                                 ZoStringEncoding encoding);
/// "14:05:59.042" in the local time zone, cut to `bufferSize`. Gives `buffer`.
char* TavZoGetLocalTimeString(char* buffer, size_t bufferSize);

ZO_EXTERN_C_END
