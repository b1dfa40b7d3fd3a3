// Property lists from and to bytes and bundles, and dictionaries with more in them. May be called from any thread.

#pragma once

#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// The list in the binary form; an absent one gives empty data. What goes wrong is logged, and its status is the code
/// of the error (kZoPropertyListError...), or kTavZoUtilitiesError_BadData where there is none.
/// kTavZoUtilitiesError_InvalidParameter  no out
OSStatus TavCreateZoDataFromZoPropertyList(ZoPropertyListRef propertyList, ZoAllocatorRef allocator,
                                           ZoDataRef* dataOut);
/// The list that the bytes are; no bytes give none, and status 0. Failures as above, and
/// kTavZoUtilitiesError_AllocationFailed.
OSStatus TavCreateZoPropertyListFromData(const uint8_t* bytes, ZoIndex length, ZoAllocatorRef allocator,
                                         ZoPropertyListRef* propertyListOut);
/// Whether `value`, and all in it, are of the types of property lists, with strings as keys, no more than
/// kZoPropertyListMaximumDepth containers deep. What is not is signalled.
Boolean TavZoTypeIsPListSerializable(ZoTypeRef value);

/// The pairs of `dictionary`, which may be absent, and behind them the extra ones; a key that is there already keeps
/// its value.
///
/// kTavZoUtilitiesError_InvalidParameter  out absent, or extra pairs
/// kTavZoUtilitiesError_AllocationFailed  no pairs at all, a negative count, or no memory
OSStatus TavZoCreateExtendedDictionary(ZoAllocatorRef allocator, ZoDictionaryRef dictionary,
                                       const void* const* extraKeys, const void* const* extraValues,
                                       ZoIndex numExtraValues, ZoDictionaryRef* dictionaryOut);

/// The list in a resource of a bundle; nothing on failure, and kTavZoUtilitiesError_BadBundle is signalled.
ZoPropertyListRef TavCreatePropertyListFromBundleIdentifier(ZoAllocatorRef allocator, ZoStringRef bundleID,
                                                            ZoStringRef resourceName, ZoStringRef resourceType);
ZoPropertyListRef TavZoCreatePropertyListFromBundleIdentifier(ZoAllocatorRef allocator, ZoStringRef bundleID,
                                                              ZoStringRef resourceName, ZoStringRef resourceType);
/// Whether the bundle's resources have a folder of that name. kTavZoUtilitiesError_BadBundle is signalled where that
/// cannot be known.
Boolean TavZoBundleIDResourceSubdirExists(ZoStringRef bundleID, ZoStringRef subdirectory);

ZO_EXTERN_C_END
