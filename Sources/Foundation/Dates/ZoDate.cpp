// Dates, and the clock.

#include "Foundation/Dates/ZoDate.h"

#include <cmath>
#include <cstring>
#include <ctime>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Text/ZoStringPrivate.h"

struct ZoDate_ {
    ZoRuntimeBase base;
    ZoAbsoluteTime at;
};

static Boolean dateEqual(ZoTypeRef a, ZoTypeRef b)
{
    return static_cast<ZoDateRef>(a)->at == static_cast<ZoDateRef>(b)->at;
}

static ZoHashCode dateHash(ZoTypeRef object)
{
    const double at = static_cast<ZoDateRef>(object)->at + 0.0;  // both zeros are equal
    return zoHashBytes(&at, sizeof at);
}

static ZoStringRef dateCopyDescription(ZoTypeRef object)
{
    const double at = static_cast<ZoDateRef>(object)->at;
    const double seconds = std::floor(at) + kZoAbsoluteTimeIntervalSince1970;
    tm utc;
    time_t time = std::fabs(seconds) < 6e16 ? static_cast<time_t>(seconds) : 0;
    char text[64];
    if (!(std::fabs(seconds) < 6e16) || !gmtime_r(&time, &utc) ||
        !strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &utc))
        return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<ZoDate %g>"), at);
    return ZoStringCreateWithCString(nullptr, text, kZoStringEncodingASCII);
}

const ZoRuntimeClass __ZoDateClass = {
    .version = 0,
    .className = "ZoDate",
    .init = nullptr,
    .copy = nullptr,
    .finalize = nullptr,
    .equal = dateEqual,
    .hash = dateHash,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = dateCopyDescription,
    .unused = {},
};

ZoAbsoluteTime ZoAbsoluteTimeGetCurrent(void)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    // The whole seconds first: their difference is exact, so that no digit of the fraction is lost to them.
    return (static_cast<double>(now.tv_sec) - kZoAbsoluteTimeIntervalSince1970) +
           1e-9 * static_cast<double>(now.tv_nsec);
}

ZoTypeID ZoDateGetTypeID(void) { return kZoTypeIDDate; }

ZoDateRef ZoDateCreate(ZoAllocatorRef allocator, ZoAbsoluteTime at)
{
    auto date =
        static_cast<ZoDateRef>(_ZoRuntimeCreateInstance(allocator, kZoTypeIDDate, sizeof(ZoAbsoluteTime), nullptr));
    if (date) const_cast<ZoDate_*>(date)->at = at;
    return date;
}

ZoAbsoluteTime ZoDateGetAbsoluteTime(ZoDateRef date)
{
    return ZO_EXPECT(zoIsOfType(date, kZoTypeIDDate), "not a date") ? date->at : 0;
}

ZoTimeInterval ZoDateGetTimeIntervalSinceDate(ZoDateRef date, ZoDateRef otherDate)
{
    return ZoDateGetAbsoluteTime(date) - ZoDateGetAbsoluteTime(otherDate);
}

ZoComparisonResult ZoDateCompare(ZoDateRef date, ZoDateRef otherDate, void*)
{
    const ZoTimeInterval difference = ZoDateGetTimeIntervalSinceDate(date, otherDate);
    return difference < 0 ? kZoCompareLessThan : difference > 0 ? kZoCompareGreaterThan : kZoCompareEqualTo;
}
