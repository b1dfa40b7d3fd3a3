// The checks that the typed operations of the collection helpers share: each is one sentence about an argument.
// `operation` is the public one that was asked, whose name a signal carries.

#pragma once

#include <cstdlib>
#include <memory>

#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavZoUtilities.h"

namespace tavzo {

inline bool isOfType(ZoTypeRef object, ZoTypeID type) { return object && ZoGetTypeID(object) == type; }
inline bool isDictionary(ZoTypeRef object) { return isOfType(object, ZoDictionaryGetTypeID()); }
/// One line under the module's name and that of the operation.
inline void logFrom(const char* operation, const char* message)
{
    ZoLog(3, ZOSTR("Sources/Utilities/TavZoUtilities %s: %s"), operation, message);
}
inline bool isArray(ZoTypeRef object) { return isOfType(object, ZoArrayGetTypeID()); }

/// Whether the value is there afterwards: with an allocator that was passed in, the collection may have found no
/// memory.
inline bool set(ZoMutableDictionaryRef dictionary, const void* key, const void* value)
{
    const ZoIndex before = ZoDictionaryGetCount(dictionary);
    ZoDictionarySetValue(dictionary, key, value);
    return ZoDictionaryGetCount(dictionary) > before || ZoDictionaryContainsKey(dictionary, key);
}
inline bool append(ZoMutableArrayRef array, const void* value)
{
    const ZoIndex before = ZoArrayGetCount(array);
    ZoArrayAppendValue(array, value);
    return ZoArrayGetCount(array) > before;
}

/// What a getter finds under `key`, or nothing. An absent dictionary is no failure; what else is wrong is signalled.
const void* lookUp(const char* operation, ZoDictionaryRef dictionary, const void* key, const void* out,
                   const char* missingOutMessage);
/// What a getter finds at `index`, or nothing, with what is wrong signalled.
const void* elementAt(const char* operation, ZoArrayRef array, ZoIndex index, const void* out,
                      const char* missingOutMessage);

/// kTavZoUtilitiesError_InvalidParameter
OSStatus checkSetter(const char* operation, ZoDictionaryRef dictionary, const void* key);
OSStatus checkAppender(const char* operation, ZoArrayRef array);
/// Stores an object just made; kTavZoUtilitiesError_AllocationFailed with `failedMessage` if it is absent, or has no
/// room.
OSStatus setCreated(const char* operation, ZoMutableDictionaryRef dictionary, const void* key, ZoRef<ZoTypeRef> value,
                    const char* failedMessage);
OSStatus appendCreated(const char* operation, ZoMutableArrayRef array, ZoRef<ZoTypeRef> value,
                       const char* failedMessage);

/// Both checks and the storing, for a value that is made in between.
template <typename Create>
OSStatus setWith(const char* operation, ZoMutableDictionaryRef dictionary, const void* key, const char* failedMessage,
                 Create create)
{
    TAV_TRY(checkSetter(operation, dictionary, key));
    return setCreated(operation, dictionary, key, ZoRef<ZoTypeRef>::adopt(create()), failedMessage);
}

template <typename Create>
OSStatus appendWith(const char* operation, ZoMutableArrayRef array, const char* failedMessage, Create create)
{
    TAV_TRY(checkAppender(operation, array));
    return appendCreated(operation, array, ZoRef<ZoTypeRef>::adopt(create()), failedMessage);
}

/// A zeroed list of pointers for the foundation to fill; absent when memory is out, never for want of elements.
struct Free {
    void operator()(const void** list) const { std::free(list); }
};
using PointerList = std::unique_ptr<const void*[], Free>;
inline PointerList makePointerList(ZoIndex count)
{
    return PointerList(
        static_cast<const void**>(std::calloc(static_cast<size_t>(count > 0 ? count : 1), sizeof(void*))));
}

}  // namespace tavzo
