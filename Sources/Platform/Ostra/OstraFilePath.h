// One path as an object. It is resolved on creation if it leads somewhere, so that two links to one file are equal; a
// path that does not exist yet stays as it is given. Immutable; any thread may use it. Equal paths may have different
// hashes: no keys for dictionaries.

#pragma once

#include "Platform/Ostra/OstraFile.h"

ZO_EXTERN_C_BEGIN

enum { kTavFilePathError_BadEncoding = -50 };

ZoTypeID TavFilePathGetTypeID(void);

/// `path` has at most 4,095 bytes, in whatever encoding.
///
/// kTavFilePlatformError_InvalidParameter  an argument absent (but for the allocator), or a longer path
/// -1                                      no memory
OSStatus TavFilePathCreateFromOstraPath(ZoAllocatorRef allocator, const char* path, TavFilePathRef* outFilePath);
/// The same from text, without a "file://" in front of it, in any case of letters; nothing is unescaped.
/// kTavFilePathError_BadEncoding: not text that UTF-8 can carry, or with a NUL inside
OSStatus TavFilePathCreateFromNativePath(ZoAllocatorRef allocator, ZoStringRef string, TavFilePathRef* outFilePath);
/// `childName` below `parent`; nothing keeps it from being "..".
OSStatus TavFilePathCreateFromParent(ZoAllocatorRef allocator, TavFilePathRef parent, const char* childName,
                                     TavFilePathRef* outFilePath);
/// What holds `child`, with the "/" at its end, not resolved again; the root, and a bare name, have none:
/// kTavFilePlatformError_InvalidParameter.
OSStatus TavFilePathCreateFromChild(ZoAllocatorRef allocator, TavFilePathRef child, TavFilePathRef* outParent);
/// Borrowed from the object.
const char* TavFileGetOstraPath(TavFilePathRef filePath);

ZO_EXTERN_C_END
