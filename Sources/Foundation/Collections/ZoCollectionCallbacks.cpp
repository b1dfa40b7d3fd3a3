#include "Foundation/Collections/ZoCollectionCallbacks.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"

// Describing needs strings; a program that never asks for a description carries neither.

static const void* retainValue(ZoAllocatorRef, const void* value) { return ZoRetain(value); }
static void releaseValue(ZoAllocatorRef, const void* value) { ZoRelease(value); }

const ZoDictionaryKeyCallBacks kZoTypeDictionaryKeyCallBacks = {0,       retainValue, releaseValue, ZoCopyDescription,
                                                                ZoEqual, ZoHash};
const ZoSetCallBacks kZoTypeSetCallBacks = {0, retainValue, releaseValue, ZoCopyDescription, ZoEqual, ZoHash};
const ZoDictionaryValueCallBacks kZoTypeDictionaryValueCallBacks = {0, retainValue, releaseValue, ZoCopyDescription,
                                                                    ZoEqual};
const ZoArrayCallBacks kZoTypeArrayCallBacks = {0, retainValue, releaseValue, ZoCopyDescription, ZoEqual};
