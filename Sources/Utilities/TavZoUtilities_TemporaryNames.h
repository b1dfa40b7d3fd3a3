// Names for temporary files. No file is made, and the names can be foretold: they are the time and a count. Whoever
// makes the file opens it exclusively (O_CREAT | O_EXCL) and asks for another name where that fails.
// May be called from any thread.

#pragma once

#include "Foundation/URLs/ZoURL.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// "/tmp". kTavZoUtilitiesError_AllocationFailed is signalled where there is nothing; so below.
ZoURLRef TavZoURLCreateFromSystemTemporaryDirectory(ZoAllocatorRef allocator);
/// A name in `directory`, which exists, or in "/tmp" if it is absent. It begins with `nameTemplate` less the "X" at its
/// end, if two characters or more are left of it; a template with "/" in it, which would lead elsewhere, makes no name.
/// The rest are letters and digits of base32, 2 to 7.
ZoURLRef TavZoURLCreateFromTemporaryFileWithDirectoryAndSuffix(ZoAllocatorRef allocator, ZoURLRef directory,
                                                               ZoStringRef nameTemplate);
ZoURLRef TavZoURLCreateFromTemporaryFileWithDirectory(ZoAllocatorRef allocator, ZoURLRef directory);

ZO_EXTERN_C_END
