// What the tools of the segmenter family share: their version text.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// "<short version> (<build version>)". The caller releases the string. 0, or -1 after a signalled failure.
OSStatus SCCreateFormattedVersionString(ZoStringRef* formattedVersionStringOut);
/// The program's name as the system knows it. `allocator` is not used. The caller releases the string.
OSStatus SCCreateExecutableName(ZoAllocatorRef allocator, ZoStringRef* executableNameOut);
/// "<program name>: Version <short version> (<build version>)". The caller releases the string.
OSStatus SCCreateFormattedVersionStringWithExecutableName(ZoStringRef* formattedVersionStringOut);

ZO_EXTERN_C_END
