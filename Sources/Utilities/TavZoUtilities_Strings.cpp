#include "Utilities/TavZoUtilities_Strings.h"

#include <bsd/stdlib.h>

#include "Foundation/Objects/ZoAllocator.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

static bool isString(ZoTypeRef object) { return isOfType(object, ZoStringGetTypeID()); }

Boolean TavZoStringFind(ZoStringRef string, ZoStringRef search, ZoStringCompareFlags options)
{
    return isString(string) && isString(search) && ZoStringFind(string, search, options).location != kZoNotFound;
}

Boolean TavZoStringGetIntAfterString(ZoStringRef string, ZoStringRef marker, int32_t* valueOut)
{
    if (!isString(string) || !isString(marker) || !ZoStringHasPrefix(string, marker)) return false;
    const ZoIndex start = ZoStringGetLength(marker);
    const ZoRange behind = ZoRangeMake(start, ZoStringGetLength(string) - start);
    const auto rest = zoAdopt(ZoStringCreateWithSubstring(nullptr, string, behind));
    if (!rest) return false;
    const int32_t value = ZoStringGetIntValue(rest.get());
    if (value == 0 && ZoStringCompare(rest.get(), ZOSTR("0"), kZoCompareCaseInsensitive) != kZoCompareEqualTo)
        return false;
    if (valueOut) *valueOut = value;
    return true;
}

ZoStringRef TavZoStringCreateLoggingIdentifierOfLength(ZoAllocatorRef allocator, ZoIndex length)
{
    auto* letters = static_cast<uint8_t*>(ZoAllocatorAllocate(allocator, length, 0));
    if (!letters) return nullptr;
    for (ZoIndex i = 0; i < length; ++i) letters[i] = static_cast<uint8_t>('A' + arc4random_uniform(26));
    const ZoStringRef string =
        ZoStringCreateWithBytesNoCopy(allocator, letters, length, kZoStringEncodingASCII, false, allocator);
    if (!string) ZoAllocatorDeallocate(allocator, letters);
    return string;
}

static ZoRef<ZoMutableStringRef> repeated(ZoStringRef text, ZoIndex count, ZoStringRef before)
{
    auto result = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, before));
    for (ZoIndex i = 0; result && isString(text) && i < count; ++i) ZoStringAppend(result.get(), text);
    return result;
}

void TavZoStringInsertIndent(ZoMutableStringRef string, ZoStringRef indent, ZoStringRef continuation, ZoIndex count)
{
    if (!isString(string)) return;
    const auto first = repeated(indent, count, ZOSTR(""));
    const auto further = repeated(continuation, count, ZOSTR("\n"));
    if (!first || !further) return;
    ZoStringInsert(string, 0, first.get());
    ZoStringFindAndReplace(string, ZOSTR("\n"), further.get(), ZoRangeMake(0, ZoStringGetLength(string)), 0);
}

ZoStringRef TavZoStringCopyWithIndent(ZoStringRef string, ZoStringRef indent, ZoStringRef continuation, ZoIndex count)
{
    if (!isString(string)) return nullptr;
    const auto copy = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, string));
    if (!copy) return nullptr;
    TavZoStringInsertIndent(copy.get(), indent, continuation, count);
    return ZoStringCreateCopy(nullptr, copy.get());
}

OSStatus TavZoAttributedStringSetDouble(ZoMutableAttributedStringRef string, ZoIndex location, ZoIndex length,
                                        ZoStringRef key, double value)
{
    if (!string) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL string");
    if (!key) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL key");
    const auto number = zoAdopt(ZoNumberCreate(nullptr, kZoNumberDoubleType, &value));
    if (!number) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "ZoNumberCreate failed");
    ZoAttributedStringSetAttribute(string, ZoRangeMake(location, length), key, number.get());
    return 0;
}
