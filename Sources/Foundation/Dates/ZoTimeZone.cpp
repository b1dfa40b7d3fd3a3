// Time zones by name. The rules behind a name are ICU's.

#include "Foundation/Dates/ZoTimeZone.h"

#include <unicode/ucal.h>

#include <cmath>
#include <cstdio>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoNamedObjectPrivate.h"

constinit const ZoRuntimeClass __ZoTimeZoneClass = zoNamedObjectClass("ZoTimeZone");

ZoTypeID ZoTimeZoneGetTypeID(void) { return kZoTypeIDTimeZone; }

static ZoTimeZoneRef timeZoneCreate(ZoAllocatorRef allocator, ZoRef<ZoStringRef> name)
{
    return zoCreateNamedObject<ZoTimeZoneRef>(allocator, kZoTypeIDTimeZone, std::move(name));
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
    return ZO_EXPECT(zoIsOfType(timeZone, kZoTypeIDTimeZone), "not a time zone") ? zoNameOf(timeZone) : nullptr;
}
