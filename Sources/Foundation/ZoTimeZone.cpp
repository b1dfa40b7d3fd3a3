// Time zones by name. The rules behind a name are ICU's.

#include "Foundation/ZoTimeZone.h"

#include <unicode/ucal.h>

#include <cmath>
#include <cstdio>

#include "Foundation/ZoAssert.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoStringPrivate.h"

struct ZoTimeZone_ {
    ZoRuntimeBase base;
    ZoStringRef name;
};

static void timeZoneFinalize(ZoTypeRef object)
{
    if (ZoStringRef name = static_cast<ZoTimeZoneRef>(object)->name) ZoRelease(name);
}

static Boolean timeZoneEqual(ZoTypeRef a, ZoTypeRef b)
{
    return zo::stringsEqual(static_cast<ZoTimeZoneRef>(a)->name, static_cast<ZoTimeZoneRef>(b)->name);
}

static ZoHashCode timeZoneHash(ZoTypeRef object) { return zo::stringHash(static_cast<ZoTimeZoneRef>(object)->name); }

static ZoStringRef timeZoneCopyDescription(ZoTypeRef object)
{
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<ZoTimeZone %@>"),
                                    static_cast<ZoTimeZoneRef>(object)->name);
}

const ZoRuntimeClass __ZoTimeZoneClass = {
    .version = 0,
    .className = "ZoTimeZone",
    .init = nullptr,
    .copy = nullptr,
    .finalize = timeZoneFinalize,
    .equal = timeZoneEqual,
    .hash = timeZoneHash,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = timeZoneCopyDescription,
    .unused = {},
};

ZoTypeID ZoTimeZoneGetTypeID(void) { return kZoTypeIDTimeZone; }

static ZoTimeZoneRef timeZoneCreate(ZoAllocatorRef allocator, ZoRef<ZoStringRef> name)
{
    if (!name) return nullptr;
    constexpr ZoIndex kFields = sizeof(ZoTimeZone_) - sizeof(ZoRuntimeBase);
    auto timeZone =
        static_cast<ZoTimeZoneRef>(_ZoRuntimeCreateInstance(allocator, kZoTypeIDTimeZone, kFields, nullptr));
    if (timeZone) const_cast<ZoTimeZone_*>(timeZone)->name = name.release();
    return timeZone;
}

ZoTimeZoneRef ZoTimeZoneCreateWithTimeIntervalFromGMT(ZoAllocatorRef allocator, ZoTimeInterval interval)
{
    const double rounded = std::round(interval);
    if (!(std::fabs(rounded) < 86400)) return nullptr;
    const int seconds = std::abs(static_cast<int>(rounded));
    char name[32] = "GMT";
    if (seconds) {
        snprintf(name, sizeof name, "GMT%c%02d:%02d", rounded < 0 ? '-' : '+', seconds / 3600, seconds / 60 % 60);
        if (seconds % 60) snprintf(name + 9, sizeof name - 9, ":%02d", seconds % 60);
    }
    return timeZoneCreate(allocator, zoAdopt(ZoStringCreateWithCString(allocator, name, kZoStringEncodingASCII)));
}

ZoTimeZoneRef ZoTimeZoneCreateWithName(ZoAllocatorRef allocator, ZoStringRef name)
{
    if (!ZO_EXPECT(zo::isString(name), "the name is not a string")) return nullptr;
    UChar units[128], canonical[128];
    const ZoIndex length = ZoStringGetLength(name);
    if (length > 128) return nullptr;
    ZoStringGetCharacters(name, {0, length}, reinterpret_cast<UniChar*>(units));
    UErrorCode error = U_ZERO_ERROR;
    ucal_getCanonicalTimeZoneID(units, static_cast<int32_t>(length), canonical, 128, nullptr, &error);
    if (U_FAILURE(error)) return nullptr;
    return timeZoneCreate(allocator, zoAdopt(ZoStringCreateCopy(allocator, name)));
}

ZoTimeZoneRef ZoTimeZoneCopyDefault(void)
{
    UChar units[128];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = ucal_getDefaultTimeZone(units, 128, &error);
    if (U_FAILURE(error) || length > 128) return ZoTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 0);
    return timeZoneCreate(
        nullptr, zoAdopt(ZoStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(units), length)));
}

ZoStringRef ZoTimeZoneGetName(ZoTimeZoneRef timeZone)
{
    return ZO_EXPECT(zoIsOfType(timeZone, kZoTypeIDTimeZone), "not a time zone") ? timeZone->name : nullptr;
}
