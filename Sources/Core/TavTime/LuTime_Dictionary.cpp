#include "Core/TavTime/LuTime.h"
#include "Core/TavTime/TavTimeForms.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Images/YxImageBuffer.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"

ZO_DEFINE_STRING(kLuTimeValueKey, "value");
ZO_DEFINE_STRING(kLuTimeScaleKey, "timescale");
ZO_DEFINE_STRING(kLuTimeEpochKey, "epoch");
ZO_DEFINE_STRING(kLuTimeFlagsKey, "flags");

static ZoNumberRef createInt64(ZoAllocatorRef allocator, int64_t number)
{
    return ZoNumberCreate(allocator, kZoNumberSInt64Type, &number);
}

static ZoNumberRef createInt32(ZoAllocatorRef allocator, int32_t number)
{
    return ZoNumberCreate(allocator, kZoNumberSInt32Type, &number);
}

static bool getNumber(ZoDictionaryRef dictionary, ZoStringRef key, ZoNumberType type, void* out)
{
    const void* number = ZoDictionaryGetValue(dictionary, key);
    return number && ZoGetTypeID(number) == ZoNumberGetTypeID() &&
           ZoNumberGetValue(static_cast<ZoNumberRef>(number), type, out);
}

ZoDictionaryRef LuTimeCopyAsDictionary(ZoAllocatorRef allocator, LuTime time)
{
    const auto value = zoAdopt<ZoTypeRef>(createInt64(allocator, time.value));
    const auto timescale = zoAdopt<ZoTypeRef>(createInt32(allocator, time.timescale));
    const auto epoch = zoAdopt<ZoTypeRef>(createInt64(allocator, time.epoch));
    const auto flags = zoAdopt<ZoTypeRef>(createInt32(allocator, static_cast<int32_t>(time.flags)));
    return tavtime::createDictionary(allocator, {{kLuTimeValueKey, value.get()},
                                                 {kLuTimeScaleKey, timescale.get()},
                                                 {kLuTimeEpochKey, epoch.get()},
                                                 {kLuTimeFlagsKey, flags.get()}});
}

LuTime LuTimeMakeFromDictionary(ZoDictionaryRef dictionary)
{
    LuTime time;
    int32_t flags;
    if (!tavtime::isDictionary(dictionary) ||
        !getNumber(dictionary, kLuTimeValueKey, kZoNumberSInt64Type, &time.value) ||
        !getNumber(dictionary, kLuTimeScaleKey, kZoNumberSInt32Type, &time.timescale) ||
        !getNumber(dictionary, kLuTimeEpochKey, kZoNumberSInt64Type, &time.epoch) ||
        !getNumber(dictionary, kLuTimeFlagsKey, kZoNumberSInt32Type, &flags))
        return kLuTimeInvalid;
    time.flags = static_cast<LuTimeFlags>(flags);
    return time;
}

ZoDictionaryRef LuTimeCopyAsYxBufferTimeDictionary(ZoAllocatorRef allocator, LuTime time)
{
    if (!LuTimeIsNumeric(time)) return nullptr;
    const auto value = zoAdopt<ZoTypeRef>(createInt64(allocator, time.value));
    const auto timescale = zoAdopt<ZoTypeRef>(createInt32(allocator, time.timescale));
    return tavtime::createDictionary(allocator,
                                     {{kYxBufferTimeValueKey, value.get()}, {kYxBufferTimeScaleKey, timescale.get()}});
}

LuTime LuTimeMakeFromYxBufferTimeDictionary(ZoDictionaryRef dictionary)
{
    LuTime time = {0, 0, kLuTimeFlags_Valid, 0};
    if (!tavtime::isDictionary(dictionary) ||
        !getNumber(dictionary, kYxBufferTimeValueKey, kZoNumberSInt64Type, &time.value) ||
        !getNumber(dictionary, kYxBufferTimeScaleKey, kZoNumberSInt32Type, &time.timescale))
        return kLuTimeInvalid;
    return time;
}
