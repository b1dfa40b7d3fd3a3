// Stands alone so that dictionaries of objects do not bring strings with them.

#include "Foundation/Collections/ZoCollectionCallbacks.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Text/ZoString.h"

static const void* copyKey(ZoAllocatorRef allocator, const void* value)
{
    return ZoStringCreateCopy(allocator, static_cast<ZoStringRef>(value));
}

static void releaseKey(ZoAllocatorRef, const void* value) { ZoRelease(value); }

const ZoDictionaryKeyCallBacks kZoCopyStringDictionaryKeyCallBacks = {0,       copyKey, releaseKey, ZoCopyDescription,
                                                                      ZoEqual, ZoHash};
