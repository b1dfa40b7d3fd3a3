// Numbers in collections: four operations over untyped storage, and the typed names in front of them.

#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

static bool isNumber(ZoTypeRef object) { return isOfType(object, ZoNumberGetTypeID()); }

static Boolean getNumber(const char* operation, ZoDictionaryRef dictionary, const void* key, ZoNumberType type,
                         void* valueOut)
{
    const void* number = lookUp(operation, dictionary, key, valueOut, "NULL valuePtr");
    if (!isNumber(number)) return false;
    ZoNumberGetValue(static_cast<ZoNumberRef>(number), type, valueOut);
    return true;
}

static Boolean getNumberAtIndex(const char* operation, ZoArrayRef array, ZoIndex index, ZoNumberType type,
                                void* valueOut)
{
    const void* number = elementAt(operation, array, index, valueOut, "NULL dOut");
    if (!number) return false;
    if (!isNumber(number)) {
        (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter, "value at index not a ZoNumber");
        return false;
    }
    ZoNumberGetValue(static_cast<ZoNumberRef>(number), type, valueOut);
    return true;
}

static OSStatus setNumber(const char* operation, ZoMutableDictionaryRef dictionary, const void* key, ZoNumberType type,
                          const void* value)
{
    return setWith(operation, dictionary, key, "ZoNumberCreate failed",
                   [&] { return ZoNumberCreate(nullptr, type, value); });
}

static OSStatus appendNumber(const char* operation, ZoMutableArrayRef array, ZoNumberType type, const void* value)
{
    return appendWith(operation, array, "ZoNumberCreate failed", [&] { return ZoNumberCreate(nullptr, type, value); });
}

#define DEFINE_NUMBER_OPERATIONS(Suffix, type, numberType)                                                     \
    Boolean TavZoDictionaryGet##Suffix##IfPresent(ZoDictionaryRef dictionary, const void* key, type* valueOut) \
    {                                                                                                          \
        return getNumber(__func__, dictionary, key, numberType, valueOut);                                     \
    }                                                                                                          \
    OSStatus TavZoDictionarySet##Suffix(ZoMutableDictionaryRef dictionary, const void* key, type value)        \
    {                                                                                                          \
        return setNumber(__func__, dictionary, key, numberType, &value);                                       \
    }                                                                                                          \
    Boolean TavZoArrayGet##Suffix##AtIndex(ZoArrayRef array, ZoIndex index, type* valueOut)                    \
    {                                                                                                          \
        return getNumberAtIndex(__func__, array, index, numberType, valueOut);                                 \
    }                                                                                                          \
    OSStatus TavZoArrayAppend##Suffix(ZoMutableArrayRef array, type value)                                     \
    {                                                                                                          \
        return appendNumber(__func__, array, numberType, &value);                                              \
    }

TAV_ZO_FOR_EACH_NUMBER_TYPE(DEFINE_NUMBER_OPERATIONS)

Boolean TavZoDictionaryGetBooleanIfPresent(ZoDictionaryRef dictionary, const void* key, Boolean* valueOut)
{
    const void* boolean = lookUp(__func__, dictionary, key, valueOut, "NULL bOut");
    if (!isOfType(boolean, ZoBooleanGetTypeID())) return false;
    *valueOut = ZoBooleanGetValue(static_cast<ZoBooleanRef>(boolean));
    return true;
}

static Boolean containsNumber(ZoArrayRef array, ZoNumberType type, const void* value)
{
    const auto number = zoAdopt(ZoNumberCreate(nullptr, type, value));
    return number && TavZoArrayContainsValue(array, number.get());
}

Boolean TavZoArrayContainsInt(ZoArrayRef array, int value) { return containsNumber(array, kZoNumberIntType, &value); }

Boolean TavZoArrayContainsInt16(ZoArrayRef array, int16_t value)
{
    return containsNumber(array, kZoNumberSInt16Type, &value);
}

Boolean TavZoArrayContainsInt32(ZoArrayRef array, int32_t value)
{
    return containsNumber(array, kZoNumberSInt32Type, &value);
}

Boolean TavZoArrayContainsInt64(ZoArrayRef array, int64_t value)
{
    return containsNumber(array, kZoNumberSInt64Type, &value);
}

ZoArrayRef TavCreateZoArrayFromColorValues(ZoAllocatorRef allocator, double red, double green, double blue,
                                           double alpha)
{
    const double components[] = {red, green, blue, alpha};
    ZoRef<ZoNumberRef> numbers[4];
    const void* values[4];
    for (int i = 0; i < 4; ++i) {
        numbers[i].reset(ZoNumberCreate(allocator, kZoNumberGeometryFloatType, &components[i]));
        if (!numbers[i]) return nullptr;
        values[i] = numbers[i].get();
    }
    return ZoArrayCreate(allocator, values, 4, &kZoTypeArrayCallBacks);
}
