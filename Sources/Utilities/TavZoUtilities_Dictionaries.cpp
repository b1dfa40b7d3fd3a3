// Dictionaries that may be absent, and their values by type.

#include "Foundation/URLs/ZoURL.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

Boolean TavZoEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    if (object1 == object2) return true;
    return object1 && object2 && ZoEqual(object1, object2);
}

ZoMutableDictionaryRef TavZoDictionaryCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity,
                                                        ZoDictionaryRef dictionary)
{
    if (dictionary) return ZoDictionaryCreateMutableCopy(allocator, capacity, dictionary);
    return ZoDictionaryCreateMutable(allocator, capacity, &kZoTypeDictionaryKeyCallBacks,
                                     &kZoTypeDictionaryValueCallBacks);
}

ZoMutableDictionaryRef TavZoDictionaryCreateMutableCopyWithZoTypeCallbacks(ZoAllocatorRef allocator, ZoIndex capacity,
                                                                           ZoDictionaryRef dictionary)
{
    auto copy = zoAdopt(TavZoDictionaryCreateMutableCopy(allocator, capacity, nullptr));
    if (!copy || !dictionary) return copy.release();
    struct Context {
        ZoMutableDictionaryRef copy;
        bool complete;
    } context = {copy.get(), true};
    const auto setPair = [](const void* key, const void* value, void* opaque) {
        auto& to = *static_cast<Context*>(opaque);
        to.complete = to.complete && set(to.copy, key, value);
    };
    ZoDictionaryApplyFunction(dictionary, setPair, &context);
    return context.complete ? copy.release() : nullptr;
}

void TavZoDictionarySetAllValuesFromDictionary(ZoMutableDictionaryRef destination, ZoDictionaryRef source)
{
    if (!destination || !source || destination == source) return;
    const auto set = [](const void* key, const void* value, void* context) {
        ZoDictionarySetValue(static_cast<ZoMutableDictionaryRef>(context), key, value);
    };
    ZoDictionaryApplyFunction(source, set, destination);
}

ZoIndex TavZoDictionaryGetCount(ZoDictionaryRef dictionary)
{
    return dictionary ? ZoDictionaryGetCount(dictionary) : 0;
}

void TavZoDictionaryRemoveAllValues(ZoMutableDictionaryRef dictionary)
{
    if (dictionary) ZoDictionaryRemoveAllValues(dictionary);
}

void TavZoDictionarySetValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value)
{
    if (key && value && isDictionary(dictionary)) ZoDictionarySetValue(dictionary, key, value);
}

const void* TavZoDictionaryGetValue(ZoDictionaryRef dictionary, const void* key)
{
    return key && isDictionary(dictionary) ? ZoDictionaryGetValue(dictionary, key) : nullptr;
}

Boolean TavZoDictionaryGetValueIfPresent(ZoDictionaryRef dictionary, const void* key, const void** valueOut)
{
    if (valueOut) *valueOut = nullptr;
    return key && isDictionary(dictionary) && ZoDictionaryGetValueIfPresent(dictionary, key, valueOut);
}

Boolean TavZoDictionarySetValueFromKeyInDict(ZoMutableDictionaryRef destination, const void* destinationKey,
                                             ZoDictionaryRef source, const void* sourceKey)
{
    if (!destination || !destinationKey || !source || !sourceKey) return false;
    const void* value;
    if (!ZoDictionaryGetValueIfPresent(source, sourceKey, &value)) return false;
    return set(destination, destinationKey, value);
}

void TavZoDictionarySetBoolean(ZoMutableDictionaryRef dictionary, const void* key, Boolean value)
{
    TavZoDictionarySetValue(dictionary, key, value ? kZoBooleanTrue : kZoBooleanFalse);
}

template <typename Ref>
static Ref getValueOfType(ZoDictionaryRef dictionary, const void* key, ZoTypeID type)
{
    const void* value = TavZoDictionaryGetValue(dictionary, key);
    return isOfType(value, type) ? static_cast<Ref>(value) : nullptr;
}

ZoStringRef TavZoDictionaryGetStringValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoStringRef>(dictionary, key, ZoStringGetTypeID());
}

ZoURLRef TavZoDictionaryGetURLValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoURLRef>(dictionary, key, ZoURLGetTypeID());
}

ZoDictionaryRef TavZoDictionaryGetDictionaryValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoDictionaryRef>(dictionary, key, ZoDictionaryGetTypeID());
}

ZoArrayRef TavZoDictionaryGetArrayValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoArrayRef>(dictionary, key, ZoArrayGetTypeID());
}

ZoDataRef TavZoDictionaryGetDataValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoDataRef>(dictionary, key, ZoDataGetTypeID());
}

ZoBooleanRef TavZoDictionaryGetBooleanValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoBooleanRef>(dictionary, key, ZoBooleanGetTypeID());
}

ZoNumberRef TavZoDictionaryGetNumberValue(ZoDictionaryRef dictionary, const void* key)
{
    return getValueOfType<ZoNumberRef>(dictionary, key, ZoNumberGetTypeID());
}
