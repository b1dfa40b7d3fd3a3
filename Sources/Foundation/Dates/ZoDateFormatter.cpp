// Date formatters, by ICU.

#include "Foundation/Dates/ZoDateFormatter.h"

#include <unicode/udat.h>

#include <cmath>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Dates/ZoRoomForICUPrivate.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoStringPrivate.h"
#include "Foundation/Values/ZoNumber.h"

ZO_DEFINE_STRING(kZoDateFormatterIsLenient, "kZoDateFormatterIsLenient");
ZO_DEFINE_STRING(kZoDateFormatterTimeZone, "kZoDateFormatterTimeZone");

struct ZoDateFormatter_ {
    ZoRuntimeBase base;
    UDateFormat* format;
};

static void dateFormatterFinalize(ZoTypeRef object)
{
    auto formatter = static_cast<const ZoDateFormatter_*>(object);
    if (formatter->format) udat_close(formatter->format);
}

const ZoRuntimeClass __ZoDateFormatterClass = {
    .version = 0,
    .className = "ZoDateFormatter",
    .init = nullptr,
    .copy = nullptr,
    .finalize = dateFormatterFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

static constexpr UDateFormatStyle kStyles[] = {UDAT_NONE, UDAT_SHORT, UDAT_MEDIUM, UDAT_LONG, UDAT_FULL};

ZoTypeID ZoDateFormatterGetTypeID(void) { return kZoTypeIDDateFormatter; }

static bool isFormatter(ZoDateFormatterRef formatter)
{
    return ZO_EXPECT(zoIsOfType(formatter, kZoTypeIDDateFormatter), "not a date formatter");
}

ZoDateFormatterRef ZoDateFormatterCreate(ZoAllocatorRef allocator, ZoLocaleRef locale, ZoDateFormatterStyle dateStyle,
                                         ZoDateFormatterStyle timeStyle)
{
    const auto isStyle = [](ZoDateFormatterStyle style) { return style >= 0 && style <= kZoDateFormatterFullStyle; };
    if (!ZO_EXPECT(isStyle(dateStyle) && isStyle(timeStyle), "no such style")) return nullptr;
    const auto usedLocale = locale ? ZoRef<ZoLocaleRef>::retain(locale) : zoAdopt(ZoLocaleCopyCurrent());
    if (!usedLocale) return nullptr;
    char name[ULOC_FULLNAME_CAPACITY];
    ZoStringGetCString(ZoLocaleGetIdentifier(usedLocale.get()), name, sizeof name, kZoStringEncodingASCII);
    constexpr ZoIndex kFields = sizeof(ZoDateFormatter_) - sizeof(ZoRuntimeBase);
    auto formatter = zoAdopt(static_cast<ZoDateFormatterRef>(
        const_cast<void*>(_ZoRuntimeCreateInstance(allocator, kZoTypeIDDateFormatter, kFields, nullptr))));
    if (!formatter) return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    if (!zoHasRoomForICU()) return nullptr;
    UDateFormat* format = udat_open(kStyles[timeStyle], kStyles[dateStyle], name, nullptr, -1, nullptr, 0, &error);
    formatter.get()->format = format;
    if (U_FAILURE(error) || !format) return nullptr;
    udat_setLenient(format, false);
    // What a parsed text does not name comes from the calendar's time.
    ucal_setMillis(const_cast<UCalendar*>(udat_getCalendar(format)), 0, &error);
    return formatter.release();
}

static void setTimeZone(UDateFormat* format, ZoTimeZoneRef timeZone)
{
    UChar units[128];
    ZoStringRef name = ZoTimeZoneGetName(timeZone);
    const ZoIndex length = ZoStringGetLength(name);
    ZoStringGetCharacters(name, {0, length}, reinterpret_cast<UniChar*>(units));
    UErrorCode error = U_ZERO_ERROR;
    auto* calendar = const_cast<UCalendar*>(udat_getCalendar(format));
    ucal_setTimeZone(calendar, units, static_cast<int32_t>(length), &error);
}

void ZoDateFormatterSetProperty(ZoDateFormatterRef formatter, ZoStringRef key, ZoTypeRef value)
{
    if (!isFormatter(formatter) || !ZO_EXPECT(zo::isString(key), "the key is not a string")) return;
    if (ZoEqual(key, kZoDateFormatterIsLenient) && zoIsOfType(value, kZoTypeIDBoolean))
        udat_setLenient(formatter->format, ZoBooleanGetValue(static_cast<ZoBooleanRef>(value)));
    if (ZoEqual(key, kZoDateFormatterTimeZone) && zoIsOfType(value, kZoTypeIDTimeZone))
        setTimeZone(formatter->format, static_cast<ZoTimeZoneRef>(value));
}

Boolean ZoDateFormatterGetAbsoluteTimeFromString(ZoDateFormatterRef formatter, ZoStringRef string, ZoRange* range,
                                                 ZoAbsoluteTime* at)
{
    if (at) *at = 0;
    if (!isFormatter(formatter) || !ZO_EXPECT(zo::isString(string), "not a string")) return false;
    const zo::TextView text = zo::textView(string);
    const ZoRange parsed = zo::rangeWithin(range ? *range : ZoRange{0, text.length}, text.length);
    if (range) *range = {parsed.location, 0};
    alignas(UniChar) uint8_t lent[256];
    zo::TextBuffer units(nullptr, lent, sizeof lent);
    if (parsed.length > INT32_MAX || !units.reserve(parsed.length, true)) return false;
    units.append(text.sub(parsed.location, parsed.length));
    UErrorCode error = U_ZERO_ERROR;
    int32_t position = 0;
    const UDate time = udat_parse(formatter->format, reinterpret_cast<const UChar*>(units.view().utf16()),
                                  static_cast<int32_t>(parsed.length), &position, &error);
    if (U_FAILURE(error) || !std::isfinite(time)) return false;
    if (range) range->length = position;
    if (at) *at = time / 1000 - kZoAbsoluteTimeIntervalSince1970;
    return true;
}

ZoStringRef ZoDateFormatterCreateStringWithAbsoluteTime(ZoAllocatorRef allocator, ZoDateFormatterRef formatter,
                                                        ZoAbsoluteTime at)
{
    if (!isFormatter(formatter) || !std::isfinite(at)) return nullptr;
    UChar units[512];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        udat_format(formatter->format, (at + kZoAbsoluteTimeIntervalSince1970) * 1000, units, 512, nullptr, &error);
    if (U_FAILURE(error) || length > 512) return nullptr;
    return ZoStringCreateWithCharacters(allocator, reinterpret_cast<const UniChar*>(units), length);
}
