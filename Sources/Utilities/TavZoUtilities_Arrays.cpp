// Arrays that may be absent, and ranges.

#include "Utilities/TavZoUtilitiesPrivate.h"

static ZoIndex countOf(ZoArrayRef array) { return array ? ZoArrayGetCount(array) : 0; }

static ZoRange wholeOf(ZoArrayRef array) { return ZoRangeMake(0, countOf(array)); }

ZoMutableArrayRef TavZoArrayCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoArrayRef array)
{
    return array ? ZoArrayCreateMutableCopy(allocator, capacity, array)
                 : ZoArrayCreateMutable(allocator, capacity, &kZoTypeArrayCallBacks);
}

ZoArrayRef TavZoArrayCreateCopy(ZoAllocatorRef allocator, ZoArrayRef array)
{
    return array ? ZoArrayCreateCopy(allocator, array) : ZoArrayCreate(allocator, nullptr, 0, &kZoTypeArrayCallBacks);
}

ZoArrayRef TavZoArrayCreateConcatenationOfTwoArrays(ZoArrayRef array1, ZoArrayRef array2)
{
    if (!array1 || !array2) {
        const ZoArrayRef only = array1 ? array1 : array2;
        return TavZoArrayCreateCopy(only ? ZoGetAllocator(only) : nullptr, only);
    }
    auto both = zoAdopt(ZoArrayCreateMutableCopy(ZoGetAllocator(array1), countOf(array1) + countOf(array2), array1));
    if (!both) return nullptr;
    ZoArrayAppendArray(both.get(), array2, wholeOf(array2));
    return countOf(both.get()) == countOf(array1) + countOf(array2) ? both.release() : nullptr;
}

void TavZoArrayAppendArray(ZoMutableArrayRef destination, ZoArrayRef source)
{
    if (destination && source) ZoArrayAppendArray(destination, source, wholeOf(source));
}

void TavZoArrayRemoveAllValues(ZoMutableArrayRef array)
{
    if (array) ZoArrayRemoveAllValues(array);
}

Boolean TavZoArrayContainsValue(ZoArrayRef array, const void* value)
{
    return array && ZoArrayContainsValue(array, wholeOf(array), value);
}

ZoIndex TavZoArrayGetFirstIndexOfValue(ZoArrayRef array, const void* value)
{
    if (!value || countOf(array) == 0) return kZoNotFound;
    return ZoArrayGetFirstIndexOfValue(array, wholeOf(array), value);
}

ZoIndex TavZoArrayGetLastIndexOfValue(ZoArrayRef array, const void* value)
{
    if (!value || countOf(array) == 0) return kZoNotFound;
    return ZoArrayGetLastIndexOfValue(array, wholeOf(array), value);
}

Boolean TavZoArrayRemoveLastElementOfValue(ZoMutableArrayRef array, const void* value)
{
    const ZoIndex index = TavZoArrayGetLastIndexOfValue(array, value);
    if (index == kZoNotFound) return false;
    ZoArrayRemoveValueAtIndex(array, index);
    return true;
}

const void* TavZoArrayGetValueAtIndex(ZoArrayRef array, ZoIndex index)
{
    return index >= 0 && index < countOf(array) ? ZoArrayGetValueAtIndex(array, index) : nullptr;
}

const void* TavZoArrayGetFirstValue(ZoArrayRef array) { return TavZoArrayGetValueAtIndex(array, 0); }

const void* TavZoArrayGetLastValue(ZoArrayRef array) { return TavZoArrayGetValueAtIndex(array, countOf(array) - 1); }

void TavZoArrayApplyFunction(ZoArrayRef array, ZoArrayApplierFunction function, void* context)
{
    if (array) ZoArrayApplyFunction(array, wholeOf(array), function, context);
}

void TavZoArrayApplyBlock(ZoArrayRef array, const std::function<void(const void* value)>& block)
{
    if (!block) return;
    const auto apply = [](const void* value, void* context) {
        (*static_cast<const std::function<void(const void*)>* const*>(context))->operator()(value);
    };
    auto* pointer = &block;
    TavZoArrayApplyFunction(array, apply, &pointer);
}

void TavZoArrayForEach2(ZoArrayRef array1, ZoArrayRef array2, TavZoArrayForEach2Function function, void* context)
{
    const ZoIndex count1 = countOf(array1), count2 = countOf(array2);
    if (count1 != count2) (void)TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "counts of a1 and a2 do not match");
    for (ZoIndex i = 0; i < count1 && i < count2; ++i)
        function(ZoArrayGetValueAtIndex(array1, i), ZoArrayGetValueAtIndex(array2, i), context);
}

Boolean TavZoRangeEqual(ZoRange range1, ZoRange range2)
{
    return range1.location == range2.location && range1.length == range2.length;
}

ZoIndex TavZoRangeGetLimit(ZoRange range) { return range.location + range.length; }
