#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

#include "Foundation/Dates/ZoCalendar.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoDateFormatter.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

static ZoRef<ZoCalendarRef> calendarIn(const char* zone)
{
    auto calendar = zoAdopt(ZoCalendarCreateWithIdentifier(nullptr, kZoGregorianCalendar));
    const auto timeZone = zoAdopt(ZoTimeZoneCreateWithName(nullptr, fromUTF8(zone).get()));
    EXPECT_TRUE(timeZone) << zone;
    ZoCalendarSetTimeZone(calendar.get(), timeZone.get());
    return calendar;
}

static std::string decomposed(ZoCalendarRef calendar, ZoAbsoluteTime at)
{
    int y, M, d, H, m, s;
    if (!ZoCalendarDecomposeAbsoluteTime(calendar, at, "yMdHms", &y, &M, &d, &H, &m, &s)) return "(none)";
    char text[64];
    snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d", y, M, d, H, m, s);
    return text;
}

TEST(Calendar, agreesWithTheCLibraryInGMT)
{
    SeededRandom random;
    const auto calendar = calendarIn("GMT");
    for (int round = 0; round < 3000; ++round) {
        const auto time = static_cast<time_t>(random() % 24000000000u) - 12000000000;  // 1589 to 2350
        tm utc;
        gmtime_r(&time, &utc);
        char text[64];
        strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &utc);
        const double at = static_cast<double>(time) - kZoAbsoluteTimeIntervalSince1970;
        ASSERT_EQ(decomposed(calendar.get(), at), text);
        ASSERT_EQ(decomposed(calendar.get(), at + 0.9), text) << "seconds are cut downwards, also before 1970";
        ZoAbsoluteTime back = -1;
        ASSERT_TRUE(ZoCalendarComposeAbsoluteTime(calendar.get(), &back, "HmsMdy", utc.tm_hour, utc.tm_min, utc.tm_sec,
                                                  utc.tm_mon + 1, utc.tm_mday, utc.tm_year + 1900));
        ASSERT_EQ(back, at);
    }
}

TEST(Calendar, knowsTheRulesOfZones)
{
    const struct {
        const char* zone;
        int y, M, d, H, m, s;
        double at;
    } rows[] = {
        {"GMT", 2001, 1, 1, 0, 0, 0, 0},
        {"Europe/Berlin", 2021, 3, 28, 1, 59, 59, 638585999},  // the last second of winter
        {"Europe/Berlin", 2021, 3, 28, 3, 0, 0, 638586000},
        {"Europe/Berlin", 2021, 3, 28, 2, 30, 0, 638587800},  // there is no such time
        {"Europe/Berlin", 2021, 10, 31, 1, 59, 59, 657331199},
        {"Europe/Berlin", 2021, 10, 31, 3, 0, 0, 657338400},  // two hours and a second later
        {"America/New_York", 1969, 7, 20, 16, 17, 40, -992490140},
        {"Asia/Kolkata", 2001, 1, 1, 5, 30, 0, 0},
        {"GMT", 2020, 14, 32, 25, 61, 61, 636602521},  // values carry over: 2021-03-05 02:02:01
        {"GMT", 2016, 12, 31, 23, 59, 60, 504921600},
    };
    for (const auto& row : rows) {
        const auto calendar = calendarIn(row.zone);
        ZoAbsoluteTime at = -1;
        ASSERT_TRUE(
            ZoCalendarComposeAbsoluteTime(calendar.get(), &at, "yMdHms", row.y, row.M, row.d, row.H, row.m, row.s));
        EXPECT_EQ(at, row.at) << row.zone << ' ' << row.y << ' ' << row.M;
    }
    EXPECT_EQ(decomposed(calendarIn("Europe/Berlin").get(), 638586000), "2021-03-28 03:00:00");
    EXPECT_EQ(decomposed(calendarIn("GMT").get(), -63114076800), "1-01-01 00:00:00") << "Julian, before the reform";
}

TEST(Calendar, refusesLettersAndTimesThatItDoesNotHave)
{
    const auto calendar = calendarIn("GMT");
    ZoAbsoluteTime at = 5;
    EXPECT_FALSE(ZoCalendarComposeAbsoluteTime(calendar.get(), &at, "yQ", 2001, 1));
    EXPECT_EQ(at, 0);
    int year = 7, other = 7;
    EXPECT_FALSE(ZoCalendarDecomposeAbsoluteTime(calendar.get(), 0, "yQ", &year, &other));
    EXPECT_EQ(year, 0);
    EXPECT_EQ(other, 0);
    for (double time : {static_cast<double>(NAN), HUGE_VAL, -HUGE_VAL, 1e20, -1e300})
        EXPECT_FALSE(ZoCalendarDecomposeAbsoluteTime(calendar.get(), time, "y", &year)) << time;
    for (int extreme : {INT_MIN, INT_MIN + 1, INT_MAX}) {
        ZoCalendarComposeAbsoluteTime(calendar.get(), &at, "yMdHms", extreme, extreme, extreme, extreme, extreme,
                                      extreme);
        EXPECT_TRUE(std::isfinite(at)) << extreme;
    }
    EXPECT_FALSE(zoAdopt(ZoCalendarCreateWithIdentifier(nullptr, ZOSTR("chinese"))));
    EXPECT_TRUE(ZoCalendarComposeAbsoluteTime(calendar.get(), &at, "Hms", 1, 2, 3));
    EXPECT_EQ(decomposed(calendar.get(), at), "1-01-01 01:02:03");
}

TEST(TimeZone, nameFixedDistances)
{
    const struct {
        double interval;
        const char* name;
    } rows[] = {{0, "GMT"},           {0.4, "GMT"},           {19800, "GMT+05:30"},
                {-3600, "GMT-01:00"}, {3661, "GMT+01:01:01"}, {86399, "GMT+23:59:59"},
                {86400, nullptr},     {-1e300, nullptr},      {NAN, nullptr}};
    for (const auto& row : rows) {
        const auto zone = zoAdopt(ZoTimeZoneCreateWithTimeIntervalFromGMT(nullptr, row.interval));
        ASSERT_EQ(static_cast<bool>(zone), row.name != nullptr) << row.interval;
        if (!zone) continue;
        EXPECT_EQ(toUTF8(ZoTimeZoneGetName(zone.get())), row.name);
        const auto calendar = calendarIn("GMT");
        ZoCalendarSetTimeZone(calendar.get(), zone.get());
        EXPECT_TRUE(ZoEqual(zoAdopt(ZoCalendarCopyTimeZone(calendar.get())).get(), zone.get()));
        ZoAbsoluteTime at;
        ZoCalendarComposeAbsoluteTime(calendar.get(), &at, "yMdHms", 2001, 1, 1, 0, 0, 0);
        EXPECT_EQ(at, -std::round(row.interval));
    }
    EXPECT_FALSE(zoAdopt(ZoTimeZoneCreateWithName(nullptr, ZOSTR("Nowhere/Atall"))));
}

TEST(Date, describesAndComparesTimes)
{
    const auto date = zoAdopt(ZoDateCreate(nullptr, -0.5)), same = zoAdopt(ZoDateCreate(nullptr, -0.5)),
               later = zoAdopt(ZoDateCreate(nullptr, 0));
    EXPECT_TRUE(ZoEqual(date.get(), same.get()));
    EXPECT_EQ(ZoHash(date.get()), ZoHash(same.get()));
    EXPECT_EQ(ZoHash(later.get()), ZoHash(zoAdopt(ZoDateCreate(nullptr, -0.0)).get()));
    EXPECT_EQ(ZoDateCompare(date.get(), later.get(), nullptr), kZoCompareLessThan);
    EXPECT_EQ(toUTF8(zoAdopt(ZoCopyDescription(date.get()))), "2000-12-31 23:59:59 +0000");
    for (double at : {1e300, static_cast<double>(NAN)})
        EXPECT_TRUE(zoAdopt(ZoCopyDescription(zoAdopt(ZoDateCreate(nullptr, at)).get())));
    EXPECT_NEAR(ZoAbsoluteTimeGetCurrent() + kZoAbsoluteTimeIntervalSince1970, static_cast<double>(time(nullptr)), 2);
}

static ZoRef<ZoDateFormatterRef> formatterFor(const char* locale, ZoDateFormatterStyle date, ZoDateFormatterStyle time)
{
    auto formatter = zoAdopt(
        ZoDateFormatterCreate(nullptr, zoAdopt(ZoLocaleCreate(nullptr, fromUTF8(locale).get())).get(), date, time));
    const auto gmt = zoAdopt(ZoTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 0));
    ZoDateFormatterSetProperty(formatter.get(), kZoDateFormatterTimeZone, gmt.get());
    return formatter;
}

TEST(DateFormatter, readsWhatItWrites)
{
    const double midnight = 638582400, at = midnight + 13 * 3600 + 14 * 60;  // 28 March 2021
    for (const char* locale : {"en_US", "de_DE", "ja_JP", "fr_FR", "ru_RU"}) {
        for (ZoDateFormatterStyle date = 0; date <= 4; ++date) {
            for (ZoDateFormatterStyle time = 0; time <= 4; ++time) {
                if (date == 0 && time == 0) continue;
                const auto formatter = formatterFor(locale, date, time);
                ASSERT_TRUE(formatter);
                const auto text = zoAdopt(ZoDateFormatterCreateStringWithAbsoluteTime(nullptr, formatter.get(), at));
                ZoRange range = {0, ZoStringGetLength(text.get())};
                ZoAbsoluteTime back = -1;
                ASSERT_TRUE(ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), text.get(), &range, &back))
                    << toUTF8(text);
                EXPECT_EQ(range.length, ZoStringGetLength(text.get()));
                const double expected = date == 0   ? at - midnight - kZoAbsoluteTimeIntervalSince1970
                                        : time == 0 ? midnight
                                                    : at;
                EXPECT_EQ(back, expected) << toUTF8(text);
            }
        }
    }
}

TEST(DateFormatter, tellsHowFarItRead)
{
    const auto formatter = formatterFor("en_US", kZoDateFormatterShortStyle, kZoDateFormatterNoStyle);
    const auto text = fromUTF8("on 3/28/21 or so");
    ZoRange range = {3, ZoStringGetLength(text.get()) - 3};
    ZoAbsoluteTime at = 0;
    EXPECT_TRUE(ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), text.get(), &range, &at));
    EXPECT_EQ(at, 638582400);
    EXPECT_EQ(range.location, 3);
    EXPECT_EQ(range.length, 7);
    EXPECT_FALSE(ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), text.get(), nullptr, &at));
    EXPECT_EQ(at, 0);
    const auto february31 = fromUTF8("2/31/21");
    EXPECT_FALSE(ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), february31.get(), nullptr, &at));
    ZoDateFormatterSetProperty(formatter.get(), kZoDateFormatterIsLenient, kZoBooleanTrue);
    EXPECT_TRUE(ZoDateFormatterGetAbsoluteTimeFromString(formatter.get(), february31.get(), nullptr, &at));
    EXPECT_EQ(at, 638582400 - 25 * 86400) << "3 March";
}

TEST(Locale, namesClassicLanguagesAndRegions)
{
    const struct {
        int16_t language, region;
        const char* identifier;
    } rows[] = {
        {0, -1, "en"},     {11, -1, "ja"},       {19, -1, "zh-Hant"}, {33, -1, "zh-Hans"}, {94, -1, "eo"},
        {95, -1, nullptr}, {127, -1, nullptr},   {128, -1, "cy"},     {151, -1, "nn"},     {152, -1, nullptr},
        {-1, -1, nullptr}, {32767, -1, nullptr}, {2, 92, "de_AT"},    {-1, 14, "ja_JP"},   {0, 108, "en_IE"},
        {2, 109, "de"},    {2, 26, "de"},
    };
    for (const auto& row : rows) {
        const auto identifier =
            zoAdopt(ZoLocaleCreateCanonicalLocaleIdentifierFromScriptManagerCodes(nullptr, row.language, row.region));
        EXPECT_EQ(toUTF8(identifier), row.identifier ? row.identifier : "(none)") << row.language << ' ' << row.region;
    }
}

TEST(Locale, currentFollowsTheEnvironment)
{
    const struct {
        const char *all, *lang, *identifier;
    } rows[] = {{"de_AT.UTF-8@euro", "fr_FR", "de_AT"},
                {"", "fr_FR.UTF-8", "fr_FR"},
                {nullptr, "C.UTF-8", "en_US_POSIX"},
                {"POSIX", nullptr, "en_US_POSIX"},
                {nullptr, nullptr, "en_US_POSIX"}};
    unsetenv("LC_TIME");
    const auto set = [](const char* name, const char* value) { value ? setenv(name, value, 1) : unsetenv(name); };
    for (const auto& row : rows) {
        set("LC_ALL", row.all);
        set("LANG", row.lang);
        EXPECT_EQ(toUTF8(ZoLocaleGetIdentifier(zoAdopt(ZoLocaleCopyCurrent()).get())), row.identifier);
    }
}
