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

/// Of the pairs that count, each must have its like in the other dictionary. Whether a key is ignored is asked only
/// where the two differ, which is seldom. Nothing is copied.
template <typename IsIgnored>
class Comparison {
public:
    Comparison(ZoDictionaryRef dictionary1, ZoDictionaryRef dictionary2, IsIgnored isIgnored)
        : dictionary1_(dictionary1), dictionary2_(dictionary2), isIgnored_(isIgnored)
    {}

    bool run()
    {
        if (dictionary1_) ZoDictionaryApplyFunction(dictionary1_, compareWithSecond, this);
        if (same_ && TavZoDictionaryGetCount(dictionary2_) != keysOfBoth_)
            ZoDictionaryApplyFunction(dictionary2_, lookForInFirst, this);
        return same_;
    }

private:
    static bool find(ZoDictionaryRef dictionary, const void* key, const void** value)
    {
        return dictionary && ZoDictionaryGetValueIfPresent(dictionary, key, value);
    }
    static void compareWithSecond(const void* key, const void* value, void* context)
    {
        auto* self = static_cast<Comparison*>(context);
        if (!self->same_) return;
        const void* other = nullptr;
        const bool isInBoth = find(self->dictionary2_, key, &other);
        self->keysOfBoth_ += isInBoth;
        self->same_ = (isInBoth && TavZoEqual(value, other)) || self->isIgnored_(key);
    }
    static void lookForInFirst(const void* key, const void*, void* context)
    {
        auto* self = static_cast<Comparison*>(context);
        self->same_ = self->same_ && (find(self->dictionary1_, key, nullptr) || self->isIgnored_(key));
    }

    ZoDictionaryRef dictionary1_, dictionary2_;
    IsIgnored isIgnored_;
    ZoIndex keysOfBoth_ = 0;
    bool same_ = true;
};

bool isAbsentOrDictionary(ZoTypeRef object) { return !object || ZoGetTypeID(object) == ZoDictionaryGetTypeID(); }

bool atomsAreEqual(ZoTypeRef atoms1, ZoTypeRef atoms2, ZoTypeRef keysToIgnore)
{
    if (!isAbsentOrDictionary(atoms1) || !isAbsentOrDictionary(atoms2)) return TavZoEqual(atoms1, atoms2);
    const auto isIgnored = [&](const void* key) { return isAmong(keysToIgnore, key); };
    return Comparison(static_cast<ZoDictionaryRef>(atoms1), static_cast<ZoDictionaryRef>(atoms2), isIgnored).run();
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
    const auto isIgnored = [&](const void* key) {
        return ZoEqual(key, kLuFormatDescriptionExtension_VerbatimSampleDescription) ||
               ZoEqual(key, kLuFormatDescriptionExtension_VerbatimISOSampleEntry) ||
               (atomsApart && ZoEqual(key, atomsKey)) || isAmong(keysToIgnore, key);
    };
    return Comparison(dictionary1, dictionary2, isIgnored).run();
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
