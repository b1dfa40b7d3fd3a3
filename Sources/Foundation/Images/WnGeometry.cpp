#include "Foundation/Images/WnGeometry.h"

#include <span>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

ZO_DEFINE_STRING(kX, "X");
ZO_DEFINE_STRING(kY, "Y");
ZO_DEFINE_STRING(kWidth, "Width");
ZO_DEFINE_STRING(kHeight, "Height");

// A rectangle's doubles in the order of its fields: a point has the first two, a size the last two.
constexpr size_t kRectDoubles = 4;
using Keys = std::span<const ZoStringRef>;

const ZoStringRef kRectKeys[kRectDoubles] = {kX, kY, kWidth, kHeight};

Keys pointKeys() { return Keys(kRectKeys).first(2); }
Keys sizeKeys() { return Keys(kRectKeys).last(2); }

ZoDictionaryRef createDictionary(Keys keys, const WnFloat* doubles)
{
    const void* keyObjects[kRectDoubles];
    const void* values[kRectDoubles];
    ZoRef<ZoNumberRef> numbers[kRectDoubles];
    for (size_t i = 0; i < keys.size(); ++i) {
        numbers[i].reset(ZoNumberCreate(nullptr, kZoNumberGeometryFloatType, &doubles[i]));
        if (!numbers[i]) return nullptr;
        keyObjects[i] = keys[i];
        values[i] = numbers[i].get();
    }
    return ZoDictionaryCreate(nullptr, keyObjects, values, static_cast<ZoIndex>(keys.size()),
                              &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks);
}

bool readDictionary(ZoDictionaryRef dictionary, Keys keys, WnFloat* doubles)
{
    if (!dictionary) return false;
    for (size_t i = 0; i < keys.size(); ++i) {
        const void* number = ZoDictionaryGetValue(dictionary, keys[i]);
        if (!number || ZoGetTypeID(number) != ZoNumberGetTypeID()) return false;
        // An integer of more than 53 bits is rounded, which is as near as a double gets.
        (void)ZoNumberGetValue(static_cast<ZoNumberRef>(number), kZoNumberGeometryFloatType, &doubles[i]);
    }
    return true;
}

}  // namespace

ZoDictionaryRef WnPointCreateDictionaryRepresentation(WnPoint point)
{
    const WnFloat doubles[] = {point.x, point.y};
    return createDictionary(pointKeys(), doubles);
}

ZoDictionaryRef WnSizeCreateDictionaryRepresentation(WnSize size)
{
    const WnFloat doubles[] = {size.width, size.height};
    return createDictionary(sizeKeys(), doubles);
}

ZoDictionaryRef WnRectCreateDictionaryRepresentation(WnRect rect)
{
    const WnFloat doubles[] = {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
    return createDictionary(kRectKeys, doubles);
}

Boolean WnPointMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnPoint* point)
{
    WnFloat doubles[2];
    if (!point || !readDictionary(dictionary, pointKeys(), doubles)) return false;
    *point = {doubles[0], doubles[1]};
    return true;
}

Boolean WnSizeMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnSize* size)
{
    WnFloat doubles[2];
    if (!size || !readDictionary(dictionary, sizeKeys(), doubles)) return false;
    *size = {doubles[0], doubles[1]};
    return true;
}

Boolean WnRectMakeWithDictionaryRepresentation(ZoDictionaryRef dictionary, WnRect* rect)
{
    WnFloat doubles[kRectDoubles];
    if (!rect || !readDictionary(dictionary, kRectKeys, doubles)) return false;
    *rect = {{doubles[0], doubles[1]}, {doubles[2], doubles[3]}};
    return true;
}
