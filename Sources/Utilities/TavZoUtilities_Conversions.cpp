// One collection from another: lists of keys and values, sets and arrays, merged and combined dictionaries.

#include <limits>

#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

/// The keys, or the values, of a dictionary as an array.
static ZoArrayRef copyList(ZoDictionaryRef dictionary, bool keys)
{
    const ZoIndex count = TavZoDictionaryGetCount(dictionary);
    if (count > std::numeric_limits<ZoIndex>::max() / static_cast<ZoIndex>(sizeof(void*))) return nullptr;
    const PointerList list = makePointerList(count);
    if (!list) return nullptr;
    if (count > 0) ZoDictionaryGetKeysAndValues(dictionary, keys ? list.get() : nullptr, keys ? nullptr : list.get());
    return ZoArrayCreate(nullptr, list.get(), count, &kZoTypeArrayCallBacks);
}

ZoArrayRef TavZoDictionaryCopyArrayOfValues(ZoDictionaryRef dictionary) { return copyList(dictionary, false); }

ZoArrayRef TavZoDictionaryCopyArrayOfKeys(ZoDictionaryRef dictionary) { return copyList(dictionary, true); }

ZoMutableArrayRef TavZoDictionaryCreateMappedArray(ZoDictionaryRef dictionary, ZoArrayRef keys)
{
    if (!keys) return TavZoArrayCreateMutableCopy(nullptr, 0, nullptr);
    const ZoIndex count = ZoArrayGetCount(keys);
    auto values = zoAdopt(ZoArrayCreateMutable(ZoGetAllocator(keys), count, &kZoTypeArrayCallBacks));
    for (ZoIndex i = 0; values && i < count; ++i) {
        const void* value = TavZoDictionaryGetValue(dictionary, ZoArrayGetValueAtIndex(keys, i));
        if (!append(values.get(), value ? value : kZoNull)) return nullptr;
    }
    return values.release();
}

OSStatus TavZoSetCopyValuesAsZoArray(ZoSetRef set, ZoArrayRef* valuesOut)
{
    if (!set) return 0;
    if (!valuesOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL valuesOut");
    const ZoIndex count = ZoSetGetCount(set);
    const PointerList list = makePointerList(count);
    if (!list) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
    if (count > 0) ZoSetGetValues(set, list.get());
    *valuesOut = ZoArrayCreate(nullptr, list.get(), count, &kZoTypeArrayCallBacks);
    return *valuesOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
}

OSStatus TavZoArrayCopyValuesAsZoSet(ZoArrayRef array, ZoSetRef* valuesOut)
{
    if (!array) return 0;
    if (!valuesOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL valuesOut");
    const ZoIndex count = ZoArrayGetCount(array);
    const PointerList list = makePointerList(count);
    if (!list) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
    if (count > 0) ZoArrayGetValues(array, ZoRangeMake(0, count), list.get());
    *valuesOut = ZoSetCreate(nullptr, list.get(), count, &kZoTypeSetCallBacks);
    return *valuesOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "alloc failed");
}

ZoMutableDictionaryRef TavZoDictionaryCreateCopyRemovingKeys(ZoDictionaryRef dictionary, const void* const* keys,
                                                             ZoIndex count)
{
    const ZoMutableDictionaryRef copy = TavZoDictionaryCreateMutableCopy(nullptr, 0, dictionary);
    for (ZoIndex i = 0; copy && keys && i < count; ++i)
        if (keys[i]) ZoDictionaryRemoveValue(copy, keys[i]);
    return copy;
}

namespace {

struct Merge {
    ZoMutableDictionaryRef destination;
    Boolean overwrite;
};

}  // namespace

static void mergeEntry(const Merge& merge, const void* key, const void* value)
{
    const void* present = ZoDictionaryGetValue(merge.destination, key);
    if (present && isDictionary(present) && isDictionary(value)) {
        // The caller sees to it that inner dictionaries of the destination are mutable.
        const auto inner = static_cast<ZoMutableDictionaryRef>(const_cast<void*>(present));
        TavZoDictionaryAddEntriesToDictionaryWithRecursion(static_cast<ZoDictionaryRef>(value), inner, merge.overwrite);
    } else if (!present || merge.overwrite) {
        ZoDictionarySetValue(merge.destination, key, value);
    }
}

void TavZoDictionaryAddEntriesToDictionaryWithRecursion(ZoDictionaryRef source, ZoMutableDictionaryRef destination,
                                                        Boolean overwrite)
{
    if (!isDictionary(source) || !isDictionary(destination)) return;
    const ZoIndex count = ZoDictionaryGetCount(source);
    const PointerList keys = makePointerList(count), values = makePointerList(count);
    if (count == 0 || !keys || !values) return;
    ZoDictionaryGetKeysAndValues(source, keys.get(), values.get());
    for (ZoIndex i = 0; i < count; ++i) mergeEntry({destination, overwrite}, keys[i], values[i]);
}

OSStatus TavZoCreateCombinedDictionary(ZoAllocatorRef allocator, const ZoDictionaryRef* dictionaries,
                                       ZoIndex dictionaryCount, ZoDictionaryRef* dictionaryOut)
{
    if (!dictionaryOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "! dictOut");
    *dictionaryOut = nullptr;
    if (dictionaryCount > 0 && !dictionaries)
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "numDicts > 0 && ! dicts");

    ZoIndex total = 0;
    for (ZoIndex i = 0; i < dictionaryCount; ++i) total += TavZoDictionaryGetCount(dictionaries[i]);
    const PointerList keys = makePointerList(total), values = makePointerList(total);
    if (!keys || !values) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "allocation failed");
    ZoIndex at = 0;
    for (ZoIndex i = 0; i < dictionaryCount; ++i) {
        const ZoIndex count = TavZoDictionaryGetCount(dictionaries[i]);
        if (count > 0) ZoDictionaryGetKeysAndValues(dictionaries[i], keys.get() + at, values.get() + at);
        at += count;
    }
    *dictionaryOut = ZoDictionaryCreate(allocator, keys.get(), values.get(), total, &kZoTypeDictionaryKeyCallBacks,
                                        &kZoTypeDictionaryValueCallBacks);
    return *dictionaryOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "allocation failed");
}
