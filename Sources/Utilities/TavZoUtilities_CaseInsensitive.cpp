#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

const void* TavZoTypeCollectionRetain(ZoAllocatorRef, const void* value) { return ZoRetain(value); }

void TavZoTypeCollectionRelease(ZoAllocatorRef, const void* value) { ZoRelease(value); }

static bool isString(ZoTypeRef object) { return isOfType(object, ZoStringGetTypeID()); }

Boolean TavASCIIZoStringCaseInsensitiveEqualCallback(const void* value1, const void* value2)
{
    if (!isString(value1) || !isString(value2)) return TavZoEqual(value1, value2);
    return ZoStringCompare(static_cast<ZoStringRef>(value1), static_cast<ZoStringRef>(value2),
                           kZoCompareCaseInsensitive) == kZoCompareEqualTo;
}

ZoHashCode TavASCIIZoStringCaseInsensitiveHashCallback(const void* value)
{
    if (!value) return 0;
    if (!isString(value)) return ZoHash(value);
    const auto string = static_cast<ZoStringRef>(value);
    const ZoRange whole = ZoRangeMake(0, ZoStringGetLength(string));
    ZoRange found;
    if (!ZoStringFindCharacterFromSet(string, ZoCharacterSetGetPredefined(kZoCharacterSetUppercaseLetter), whole, 0,
                                      &found))
        return ZoHash(string);
    const auto lowercase = zoAdopt(ZoStringCreateMutableCopy(ZoGetAllocator(string), 0, string));
    if (!lowercase) return ZoHash(string);
    ZoStringLowercase(lowercase.get(), nullptr);
    return ZoHash(lowercase.get());
}

const ZoSetCallBacks kTavCaseInsensitiveStringSetCallBacks = {
    0,
    TavZoTypeCollectionRetain,
    TavZoTypeCollectionRelease,
    nullptr,
    TavASCIIZoStringCaseInsensitiveEqualCallback,
    TavASCIIZoStringCaseInsensitiveHashCallback,
};
