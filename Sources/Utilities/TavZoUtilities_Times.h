// Times and time ranges in collections, stored as their dictionaries.
//
// A getter is true once it has found a dictionary, even one that makes an invalid time. For an absent collection
// dictionary, or a value that is no dictionary, it is false and signals nothing.
// kTavZoUtilitiesError_InvalidParameter, _AllocationFailed

#pragma once

#include "Core/TavTime/LuTimeRange.h"
#include "Utilities/TavZoUtilities.h"

ZO_EXTERN_C_BEGIN

Boolean TavZoDictionaryGetLuTimeIfPresent(ZoDictionaryRef dictionary, const void* key, LuTime* timeOut);
OSStatus TavZoDictionarySetLuTime(ZoMutableDictionaryRef dictionary, const void* key, LuTime time);
Boolean TavZoDictionaryGetLuTimeRangeIfPresent(ZoDictionaryRef dictionary, const void* key, LuTimeRange* rangeOut);
OSStatus TavZoDictionarySetLuTimeRange(ZoMutableDictionaryRef dictionary, const void* key, LuTimeRange range);
Boolean TavZoArrayGetLuTimeAtIndex(ZoArrayRef array, ZoIndex index, LuTime* timeOut);
OSStatus TavZoArrayAppendLuTime(ZoMutableArrayRef array, LuTime time);

ZO_EXTERN_C_END
