// URLs, and the files that they name. May be called from any thread. Paths are up to 4,095 bytes.

#pragma once

#include <time.h>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/URLs/ZoURL.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Whether the scheme is "file".
Boolean TavZoURLIsLocalResource(ZoURLRef url);

/// What a cache tells URLs apart by. Neither flag, and a text without "?": the URL's whole text.
typedef uint32_t TavZoURLCacheKeyFlags;
enum {
    kTavZoURLCacheKey_PathOnly = 1 << 0,
    kTavZoURLCacheKey_WithoutQuery = 1 << 1,  ///< the text up to the first "?"; not looked at beside PathOnly
};
/// Nothing for an absent URL; a URL without a path, and no memory, are kTavZoUtilitiesError_AllocationFailed.
ZoStringRef TavZoURLCreateCacheKey(ZoURLRef url, TavZoURLCacheKeyFlags flags);
ZoStringRef TavZoStringCreateCacheKeyFromURLString(ZoStringRef string, TavZoURLCacheKeyFlags flags);

/// The URL of `url` relative to the directory that `baseURL` is, or is in; it has that directory as its base.
///
/// kTavZoUtilitiesError_InvalidParameter  an argument that is not what it should be, or cannot be decomposed
/// kTavZoUtilitiesError_IncompatibleURL   not absolute, or not below the directory
/// kTavZoUtilitiesError_AllocationFailed  no memory
OSStatus TavZoURLCreateRelativeURLWithURLAndBaseURL(ZoAllocatorRef allocator, ZoURLRef url, ZoURLRef baseURL,
                                                    ZoURLRef* relativeURLOut);
/// `url` itself, retained, if `extension` (absent: none) is its path extension; else with the extension behind it.
/// kTavZoUtilitiesError_InvalidParameter, kTavZoUtilitiesError_AllocationFailed
OSStatus TavZoURLCreateWithSuffixedExtension(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef extension,
                                             ZoURLRef* urlOut);

/// Takes `oldKey` out and puts the other form under `newKey`: the text of the absolute URL, or a URL of the text.
/// kTavZoUtilitiesError_AllocationFailed, and then the dictionary is as it was
OSStatus TavReplaceURLWithString(ZoMutableDictionaryRef dictionary, const void* oldKey, const void* newKey,
                                 ZoURLRef url);
OSStatus TavReplaceStringWithURL(ZoMutableDictionaryRef dictionary, const void* oldKey, const void* newKey,
                                 ZoStringRef string);

/// Links are followed. False, with nothing signalled, if there is no such file.
Boolean TavZoURLDoesDirectoryExist(ZoURLRef url);
/// One level, for its owner only (mode 0700). A directory that is there already will do.
/// kTavZoUtilitiesError_DirCouldNotBeCreated
OSStatus TavZoURLCreateDirectory(ZoURLRef url);
/// Each out value may be absent, but not all of them. Sizes are in bytes. `isDirectoryOut` is bit 0x4000 of the mode,
/// which block devices and sockets have too.
///
/// kTavZoUtilitiesError_InvalidParameter  nothing asked for, no URL, or one without a path in the file system
/// and errno of stat(2), not signalled
OSStatus TavZoURLGetFileStats(ZoURLRef url, int64_t* sizeOut, int64_t* diskSizeOut,
                              struct timespec* modificationTimeOut, Boolean* isDirectoryOut);
/// Whether both name one file that exists, by device, inode, size and time of modification. Two absent URLs are the
/// same; what keeps the answer from being known is logged.
Boolean TavZoURLIdentifiesSameFileResourceAsZoURL(ZoURLRef url1, ZoURLRef url2);

ZO_EXTERN_C_END
