#include "Core/TavFormatDescription/TavFormatDescriptionPrivate.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Text/ZoString.h"
#include "Utilities/TavZoUtilities.h"

namespace {

// `keys` is a string or an array of strings; anything else names no key.
bool isAmong(ZoTypeRef keys, const void* key)
{
    if (!keys) return false;
    if (ZoGetTypeID(keys) == ZoStringGetTypeID()) return ZoEqual(keys, key);
    if (ZoGetTypeID(keys) != ZoArrayGetTypeID()) return false;
    const auto array = static_cast<ZoArrayRef>(keys);
    for (ZoIndex i = 0; i < ZoArrayGetCount(array); ++i)
        if (TavZoEqual(ZoArrayGetValueAtIndex(array, i), key)) return true;
    return false;
}

template <typename Visit>
void forEachPair(ZoDictionaryRef dictionary, Visit visit)
{
    if (!dictionary) return;
    const auto apply = [](const void* key, const void* value, void* context) {
        (*static_cast<Visit*>(context))(key, value);
    };
    ZoDictionaryApplyFunction(dictionary, apply, &visit);
}

// Of the pairs that count, each must have its like in the other, and neither may have more of them. Nothing is copied.
template <typename IsIgnored>
bool equalButFor(ZoDictionaryRef dictionary1, ZoDictionaryRef dictionary2, IsIgnored isIgnored)
{
    ZoIndex count1 = 0, count2 = 0;
    bool sameValues = true;
    forEachPair(dictionary1, [&](const void* key, const void* value) {
        if (!sameValues || isIgnored(key)) return;
        ++count1;
        sameValues = TavZoEqual(value, TavZoDictionaryGetValue(dictionary2, key));
    });
    if (!sameValues) return false;
    forEachPair(dictionary2, [&](const void* key, const void*) { count2 += isIgnored(key) ? 0 : 1; });
    return count1 == count2;
}

bool isAbsentOrDictionary(ZoTypeRef object) { return !object || ZoGetTypeID(object) == ZoDictionaryGetTypeID(); }

bool atomsAreEqual(ZoTypeRef atoms1, ZoTypeRef atoms2, ZoTypeRef keysToIgnore)
{
    if (!isAbsentOrDictionary(atoms1) || !isAbsentOrDictionary(atoms2)) return TavZoEqual(atoms1, atoms2);
    return equalButFor(static_cast<ZoDictionaryRef>(atoms1), static_cast<ZoDictionaryRef>(atoms2),
                       [&](const void* key) { return isAmong(keysToIgnore, key); });
}

}  // namespace

Boolean TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(ZoDictionaryRef dictionary1,
                                                                    ZoDictionaryRef dictionary2, ZoTypeRef keysToIgnore,
                                                                    ZoTypeRef extensionAtomKeysToIgnore)
{
    if (!keysToIgnore && !extensionAtomKeysToIgnore) {
        const bool bothEmpty = TavZoDictionaryGetCount(dictionary1) == 0 && TavZoDictionaryGetCount(dictionary2) == 0;
        return bothEmpty || TavZoEqual(dictionary1, dictionary2);
    }
    const ZoStringRef atomsKey = kLuFormatDescriptionExtension_SampleDescriptionExtensionAtoms;
    const bool atomsApart = extensionAtomKeysToIgnore && !isAmong(keysToIgnore, atomsKey);
    if (atomsApart && !atomsAreEqual(TavZoDictionaryGetValue(dictionary1, atomsKey),
                                     TavZoDictionaryGetValue(dictionary2, atomsKey), extensionAtomKeysToIgnore))
        return false;
    return equalButFor(dictionary1, dictionary2, [&](const void* key) {
        return ZoEqual(key, kLuFormatDescriptionExtension_VerbatimSampleDescription) ||
               ZoEqual(key, kLuFormatDescriptionExtension_VerbatimISOSampleEntry) ||
               (atomsApart && ZoEqual(key, atomsKey)) || isAmong(keysToIgnore, key);
    });
}

Boolean LuFormatDescriptionEqual(LuFormatDescriptionRef description1, LuFormatDescriptionRef description2)
{
    return TavZoEqual(description1, description2);
}

Boolean LuFormatDescriptionEqualIgnoringExtensionKeys(LuFormatDescriptionRef description1,
                                                      LuFormatDescriptionRef description2, ZoTypeRef keysToIgnore,
                                                      ZoTypeRef extensionAtomKeysToIgnore)
{
    if (!description1 || !description2) return description1 == description2;
    if (description1->mediaType != description2->mediaType || description1->mediaSubType != description2->mediaSubType)
        return false;
    // One may be older than the kind of their media type; its storage is not what that kind expects.
    const TavDerivedFormatDescriptionCallbacks* kind = description1->kind;
    if (kind != description2->kind) return false;
    return !kind || kind->equal(description1, description2, keysToIgnore, extensionAtomKeysToIgnore);
}
