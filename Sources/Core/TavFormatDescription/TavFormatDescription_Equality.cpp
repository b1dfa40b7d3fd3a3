#include "Core/TavFormatDescription/TavFormatDescriptionPrivate.h"
#include "Foundation/ZoArray.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"
#include "Utilities/TavZoUtilities.h"

/// `keys` is a string or an array of strings; anything else removes nothing.
static void tavFormatDescriptionRemoveKeys(ZoMutableDictionaryRef dictionary, ZoTypeRef keys)
{
    if (!keys) return;
    if (ZoGetTypeID(keys) == ZoStringGetTypeID()) {
        ZoDictionaryRemoveValue(dictionary, keys);
    } else if (ZoGetTypeID(keys) == ZoArrayGetTypeID()) {
        const auto array = static_cast<ZoArrayRef>(keys);
        for (ZoIndex i = 0; i < ZoArrayGetCount(array); ++i)
            ZoDictionaryRemoveValue(dictionary, ZoArrayGetValueAtIndex(array, i));
    }
}

namespace {

/// The extensions of one description on their way to a comparison.
struct Compared {
    ZoRef<ZoMutableDictionaryRef> extensions;
    ZoRef<ZoMutableDictionaryRef> atoms;

    Compared(ZoDictionaryRef dictionary, ZoTypeRef keysToIgnore)
        : extensions(zoAdopt(TavZoDictionaryCreateMutableCopy(nullptr, 0, dictionary)))
    {
        ZoDictionaryRemoveValue(extensions.get(), kLuFormatDescriptionExtension_VerbatimSampleDescription);
        ZoDictionaryRemoveValue(extensions.get(), kLuFormatDescriptionExtension_VerbatimISOSampleEntry);
        tavFormatDescriptionRemoveKeys(extensions.get(), keysToIgnore);
    }

    void takeAtomsOut(ZoTypeRef atomKeysToIgnore)
    {
        const ZoStringRef key = kLuFormatDescriptionExtension_SampleDescriptionExtensionAtoms;
        const ZoDictionaryRef all = TavZoDictionaryGetDictionaryValue(extensions.get(), key);
        atoms = zoAdopt(TavZoDictionaryCreateMutableCopy(nullptr, 0, all));
        if (all) ZoDictionaryRemoveValue(extensions.get(), key);
        tavFormatDescriptionRemoveKeys(atoms.get(), atomKeysToIgnore);
    }
};

}  // namespace

Boolean TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(ZoDictionaryRef dictionary1,
                                                                    ZoDictionaryRef dictionary2, ZoTypeRef keysToIgnore,
                                                                    ZoTypeRef extensionAtomKeysToIgnore)
{
    if (!keysToIgnore && !extensionAtomKeysToIgnore) {
        const bool bothEmpty = TavZoDictionaryGetCount(dictionary1) == 0 && TavZoDictionaryGetCount(dictionary2) == 0;
        return bothEmpty || TavZoEqual(dictionary1, dictionary2);
    }
    Compared side1(dictionary1, keysToIgnore), side2(dictionary2, keysToIgnore);
    if (extensionAtomKeysToIgnore) {
        side1.takeAtomsOut(extensionAtomKeysToIgnore);
        side2.takeAtomsOut(extensionAtomKeysToIgnore);
        if (!TavZoEqual(side1.atoms.get(), side2.atoms.get())) return false;
    }
    return TavZoEqual(side1.extensions.get(), side2.extensions.get());
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
    const LuMediaType mediaType = LuFormatDescriptionGetMediaType(description1);
    if (mediaType != LuFormatDescriptionGetMediaType(description2)) return false;
    if (LuFormatDescriptionGetMediaSubType(description1) != LuFormatDescriptionGetMediaSubType(description2))
        return false;
    if (mediaType == 0) return true;
    const TavDerivedFormatDescriptionCallbacks* kind = tavFormatDescriptionGetKindOrGeneric(mediaType);
    return !kind || kind->equal(description1, description2, keysToIgnore, extensionAtomKeysToIgnore);
}
