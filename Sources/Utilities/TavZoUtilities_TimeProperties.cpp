#include "Utilities/TavZoUtilities_TimeProperties.h"

#include "Utilities/TavZoUtilitiesPrivate.h"

static const LuBaseClass* baseClassOf(LuBaseObjectRef object)
{
    const LuVTable* vtable = LuBaseObjectGetVTable(object);
    return vtable ? vtable->base : nullptr;
}

OSStatus TavZoCopyPropertyAsTime(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, LuTime* timeOut)
{
    if (!timeOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL timeOut");
    *timeOut = kLuTimeInvalid;
    const LuBaseClass* base = baseClassOf(object);
    if (!base || !base->copyProperty) return kLuBaseObjectError_NoSuchOperation;
    ZoRef<ZoDictionaryRef> form;
    TAV_TRY(base->copyProperty(object, key, allocator, form.outParam()));
    *timeOut = LuTimeMakeFromDictionary(form.get());
    return 0;
}

OSStatus TavZoSetPropertyToTime(LuBaseObjectRef object, ZoStringRef key, LuTime time)
{
    const LuBaseClass* base = baseClassOf(object);
    if (!base || !base->setProperty) return kLuBaseObjectError_NoSuchOperation;
    const auto form = zoAdopt(LuTimeCopyAsDictionary(nullptr, time));
    if (!form) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "LuTimeCopyAsDictionary failed");
    return base->setProperty(object, key, form.get());
}
