// The data form from arbitrary bytes, and the dictionary form of what is found; each writes what it reads.

#include <cstdint>
#include <cstdlib>

#include "Core/TavTag/LuTagCollection.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavNote.h"
#include "Utilities/TavBigEndian.h"

static void mustBeEqual(LuTagCollectionRef read, LuTagCollectionRef collection)
{
    if (!read || !ZoEqual(read, collection)) abort();
    ZoRelease(read);
}

// Without an order, of two tags that compare equal one may be lost on the way; a dictionary drops bit 30 of the type.
static bool comesBackAsItWent(LuTagCollectionRef collection)
{
    const auto isOdd = [](LuTag tag, void* found) -> Boolean {
        const bool odd = LuTagHasFloat64Value(tag) || tag.category > INT32_MAX || tag.dataType > INT32_MAX ||
                         LuTagGetValueDataType(tag) != tag.dataType || tag.dataType == kLuTagDataType_Invalid;
        if (odd) *static_cast<bool*>(found) = true;
        return odd;
    };
    bool found = false;
    LuTagCollectionApplyUntil(collection, isOdd, &found);
    return !found;
}

static void fromDictionary(const uint8_t* data, size_t size)
{
    const auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    const ZoStringRef keys[] = {kLuTagCategoryKey, kLuTagDataTypeKey, kLuTagValueKey};
    for (; size >= 16; data += 16, size -= 16) {
        const auto tag = zoAdopt(
            ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
        for (size_t i = 0; i < 3; ++i) {
            const auto value = static_cast<int64_t>(i == 2 ? loadBE64(data + 8) : loadBE32(data + 4 * i));
            const auto number = zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value));
            if (data[8] % 16 == 15 && i == 1) continue;
            ZoDictionarySetValue(tag.get(), keys[i],
                                 data[8] % 16 == 14 ? static_cast<ZoTypeRef>(ZOSTR("7")) : number.get());
        }
        ZoArrayAppendValue(array.get(), data[8] % 16 == 13 ? static_cast<ZoTypeRef>(ZOSTR("no tag")) : tag.get());
    }
    const void* key = kLuTagCollectionTagsArrayKey;
    const void* value = array.get();
    const auto dictionary = zoAdopt(
        ZoDictionaryCreate(nullptr, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    LuTagCollectionRef collection = nullptr;
    if (LuTagCollectionCreateFromDictionary(dictionary.get(), nullptr, &collection) == 0) ZoRelease(collection);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gTavLogControl = kTavLogControl_Off;
    fromDictionary(data, size);
    const auto bytes = zoAdopt(ZoDataCreate(nullptr, data, static_cast<ZoIndex>(size)));
    LuTagCollectionRef collection = nullptr, read = nullptr;
    if (LuTagCollectionCreateFromData(bytes.get(), nullptr, &collection) != 0) return 0;
    const auto owner = zoAdopt(collection);
    const auto text = zoAdopt(LuTagCollectionCopyDescription(nullptr, collection));
    const auto written = zoAdopt(LuTagCollectionCopyAsData(collection, nullptr));
    const auto dictionary = zoAdopt(LuTagCollectionCopyAsDictionary(collection, nullptr));
    if (!text || !written || !dictionary) abort();
    if (LuTagCollectionCreateFromData(written.get(), nullptr, &read) != 0) abort();
    if (!comesBackAsItWent(collection)) {
        ZoRelease(read);
        return 0;
    }
    mustBeEqual(read, collection);
    read = nullptr;
    if (LuTagCollectionCreateFromDictionary(dictionary.get(), nullptr, &read) != 0) abort();
    mustBeEqual(read, collection);
    return 0;
}
