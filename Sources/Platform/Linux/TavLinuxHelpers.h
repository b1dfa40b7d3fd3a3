// Two services of this platform: resource files beside the program, and the "C" locale. Each is set up at its first
// use and lives as long as the process; both may be called from any thread.

#pragma once

#include <locale.h>

#include "Platform/Ostra/OstraFile.h"

ZO_EXTERN_C_BEGIN

/// A resource, opened for reading; the caller closes the fork. `resourceName` is looked for in the folder of the module
/// that this code is linked into, then by itself, which is from the working directory unless it is absolute, and last
/// in "../share" beside that folder. So a file in the working directory goes before one in "../share": a process that
/// may be started in a folder of somebody else's asks for absolute names. What there is no memory for is signalled, and
/// the search goes on.
///
/// kTavZoUtilitiesError_InvalidParameter   no `resourceName` or `outFork`, or there is no such file
/// and the statuses of TavFileForkOpenMainByZoURL
OSStatus TavZoGetResourceFile(ZoAllocatorRef allocator, ZoStringRef resourceName, TavFileForkRef* outFork);

/// For reading and writing numbers and dates in one form everywhere. Borrowed.
locale_t TavGetCLocale(void);

ZO_EXTERN_C_END
