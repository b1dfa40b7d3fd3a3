// Property lists in files: read from a fork, written to one, and found among the program's resources.
// May be called from any thread.

#pragma once

#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Platform/Ostra/OstraFile.h"

ZO_EXTERN_C_BEGIN

/// The list that the whole fork holds in either form, as ZoPropertyListCreateWithData gives it; nothing for no fork, an
/// empty one, or one that cannot be read, and then no error either. `format` and `error` may be absent.
ZoPropertyListRef TavZoPropertyListCreateFromTavFileFork(ZoAllocatorRef allocator, TavFileForkRef fork,
                                                         ZoOptionFlags options, ZoPropertyListFormat* format,
                                                         ZoErrorRef* error);
/// Puts the list in the place of what the fork had; gives how many bytes were written, 0 where nothing was. A list that
/// cannot be written leaves the fork as it is. Fewer bytes than the list has mean a full disk: write to a temporary
/// file and rename it where the old list must not be lost.
ZoIndex TavZoPropertyListWriteToTavFileFork(ZoPropertyListRef propertyList, TavFileForkRef fork,
                                            ZoPropertyListFormat format, ZoOptionFlags options, ZoErrorRef* error);
/// The list in the resource file `resourceName`.`resourceType` (see TavZoGetResourceFile); the type may be absent, and
/// `bundleID` has no effect here. Nothing if there is no such file (kTavZoUtilitiesError_AllocationFailed is signalled)
/// or it holds no list (the error's code is, or that status).
ZoPropertyListRef TavCreatePropertyListFromBundleIdentifierOnPlatform(ZoStringRef bundleID, ZoStringRef resourceName,
                                                                      ZoStringRef resourceType);

ZO_EXTERN_C_END
