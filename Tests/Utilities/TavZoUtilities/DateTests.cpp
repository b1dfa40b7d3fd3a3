// Dates from text, judged by std::chrono.

#include <chrono>
#include <ctime>
#include <random>

#include "Foundation/Dates/ZoLocale.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Calendar.h"
#include "Utilities/TavZoUtilities_Dates.h"

using namespace collection_test;
using namespace std::chrono;

namespace {

constexpr double kNoDate = -1e18;

double parsed(const std::string& text)
{
    ZoAbsoluteTime at = kNoDate;
    const OSStatus status = TavZoParseISO8601Date(text.c_str(), &at);
    EXPECT_EQ(status, at == kNoDate ? -12994 : 0) << text;
    return at;
}

double seconds1970(year_month_day day, double ofDay)
{
    return static_cast<double>(sys_seconds(sys_days(day)).time_since_epoch().count()) + ofDay -
           kZoAbsoluteTimeIntervalSince1970;
}

TEST(ISO8601Dates, agreeWithChrono)
{
    std::mt19937 random;
    const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
    for (int round = 0; round < 400; ++round) {
        const year_month_day day(sys_days(year(1600) / 1 / 1) + days(pick(0, 365 * 500)));
        const int h = pick(0, 23), m = pick(0, 59), s = pick(0, 59), fraction = pick(0, 999);
        const int hoursEast = pick(-14, 14), minutes = pick(0, 59), sign = hoursEast < 0 ? -1 : 1;
        char text[80];
        snprintf(
            text, sizeof text,
            round % 2 ? "%04d-%02u-%02uT%02d:%02d:%02d.%03d%+03d:%02dZ" : "%04d%02u%02uT%02d%02d%02d,%03d%+03d%02d",
            int(day.year()), unsigned(day.month()), unsigned(day.day()), h, m, s, fraction, hoursEast, minutes);
        const int offset = hoursEast * 3600 + sign * minutes * 60;
        ASSERT_NEAR(parsed(text), seconds1970(day, h * 3600 + m * 60 + s - offset) + fraction / 1000.0, 1e-5) << text;
    }
}

double todayInGMT(double ofDay)
{
    const time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    return seconds1970(year(local.tm_year + 1900) / (local.tm_mon + 1) / local.tm_mday, ofDay);
}

TEST(ISO8601Dates, takeWhatMayBeMissingAndRefuseTheRest)
{
    const auto zone = [] { return zoAdopt(ZoCalendarCopyTimeZone(TavZoGetCalendarGroup().gregorianCalendar)); };
    const auto zoneBefore = zone();
    const double noon = seconds1970(year(2024) / 2 / 29, 43200), today = todayInGMT(43200);
    for (const char* text : {"120000", "12:00:00"})
        EXPECT_TRUE(parsed(text) == today || parsed(text) == todayInGMT(43200)) << text;
    for (const char* text : {"2024-02-29T12:00:00", "20240229T120000Z", "2024-02-29T12:00:00 and more",
                             "2024-02-29T12:00:00.", "2024-02-29T13:30:00+01:30", "2024-02-29T11:00:00-01"})
        EXPECT_EQ(parsed(text), noon) << text;
    const std::string digits(60, '9');
    EXPECT_NEAR(parsed("2024-02-29T12:00:00." + digits), noon + 1, 1e-6);
    EXPECT_NEAR(parsed("2024-02-29T12:00:00.5" + digits + "+01"), noon - 3600 + 0.6, 1e-6);
    for (const char* text :
         {"", "2024-02-29", "noon", "2024-02-29T12:00:00+", "2024-02-29T12:00:00+x1", "2024-13-01T00:00:00"})
        EXPECT_EQ(parsed(text), kNoDate) << text;
    EXPECT_TRUE(ZoEqual(zoneBefore.get(), zone().get())) << "the calendar is as it was";
}

TEST(FreeTextDates, areReadInTheStylesOfALocale)
{
    const auto english = zoAdopt(ZoLocaleCreate(nullptr, ZOSTR("en_US")));
    const auto read = [&](const char* text) -> std::string {
        const auto string = zoAdopt(ZoStringCreateWithCString(nullptr, text, kZoStringEncodingUTF8));
        const auto date = zoAdopt(TavZoDateCreateFromString(nullptr, string.get(), english.get()));
        if (!date) return "(none)";
        const auto at = static_cast<time_t>(ZoDateGetAbsoluteTime(date.get()) + kZoAbsoluteTimeIntervalSince1970);
        tm local;
        localtime_r(&at, &local);
        char out[40];
        strftime(out, sizeof out, "%F %T", &local);
        return out;
    };
    for (const char* text : {"Monday, January 8, 2024", "January 8, 2024", "Jan 8, 2024", "1/8/24"})
        EXPECT_EQ(read(text), "2024-01-08 00:00:00") << text;
    EXPECT_EQ(read("Jan 8, 2024, 3:04:05 PM"), "(none)") << "the whole of it is neither";
    const time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    char today[40];
    strftime(today, sizeof today, "%F 15:04:00", &local);
    EXPECT_EQ(read("3:04 PM"), today) << "or midnight passed";
    for (const char* text : {"not a date", "\xE6\x97\xA5\xE6\x9C\xAC", ""}) EXPECT_EQ(read(text), "(none)");
}

}  // namespace
