#include "Utilities/TavZoUtilities_Dates.h"

#include <ctime>

#include "Foundation/Dates/ZoDateFormatter.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Utilities/TavZoUtilitiesPrivate.h"
#include "Utilities/TavZoUtilities_Calendar.h"
#include "Utilities/TavZoUtilities_Language.h"

// MARK: ISO 8601

/// What strptime(3) reads of `text` by the first format that fits; `rest` is what follows.
static bool parseByFormats(const char* text, std::initializer_list<const char*> formats, tm& parsed, const char*& rest)
{
    for (const char* format : formats) {
        parsed = {};
        rest = strptime(text, format, &parsed);
        if (rest) return true;
    }
    return false;
}

/// Fills year and month, as people count them, and day.
static bool getToday(const TavZoCalendarGroup& group, tm& parsed)
{
    const TavSimpleMutexGuard guard(group.calendarMutex);
    return ZoCalendarDecomposeAbsoluteTime(group.gregorianCalendar, ZoAbsoluteTimeGetCurrent(), "Mdy", &parsed.tm_mon,
                                           &parsed.tm_mday, &parsed.tm_year);
}

static bool compose(const TavZoCalendarGroup& group, const tm& parts, ZoAbsoluteTime* at)
{
    return ZoCalendarComposeAbsoluteTime(group.gregorianCalendar, at, "HmsMdy", parts.tm_hour, parts.tm_min,
                                         parts.tm_sec, parts.tm_mon, parts.tm_mday, parts.tm_year);
}

/// Nobody else sees the calendar in GMT: the mutex is held until its own zone is back.
static bool composeInGMT(const TavZoCalendarGroup& group, const tm& parts, ZoAbsoluteTime* at)
{
    const TavSimpleMutexGuard guard(group.calendarMutex);
    const auto zone = zoAdopt(ZoCalendarCopyTimeZone(group.gregorianCalendar));
    if (!zone) return false;
    ZoCalendarSetTimeZone(group.gregorianCalendar, group.timeZoneGMT);
    const bool isComposed = compose(group, parts, at);
    ZoCalendarSetTimeZone(group.gregorianCalendar, zone.get());
    return isComposed;
}

/// The fraction that the digits at `text` are; digits past what 64 bits hold only go by.
static double skipFraction(const char*& text)
{
    uint64_t value = 0, next;
    double scale = 1;
    bool isFull = false;
    for (; *text >= '0' && *text <= '9'; ++text) {
        isFull = isFull || __builtin_mul_overflow(value, uint64_t{10}, &next) ||
                 __builtin_add_overflow(next, static_cast<uint64_t>(*text - '0'), &next);
        if (isFull) continue;
        value = next;
        scale *= 10;
    }
    return static_cast<double>(value) / scale;
}

OSStatus TavZoParseISO8601Date(const char* text, ZoAbsoluteTime* absoluteTimeOut)
{
    if (!text) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL text");
    if (!absoluteTimeOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL absoluteTimeOut");
    const TavZoCalendarGroup group = TavZoGetCalendarGroup();
    tm parsed;
    const char* rest;
    if (parseByFormats(text, {"%FT%T", "%Y%m%dT%H%M%S"}, parsed, rest)) {
        parsed.tm_year += 1900;
        parsed.tm_mon += 1;
    } else if (!parseByFormats(text, {"%T", "%H%M%S"}, parsed, rest) || !getToday(group, parsed)) {
        return kTavZoUtilitiesError_BadData;
    }
    ZoAbsoluteTime at;
    if (!composeInGMT(group, parsed, &at)) return kTavZoUtilitiesError_BadData;
    if (*rest == '.' || *rest == ',') at += skipFraction(++rest);
    if (*rest == '-' || *rest == '+') {
        const char* end;
        if (!parseByFormats(rest + 1, {"%H%M", "%H:%M", "%H"}, parsed, end)) return kTavZoUtilitiesError_BadData;
        const int offset = parsed.tm_hour * 3600 + parsed.tm_min * 60;
        at += *rest == '-' ? offset : -offset;
    }
    *absoluteTimeOut = at;
    return 0;
}

// MARK: What a locale writes

namespace {

constexpr ZoDateFormatterStyle kStylesFromLongest[] = {kZoDateFormatterFullStyle, kZoDateFormatterLongStyle,
                                                       kZoDateFormatterMediumStyle, kZoDateFormatterShortStyle};

/// A text, tried by one style after the other.
struct FreeText {
    ZoStringRef string;
    ZoLocaleRef locale;
    ZoAbsoluteTime at = 0;
    ZoDateFormatterStyle dateStyle = kZoDateFormatterNoStyle, timeStyle = kZoDateFormatterNoStyle;

    bool isRecognised() const { return dateStyle || timeStyle; }

    /// Whether the styles fit all of it, which they are then remembered for.
    bool tryStyles(ZoDateFormatterStyle date, ZoDateFormatterStyle time)
    {
        const auto formatter = zoAdopt(ZoDateFormatterCreate(nullptr, locale, date, time));
        if (!formatter) return false;
        ZoDateFormatterSetProperty(formatter.get(), kZoDateFormatterIsLenient, kZoBooleanTrue);
        ZoRange range = ZoRangeMake(0, ZoStringGetLength(string));
        const ZoIndex all = range.length;
        ZoAbsoluteTime parsed;
        if (!ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), string, &range, &parsed) || range.length != all)
            return false;
        at = parsed;
        dateStyle = date;
        timeStyle = time;
        return true;
    }
    /// A date that is the whole text; then a time, beside the date's style if there was one.
    void recognise()
    {
        for (const ZoDateFormatterStyle date : kStylesFromLongest)
            if (tryStyles(date, kZoDateFormatterNoStyle)) break;
        for (const ZoDateFormatterStyle time : kStylesFromLongest)
            if (tryStyles(dateStyle, time)) return;
    }
};

}  // namespace

/// The time of day of `*at`, today.
static bool moveToToday(ZoAbsoluteTime* at)
{
    const TavZoCalendarGroup group = TavZoGetCalendarGroup();
    tm parts = {};
    if (!getToday(group, parts)) return false;
    const TavSimpleMutexGuard guard(group.calendarMutex);
    return ZoCalendarDecomposeAbsoluteTime(group.gregorianCalendar, *at, "Hms", &parts.tm_hour, &parts.tm_min,
                                           &parts.tm_sec) &&
           compose(group, parts, at);
}

static bool parseAsISO8601(ZoStringRef string, ZoAbsoluteTime* at)
{
    uint8_t* bytes = TavCreateBytesFromZoString(nullptr, string, kZoStringEncodingClassicRoman, true, nullptr);
    const bool isParsed = bytes && TavZoParseISO8601Date(reinterpret_cast<const char*>(bytes), at) == 0;
    ZoAllocatorDeallocate(nullptr, bytes);
    return isParsed;
}

ZoDateRef TavZoDateCreateFromString(ZoAllocatorRef allocator, ZoStringRef string, ZoLocaleRef locale)
{
    if (!tavzo::isOfType(string, ZoStringGetTypeID())) return nullptr;
    ZoAbsoluteTime at;
    if (parseAsISO8601(string, &at)) return ZoDateCreate(allocator, at);
    const auto usedLocale = locale ? ZoRef<ZoLocaleRef>::retain(locale) : zoAdopt(ZoLocaleCopyCurrent());
    FreeText text{string, usedLocale.get()};
    text.recognise();
    if (!text.isRecognised() || (!text.dateStyle && !moveToToday(&text.at))) return nullptr;
    return ZoDateCreate(allocator, text.at);
}
