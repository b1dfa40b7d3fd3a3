// Values that both forms of property lists know: dates as ISO 8601 text, and integers of either sign.

#include <cmath>
#include <cstdio>

#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Values/ZoNumber.h"

namespace zoplist {

// Days of the proleptic Gregorian calendar, counted from 1 March of the year 0; the leap day is the last of its year.
constexpr int64_t kReferenceDay = 730791;  // 1 January 2001
constexpr int64_t kSecondsPerDay = 86400;

static constexpr int64_t dayNumber(int64_t year, int64_t month, int64_t day)
{
    const int64_t y = month > 2 ? year : year - 1, m = (month + 9) % 12;
    return y * 365 + y / 4 - y / 100 + y / 400 + (m * 153 + 2) / 5 + day - 1;
}
static_assert(dayNumber(2001, 1, 1) == kReferenceDay);
static_assert(dayNumber(2000, 3, 1) - dayNumber(2000, 2, 28) == 2 &&
              dayNumber(1900, 3, 1) - dayNumber(1900, 2, 28) == 1);

constexpr int64_t kFirstDay = dayNumber(1, 1, 1), kLastDay = dayNumber(9999, 12, 31);

static constexpr int64_t daysInMonth(int64_t year, int64_t month)
{
    return month == 12 ? 31 : dayNumber(year, month + 1, 1) - dayNumber(year, month, 1);
}

bool formatDate(ZoAbsoluteTime time, std::string& text)
{
    const double whole = std::floor(time);
    if (!(whole >= -7e10 && whole <= 3e11)) return false;  // also keeps NaN from the conversion
    const auto seconds = static_cast<int64_t>(whole);
    int64_t day = seconds / kSecondsPerDay, second = seconds % kSecondsPerDay;
    if (second < 0) {
        second += kSecondsPerDay;
        --day;
    }
    day += kReferenceDay;
    if (day < kFirstDay || day > kLastDay) return false;

    const int64_t era = day / 146097, dayOfEra = day % 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t m = (5 * dayOfYear + 2) / 153;
    const auto month = static_cast<int>(m < 10 ? m + 3 : m - 9);
    const auto year = static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
    const auto dayOfMonth = static_cast<int>(dayOfYear - (153 * m + 2) / 5 + 1);
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02dZ", year, month, dayOfMonth,
                  static_cast<int>(second / 3600), static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
    text = buffer;
    return true;
}

bool parseDate(std::string_view text, ZoAbsoluteTime& time)
{
    static constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    if (text.size() != kForm.size()) return false;
    int64_t fields[6] = {};
    size_t field = 0;
    for (size_t i = 0; i < kForm.size(); ++i) {
        if (kForm[i] == '0') {
            if (text[i] < '0' || text[i] > '9') return false;
            fields[field] = fields[field] * 10 + (text[i] - '0');
        } else {
            if (text[i] != kForm[i]) return false;
            ++field;
        }
    }
    const auto [year, month, day, hour, minute, second] = fields;
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) return false;
    if (hour > 23 || minute > 59 || second > 59) return false;
    const int64_t days = dayNumber(year, month, day) - kReferenceDay;
    time = static_cast<double>(days * kSecondsPerDay + hour * 3600 + minute * 60 + second);
    return true;
}

std::string_view trimmed(std::string_view text)
{
    static constexpr std::string_view kWhiteSpace = " \t\r\n";
    const size_t start = text.find_first_not_of(kWhiteSpace);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kWhiteSpace) - start + 1);
}

ZoRef<ZoTypeRef> createInteger(ZoAllocatorRef allocator, bool isNegative, uint64_t magnitude)
{
    const uint64_t bits = isNegative ? 0 - magnitude : magnitude;
    if (!isNegative && magnitude > INT64_MAX) {
        const ZoSInt128 wide = {0, bits};
        return zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator, kZoNumberSInt128Type, &wide));
    }
    const auto value = static_cast<int64_t>(bits);
    return zoAdopt<ZoTypeRef>(ZoNumberCreate(allocator, kZoNumberSInt64Type, &value));
}

}  // namespace zoplist
