// Services of the object library that differ between systems, with what this one offers of them.
// May be called from any thread.

#pragma once

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/URLs/ZoURL.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavFoundationUtilitiesError_InvalidParameter = -16860,
    kTavFoundationUtilitiesError_UnsupportedOperation = -16863,
};

enum { kTavFoundationUtilities_UnknownEncoding = 0xFFFFFFFFu };

/// Text whose encoding nobody told: UTF-8 here, with or without a mark in front. `options` is a dictionary or absent.
/// `encodingOut`, which may be absent, becomes UTF-8 or kTavFoundationUtilities_UnknownEncoding. Nothing for other
/// bytes; wrong arguments are signalled as kTavFoundationUtilitiesError_InvalidParameter.
ZoStringRef TavZoStringCreateWithBytesWithUnknownEncoding(ZoAllocatorRef allocator, const uint8_t* bytes,
                                                          ZoIndex numBytes, ZoDictionaryRef options,
                                                          ZoStringEncoding* encodingOut);

/// kTavFoundationUtilitiesError_UnsupportedOperation
OSStatus TavFoundationCreateHardLink(ZoURLRef existingURL, ZoURLRef linkURL);

/// There is no writer of JSON here: 0, and no text. An object of another type is logged.
OSStatus TavZoStringCreateWithJSONDictionary(ZoAllocatorRef allocator, ZoDictionaryRef dictionary);
OSStatus TavZoStringCreateWithJSONArray(ZoAllocatorRef allocator, ZoArrayRef array);

/// What else an error's user info holds, for carrying it elsewhere. Nothing on this system: the out is cleared.
/// kTavFoundationUtilitiesError_UnsupportedOperation, not signalled
OSStatus TavCreateSerializedDictionaryFromHqErrorUserInfo(ZoDictionaryRef userInfo, ZoDictionaryRef* dictionaryOut);
OSStatus TavCreateHqErrorUserInfoFromSerializedDictionary(ZoDictionaryRef dictionary, ZoDictionaryRef* userInfoOut);

ZO_EXTERN_C_END
