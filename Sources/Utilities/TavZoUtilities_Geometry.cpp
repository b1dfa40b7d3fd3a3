#include "Utilities/TavZoUtilities_Geometry.h"

#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

namespace {

/// A geometry value's two directions, and what is said when one fails.
template <typename Value>
struct Form {
    Boolean (*make)(ZoDictionaryRef, Value*);
    ZoDictionaryRef (*create)(Value);
    const char* missingOut;
    const char* invalid;
    const char* createFailed;
};

constexpr Form<WnRect> kRect = {WnRectMakeWithDictionaryRepresentation, WnRectCreateDictionaryRepresentation,
                                "NULL rOut", "invalid dictionary for WnRectMakeWithDictionaryRepresentation",
                                "WnRectCreateDictionaryRepresentation failed"};

constexpr Form<WnSize> kSize = {WnSizeMakeWithDictionaryRepresentation, WnSizeCreateDictionaryRepresentation,
                                "NULL sOut", "invalid dictionary for WnSizeMakeWithDictionaryRepresentation",
                                "WnSizeCreateDictionaryRepresentation failed"};

template <typename Value>
Boolean read(const char* operation, const Form<Value>& form, const void* dictionary, Value* valueOut)
{
    if (form.make(static_cast<ZoDictionaryRef>(dictionary), valueOut)) return true;
    (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter, form.invalid);
    return false;
}

template <typename Value>
Boolean get(const char* operation, const Form<Value>& form, ZoDictionaryRef dictionary, const void* key,
            Value* valueOut)
{
    const void* value = lookUp(operation, dictionary, key, valueOut, form.missingOut);
    return isDictionary(value) && read(operation, form, value, valueOut);
}

template <typename Value>
Boolean getAtIndex(const char* operation, const Form<Value>& form, ZoArrayRef array, ZoIndex index, Value* valueOut)
{
    const void* value = elementAt(operation, array, index, valueOut, form.missingOut);
    if (!value) return false;
    if (isDictionary(value)) return read(operation, form, value, valueOut);
    (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter, "value at index not a ZoDictionary");
    return false;
}

}  // namespace

Boolean TavZoDictionaryGetWnRectIfPresent(ZoDictionaryRef dictionary, const void* key, WnRect* rectOut)
{
    return get(__func__, kRect, dictionary, key, rectOut);
}

OSStatus TavZoDictionarySetWnRect(ZoMutableDictionaryRef dictionary, const void* key, WnRect rect)
{
    return setWith(__func__, dictionary, key, kRect.createFailed, [&] { return kRect.create(rect); });
}

Boolean TavZoArrayGetWnRectAtIndex(ZoArrayRef array, ZoIndex index, WnRect* rectOut)
{
    return getAtIndex(__func__, kRect, array, index, rectOut);
}

OSStatus TavZoArrayAppendWnRect(ZoMutableArrayRef array, WnRect rect)
{
    return appendWith(__func__, array, kRect.createFailed, [&] { return kRect.create(rect); });
}

Boolean TavZoDictionaryGetWnSizeIfPresent(ZoDictionaryRef dictionary, const void* key, WnSize* sizeOut)
{
    return get(__func__, kSize, dictionary, key, sizeOut);
}

OSStatus TavZoDictionarySetWnSize(ZoMutableDictionaryRef dictionary, const void* key, WnSize size)
{
    return setWith(__func__, dictionary, key, kSize.createFailed, [&] { return kSize.create(size); });
}

Boolean TavZoArrayGetWnSizeAtIndex(ZoArrayRef array, ZoIndex index, WnSize* sizeOut)
{
    return getAtIndex(__func__, kSize, array, index, sizeOut);
}

OSStatus TavZoArrayAppendWnSize(ZoMutableArrayRef array, WnSize size)
{
    return appendWith(__func__, array, kSize.createFailed, [&] { return kSize.create(size); });
}
