// The Gregorian calendar, by ICU.

#include "Foundation/Dates/ZoCalendar.h"

#include <unicode/ucal.h>

#include <cmath>
#include <cstdarg>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoRoomForICUPrivate.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"

ZO_DEFINE_STRING(kZoGregorianCalendar, "gregorian");

struct ZoCalendar_ {
    ZoRuntimeBase base;
    UCalendar* calendar;
    ZoTimeZoneRef timeZone;
};

static void calendarFinalize(ZoTypeRef object)
{
    auto calendar = static_cast<const ZoCalendar_*>(object);
    if (calendar->calendar) ucal_close(calendar->calendar);
    if (calendar->timeZone) ZoRelease(calendar->timeZone);
}

const ZoRuntimeClass __ZoCalendarClass = {
    .version = 0,
    .className = "ZoCalendar",
    .init = nullptr,
    .copy = nullptr,
    .finalize = calendarFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

ZoTypeID ZoCalendarGetTypeID(void) { return kZoTypeIDCalendar; }

static bool isCalendar(ZoCalendarRef calendar)
{
    return ZO_EXPECT(zoIsOfType(calendar, kZoTypeIDCalendar), "not a calendar");
}

ZoCalendarRef ZoCalendarCreateWithIdentifier(ZoAllocatorRef allocator, ZoStringRef identifier)
{
    if (!ZO_EXPECT(zo::isString(identifier), "the identifier is not a string") ||
        !ZoEqual(identifier, kZoGregorianCalendar))
        return nullptr;
    constexpr ZoIndex kFields = sizeof(ZoCalendar_) - sizeof(ZoRuntimeBase);
    auto calendar = zoAdopt(static_cast<ZoCalendarRef>(
        const_cast<void*>(_ZoRuntimeCreateInstance(allocator, kZoTypeIDCalendar, kFields, nullptr))));
    if (!calendar) return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    if (!zoHasRoomForICU()) return nullptr;
    calendar.get()->calendar = ucal_open(nullptr, 0, "en_US_POSIX", UCAL_GREGORIAN, &error);
    if (U_FAILURE(error) || !calendar.get()->calendar) return nullptr;
    auto timeZone = zoAdopt(ZoTimeZoneCopyDefault());
    if (!timeZone) return nullptr;
    ZoCalendarSetTimeZone(calendar.get(), timeZone.get());
    return calendar.release();
}

ZoTimeZoneRef ZoCalendarCopyTimeZone(ZoCalendarRef calendar)
{
    if (!isCalendar(calendar)) return nullptr;
    return static_cast<ZoTimeZoneRef>(ZoRetain(calendar->timeZone));
}

void ZoCalendarSetTimeZone(ZoCalendarRef calendar, ZoTimeZoneRef timeZone)
{
    if (!isCalendar(calendar) || !ZO_EXPECT(zoIsOfType(timeZone, kZoTypeIDTimeZone), "not a time zone")) return;
    UChar units[128];
    ZoStringRef name = ZoTimeZoneGetName(timeZone);
    const ZoIndex length = ZoStringGetLength(name);
    ZoStringGetCharacters(name, {0, length}, reinterpret_cast<UniChar*>(units));
    UErrorCode error = U_ZERO_ERROR;
    ucal_setTimeZone(calendar->calendar, units, static_cast<int32_t>(length), &error);
    ZoRetain(timeZone);
    if (calendar->timeZone) ZoRelease(calendar->timeZone);
    calendar->timeZone = timeZone;
}

struct CalendarComponent {
    char letter;
    UCalendarDateFields field;
    int32_t base;   // our value less ICU's
    int32_t first;  // ICU's, in the first moment of year 1
};

static constexpr CalendarComponent kComponents[] = {
    {'y', UCAL_EXTENDED_YEAR, 0, 1}, {'M', UCAL_MONTH, 1, 0},  {'d', UCAL_DATE, 0, 1},
    {'H', UCAL_HOUR_OF_DAY, 0, 0},   {'m', UCAL_MINUTE, 0, 0}, {'s', UCAL_SECOND, 0, 0},
};

static const CalendarComponent* componentFor(char letter)
{
    for (const CalendarComponent& component : kComponents)
        if (component.letter == letter) return &component;
    return nullptr;
}

static bool composeTime(UCalendar* calendar, ZoAbsoluteTime* at, const char* components, va_list values)
{
    ucal_clear(calendar);
    for (const CalendarComponent& component : kComponents) ucal_set(calendar, component.field, component.first);
    for (; *components; ++components) {
        const CalendarComponent* component = componentFor(*components);
        int32_t value = va_arg(values, int);
        if (!component || __builtin_sub_overflow(value, component->base, &value)) return false;
        ucal_set(calendar, component->field, value);
    }
    UErrorCode error = U_ZERO_ERROR;
    const UDate time = ucal_getMillis(calendar, &error);
    if (U_FAILURE(error) || !std::isfinite(time)) return false;
    *at = time / 1000 - kZoAbsoluteTimeIntervalSince1970;
    return true;
}

Boolean ZoCalendarComposeAbsoluteTime(ZoCalendarRef calendar, ZoAbsoluteTime* at, const char* components, ...)
{
    if (at) *at = 0;
    if (!isCalendar(calendar) || !ZO_EXPECT(at && components, "no time or components")) return false;
    va_list values;
    va_start(values, components);
    const bool ok = composeTime(calendar->calendar, at, components, values);
    va_end(values);
    return ok;
}

/// The times that ICU's fields can hold; it pins what is outside.
static constexpr double kLargestMilliseconds = 183882168921600000.0;

Boolean ZoCalendarDecomposeAbsoluteTime(ZoCalendarRef calendar, ZoAbsoluteTime at, const char* components, ...)
{
    if (!isCalendar(calendar) || !ZO_EXPECT(components, "no components")) return false;
    const double milliseconds = std::floor((at + kZoAbsoluteTimeIntervalSince1970) * 1000);
    bool ok = std::fabs(milliseconds) < kLargestMilliseconds;
    for (const char* letter = components; *letter; ++letter) ok = ok && componentFor(*letter);
    UErrorCode error = U_ZERO_ERROR;
    if (ok) ucal_setMillis(calendar->calendar, milliseconds, &error);
    va_list values;
    va_start(values, components);
    for (; *components; ++components) {
        int* value = va_arg(values, int*);
        const CalendarComponent* component = ok ? componentFor(*components) : nullptr;
        *value = component ? ucal_get(calendar->calendar, component->field, &error) + component->base : 0;
    }
    va_end(values);
    return ok && U_SUCCESS(error);
}
