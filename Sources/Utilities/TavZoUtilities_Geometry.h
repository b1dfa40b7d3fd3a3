// Rectangles and sizes in collections, stored as their dictionaries.
//
// A getter is true only for a representation that reads back; a dictionary that does not is signalled. An absent
// collection dictionary, or a value under the key that is no dictionary, gives false with nothing signalled.
// kTavZoUtilitiesError_InvalidParameter, _AllocationFailed

#pragma once

#include "Foundation/Images/WnGeometry.h"
#include "Utilities/TavZoUtilities.h"

ZO_EXTERN_C_BEGIN

Boolean TavZoDictionaryGetWnRectIfPresent(ZoDictionaryRef dictionary, const void* key, WnRect* rectOut);
OSStatus TavZoDictionarySetWnRect(ZoMutableDictionaryRef dictionary, const void* key, WnRect rect);
Boolean TavZoArrayGetWnRectAtIndex(ZoArrayRef array, ZoIndex index, WnRect* rectOut);
OSStatus TavZoArrayAppendWnRect(ZoMutableArrayRef array, WnRect rect);

Boolean TavZoDictionaryGetWnSizeIfPresent(ZoDictionaryRef dictionary, const void* key, WnSize* sizeOut);
OSStatus TavZoDictionarySetWnSize(ZoMutableDictionaryRef dictionary, const void* key, WnSize size);
Boolean TavZoArrayGetWnSizeAtIndex(ZoArrayRef array, ZoIndex index, WnSize* sizeOut);
OSStatus TavZoArrayAppendWnSize(ZoMutableArrayRef array, WnSize size);

ZO_EXTERN_C_END
